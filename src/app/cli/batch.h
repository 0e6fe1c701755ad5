// What every command that reads IN or writes OUT gets for free: several inputs
// with --out-dir DIR (spread over processes, one per core), and "-" for
// standard input or output with --format.
#pragma once

#include "cli.h"

namespace ochrel::cli {

// Runs c on args, expanding --out-dir batches and "-" as needed. Returns the
// exit status.
int RunCommand(const Command& c, const Args& args);

// c.run inside the handlers for memory and other errors.
int RunGuarded(const Command& c, const Args& args);

}  // namespace ochrel::cli
