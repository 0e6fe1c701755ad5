#include "frame/options.h"

#include "frame/config.h"
#include "frame/settings.h"

namespace ochrel {

SaveOptions SaveOptionsFromSettings() { return SaveOptions{CreateBackups != 0, JPEGQualityFactor}; }

DitherOptions DitherOptionsFromSettings() { return DitherOptions{DitherBrightness, DitherContrast}; }

std::string DefaultTileFile() {
  if (!MatrixDefaultTile[0]) return {};
  std::string folder = ApplicationPath;
  if (folder.empty()) {
#ifdef OCHREL_INSTALL_DATA_DIR
    folder = std::string(OCHREL_INSTALL_DATA_DIR) + "/";
#else
    folder = "data/";
#endif
  }
  return folder + MatrixDefaultTile;
}

int* StoredFilterSetting(const FilterSetting& setting) {
  if (!setting.stored) return nullptr;
  const CONFIGITEM* item = FindConfigItem(setting.name);
  return item ? item->number : nullptr;
}

void ImposeFilterParams(FILTERPARAM* param) {
  if (!param) return;
  for (int i = 0; i < FILTER_SETTING_COUNT; ++i) {
    const FilterSetting& s = filtersettings[i];
    const int* stored = StoredFilterSetting(s);
    param->*s.field = stored ? *stored : s.defaultValue;
  }
}

void DeposeFilterParams(const FILTERPARAM* param) {
  if (!param || !FilterRemember) return;
  for (int i = 0; i < FILTER_SETTING_COUNT; ++i)
    if (int* stored = StoredFilterSetting(filtersettings[i])) *stored = param->*filtersettings[i].field;
}

}  // namespace ochrel
