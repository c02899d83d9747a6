// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit_utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "host/units.h"
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kDayZero = 2451543.5;

using solarsystemdata::orbital_parameters;

DateTime Day(double day) {
  return DateTime::FromJulianDate(kDayZero + day);
}

double SceneUnits(double astronomical_units) {
  return Units::ConvertLength(astronomical_units, Units::kAstronomicalUnit, Units::kSceneUnit);
}

// A circle of one astronomical unit in the plane of the ecliptic, from the x axis.
OrbitalParameters Circle() {
  OrbitalParameters body;
  body.rotation_period = 1.0;
  body.semi_major_axis = 1.0;
  return body;
}

// The spin angle at day 0 is the phase, so this is the wrap alone.
double Wrapped(double angle) {
  OrbitalParameters body = Circle();
  body.rotation_phase = angle;
  return OrbitUtils::CalcYawPitchRoll(Day(0.0), body).y;
}

// The same formulas, once more and plainly, with so many Newton steps.
Vec3<double> PlainPosition(double day, const OrbitalParameters& p, int steps) {
  const auto wrapped = [](double x) {
    if (x >= 0.0 && x <= kTwoPi) {
      return x;
    }
    return x < 0.0 ? x + std::ceil((0.0 - x) / kTwoPi) * kTwoPi
                   : x - std::ceil((x - kTwoPi) / kTwoPi) * kTwoPi;
  };
  const double node = p.ascending_node_rate * day + p.ascending_node;
  const double i = p.inclination_rate * day + p.inclination;
  const double w = p.perihelion_argument_rate * day + p.perihelion_argument;
  const double a = p.semi_major_axis_rate * day + p.semi_major_axis;
  const double e = p.eccentricity_rate * day + p.eccentricity;
  const double m = wrapped(p.mean_anomaly_rate * day + p.mean_anomaly);
  double anomaly = (e * std::sin(m)) * (1.0 + e * std::cos(m)) + m;
  for (int step = 0; step < steps; ++step) {
    anomaly = anomaly - (anomaly - e * std::sin(anomaly) - m) / (1.0 - e * std::cos(anomaly));
  }
  const double xv = a * (std::cos(anomaly) - e);
  const double yv = a * std::sqrt(1.0 - e * e) * std::sin(anomaly);
  const double v = wrapped(std::atan2(yv, xv));
  const double r = std::sqrt(xv * xv + yv * yv);
  const double u = w + v;
  return {
      SceneUnits(r * (std::cos(node) * std::cos(u) - std::sin(node) * std::sin(u) * std::cos(i))),
      SceneUnits(r * (std::sin(node) * std::cos(u) + std::cos(node) * std::sin(u) * std::cos(i))),
      SceneUnits(r * std::sin(u) * std::sin(i))};
}

double Length(const Vec3<double>& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

TEST(OrbitPosition, HasItsDayZeroAtTheLastMidnightOf1999) {
  OrbitalParameters body = Circle();
  body.semi_major_axis_rate = 1.0;  // The distance tells the day.
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(DateTime(1999, 12, 31), body).x, SceneUnits(1.0));
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(DateTime(2000, 1, 1, 12), body).x, SceneUnits(2.5));
}

TEST(OrbitPosition, TakesTheElementsAsTheyAreAtDayZero) {
  OrbitalParameters body = orbital_parameters[kOrbitMars];
  const Vec3<double> with_rates = OrbitUtils::CalcRelativePosition(Day(0.0), body);
  body.ascending_node_rate = body.inclination_rate = body.perihelion_argument_rate = 0.0;
  body.semi_major_axis_rate = body.eccentricity_rate = body.mean_anomaly_rate = 0.0;
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(Day(0.0), body), with_rates);
}

TEST(OrbitPosition, RunsEvenlyOnACircle) {
  OrbitalParameters body = Circle();
  for (const double anomaly : {0.0, 0.5, 1.5707963267948966, 3.0, 4.4, 6.2}) {
    body.mean_anomaly = anomaly;
    const Vec3<double> at = OrbitUtils::CalcRelativePosition(Day(0.0), body);
    EXPECT_NEAR(at.x / SceneUnits(1.0), std::cos(anomaly), 1e-15);
    EXPECT_NEAR(at.y / SceneUnits(1.0), std::sin(anomaly), 1e-15);
    EXPECT_EQ(at.z, 0.0);
    EXPECT_NEAR(Length(at) / SceneUnits(1.0), 1.0, 1e-15);
  }
}

TEST(OrbitPosition, StandsAtItsNearestAndFarthestHalfATurnApart) {
  OrbitalParameters body = Circle();
  body.eccentricity = 0.25;
  EXPECT_NEAR(OrbitUtils::CalcRelativePosition(Day(0.0), body).x, SceneUnits(0.75), 1e-9);
  body.mean_anomaly = kTwoPi / 2.0;
  EXPECT_NEAR(OrbitUtils::CalcRelativePosition(Day(0.0), body).x, -SceneUnits(1.25), 1e-9);
}

TEST(OrbitPosition, TiltsTheOrbitAboutItsNode) {
  OrbitalParameters body = Circle();
  body.inclination = 0.3;
  body.ascending_node = 1.1;
  body.perihelion_argument = kTwoPi / 4.0;  // A quarter turn behind the node: the highest point.
  const Vec3<double> at = OrbitUtils::CalcRelativePosition(Day(0.0), body);
  EXPECT_NEAR(at.z / SceneUnits(1.0), std::sin(0.3), 1e-15);
  EXPECT_NEAR(at.x / SceneUnits(1.0), -std::sin(1.1) * std::cos(0.3), 1e-15);
  EXPECT_NEAR(at.y / SceneUnits(1.0), std::cos(1.1) * std::cos(0.3), 1e-15);
}

struct KnownPosition {
  double julian_date;
  OrbitName body;
  Vec3<double> at_au;
};

// Kepler's equation and the turns in 40 decimal digits, from the elements of the table.
const KnownPosition kKnownPositions[] = {
    {2460676.5, kOrbitSun, {1.8460238750935309e-21, -9.6583397693151135e-21, 0.0}},
    {2460676.5, kOrbitMercury, {-0.38631038291595543, -0.1640821618700199, 0.022295774749533238}},
    {2460676.5, kOrbitVenus, {0.45002357364357018, 0.56491863705625194, -0.018409059175686891}},
    {2460676.5, kOrbitEarth, {-0.18460238750935322, 0.96583397693151138, 0.0}},
    {2460676.5, kOrbitMars, {-0.53114604988389849, 1.5219818478564053, 0.044845931763000354}},
    {2460676.5, kOrbitJupiter, {1.0254933763983165, 4.9759445124148243, -0.0438989025597577}},
    {2460676.5, kOrbitSaturn, {9.4916887295528087, -1.7240144708026306, -0.34673266180758056}},
    {2460676.5, kOrbitUranus, {10.988389314991918, 16.150205892087022, -0.083063095447329144}},
    {2460676.5, kOrbitNeptune, {29.865286401207344, -0.45344719313963077, -0.67496774128880158}},
    {2460676.5,
     kOrbitMoon,
     {0.00096929265032440791, -0.0023540444858515047, -0.00021417910350895275}},
    {2415020.0, kOrbitSun, {1.6472400202159725e-21, -9.6935884814380878e-21, 0.0}},
    {2415020.0, kOrbitMercury, {-0.39326914636558258, -0.14068089942442336, 0.023660369298352745}},
    {2415020.0, kOrbitVenus, {0.69201070056472923, -0.22028056352109667, -0.042986797450063181}},
    {2415020.0, kOrbitEarth, {-0.16472400202159738, 0.96935884814380882, 0.0}},
    {2415020.0, kOrbitMars, {0.39515375689406458, -1.3651898785615081, -0.038661705791293021}},
    {2415020.0, kOrbitJupiter, {-3.1435220777659961, -4.3716068495079836, 0.087225367810185829}},
    {2415020.0, kOrbitSaturn, {-0.51756251552269929, -10.072204484074063, 0.19061027460534341}},
    {2415020.0, kOrbitUranus, {-6.9170531559550792, -17.673053821138732, 0.021704376919036124}},
    {2415020.0, kOrbitNeptune, {2.242947960877187, 29.773840860684734, -0.65571828358988631}},
    {2415020.0,
     kOrbitMoon,
     {-0.00023638587958804141, -0.0024998432297049865, 2.1345002073621423e-5}},
};

TEST(OrbitPosition, AgreesWithLongArithmeticForEveryBody) {
  for (const KnownPosition& known : kKnownPositions) {
    const Vec3<double> at = OrbitUtils::CalcRelativePosition(
        DateTime::FromJulianDate(known.julian_date), orbital_parameters[known.body]);
    const double tolerance = 1e-12 * SceneUnits(Length(known.at_au));
    EXPECT_NEAR(at.x, SceneUnits(known.at_au.x), tolerance) << known.body;
    EXPECT_NEAR(at.y, SceneUnits(known.at_au.y), tolerance) << known.body;
    EXPECT_NEAR(at.z, SceneUnits(known.at_au.z), tolerance) << known.body;
  }
}

TEST(OrbitPosition, HasTheBitsOfTheFormulasInTheirOrder) {
  std::mt19937 random(20260401);
  std::uniform_real_distribution<double> days(-400000.0, 400000.0);
  for (int round = 0; round < 2000; ++round) {
    const double day = (kDayZero + days(random)) - 2451545.0 + 1.5;
    for (const OrbitalParameters& body : orbital_parameters) {
      ASSERT_EQ(OrbitUtils::CalcRelativePosition(Day(day), body), PlainPosition(day, body, 7))
          << body.name.toStdString() << " on day " << day << ", from 20260401";
    }
  }
}

TEST(OrbitPosition, TakesSevenNewtonStepsAlsoWhereAnEighthWouldMoveIt) {
  OrbitalParameters comet = Circle();
  comet.eccentricity = 0.9975;
  int moved_by_an_eighth = 0;
  for (int i = 1; i < 200; ++i) {
    comet.mean_anomaly = i * 0.001;
    const Vec3<double> at = OrbitUtils::CalcRelativePosition(Day(0.0), comet);
    EXPECT_EQ(at, PlainPosition(0.0, comet, 7));
    moved_by_an_eighth += at == PlainPosition(0.0, comet, 8) ? 0 : 1;
    EXPECT_NE(at, PlainPosition(0.0, comet, 3));
  }
  EXPECT_GT(moved_by_an_eighth, 10);
}

TEST(OrbitPosition, IsComputedWithoutFusedMultiplication) {
  // Where rate * day + base has other bits when it is rounded once only. At an anomaly of 0 on a
  // circle the distance is the axis, untouched by any later rounding.
  OrbitalParameters body = Circle();
  body.semi_major_axis_rate = 0.1;
  const double fused = std::fma(0.1, 13.0, 1.0);
  ASSERT_EQ(fused, 2.3000000000000003);
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(Day(13.0), body).x, SceneUnits(2.3));
  EXPECT_NE(OrbitUtils::CalcRelativePosition(Day(13.0), body).x, SceneUnits(fused));
}

TEST(OrbitPosition, CountsItsDaysFromTheNoonOf2000First) {
  // Far off, the two roundings give another day than the difference from day 0 at once.
  const double julian_date = -1e16;
  const double day = (julian_date - 2451545.0) + 1.5;
  ASSERT_NE(day, julian_date - kDayZero);
  OrbitalParameters body = Circle();
  body.semi_major_axis_rate = 1.0;
  body.semi_major_axis = 0.0;
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(DateTime::FromJulianDate(julian_date), body).x,
            SceneUnits(day));
}

TEST(OrbitPosition, LetsTheNodeFallBelowZeroUnwrapped) {
  // A node or perihelion that were wrapped would have other bits after many turns.
  const OrbitalParameters& moon = orbital_parameters[kOrbitMoon];
  ASSERT_LT(moon.ascending_node_rate * 300000.0 + moon.ascending_node, -270.0);
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(Day(300000.0), moon),
            PlainPosition(300000.0, moon, 7));
}

TEST(OrbitPosition, IsNotANumberFromAnOpenOrbit) {
  OrbitalParameters body = Circle();
  body.eccentricity = 1.5;
  body.mean_anomaly = 1.0;
  const Vec3<double> at = OrbitUtils::CalcRelativePosition(Day(0.0), body);
  EXPECT_TRUE(std::isnan(at.x));
  EXPECT_TRUE(std::isnan(at.y));
}

TEST(OrbitPosition, SurvivesEveryKindOfNumber) {
  const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                        std::numeric_limits<double>::infinity(),
                        -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::max(),
                        -1e18,
                        std::numeric_limits<double>::denorm_min()};
  for (const double number : odd) {
    for (double OrbitalParameters::*field :
         {&OrbitalParameters::mean_anomaly, &OrbitalParameters::eccentricity,
          &OrbitalParameters::semi_major_axis, &OrbitalParameters::mean_anomaly_rate,
          &OrbitalParameters::ascending_node, &OrbitalParameters::inclination}) {
      OrbitalParameters body = orbital_parameters[kOrbitMars];
      body.*field = number;
      OrbitUtils::CalcRelativePosition(Day(1.0), body);
    }
    OrbitUtils::CalcRelativePosition(DateTime::FromJulianDate(number),
                                     orbital_parameters[kOrbitMars]);
    const Vec3<double> turned = OrbitUtils::CalcYawPitchRoll(DateTime::FromJulianDate(number),
                                                             orbital_parameters[kOrbitMars]);
    EXPECT_EQ(turned.x, 0.0);  // Reached the end; the undefined-behaviour sanitizer saw the rest.
  }
}

TEST(OrbitSpin, LeavesTheClosedRangeAsItIs) {
  for (const double angle : {0.0, 1.0, 6.28, kTwoPi}) {
    EXPECT_EQ(Wrapped(angle), angle);
  }
}

TEST(OrbitSpin, ComesBackJustAboveZeroFromJustAboveAFullTurn) {
  const double above = std::nextafter(kTwoPi, 7.0);
  EXPECT_EQ(Wrapped(above), above - kTwoPi);
  EXPECT_GT(Wrapped(above), 0.0);
}

TEST(OrbitSpin, TurnsMinusAFullTurnIntoZero) {
  EXPECT_EQ(Wrapped(-kTwoPi), 0.0);
}

TEST(OrbitSpin, TurnsTwoFullTurnsIntoOneAndNotIntoZero) {
  EXPECT_EQ(Wrapped(2.0 * kTwoPi), kTwoPi);
}

TEST(OrbitSpin, TurnsTheSmallestNegativeAngleIntoAFullTurn) {
  EXPECT_EQ(Wrapped(-1e-20), kTwoPi);
}

TEST(OrbitSpin, IsNotWrappedTwice) {
  // Just above twelve turns: eleven are taken off, and rounding leaves it outside by a hair.
  const double above = 75.39822368615503 - 11.0 * kTwoPi;
  ASSERT_GT(above, kTwoPi);
  EXPECT_EQ(Wrapped(75.39822368615503), above);
}

TEST(OrbitSpin, WrapsTheMeanAnomalyInTheSameWay) {
  // A full turn stays one: its sine is not zero, which a wrapped one's would be.
  OrbitalParameters body = Circle();
  body.mean_anomaly = kTwoPi;
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(Day(0.0), body), PlainPosition(0.0, body, 7));
  EXPECT_NE(OrbitUtils::CalcRelativePosition(Day(0.0), body).y, 0.0);
  body.mean_anomaly = -kTwoPi;
  EXPECT_EQ(OrbitUtils::CalcRelativePosition(Day(0.0), body).y, 0.0);
}

TEST(OrbitSpin, GrowsWithTheDaysFromThePhase) {
  const Vec3<double> earth = OrbitUtils::CalcYawPitchRoll(DateTime::FromJulianDate(2460676.5),
                                                          orbital_parameters[kOrbitEarth]);
  EXPECT_EQ(earth.y, 0x1.a9d80fd0fc000p+1);
  const Vec3<double> jupiter = OrbitUtils::CalcYawPitchRoll(DateTime::FromJulianDate(2415020.0),
                                                            orbital_parameters[kOrbitJupiter]);
  EXPECT_EQ(jupiter.y, 0x1.91727dacc0000p+1);
}

TEST(OrbitSpin, ComesWithTheConstantYawAndRoll) {
  OrbitalParameters body = Circle();
  body.yaw = 0.25;
  body.roll = 4.0;
  for (const double day : {-1e6, 0.0, 1.25}) {
    const Vec3<double> turned = OrbitUtils::CalcYawPitchRoll(Day(day), body);
    EXPECT_EQ(turned.x, 0.25);
    EXPECT_EQ(turned.z, 4.0);
  }
}

TEST(OrbitSpin, WithoutAPeriodIsNotFiniteAndNotCounted) {
  OrbitalParameters body = Circle();
  body.rotation_period = 0.0;
  EXPECT_EQ(OrbitUtils::CalcYawPitchRoll(Day(1.0), body).y,
            std::numeric_limits<double>::infinity());
  EXPECT_EQ(OrbitUtils::CalcYawPitchRoll(Day(-1.0), body).y,
            -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(OrbitUtils::CalcYawPitchRoll(Day(0.0), body).y));
}

TEST(OrbitSpin, OfMoreTurnsThanCanBeCountedStaysAsItIs) {
  for (const double angle : {1.4e10, -1.4e10, 1e300, -1e300}) {
    EXPECT_EQ(Wrapped(angle), angle);
  }
  EXPECT_LE(Wrapped(1.3e10), 6.3);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
