// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/solar_system_data.h"

#include <gtest/gtest.h>

#include <cmath>
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

TEST(SolarSystemData, HoldsEveryDigitOfTheTable) {
  // One sum over each column, taken from the table independently: any changed digit moves it.
  double sums[18] = {};
  for (const OrbitalParameters& body : orbital_parameters) {
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
    for (int i = 0; i < 18; ++i) {
      sums[i] += row[i];
    }
  }
  const double expected[18] = {140.73173408592032, 358.61543242999994,
                               107389.922982,      0.0,
                               4.870796326794896,  22.491674098015476,
                               12.559216509755249, -0.0009211821280474733,
                               0.4141544141934905, -7.681194038027045e-09,
                               35.90560801306964,  0.002872385072663555,
                               67.6339626041,      1.763e-08,
                               0.5540989999999999, 4.041e-09,
                               31.458207137027493, 0.3733072412797225};
  for (int i = 0; i < 18; ++i) {
    EXPECT_EQ(sums[i], expected[i]) << "column " << i;
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
