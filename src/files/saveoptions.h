// How a file is saved: the choices the settings make for every save, passed
// down as a value so that the writers read no program-wide state.
#pragma once

namespace ochrel {

struct SaveOptions {
  // Copy an existing file to its ".bak" name before it is replaced.
  bool backups = true;
  // JPEG quality, 1 to 100 (values outside are clamped).
  int jpegQuality = 75;
};

}  // namespace ochrel
