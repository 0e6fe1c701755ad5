// Which commands are open for the active document: one rule for the menu items
// and the same-numbered buttons of the button bar.
#pragma once

#include <map>

namespace ochrel {

struct BLOCKSET;

// The commands whose state the rule sets, each with its enabled flag, for the
// active document (null for none).
std::map<int, bool> ComputeMenuStates(const BLOCKSET* document);

}  // namespace ochrel
