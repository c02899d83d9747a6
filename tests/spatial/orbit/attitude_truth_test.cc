// SPDX-License-Identifier: Apache-2.0
// How the bodies are turned, against the poles and rates of rotation that the IAU's working group
// published for 2009 (Archinal et al., Celest. Mech. Dyn. Astr. 109, 2011), the Earth's from its
// report for 2000, and against ERFA's sidereal time. docs/solar-system.md has the table.
#include <erfa.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "spatial/orbit/orbit_utils.h"
#include "spatial/orbit/solar_system_data.h"
#include "tests/spatial/orbit/documented_table.h"
#include "tests/spatial/orbit/true_places.h"

namespace nimbara {
namespace spatial {
namespace {

using Direction = Vec3<double>;

constexpr double kJ2000 = 2451545.0;
constexpr double kDegreesPerRadian = 57.29577951308232;

double Sine(double deg) {
  return std::sin(deg / kDegreesPerRadian);
}
double Cosine(double deg) {
  return std::cos(deg / kDegreesPerRadian);
}

// Of the north pole on the axes of the ICRF, and of the prime meridian; on the noon of 2000.
struct Rotation {
  double right_ascension_deg;
  double declination_deg;
  double degrees_a_day;  // Below 0 where the body turns clockwise, seen from its north.
};

Rotation Published(OrbitName body) {
  switch (body) {
  case kOrbitSun:
    return {286.13, 63.87, 14.1844};
  case kOrbitMercury:
    return {281.0097, 61.4143, 6.1385025};
  case kOrbitVenus:
    return {272.76, 67.16, -1.4813688};
  case kOrbitEarth:
    return {0.0, 90.0, 360.9856235};
  case kOrbitMars:
    return {317.68143, 52.88650, 350.89198226};
  case kOrbitJupiter:
    return {268.056595, 64.495303, 870.5360000};
  case kOrbitSaturn:
    return {40.589, 83.537, 810.7939024};
  case kOrbitUranus:
    return {257.311, -15.175, -501.1600928};
  case kOrbitNeptune:
    return {299.36 + 0.70 * Sine(357.85), 43.46 - 0.51 * Cosine(357.85), 536.3128492};
  default:  // The Moon; of its pole's many terms those above a hundredth of a degree.
    return {269.9949 - 3.8787 * Sine(125.045) - 0.1204 * Sine(250.089) + 0.0700 * Sine(260.008) -
                0.0172 * Sine(176.625),
            66.5392 + 1.5419 * Cosine(125.045) + 0.0239 * Cosine(250.089) -
                0.0278 * Cosine(260.008),
            13.17635815};
  }
}

// The end of the axis from which the body turns counterclockwise, on the ecliptic of the date.
Direction PublishedAxis(OrbitName body) {
  const Rotation rotation = Published(body);
  const double sign = rotation.degrees_a_day < 0.0 ? -1.0 : 1.0;
  const double reach = sign * Cosine(rotation.declination_deg);
  return ToEclipticOfDate({reach * Cosine(rotation.right_ascension_deg),
                           reach * Sine(rotation.right_ascension_deg),
                           sign * Sine(rotation.declination_deg)},
                          kJ2000);
}

// Where an axis of the body points, 0 to 2 for x, y and z.
Direction OurAxis(OrbitName body, int axis, double julian_date) {
  const Mat4 turn = OrbitUtils::ComputeOrbitToSolarRotation(OrbitUtils::CalcYawPitchRoll(
      DateTime::FromJulianDate(julian_date), solarsystemdata::orbital_parameters[body]));
  return {turn.m[4 * axis], turn.m[4 * axis + 1], turn.m[4 * axis + 2]};
}

// The body turns about its own y axis, by the angle that grows.
Direction OurSpinAxis(OrbitName body) {
  return OurAxis(body, 1, kJ2000);
}

Direction OrbitNormal(OrbitName body) {
  const OrbitalParameters& p = solarsystemdata::orbital_parameters[body];
  return {std::sin(p.inclination) * std::sin(p.ascending_node),
          -std::sin(p.inclination) * std::cos(p.ascending_node), std::cos(p.inclination)};
}

double AngleDeg(const Direction& a, const Direction& b) {
  return ErrorOf(a, b).angle_deg;
}

double OurTiltDeg(OrbitName body) {
  return AngleDeg(OurSpinAxis(body), {0.0, 0.0, 1.0});
}
double PublishedTiltDeg(OrbitName body) {
  return AngleDeg(PublishedAxis(body), OrbitNormal(body));
}
double PeriodOffPercent(OrbitName body) {
  const double published = 360.0 / std::fabs(Published(body).degrees_a_day);
  return (solarsystemdata::orbital_parameters[body].rotation_period / published - 1.0) * 100.0;
}

class Attitude : public testing::TestWithParam<OrbitName> {};
// The Sun has no orbit worth the name, and no tilt here.
class AttitudeOfAnOrbiter : public Attitude {};

TEST_P(Attitude, IsAsFarOffThePublishedOneAsTheDocumentationSays) {
  const OrbitName body = GetParam();
  ExpectDocumented("## Attitudes", solarsystemdata::GetOrbitName(body).toStdString(),
                   {OurTiltDeg(body), PublishedTiltDeg(body), PeriodOffPercent(body),
                    AngleDeg(OurSpinAxis(body), PublishedAxis(body))});
}

TEST_P(AttitudeOfAnOrbiter, HasTheTiltOfTheAxisToTheOrbit) {
  EXPECT_NEAR(OurTiltDeg(GetParam()), PublishedTiltDeg(GetParam()), 0.05);
}

// Clouds turn at a speed of their own, and the published rates of the two great planets are those
// of their magnetic fields.
TEST_P(Attitude, HasThePeriodOfTheRotationWhereThereIsOne) {
  const bool is_cloud = GetParam() == kOrbitJupiter || GetParam() == kOrbitSaturn;
  EXPECT_NEAR(PeriodOffPercent(GetParam()), 0.0, is_cloud ? 5.0 : 0.001);
}

std::string NameOf(const testing::TestParamInfo<OrbitName>& body) {
  return solarsystemdata::GetOrbitName(body.param).toStdString();
}
const auto orbiters =
    testing::Values(kOrbitMercury, kOrbitVenus, kOrbitEarth, kOrbitMars, kOrbitJupiter,
                    kOrbitSaturn, kOrbitUranus, kOrbitNeptune, kOrbitMoon);
INSTANTIATE_TEST_SUITE_P(Sun, Attitude, testing::Values(kOrbitSun), NameOf);
INSTANTIATE_TEST_SUITE_P(Orbiters, Attitude, orbiters, NameOf);
INSTANTIATE_TEST_SUITE_P(All, AttitudeOfAnOrbiter, orbiters, NameOf);

// Its axis leans the other way, so that its seasons lie half a year off; about the line to the
// equinox it is the true one.
TEST(AttitudeOfTheEarth, IsThatOfTheEarthMirroredInTheLineToTheEquinox) {
  const Direction ours = OurSpinAxis(kOrbitEarth);
  EXPECT_LT(AngleDeg({ours.x, -ours.y, ours.z}, PublishedAxis(kOrbitEarth)), 0.01);
}

// Seen from the equinox eastward, along the equator of each.
TEST(AttitudeOfTheEarth, PutsGreenwichOnTheBodysZAxis) {
  const auto off_deg = [](double julian_date) {
    const double our_angle =
        OrbitUtils::CalcYawPitchRoll(DateTime::FromJulianDate(julian_date),
                                     solarsystemdata::orbital_parameters[kOrbitEarth])
            .y -
        1.5707963267948966;
    const Direction greenwich = OurAxis(kOrbitEarth, 2, julian_date);
    EXPECT_NEAR(greenwich.x, std::cos(our_angle), 1e-12);
    return std::remainder(our_angle - eraGmst06(julian_date, 0.0, julian_date, 0.0),
                          6.283185307179586) *
           kDegreesPerRadian;
  };
  EXPECT_NEAR(off_deg(kJ2000), 0.09, 0.01);
  // The period is one against the stars, so the precession of the equinox is missing.
  EXPECT_NEAR(off_deg(kJ2000 + 36525.0) - off_deg(kJ2000), -1.5, 0.01);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
