// SPDX-License-Identifier: Apache-2.0
// Prints the tables of docs/utm.md: how far the UTM series lie from the exact projection, by the
// distance from the middle of the zone. The truth is GeographicLib's transverse Mercator by
// elliptic functions, good to nanometres, once on WGS84 and once on the ellipsoid of the series,
// whose eccentricity is rounded.
#include <GeographicLib/Constants.hpp>
#include <GeographicLib/TransverseMercatorExact.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "ostrand/base/utmzone.h"

namespace {

using GeographicLib::TransverseMercatorExact;
using ostrand::UTMZone;

constexpr double kMajorAxis = 6378137.0;
constexpr double kScale = 0.9996;
constexpr double kSeriesE2 = 0.00669438;
constexpr double kMetresPerDegree = 111319.49079327358;

double FlatteningOf(double e2) {
  return e2 / (1.0 + std::sqrt(1.0 - e2));
}

struct Errors {
  double forward_series = 0.0;  // From the exact projection on the ellipsoid of the series, metres.
  double forward = 0.0;         // From the exact projection on WGS84, metres.
  double inverse = 0.0;         // Likewise, metres on the ground.
  double round_trip = 0.0;      // Inverse of forward, metres on the ground.

  void Raise(const Errors& other) {
    forward_series = std::max(forward_series, other.forward_series);
    forward = std::max(forward, other.forward);
    inverse = std::max(inverse, other.inverse);
    round_trip = std::max(round_trip, other.round_trip);
  }
};

double GroundMetres(double lat, double north_deg, double east_deg) {
  constexpr double kRadiansPerDegree = 0.017453292519943295;
  return kMetresPerDegree * std::hypot(north_deg, east_deg * std::cos(lat * kRadiansPerDegree));
}

Errors ErrorsAt(double lat, double dl) {
  static const TransverseMercatorExact wgs84(kMajorAxis, GeographicLib::Constants::WGS84_f(),
                                             kScale);
  static const TransverseMercatorExact series(kMajorAxis, FlatteningOf(kSeriesE2), kScale);
  const UTMZone zone(31, 'N');
  double x = 0.0;
  double y = 0.0;
  zone.LatLngToLocal(lat, 3.0 + dl, &x, &y);

  Errors errors;
  double true_x = 0.0;
  double true_y = 0.0;
  series.Forward(3.0, lat, 3.0 + dl, true_x, true_y);
  errors.forward_series = std::hypot(x - 500000.0 - true_x, y - true_y);
  wgs84.Forward(3.0, lat, 3.0 + dl, true_x, true_y);
  errors.forward = std::hypot(x - 500000.0 - true_x, y - true_y);
  double back_lat = 0.0;
  double back_lng = 0.0;
  zone.LocalToLatLng(true_x + 500000.0, true_y, &back_lat, &back_lng);
  errors.inverse = GroundMetres(lat, back_lat - lat, back_lng - 3.0 - dl);
  zone.LocalToLatLng(x, y, &back_lat, &back_lng);
  errors.round_trip = GroundMetres(lat, back_lat - lat, back_lng - 3.0 - dl);
  return errors;
}

// The worst over a grid of latitudes and both sides.
Errors WorstAt(double from_lat, double to_lat, double dl) {
  constexpr double kStep = 0.25;
  Errors worst;
  const int steps = static_cast<int>((to_lat - from_lat) / kStep);
  for (int i = 0; i <= steps; ++i) {
    const double lat = from_lat + i * kStep;
    worst.Raise(ErrorsAt(lat, dl));
    worst.Raise(ErrorsAt(lat, -dl));
  }
  return worst;
}

std::string Millimetres(double metres) {
  char text[40];
  std::snprintf(text, sizeof text, metres < 0.01 ? "%.2g mm" : "%.0f mm", 1e3 * metres);
  return text;
}

void PrintTable(const char* title, double from_lat, double to_lat,
                const std::vector<double>& distances) {
  std::printf("\n%s\n\n", title);
  std::printf("| degrees from the middle | forward, series alone | forward | inverse | round trip "
              "|\n|---|---|---|---|---|\n");
  for (const double dl : distances) {
    const Errors worst = WorstAt(from_lat, to_lat, dl);
    std::printf("| %g | %s | %s | %s | %s |\n", dl, Millimetres(worst.forward_series).c_str(),
                Millimetres(worst.forward).c_str(), Millimetres(worst.inverse).c_str(),
                Millimetres(worst.round_trip).c_str());
  }
}

}  // namespace

int main() {
  PrintTable("Latitudes 0 to 84", 0.0, 84.0, {0, 1, 2, 3, 3.5, 4, 5, 6, 8, 10});
  PrintTable("32V, latitudes 56 to 64", 56.0, 64.0, {3, 4, 5, 6});
  PrintTable("Svalbard, latitudes 72 to 84", 72.0, 84.0, {3, 4, 5, 6});
  return 0;
}
