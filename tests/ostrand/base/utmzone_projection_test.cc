// SPDX-License-Identifier: Apache-2.0
// The projection itself: beside a plain twin, by its derivatives, there and back, and to the bit.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>

#include "ostrand/base/utmzone.h"

namespace ostrand {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Coordinates {
  double x = 0.0;
  double y = 0.0;
};

struct Angles {
  double lat = 0.0;
  double lng = 0.0;
};

Coordinates Forward(const UTMZone& zone, double lat, double lng) {
  Coordinates local;
  zone.LatLngToLocal(lat, lng, &local.x, &local.y);
  return local;
}

Angles Inverse(const UTMZone& zone, double x, double y) {
  Angles angles;
  zone.LocalToLatLng(x, y, &angles.lat, &angles.lng);
  return angles;
}

// The published formulas, each sine by a call of its own.
Coordinates ForwardTwin(double lat, double dl, bool south) {
  const double phi = lat * 0.017453292519943295;
  const double s = std::sin(phi);
  const double t = std::tan(phi);
  const double N = 6378137.0 / std::sqrt(1.0 - 0.00669438 * s * s);
  const double T = t * t;
  const double C = 0.006739496752268451 * std::pow(std::cos(phi), 2.0);
  const double A = std::cos(phi) * (dl * 0.017453292519943295);
  const double M =
      6378137.0 *
      (0.9983242984503243 * phi - 0.002514607064228144 * std::sin(2.0 * phi) +
       2.639046602129982e-6 * std::sin(4.0 * phi) - 3.418046101696858e-9 * std::sin(6.0 * phi));
  const double x =
      A + (1.0 - T + C) / 6.0 * std::pow(A, 3.0) +
      (5.0 - 18.0 * T + T * T + 72.0 * C - 0.39089081163157013) / 120.0 * std::pow(A, 5.0);
  const double y =
      A * A / 2.0 + (5.0 - T + 9.0 * C + 4.0 * C * C) / 24.0 * std::pow(A, 4.0) +
      (61.0 - 58.0 * T + T * T + 600.0 * C - 2.2240339282485886) / 720.0 * std::pow(A, 6.0);
  return {500000.0 + 0.9996 * N * x, 0.9996 * (N * t * y + M) + (south ? 1e7 : 0.0)};
}

Angles InverseTwin(double x, double y, double middle, bool south) {
  const double mu = (south ? y - 1e7 : y) / 0.9996 / 6367449.145945056;
  const double p1 = mu + 0.002518826588112575 * std::sin(2.0 * mu) +
                    3.7009490465577744e-6 * std::sin(4.0 * mu) +
                    7.447813800519332e-9 * std::sin(6.0 * mu);
  const double W2 = 1.0 - 0.00669438 * std::pow(std::sin(p1), 2.0);
  const double N1 = 6378137.0 / std::sqrt(W2);
  const double t = std::tan(p1);
  const double T = t * t;
  const double C = 0.006739496752268451 * std::pow(std::cos(p1), 2.0);
  const double R1 = 6335439.32722994 / std::pow(W2, 1.5);
  const double D = (x - 500000.0) / (0.9996 * N1);
  const double lat =
      p1 - t * N1 / R1 *
               (D * D / 2.0 -
                (5.0 + 3.0 * T + 10.0 * C - 4.0 * C * C - 0.06065547077041606) * std::pow(D, 4.0) /
                    24.0 +
                (61.0 + 90.0 * T + 298.0 * C + 45.0 * T * T - 1.6983531815716497 - 3.0 * C * C) *
                    std::pow(D, 6.0) / 720.0);
  const double lng =
      (D - (1.0 + 2.0 * T + C) * std::pow(D, 3.0) / 6.0 +
       (5.0 - 2.0 * C + 28.0 * T - 3.0 * C * C + 0.05391597401814761 + 24.0 * T * T) *
           std::pow(D, 5.0) / 120.0) /
      std::cos(p1);
  return {lat * 57.29577951308232, lng * 57.29577951308232 + middle};
}

TEST(UTMProjection, AgreesWithThePublishedFormulasToTheRounding) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> any_lat(-80.0, 84.0);
  std::uniform_real_distribution<double> any_dl(-6.0, 6.0);
  for (int i = 0; i < 20000; ++i) {
    const double lat = any_lat(random);
    const int number = static_cast<int>(random() % 60) + 1;
    const double middle = 6.0 * number - 183.0;
    const double lng = middle + any_dl(random);
    const UTMZone zone(static_cast<unsigned char>(number), lat < 0.0 ? 'C' : 'X');
    const Coordinates local = Forward(zone, lat, lng);
    const Coordinates twin = ForwardTwin(lat, lng - middle, lat < 0.0);
    // Two units in the last place of a northing.
    EXPECT_NEAR(local.x, twin.x, 4e-9) << lat << ' ' << lng;
    EXPECT_NEAR(local.y, twin.y, 4e-9) << lat << ' ' << lng;
    const Angles angles = Inverse(zone, local.x, local.y);
    const Angles inverse_twin = InverseTwin(local.x, local.y, middle, lat < 0.0);
    EXPECT_NEAR(angles.lat, inverse_twin.lat, 5e-14) << lat << ' ' << lng;
    EXPECT_NEAR(angles.lng, inverse_twin.lng, 1e-13) << lat << ' ' << lng;
  }
}

// On the equator every sine is 0 and every cosine 1 exactly, so that the result is arithmetic
// alone, the same with every library of functions.
double EquatorTwin(double dl, double (*product_and_sum)(double, double, double)) {
  const double A = dl * 0.017453292519943295;
  const double A2 = A * A;
  const double A3 = A2 * A;
  const double A5 = A2 * A2 * A;
  const double C = 0.006739496752268451;
  const double P1 = (1.0 + C) / 6.0;
  const double P3 = (product_and_sum(72.0, C, 5.0) - 0.39089081163157013) / 120.0;
  const double Sx = product_and_sum(P3, A5, product_and_sum(P1, A3, A));
  return product_and_sum(0.9996 * 6378137.0, Sx, 500000.0);
}

double RoundedTwice(double a, double b, double c) {
  const volatile double product = a * b;
  return product + c;
}

double Fused(double a, double b, double c) {
  return std::fma(a, b, c);
}

TEST(UTMProjection, RoundsEveryProductBeforeItIsAdded) {
  static_assert(FLT_EVAL_METHOD == 0, "products and sums are made in double");
  const UTMZone zone(31, 'N');
  int fused_differs = 0;
  for (int i = 1; i <= 300; ++i) {
    const double dl = 0.01 * i;
    const double x = Forward(zone, 0.0, 3.0 + dl).x;
    const double turned = (3.0 + dl) - 3.0;
    EXPECT_EQ(x, EquatorTwin(turned, &RoundedTwice)) << dl;
    fused_differs += EquatorTwin(turned, &Fused) != EquatorTwin(turned, &RoundedTwice) ? 1 : 0;
  }
  EXPECT_GT(fused_differs, 10) << "a fused multiply-add would not be seen";
}

TEST(UTMProjection, GivesThisEastingToTheLastBit) {
  const Coordinates local = Forward(UTMZone(31, 'N'), 0.0, 5.0);
  EXPECT_EQ(local.x, 722595.43966899673) << "with fused multiply-adds it is 722595.43966899661";
  EXPECT_EQ(local.y, 0.0);
}

TEST(UTMProjection, PutsTheMiddleOfAZoneAt500KilometresEast) {
  for (int number = 1; number <= 60; ++number) {
    const UTMZone zone(static_cast<unsigned char>(number), 'N');
    const Coordinates local = Forward(zone, 0.0, 6.0 * number - 183.0);
    EXPECT_EQ(local.x, 500000.0);
    EXPECT_EQ(local.y, 0.0);
  }
}

TEST(UTMProjection, CountsNorthingsFromTheLetterAndNotFromTheLatitude) {
  const double south_in_south = Forward(UTMZone(33, 'M'), -1.0, 15.0).y;
  const double south_in_north = Forward(UTMZone(33, 'N'), -1.0, 15.0).y;
  EXPECT_LT(south_in_north, 0.0);
  EXPECT_NEAR(south_in_south, 1e7 + south_in_north, 1e-8);
  EXPECT_NEAR(Forward(UTMZone(33, 'M'), 1.0, 15.0).y, 1e7 - south_in_north, 1e-8);
}

TEST(UTMProjection, ContinuesAcrossTheAntimeridian) {
  const UTMZone last(60, 'N');
  const Coordinates east = Forward(last, 10.0, 180.5);
  const Coordinates west = Forward(last, 10.0, -179.5);
  EXPECT_EQ(east.x, west.x);
  EXPECT_EQ(east.y, west.y);
  const UTMZone first(1, 'N');
  EXPECT_EQ(Forward(first, 10.0, 179.5).x, Forward(first, 10.0, -180.5).x);
}

TEST(UTMProjection, TurnsTheDistanceOnceOnly) {
  const UTMZone zone(31, 'N');
  EXPECT_EQ(Forward(zone, 10.0, 364.0).x, Forward(zone, 10.0, 4.0).x);
  EXPECT_GT(std::abs(Forward(zone, 10.0, 724.0).x), 1e9);
}

TEST(UTMProjection, KeepsToTheMiddleAtExactlyHalfATurn) {
  const UTMZone zone(31, 'N');
  EXPECT_GT(Forward(zone, 10.0, 183.0).x, 500000.0);
  EXPECT_LT(Forward(zone, 10.0, -177.0).x, 500000.0);
}

TEST(UTMProjection, DoesNotTurnTheLongitudeOfTheInverse) {
  const UTMZone zone(60, 'N');
  const Coordinates local = Forward(zone, 10.0, -179.5);
  EXPECT_NEAR(Inverse(zone, local.x, local.y).lng, 180.5, 1e-8);
}

TEST(UTMProjection, ReturnsWithinTheErrorOfItsSeries) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> any_lat(-80.0, 84.0);
  std::uniform_real_distribution<double> any_lng(-180.0, 180.0);
  for (int i = 0; i < 20000; ++i) {
    const double lat = any_lat(random);
    const double lng = any_lng(random);
    const UTMZone zone(lat, lng);
    const Coordinates local = Forward(zone, lat, lng);
    const Angles angles = Inverse(zone, local.x, local.y);
    const double dl = std::abs(lng - (6.0 * zone.longitude_zone() - 183.0));
    const double metres = dl <= 3.0 ? 0.001 : 0.05;
    const double metres_per_degree = 111319.5;
    EXPECT_NEAR(angles.lat, lat, metres / metres_per_degree) << lat << ' ' << lng;
    EXPECT_NEAR(angles.lng, lng, metres / metres_per_degree / std::cos(lat * 0.017453292519943295))
        << lat << ' ' << lng;
  }
}

TEST(UTMProjection, SubtractsTheOriginAndAddsItBack) {
  UTMZone zone(33, 'T');
  const Coordinates whole = Forward(zone, 42.0, 12.5);
  zone.set_utm_origin({300000.0, 4600000.0});
  const Coordinates local = Forward(zone, 42.0, 12.5);
  EXPECT_EQ(local.x, whole.x - 300000.0);
  EXPECT_EQ(local.y, whole.y - 4600000.0);
  EXPECT_NEAR(Inverse(zone, local.x, local.y).lat, 42.0, 1e-8);
}

TEST(UTMProjection, GivesNotANumberForWhatIsNotFinite) {
  const UTMZone zone(33, 'T');
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    EXPECT_TRUE(std::isnan(Forward(zone, bad, 15.0).y));
    EXPECT_FALSE(std::isfinite(Forward(zone, 42.0, bad).x));
    EXPECT_TRUE(std::isnan(Inverse(zone, 500000.0, bad).lat));
    EXPECT_TRUE(std::isnan(Inverse(zone, bad, 4649776.0).lat));
  }
}

TEST(UTMPartials, AreTheSlopesOfTheForwardMapPerDegree) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> any_lat(-80.0, 84.0);
  std::uniform_real_distribution<double> any_dl(-3.5, 3.5);
  constexpr double kStep = 1e-4;
  for (int i = 0; i < 2000; ++i) {
    const double lat = any_lat(random);
    const double lng = 15.0 + any_dl(random);
    const UTMZone zone(33, lat < 0.0 ? 'C' : 'X');
    Matrix2x2<double> partials;
    Coordinates local;
    zone.LatLngToLocalWithPartials(lat, lng, &local.x, &local.y, &partials);
    const Coordinates north = Forward(zone, lat + kStep, lng);
    const Coordinates south = Forward(zone, lat - kStep, lng);
    const Coordinates east = Forward(zone, lat, lng + kStep);
    const Coordinates west = Forward(zone, lat, lng - kStep);
    // Rounding of northings of 1e7 m over steps of 2e-4 degrees is 1e-5 a degree; the meridian's
    // slope is the exact one and not that of the cut series, which is 4e-5 more.
    EXPECT_NEAR(partials.m[0], (north.x - south.x) / (2.0 * kStep), 5e-5) << lat << ' ' << lng;
    EXPECT_NEAR(partials.m[1], (east.x - west.x) / (2.0 * kStep), 5e-5) << lat << ' ' << lng;
    EXPECT_NEAR(partials.m[2], (north.y - south.y) / (2.0 * kStep), 1e-4) << lat << ' ' << lng;
    EXPECT_NEAR(partials.m[3], (east.y - west.y) / (2.0 * kStep), 5e-5) << lat << ' ' << lng;
  }
}

TEST(UTMPartials, HaveTheExactSlopeOfTheMeridian) {
  // In the middle of the zone y by latitude is k0 times the radius of curvature of the meridian.
  for (const double lat : {0.0, 30.0, 60.0, 84.0}) {
    Matrix2x2<double> partials;
    Coordinates local;
    UTMZone(33, 'N').LatLngToLocalWithPartials(lat, 15.0, &local.x, &local.y, &partials);
    const double s = std::sin(lat * 0.017453292519943295);
    const double radius = 6378137.0 * 0.99330562 / std::pow(1.0 - 0.00669438 * s * s, 1.5);
    EXPECT_NEAR(partials(1, 0), 0.9996 * radius * 0.017453292519943295, 1e-9) << lat;
    EXPECT_EQ(partials(0, 0), 0.0);
  }
}

TEST(UTMPartials, DoNotKnowTheOrigin) {
  UTMZone zone(33, 'T');
  Matrix2x2<double> before;
  Matrix2x2<double> after;
  Coordinates local;
  zone.LatLngToLocalWithPartials(42.0, 12.5, &local.x, &local.y, &before);
  zone.set_utm_origin({300000.0, 4600000.0});
  zone.LatLngToLocalWithPartials(42.0, 12.5, &local.x, &local.y, &after);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(before.m[i], after.m[i]);
  }
}

TEST(UTMPartials, LeaveTheCoordinatesAsTheyAreWithoutThem) {
  const UTMZone zone(33, 'T');
  Matrix2x2<double> partials;
  Coordinates with;
  zone.LatLngToLocalWithPartials(42.0, 12.5, &with.x, &with.y, &partials);
  Coordinates without;
  zone.LatLngToLocalWithPartials(42.0, 12.5, &without.x, &without.y, nullptr);
  EXPECT_EQ(with.x, without.x);
  EXPECT_EQ(with.y, without.y);
  EXPECT_EQ(with.x, Forward(zone, 42.0, 12.5).x);
}

}  // namespace
}  // namespace ostrand
