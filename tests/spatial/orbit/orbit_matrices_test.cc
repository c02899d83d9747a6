// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "spatial/orbit/mat4.h"
#include "spatial/orbit/orbit_utils.h"
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace spatial {
namespace {

using Triple = Vec3<double>;

void ExpectNear(const Mat4& matrix, const Mat4& expected, double tolerance) {
  for (int i = 0; i < 16; ++i) {
    EXPECT_NEAR(matrix.m[i], expected.m[i], tolerance) << "m[" << i << "]";
  }
}

// A point as a row vector from the left.
Triple Carried(const Triple& p, const Mat4& by) {
  const double* const m = by.m;
  return {p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12],
          p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
          p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]};
}

Triple AnyTriple(std::mt19937* random) {
  std::uniform_real_distribution<double> angle(-7.0, 7.0);
  const double yaw = angle(*random);
  const double pitch = angle(*random);
  return {yaw, pitch, angle(*random)};
}

TEST(OrbitRotation, YawTurnsAboutZByTheNegatedAngle) {
  const double c = std::cos(0.3);
  const double s = std::sin(0.3);
  ExpectNear(OrbitUtils::ComputeOrbitToSolarRotation({0.3, 0, 0}),
             Mat4{{c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}, 0.0);
}

TEST(OrbitRotation, PitchTurnsAboutYByTheNegatedAngle) {
  const double c = std::cos(0.3);
  const double s = std::sin(0.3);
  ExpectNear(OrbitUtils::ComputeOrbitToSolarRotation({0, 0.3, 0}),
             Mat4{{c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1}}, 0.0);
}

TEST(OrbitRotation, RollTurnsAboutXByTheNegatedAngle) {
  const double c = std::cos(0.3);
  const double s = std::sin(0.3);
  ExpectNear(OrbitUtils::ComputeOrbitToSolarRotation({0, 0, 0.3}),
             Mat4{{1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1}}, 0.0);
}

TEST(OrbitRotation, IsYawTimesPitchTimesRollInThisOrder) {
  // Multiplied out by hand for the negated angles.
  const double y = 0.4, p = 1.1, r = -0.7;
  const double cy = std::cos(-y), sy = std::sin(-y);
  const double cp = std::cos(-p), sp = std::sin(-p);
  const double cr = std::cos(-r), sr = std::sin(-r);
  const Mat4 expected{{cy * cp, cy * sp * sr - sy * cr, cy * sp * cr + sy * sr, 0,  //
                       sy * cp, sy * sp * sr + cy * cr, sy * sp * cr - cy * sr, 0,  //
                       -sp, cp * sr, cp * cr, 0,                                    //
                       0, 0, 0, 1}};
  ExpectNear(OrbitUtils::ComputeOrbitToSolarRotation({y, p, r}), expected, 1e-15);
}

TEST(OrbitRotation, BackIsTheTransposeToTheBit) {
  std::mt19937 random(7);
  for (int round = 0; round < 100; ++round) {
    const Triple triple = AnyTriple(&random);
    const Mat4 there = OrbitUtils::ComputeOrbitToSolarRotation(triple);
    const Mat4 back = OrbitUtils::ComputeSolarToOrbitRotation(triple);
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) {
        EXPECT_EQ(back.m[4 * row + column], there.m[4 * column + row]);
      }
    }
  }
}

TEST(OrbitRotation, ThereAndBackIsTheIdentity) {
  std::mt19937 random(11);
  for (int round = 0; round < 100; ++round) {
    const Triple triple = AnyTriple(&random);
    ExpectNear(OrbitUtils::ComputeSolarToOrbitRotation(triple) *
                   OrbitUtils::ComputeOrbitToSolarRotation(triple),
               Mat4::Identity(), 1e-15);
  }
}

TEST(OrbitTransform, OfNothingIsTheIdentity) {
  ExpectNear(OrbitUtils::ComputeOrbitToSolarTransform(1.0, Triple::Zero(), Triple::Zero()),
             Mat4::Identity(), 0.0);
}

TEST(OrbitTransform, ScalesTheRotationAndLeavesTheNegatedPositionAlone) {
  const Triple triple{0.4, 1.1, -0.7};
  const Mat4 rotation = OrbitUtils::ComputeOrbitToSolarRotation(triple);
  const Mat4 transform =
      OrbitUtils::ComputeOrbitToSolarTransform(2.5, triple, {10.0, -20.0, 0.125});
  for (int i = 0; i < 12; ++i) {
    EXPECT_EQ(transform.m[i], rotation.m[i] * 2.5) << i;
  }
  EXPECT_EQ(transform.m[12], -10.0);
  EXPECT_EQ(transform.m[13], 20.0);
  EXPECT_EQ(transform.m[14], -0.125);
  EXPECT_EQ(transform.m[15], 1.0);
}

TEST(OrbitTransform, CarriesAPointFirstThroughTheRotation) {
  const Triple carried = Carried(
      {1.0, 0.0, 0.0},
      OrbitUtils::ComputeOrbitToSolarTransform(3.0, {1.5707963267948966, 0, 0}, {5.0, 6.0, 7.0}));
  EXPECT_NEAR(carried.x, -5.0, 1e-15);
  EXPECT_NEAR(carried.y, 3.0 - 6.0, 1e-15);
  EXPECT_NEAR(carried.z, -7.0, 1e-15);
}

TEST(DirectionToBody, IsZeroFromTheOriginItself) {
  EXPECT_EQ(OrbitUtils::CalcDirectionToBody(Triple::Zero(), {0.4, 1.1, -0.7}), Triple::Zero());
}

TEST(DirectionToBody, PointsBackToTheOriginWhereNothingIsTurned) {
  EXPECT_EQ(OrbitUtils::CalcDirectionToBody({0.0, 4.0, 0.0}, Triple::Zero()),
            (Triple{0.0, -1.0, 0.0}));
  EXPECT_EQ(OrbitUtils::CalcDirectionToBody({-3.0, 0.0, 4.0}, Triple::Zero()),
            (Triple{0.6, 0.0, -0.8}));
}

TEST(DirectionToBody, IsTheNegatedPositionOnTheBodysAxes) {
  std::mt19937 random(13);
  std::uniform_real_distribution<double> length(-1e6, 1e6);
  for (int round = 0; round < 100; ++round) {
    const Triple triple = AnyTriple(&random);
    const double x = length(random);
    const double y = length(random);
    const Triple position{x, y, length(random)};
    const Triple turned = Carried({-position.x, -position.y, -position.z},
                                  OrbitUtils::ComputeSolarToOrbitRotation(triple));
    const double size = std::sqrt(turned.x * turned.x + turned.y * turned.y + turned.z * turned.z);
    const Triple direction = OrbitUtils::CalcDirectionToBody(position, triple);
    EXPECT_NEAR(direction.x, turned.x / size, 1e-15);
    EXPECT_NEAR(direction.y, turned.y / size, 1e-15);
    EXPECT_NEAR(direction.z, turned.z / size, 1e-15);
  }
}

TEST(DirectionToBody, OfATinyDistanceIsStillAUnitVector) {
  // The square, 1e-40, is far below the threshold that guards against negative squares only.
  EXPECT_NEAR(OrbitUtils::CalcDirectionToBody({1e-20, 0.0, 0.0}, Triple::Zero()).x, -1.0, 1e-12);
}

TEST(DirectionToBody, IsReturnedAsItIsWhereTheSquareVanishes) {
  EXPECT_EQ(OrbitUtils::CalcDirectionToBody({1e-200, 0.0, 0.0}, Triple::Zero()).x, -1e-200);
}

TEST(DirectionToBody, KeepsWhatIsNotANumber) {
  EXPECT_TRUE(
      std::isnan(OrbitUtils::CalcDirectionToBody({std::nan(""), 0.0, 0.0}, Triple::Zero()).x));
}

// At the solstices the Sun stands highest over the body's equator, which is its own x-z plane, and
// lowest. The table leans the Earth's axis away from the Sun in June, where the true one leans
// towards it.
TEST(DirectionToBody, ShowsTheSeasonsHalfAYearOff) {
  const auto sun_height_deg = [](const DateTime& date) {
    const OrbitalParameters& earth = solarsystemdata::orbital_parameters[kOrbitEarth];
    const Triple direction = OrbitUtils::CalcDirectionToBody(
        OrbitUtils::CalcRelativePosition(date, earth), OrbitUtils::CalcYawPitchRoll(date, earth));
    return std::asin(direction.y) * 57.29577951308232;
  };
  EXPECT_NEAR(sun_height_deg(DateTime(2024, 6, 20, 21)), -23.44, 0.02);
  EXPECT_NEAR(sun_height_deg(DateTime(2024, 12, 21, 9)), 23.44, 0.02);
  EXPECT_NEAR(sun_height_deg(DateTime(2024, 3, 20, 3)), 0.0, 0.05);
  EXPECT_NEAR(sun_height_deg(DateTime(2024, 9, 22, 13)), 0.0, 0.05);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
