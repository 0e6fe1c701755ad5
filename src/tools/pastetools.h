// The record-level steps of the clipboard: what a copy takes from a floating
// selection, and how a pasted picture or text enters a document (as a new
// floating selection, or as fresh text under the text tool).
#pragma once

#include <string>

#include "tools/toolsession.h"

namespace ochrel {

// What Copy, Cut and Copy to take: a rectangle selector's fragment, or a lasso
// or wand fragment with paper outside its shape; a new block, null when the
// document has no selection or memory runs out.
HDIB SelectionImage(const BLOCKSET* record);

// The text of an open text box ("" for none): what Copy takes while typing.
std::string SelectionText(const BLOCKSET* record);
// Whether the document has something Copy can take: a selection or a text box.
bool CanCopy(const BLOCKSET* record);

// Commits what floats, then opens a rectangle selector at the view's top left
// holding a copy of `dib`, of any size and depth. 1 on success; on failure
// nothing floats and the document is as it was.
int DoPaste(DocumentTools* document, const HDIB& dib);

// Commits what floats, then opens the text tool at the view's top left with
// the text, and shows tool 16 as current. 1 on success.
int DoPasteText(DocumentTools* document, const std::string& text);

}  // namespace ochrel
