#include "convert_options.h"

namespace ochrel::cli {

bool ApplyConvertOptions(Args& args, HDIB& image, std::string* error) {
  std::string to;
  bool missing = false;
  if (!TakeOption(args, "--to", &to, &missing) && !missing) return true;
  *error = "--to is not available yet";
  return false;
}

}  // namespace ochrel::cli
