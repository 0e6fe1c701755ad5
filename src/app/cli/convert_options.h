// The colour-depth part of `ochrel-cli convert`: --to, --brightness, --contrast.
#pragma once

#include <string>

#include "cli.h"
#include "image/dib.h"

namespace ochrel::cli {

// Takes the depth-conversion options out of args and applies them to image
// (replacing it). Returns false with a one-line message in *error when an
// option is malformed or the conversion fails; true and no change when no
// such option is given.
bool ApplyConvertOptions(Args& args, HDIB& image, std::string* error);

}  // namespace ochrel::cli
