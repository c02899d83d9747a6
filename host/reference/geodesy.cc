// SPDX-License-Identifier: Apache-2.0
#include "host/geodesy.h"

#include <cmath>
#include <cstdint>

namespace nimbara {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Degrees in units of 1e-5. Beyond the globe by far, so a damaged position cannot overflow a
// difference of two.
std::int64_t RoundedE5(double stored) {
  constexpr double kLimit = 1e12;
  if (!std::isfinite(stored)) {
    return 0;
  }
  const double e5 = stored * 180.0 * 1e5;
  return std::llround(std::fmin(std::fmax(e5, -kLimit), kLimit));
}

// The published polyline form: sign moved to the lowest bit, then groups of 5 bits from the lowest,
// each plus 0x20 while more follow, each plus 63.
void AppendPolylineValue(std::int64_t value, std::string* out) {
  std::uint64_t bits = static_cast<std::uint64_t>(value) << 1;
  if (value < 0) {
    bits = ~bits;
  }
  while (bits >= 0x20) {
    out->push_back(static_cast<char>((0x20 | (bits & 0x1f)) + 63));
    bits >>= 5;
  }
  out->push_back(static_cast<char>(bits + 63));
}

}  // namespace

// Initial bearing of the great circle: atan2(sin(dl) cos(p2), cos(p1) sin(p2) - sin(p1) cos(p2)
// cos(dl)).
double AzimuthToPoint(double lat1, double lon1, double lat2, double lon2) {
  const double phi1 = lat1 * kPi;
  const double phi2 = lat2 * kPi;
  // By the short way round, so that the two names of a point on the date line are one point.
  const double delta = std::remainder(lon2 - lon1, 2.0) * kPi;
  return std::atan2(std::sin(delta) * std::cos(phi2),
                    std::cos(phi1) * std::sin(phi2) -
                        std::sin(phi1) * std::cos(phi2) * std::cos(delta));
}

float ComputeFlatMapCompassHeading(const Vec2<double>& from, const Vec2<double>& to) {
  const double east = to.x - from.x;
  const double north = to.y - from.y;
  if (east == 0.0 && north == 0.0) {
    return 0.0f;  // A zero may bear a sign, and then turn into a half circle.
  }
  double degrees = std::atan2(east, north) * (180.0 / kPi);
  if (degrees < 0.0) {
    degrees += 360.0;
  }
  const float heading = static_cast<float>(degrees);
  return heading < 360.0f ? heading : 0.0f;  // A tiny negative angle rounds up to the full circle.
}

namespace geometry {

void EncodePolylineString(const Vec3<double>* points, int count, std::string* out) {
  if (out == nullptr) {
    return;
  }
  out->clear();
  if (points == nullptr) {
    return;
  }
  std::int64_t last_lat = 0;
  std::int64_t last_lng = 0;
  for (int i = 0; i < count; ++i) {
    const std::int64_t lat = RoundedE5(points[i].y);
    const std::int64_t lng = RoundedE5(points[i].x);
    AppendPolylineValue(lat - last_lat, out);
    AppendPolylineValue(lng - last_lng, out);
    last_lat = lat;
    last_lng = lng;
  }
}

}  // namespace geometry
}  // namespace nimbara
