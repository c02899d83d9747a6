// SPDX-License-Identifier: Apache-2.0
// Which zone and band a point gets.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "ostrand/base/utmzone.h"
#include "tests/support/log_recorder.h"

namespace ostrand {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Degrees that the turning of a longitude does not round away.
constexpr double kSliver = 1e-12;

int ZoneOf(double lat, double lng) {
  return UTMZone(lat, lng).longitude_zone();
}

TEST(UTMZoneChoice, CutsTheGlobeIntoZonesOfSixDegrees) {
  for (int zone = 1; zone <= 60; ++zone) {
    const double west = -180.0 + 6.0 * (zone - 1);
    EXPECT_EQ(ZoneOf(10.0, west), zone);
    EXPECT_EQ(ZoneOf(10.0, west + 3.0), zone);
    EXPECT_EQ(ZoneOf(10.0, west + 6.0 - kSliver), zone);
  }
}

TEST(UTMZoneChoice, PutsBothSidesOfTheAntimeridianIntoZone1) {
  EXPECT_EQ(ZoneOf(0.0, 180.0), 1);
  EXPECT_EQ(ZoneOf(0.0, -180.0), 1);
}

TEST(UTMZoneChoice, PutsTheLastDoubleBelow180IntoZone1SinceItsSumRoundsToATurn) {
  EXPECT_EQ(ZoneOf(0.0, 179.99999999999997), 1);
  EXPECT_EQ(ZoneOf(0.0, 179.9999999999999), 60);
}

TEST(UTMZoneChoice, WidensZone32InSouthernNorway) {
  EXPECT_EQ(ZoneOf(60.0, 5.0), 32);
  EXPECT_EQ(ZoneOf(60.0, 2.0), 31);
  EXPECT_EQ(ZoneOf(60.0, 12.0), 33);
  EXPECT_EQ(ZoneOf(60.0, 3.0), 32);
  EXPECT_EQ(ZoneOf(56.0, 3.0), 32);
  EXPECT_EQ(ZoneOf(60.0, 3.0 - kSliver), 31);
  EXPECT_EQ(ZoneOf(60.0, 12.0 - kSliver), 32);
}

TEST(UTMZoneChoice, EndsTheNorwegianExceptionAt56And64Degrees) {
  EXPECT_EQ(ZoneOf(64.0, 5.0), 31);
  EXPECT_EQ(ZoneOf(std::nextafter(64.0, 0.0), 5.0), 32);
  EXPECT_EQ(ZoneOf(std::nextafter(56.0, 0.0), 5.0), 31);
}

TEST(UTMZoneChoice, LeavesOnlyOddZonesAroundSvalbard) {
  EXPECT_EQ(ZoneOf(75.0, 9.0), 33);
  EXPECT_EQ(ZoneOf(75.0, 8.9), 31);
  EXPECT_EQ(ZoneOf(75.0, 0.0), 31);
  EXPECT_EQ(ZoneOf(75.0, 21.0 - kSliver), 33);
  EXPECT_EQ(ZoneOf(75.0, 21.0), 35);
  EXPECT_EQ(ZoneOf(75.0, 33.0 - kSliver), 35);
  EXPECT_EQ(ZoneOf(75.0, 33.0), 37);
  EXPECT_EQ(ZoneOf(75.0, 42.0 - kSliver), 37);
}

TEST(UTMZoneChoice, KeepsRegularZonesBesideSvalbard) {
  EXPECT_EQ(ZoneOf(75.0, 42.0), 38);
  EXPECT_EQ(ZoneOf(75.0, -0.5), 30);
  EXPECT_EQ(ZoneOf(std::nextafter(72.0, 0.0), 9.0), 32);
  EXPECT_EQ(ZoneOf(72.0, 9.0), 33);
}

TEST(UTMZoneChoice, EndsTheSvalbardExceptionBelow84ThoughTheBandHoldsIt) {
  const UTMZone edge(84.0, 9.0);
  EXPECT_EQ(edge.longitude_zone(), 32);
  EXPECT_EQ(edge.latitude_zone(), 'X');
  EXPECT_EQ(ZoneOf(std::nextafter(84.0, 0.0), 9.0), 33);
}

TEST(UTMZoneChoice, TestsTheExceptionsOnTheTurnedLongitude) {
  EXPECT_EQ(ZoneOf(60.0, 365.0), 32);
  EXPECT_EQ(ZoneOf(75.0, 369.0), 33);
}

TEST(UTMZoneChoice, TurnsLongitudesAbove180ButNotThoseBelowMinus180) {
  EXPECT_EQ(ZoneOf(0.0, 190.0), ZoneOf(0.0, -170.0));
  EXPECT_EQ(ZoneOf(0.0, 12.5 + 720.0), 33);
  // The formula's own numbers, in one byte: 0 is not a valid zone.
  EXPECT_EQ(ZoneOf(0.0, -185.9), 1);
  EXPECT_EQ(ZoneOf(0.0, -186.0), 0);
  EXPECT_EQ(ZoneOf(0.0, -187.0), 0);
  EXPECT_EQ(ZoneOf(0.0, -192.0), 255);
  EXPECT_EQ(ZoneOf(0.0, -198.0), 254);
  EXPECT_EQ(ZoneOf(0.0, -540.0), 1);
}

TEST(UTMZoneChoice, GivesZone0ToLongitudesThatHaveNone) {
  for (const double lng : {kNaN, kInfinity, -kInfinity}) {
    const UTMZone zone(10.0, lng);
    EXPECT_EQ(zone.longitude_zone(), 0) << lng;
    EXPECT_FALSE(zone.IsValid());
    EXPECT_TRUE(zone.IsReferenceSet());
  }
}

TEST(UTMZoneChoice, AnswersEveryLongitudeHoweverLarge) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> exponent(0.0, 308.0);
  for (int i = 0; i < 2000; ++i) {
    const double lng = std::pow(10.0, exponent(random)) * (random() % 2 == 0 ? 1.0 : -1.0);
    const UTMZone zone(50.0, lng);
    EXPECT_EQ(zone.latitude_zone(), 'U') << lng;
  }
  EXPECT_EQ(UTMZone(50.0, 1e300).IsValid(), UTMZone(50.0, 1e300).longitude_zone() != 0);
}

TEST(UTMZoneBand, ClosesEachBandInTheSouthAndOpensItInTheNorth) {
  const std::string letters = "CDEFGHJKLMNPQRSTUVWX";
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const double south = -80.0 + 8.0 * static_cast<double>(i);
    EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(south), letters[i]) << south;
    EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(std::nextafter(south + 8.0, -100.0)), letters[i]);
  }
}

TEST(UTMZoneBand, MakesTheTopmostBandTwelveDegreesWideAndClosed) {
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(80.0), 'X');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(84.0), 'X');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(84.0001), 'Z');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(std::nextafter(84.0, 90.0)), 'Z');
}

TEST(UTMZoneBand, HasLettersForTheEquatorAndTheEnds) {
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(0.0), 'N');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(-0.0), 'N');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(-std::numeric_limits<double>::denorm_min()), 'M');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(-80.0), 'C');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(std::nextafter(-80.0, -90.0)), 'A');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(kInfinity), 'Z');
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(-kInfinity), 'A');
}

TEST(UTMZoneBand, CallsNotANumberImpossibleAndAnswersZ) {
  const test_support::LogRecorder log;
  EXPECT_EQ(UTMZone::ComputeUTMZoneLetter(kNaN), 'Z');
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Impossible: nan"});
  EXPECT_EQ(log.entries().at(0).file, "ostrand/base/utmzone.cc");
}

}  // namespace
}  // namespace ostrand
