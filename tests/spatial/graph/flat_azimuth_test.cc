// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/flat_azimuth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;

TEST(FlatAzimuth, IsZeroTowardsNorthAndGrowsTowardsEast) {
  EXPECT_NEAR(FlatAzimuth({}, {0.0, 1.0, 0.0}), 0.0, 1e-15);
  EXPECT_NEAR(FlatAzimuth({}, {1.0, 1.0, 0.0}), kPi / 4, 1e-15);
  EXPECT_DOUBLE_EQ(FlatAzimuth({}, {1.0, 0.0, 0.0}), kPi / 2);
  EXPECT_NEAR(FlatAzimuth({}, {1.0, -1.0, 0.0}), 3 * kPi / 4, 1e-15);
  EXPECT_NEAR(FlatAzimuth({}, {-1.0, 0.0, 0.0}), -kPi / 2, 1e-15);
}

TEST(FlatAzimuth, OfDueSouthIsExactlyMinusPi) {
  EXPECT_EQ(FlatAzimuth({}, {0.0, -1.0, 0.0}), -kPi);
}

TEST(FlatAzimuth, StaysWithinHalfATurnOnBothSidesOfSouth) {
  EXPECT_NEAR(FlatAzimuth({}, {1e-9, -1.0, 0.0}), kPi, 1e-8);
  EXPECT_NEAR(FlatAzimuth({}, {-1e-9, -1.0, 0.0}), -kPi, 1e-8);
}

TEST(FlatAzimuth, OfPointsLessThanABillionthApartIsEast) {
  EXPECT_EQ(FlatAzimuth({}, {}), kPi / 2);
  EXPECT_EQ(FlatAzimuth({}, {0.0, -0.9e-9, 0.0}), kPi / 2);
  EXPECT_EQ(FlatAzimuth({}, {0.0, -1.1e-9, 0.0}), -kPi);
}

TEST(FlatAzimuth, IgnoresAltitudes) {
  EXPECT_EQ(FlatAzimuth({0.0, 0.0, 5.0}, {1.0, 0.0, -7.0}), kPi / 2);
}

TEST(FlatAzimuth, OfACoordinateThatIsNotANumberIsNotANumber) {
  EXPECT_TRUE(std::isnan(FlatAzimuth({}, {std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0})));
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
