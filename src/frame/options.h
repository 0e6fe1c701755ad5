// The engine's option values made from the named settings: the one place where
// a save, a dither or a filter run learns what the settings say.
#pragma once

#include <string>

#include "files/saveoptions.h"
#include "filters/filterparam.h"
#include "image/dither.h"

namespace ochrel {

// CreateBackups and JPEGQualityFactor.
SaveOptions SaveOptionsFromSettings();
// DitherBrightness and DitherContrast.
DitherOptions DitherOptionsFromSettings();

// The file of the tile a new document starts with: MatrixDefaultTile in the
// data folder (ApplicationPath, else the installed data), empty when none is named.
std::string DefaultTileFile();

// The setting that keeps a filter value between runs (the one of the same
// name), or null for a value that is never stored.
int* StoredFilterSetting(const FilterSetting& setting);
// Fills the record's filter values from the stored settings (defaults for the
// values that are never stored).
void ImposeFilterParams(FILTERPARAM* param);
// Stores the record's filter values back, when FilterRemember is on.
void DeposeFilterParams(const FILTERPARAM* param);

}  // namespace ochrel
