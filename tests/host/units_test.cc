// SPDX-License-Identifier: Apache-2.0
#include "host/units.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nimbara {
namespace {

TEST(UnitsTest, InversePlanetRadiusTurnsTheRadiusIntoOne) {
  EXPECT_DOUBLE_EQ(Units::s_inv_planet_radius * 6371010.0, 1.0);
}

TEST(UnitsTest, AstronomicalUnitIsItsDefinedLengthInPlanetRadii) {
  EXPECT_DOUBLE_EQ(Units::ConvertLength(1.0, Units::kAstronomicalUnit, Units::kSceneUnit),
                   149597870700.0 / 6371010.0);
}

TEST(UnitsTest, ConversionThereAndBackGivesTheValueAgain) {
  const double scene = Units::ConvertLength(0.387, Units::kAstronomicalUnit, Units::kSceneUnit);
  EXPECT_NEAR(Units::ConvertLength(scene, Units::kSceneUnit, Units::kAstronomicalUnit), 0.387,
              1e-15);
}

TEST(UnitsTest, ConversionToTheSameUnitIsExact) {
  for (const double value : {0.1, 1.0 / 3.0, 1e300, -7.3}) {
    EXPECT_EQ(Units::ConvertLength(value, Units::kSceneUnit, Units::kSceneUnit), value);
  }
}

TEST(UnitsTest, UnknownCodesGiveNotANumber) {
  const auto unknown = static_cast<Units::LType>(9);
  EXPECT_TRUE(std::isnan(Units::ConvertLength(1.0, unknown, Units::kSceneUnit)));
  EXPECT_TRUE(std::isnan(Units::ConvertLength(1.0, Units::kSceneUnit, unknown)));
}

}  // namespace
}  // namespace nimbara
