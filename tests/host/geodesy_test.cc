// SPDX-License-Identifier: Apache-2.0
#include "host/geodesy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace nimbara {
namespace {

constexpr double kPi = 3.14159265358979323846;

double Azimuth(double lat1_deg, double lng1_deg, double lat2_deg, double lng2_deg) {
  return AzimuthToPoint(lat1_deg / 180.0, lng1_deg / 180.0, lat2_deg / 180.0, lng2_deg / 180.0);
}

TEST(AzimuthToPoint, IsZeroNorthwardAndGrowsEastward) {
  EXPECT_DOUBLE_EQ(Azimuth(10.0, 20.0, 11.0, 20.0), 0.0);
  EXPECT_DOUBLE_EQ(Azimuth(0.0, 20.0, 0.0, 21.0), kPi / 2.0);
  EXPECT_DOUBLE_EQ(std::fabs(Azimuth(10.0, 20.0, 9.0, 20.0)), kPi);
  EXPECT_DOUBLE_EQ(Azimuth(0.0, 20.0, 0.0, 19.0), -kPi / 2.0);
}

TEST(AzimuthToPoint, IsTheInitialBearingOfTheGreatCircle) {
  // tan(b) = sin(90) cos(45) / (cos(0) sin(45)) = 1.
  EXPECT_NEAR(Azimuth(0.0, 0.0, 45.0, 90.0), kPi / 4.0, 1e-15);
}

TEST(AzimuthToPoint, GoesTheShortWayAcrossTheDateLine) {
  EXPECT_NEAR(Azimuth(0.0, 179.0, 0.0, -179.0), kPi / 2.0, 1e-12);
  EXPECT_NEAR(Azimuth(0.0, -179.0, 0.0, 179.0), -kPi / 2.0, 1e-12);
}

TEST(AzimuthToPoint, IsZeroForCoincidentPoints) {
  EXPECT_EQ(Azimuth(47.3, 8.5, 47.3, 8.5), 0.0);
  EXPECT_EQ(Azimuth(-33.0, 180.0, -33.0, -180.0), 0.0);
}

float Heading(double east, double north) {
  return ComputeFlatMapCompassHeading(Vec2<double>{0.25, 0.125},
                                      Vec2<double>{0.25 + east, 0.125 + north});
}

TEST(FlatMapCompassHeading, FollowsTheCompass) {
  EXPECT_FLOAT_EQ(Heading(0.0, 0.5), 0.0f);
  EXPECT_FLOAT_EQ(Heading(0.5, 0.5), 45.0f);
  EXPECT_FLOAT_EQ(Heading(0.5, 0.0), 90.0f);
  EXPECT_FLOAT_EQ(Heading(0.0, -0.5), 180.0f);
  EXPECT_FLOAT_EQ(Heading(-0.5, 0.0), 270.0f);
  EXPECT_FLOAT_EQ(Heading(-0.5, 0.5), 315.0f);
}

TEST(FlatMapCompassHeading, IsZeroForCoincidentPointsWhateverTheSignOfAZero) {
  EXPECT_EQ(Heading(0.0, 0.0), 0.0f);
  EXPECT_EQ(ComputeFlatMapCompassHeading(Vec2<double>{0.0, 0.0}, Vec2<double>{-0.0, -0.0}), 0.0f);
}

TEST(FlatMapCompassHeading, StaysBelowTheFullCircle) {
  EXPECT_EQ(ComputeFlatMapCompassHeading(Vec2<double>{0.0, 0.0}, Vec2<double>{-1e-300, 1.0}), 0.0f);
  EXPECT_LT(ComputeFlatMapCompassHeading(Vec2<double>{0.0, 0.0}, Vec2<double>{-1e-9, 1.0}), 360.0f);
}

std::string Encoded(const std::vector<Vec3<double>>& degrees) {
  std::vector<Vec3<double>> stored;
  for (const Vec3<double>& point : degrees) {
    stored.push_back(Vec3<double>{point.x / 180.0, point.y / 180.0, point.z});
  }
  std::string out = "what was there before";
  geometry::EncodePolylineString(stored.data(), static_cast<int>(stored.size()), &out);
  return out;
}

// The published reading rule: groups of 5 bits, lowest first, the sign in the lowest bit.
std::vector<std::pair<long long, long long>> Decoded(const std::string& text) {
  std::vector<long long> values;
  std::size_t at = 0;
  while (at < text.size()) {
    unsigned long long bits = 0;
    int shift = 0;
    int group = 0;
    do {
      group = text[at++] - 63;
      bits |= static_cast<unsigned long long>(group & 0x1f) << shift;
      shift += 5;
    } while (group >= 0x20);
    const auto half = static_cast<long long>(bits >> 1);
    values.push_back((bits & 1) != 0 ? ~half : half);
  }
  std::vector<std::pair<long long, long long>> points;
  std::pair<long long, long long> last{0, 0};
  for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
    last = {last.first + values[i], last.second + values[i + 1]};
    points.push_back(last);
  }
  return points;
}

TEST(EncodedPolyline, MatchesThePublishedExample) {
  EXPECT_EQ(Encoded({{-120.2, 38.5, 0.0}, {-120.95, 40.7, 0.0}, {-126.453, 43.252, 0.0}}),
            "_p~iF~ps|U_ulLnnqC_mqNvxq`@");
}

TEST(EncodedPolyline, MatchesThePublishedSingleValue) {
  // -179.9832104 degrees alone is "`~oia@", here behind a latitude of 0, "?".
  EXPECT_EQ(Encoded({{-179.9832104, 0.0, 0.0}}), "?`~oia@");
}

TEST(EncodedPolyline, OfNoPointsIsEmpty) {
  EXPECT_EQ(Encoded({}), "");
  std::string out = "before";
  geometry::EncodePolylineString(nullptr, 3, &out);
  EXPECT_EQ(out, "");
  const Vec3<double> point{};
  out = "before";
  geometry::EncodePolylineString(&point, -1, &out);
  EXPECT_EQ(out, "");
}

TEST(EncodedPolyline, LeavesTheAltitudeOut) {
  EXPECT_EQ(Encoded({{1.0, 2.0, 3.0}}), Encoded({{1.0, 2.0, 400.0}}));
}

TEST(EncodedPolyline, RoundsToTheNearestStep) {
  EXPECT_EQ(Decoded(Encoded({{0.000016, -0.000014, 0.0}})),
            (std::vector<std::pair<long long, long long>>{{-1, 2}}));
}

TEST(EncodedPolyline, TakesACoordinateThatIsNotFiniteAsZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Encoded({{nan, inf, 0.0}}), "??");
}

TEST(EncodedPolyline, TakesPositionsBeyondAllGlobesWithoutOverflow) {
  const auto points = Decoded(Encoded({{1e308, -1e308, 0.0}, {-1e308, 1e308, 0.0}}));
  ASSERT_EQ(points.size(), 2u);
  EXPECT_EQ(points[0].first, -points[1].first);
  EXPECT_LT(points[0].first, 0);
}

TEST(EncodedPolyline, ReadsBackAsThePointsThatWentIn) {
  constexpr unsigned kSeed = 4711;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::minstd_rand draw(kSeed);
  std::uniform_int_distribution<long long> lat(-9000000, 9000000);
  std::uniform_int_distribution<long long> lng(-18000000, 18000000);
  std::vector<Vec3<double>> degrees;
  std::vector<std::pair<long long, long long>> expected;
  for (int i = 0; i < 1000; ++i) {
    expected.emplace_back(lat(draw), lng(draw));
    degrees.push_back({static_cast<double>(expected.back().second) / 1e5,
                       static_cast<double>(expected.back().first) / 1e5, 0.0});
  }
  EXPECT_EQ(Decoded(Encoded(degrees)), expected);
}

}  // namespace
}  // namespace nimbara
