// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/cartesian.h"

#include <cmath>

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

Vec3<double> CartesianFromStored(const Vec3<double>& stored) {
  const double lon = (stored.x + 0.5) * kPi;
  const double lat = stored.y * kPi;
  const double r = stored.z + 1.0;
  const double cos_lat = std::cos(lat);
  return {cos_lat * r * std::cos(lon), std::sin(lat) * r, -cos_lat * r * std::sin(lon)};
}

Vec3<double> StoredFromCartesian(const Vec3<double>& point) {
  const double xx_zz = point.x * point.x + point.z * point.z;
  const double length = std::sqrt(point.x * point.x + point.y * point.y + point.z * point.z);
  const double lat = std::atan2(point.y, std::sqrt(xx_zz)) / kPi;
  double lon = -std::atan2(point.z, point.x) / kPi - 0.5;
  if (lon < -1.0) {
    lon += 2.0;
  } else if (lon > 1.0) {
    lon -= 2.0;
  }
  return {lon, lat, length - 1.0};
}

}  // namespace spatial
}  // namespace nimbara
