// The bridge from the named settings to the engine's option values.
#include <gtest/gtest.h>

#include "frame/options.h"
#include "frame/settings.h"

namespace ochrel {
namespace {

TEST(Options, FilterValuesComeFromAndGoBackToTheSettings) {
  int savedRemember = FilterRemember, savedContrast = FilterContrast, savedSwirl = FilterSwirlDegrees;
  // Every value the table calls stored has a setting of its name.
  for (int i = 0; i < FILTER_SETTING_COUNT; ++i)
    EXPECT_EQ(StoredFilterSetting(filtersettings[i]) != nullptr, filtersettings[i].stored) << filtersettings[i].name;
  FilterContrast = 3;
  FilterSwirlDegrees = -700;
  FILTERPARAM p;
  p.ResizeHorizontal = 7;
  ImposeFilterParams(&p);
  EXPECT_EQ(p.FilterContrast, 3);
  EXPECT_EQ(p.FilterSwirlDegrees, -700);
  EXPECT_EQ(p.ResizeHorizontal, 100);
  EXPECT_EQ(p.ResizeVertical, 100);
  RestoreFilterDefaults(&p);
  p.FilterContrast = 99;
  FilterRemember = 0;
  DeposeFilterParams(&p);
  EXPECT_EQ(FilterContrast, 3);
  FilterRemember = 1;
  DeposeFilterParams(&p);
  EXPECT_EQ(FilterContrast, 99);
  EXPECT_EQ(FilterSwirlDegrees, 45);
  FilterRemember = savedRemember;
  FilterContrast = savedContrast;
  FilterSwirlDegrees = savedSwirl;
}

}  // namespace
}  // namespace ochrel
