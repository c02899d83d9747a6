// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/cartesian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;

void ExpectNear(const Vec3<double>& actual, const Vec3<double>& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

TEST(Cartesian, PutsTheNullMeridianOnMinusZ) {
  ExpectNear(CartesianFromStored({0.0, 0.0, 0.0}), {0.0, 0.0, -1.0}, 1e-15);
}

TEST(Cartesian, PutsNinetyDegreesWestOnX) {
  ExpectNear(CartesianFromStored({-0.5, 0.0, 0.0}), {1.0, 0.0, 0.0}, 1e-15);
}

TEST(Cartesian, PutsTheNorthPoleOnYAtItsAltitude) {
  ExpectNear(CartesianFromStored({0.3, 0.5, 0.25}), {0.0, 1.25, 0.0}, 1e-15);
}

TEST(Cartesian, FollowsItsFormulaInTheOrderOfItsOperations) {
  const double lon = (0.123 + 0.5) * kPi;
  const double lat = -0.321 * kPi;
  const double r = 0.001 + 1.0;
  EXPECT_EQ(CartesianFromStored({0.123, -0.321, 0.001}),
            (Vec3<double>{std::cos(lat) * r * std::cos(lon), std::sin(lat) * r,
                          -std::cos(lat) * r * std::sin(lon)}));
}

TEST(Cartesian, GivesTheZeroVectorAnAltitudeOfMinusOne) {
  EXPECT_EQ(StoredFromCartesian({0.0, 0.0, 0.0}).z, -1.0);
  EXPECT_EQ(StoredFromCartesian({0.0, 0.0, 0.0}).y, 0.0);
}

TEST(Cartesian, BringsLongitudesBelowMinusOneBackIntoRange) {
  // The angle from X is 0.9 half turns, so the longitude comes out as -1.4 and wraps to 0.6.
  const Vec3<double> stored = StoredFromCartesian({std::cos(0.9 * kPi), 0.0, std::sin(0.9 * kPi)});
  ExpectNear(stored, {0.6, 0.0, 0.0}, 1e-15);
}

TEST(Cartesian, KeepsNotANumberVisible) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(CartesianFromStored({nan, 0.0, 0.0}).x));
  EXPECT_TRUE(std::isnan(StoredFromCartesian({nan, 0.0, 0.0}).z));
}

TEST(Cartesian, ReturnsFromSpaceToTheStoredPosition) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> longitude(-1.0, 1.0);
  std::uniform_real_distribution<double> latitude(-0.499, 0.499);
  std::uniform_real_distribution<double> altitude(-0.5, 2.0);
  for (int i = 0; i < 10000; ++i) {
    const Vec3<double> stored{longitude(random), latitude(random), altitude(random)};
    ExpectNear(StoredFromCartesian(CartesianFromStored(stored)), stored, 1e-13);
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
