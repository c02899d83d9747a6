// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/solar_system_data.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>

namespace nimbara {
namespace spatial {
namespace {

using solarsystemdata::GetOrbitName;
using solarsystemdata::kOrbitCount;
using solarsystemdata::orbit_names_;
using solarsystemdata::orbital_parameters;

constexpr double kPi = 3.141592653589793;

TEST(SolarSystemData, NamesTheBodiesByTheirEnumerators) {
  const char* const names[] = {"sun",     "mercury", "venus",  "earth",   "mars",
                               "jupiter", "saturn",  "uranus", "neptune", "moon"};
  for (int i = 0; i < kOrbitCount; ++i) {
    EXPECT_EQ(orbit_names_[i], names[i]);
    EXPECT_EQ(GetOrbitName(static_cast<OrbitName>(i)), names[i]);
    EXPECT_EQ(orbital_parameters[i].name, names[i]);
  }
  EXPECT_EQ(kOrbitMoon, 9);
}

TEST(SolarSystemData, PutsEveryParentBeforeItsChildren) {
  std::set<QString> known;
  for (const OrbitalParameters& body : orbital_parameters) {
    EXPECT_TRUE(body.parent_name.isEmpty() || known.count(body.parent_name) == 1)
        << body.name.toStdString();
    known.insert(body.name);
  }
  EXPECT_TRUE(orbital_parameters[kOrbitSun].parent_name.isEmpty());
  EXPECT_EQ(orbital_parameters[kOrbitNeptune].parent_name, "sun");
  EXPECT_EQ(orbital_parameters[kOrbitMoon].parent_name, "earth");
}

TEST(SolarSystemData, KeepsTheSunALittleOffItsOwnCentre) {
  EXPECT_EQ(orbital_parameters[kOrbitSun].semi_major_axis, 1e-20);
  EXPECT_EQ(orbital_parameters[kOrbitSun].orbital_period, 0.0);
}

TEST(SolarSystemData, GivesTheSunTheEarthsOrbitTurnedByHalfATurn) {
  const OrbitalParameters& sun = orbital_parameters[kOrbitSun];
  const OrbitalParameters& earth = orbital_parameters[kOrbitEarth];
  EXPECT_EQ(earth.perihelion_argument, sun.perihelion_argument - kPi);
  EXPECT_EQ(earth.perihelion_argument_rate, sun.perihelion_argument_rate);
  EXPECT_EQ(earth.eccentricity, sun.eccentricity);
  EXPECT_EQ(earth.eccentricity_rate, sun.eccentricity_rate);
  EXPECT_EQ(earth.mean_anomaly, sun.mean_anomaly);
  EXPECT_EQ(earth.mean_anomaly_rate, sun.mean_anomaly_rate);
  EXPECT_EQ(earth.radius, 1.0);
}

TEST(SolarSystemData, StartsOnlyTheEarthAndTheMoonTurned) {
  for (int i = 0; i < kOrbitCount; ++i) {
    EXPECT_EQ(orbital_parameters[i].rotation_phase, i == kOrbitEarth  ? 3.3
                                                    : i == kOrbitMoon ? 1.5707963267948966
                                                                      : 0.0);
    EXPECT_EQ(orbital_parameters[i].yaw, 0.0);
  }
}

TEST(SolarSystemData, TellsABackwardSpinByItsRoll) {
  for (int i = 0; i < kOrbitCount; ++i) {
    EXPECT_GT(orbital_parameters[i].rotation_period, 0.0);
    EXPECT_EQ(orbital_parameters[i].roll > kPi, i == kOrbitVenus || i == kOrbitUranus) << i;
  }
}

// Kepler's third law ties the columns of a row together: a slip in a digit shows here.
TEST(SolarSystemData, HasMotionsThatFitTheDistances) {
  constexpr double kGaussianDailyMotion = 0.01720209895;
  for (int i = kOrbitMercury; i <= kOrbitNeptune; ++i) {
    const OrbitalParameters& body = orbital_parameters[i];
    const double motion = body.mean_anomaly_rate;
    const double expected = kGaussianDailyMotion / std::pow(body.semi_major_axis, 1.5);
    EXPECT_NEAR(motion / expected, 1.0, 3e-3) << body.name.toStdString();
    EXPECT_NEAR(2.0 * kPi / motion / body.orbital_period, 1.0, 3e-3) << body.name.toStdString();
  }
}

// FNV-1a over the bytes of the row's 18 numbers, the lowest first.
std::uint64_t Digest(const OrbitalParameters& body) {
  const double row[18] = {body.radius,
                          body.rotation_period,
                          body.orbital_period,
                          body.yaw,
                          body.rotation_phase,
                          body.roll,
                          body.ascending_node,
                          body.ascending_node_rate,
                          body.inclination,
                          body.inclination_rate,
                          body.perihelion_argument,
                          body.perihelion_argument_rate,
                          body.semi_major_axis,
                          body.semi_major_axis_rate,
                          body.eccentricity,
                          body.eccentricity_rate,
                          body.mean_anomaly,
                          body.mean_anomaly_rate};
  std::uint64_t digest = 0xcbf29ce484222325u;
  for (const double number : row) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    for (int shift = 0; shift < 64; shift += 8) {
      digest = (digest ^ (bits >> shift & 0xFF)) * 0x100000001b3u;
    }
  }
  return digest;
}

TEST(SolarSystemData, HoldsEveryBitOfTheTable) {
  // Made from the table independently: any changed digit moves its row's.
  const std::uint64_t expected[kOrbitCount] = {
      0xbe463dbf1f4d5ab8u, 0x20a6a52f4fce21a4u, 0x493f20186a2836f2u, 0x29050ab3be7685b6u,
      0x8edb91cda9cacf8au, 0xb2bafdcca975027du, 0xf85f4580bb9ff363u, 0xd187e0591e47a876u,
      0x069c076de8a3c4e9u, 0x88300cc69c41ff3cu};
  for (int i = 0; i < kOrbitCount; ++i) {
    EXPECT_EQ(Digest(orbital_parameters[i]), expected[i]) << orbit_names_[i].toStdString();
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
