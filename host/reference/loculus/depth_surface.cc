// SPDX-License-Identifier: Apache-2.0
#include "host/reference/loculus/depth_surface.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/units.h"

namespace nimbara {
namespace loculus {
namespace {

constexpr double kPi = 3.14159265358979323846;
// The sine of the flattest angle at which a ray meets a plane.
constexpr double kLeastSine = 1e-12;

double Dot(const Vec3<double>& a, const Vec3<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3<double> Sum(const Vec3<double>& a, double a_times, const Vec3<double>& b, double b_times) {
  return {a.x * a_times + b.x * b_times, a.y * a_times + b.y * b_times,
          a.z * a_times + b.z * b_times};
}

double Length(const Vec3<double>& v) {
  return std::sqrt(Dot(v, v));
}

// How far along the ray, in lengths of its direction, it meets the plane; below 0 if it does not,
// which stands for every ray that runs away from it or within it.
double ReachOf(const Plane<double>& plane, const Vec3<double>& start,
               const Vec3<double>& direction) {
  const double approach = Dot(plane.normal, direction);
  const bool meets = std::fabs(approach) > kLeastSine * Length(plane.normal) * Length(direction);
  return meets ? (plane.distance - Dot(plane.normal, start)) / approach : -1.0;
}

// The index of the part, of `count` equal ones, that `fraction` of the whole falls into.
std::int32_t PartOf(double fraction, std::int32_t count) {
  const double clamped = std::min(std::max(fraction, 0.0), 1.0);
  return std::min(static_cast<std::int32_t>(clamped * count), count - 1);
}

}  // namespace

DepthSurface::DepthSurface(const DepthMap& map, const Vec3<double>& position, double heading_deg)
    : cells_(HeapManager::GetDynamicHeap()), planes_(HeapManager::GetDynamicHeap()) {
  const double lon = (position.x + 0.5) * kPi;
  const double lat = position.y * kPi;
  const double heading = heading_deg * kPi / 180.0;
  const Vec3<double> east{-std::sin(lon), 0.0, -std::cos(lon)};
  const Vec3<double> north{-std::sin(lat) * std::cos(lon), std::cos(lat),
                           std::sin(lat) * std::sin(lon)};
  up_ = {std::cos(lat) * std::cos(lon), std::sin(lat), -std::cos(lat) * std::sin(lon)};
  const double radius = position.z + 1.0;
  origin_ = {up_.x * radius, up_.y * radius, up_.z * radius};
  ahead_ = Sum(north, std::cos(heading), east, std::sin(heading));
  right_ = Sum(east, std::cos(heading), north, -std::sin(heading));
  if (map.indices != nullptr && map.width > 0 && map.height > 0) {
    width_ = map.width;
    height_ = map.height;
    const std::size_t count =
        static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height);
    cells_.assign(map.indices, map.indices + count);
  }
  if (map.planes != nullptr && map.plane_count > 0) {
    planes_.assign(map.planes, map.planes + map.plane_count);
  }
}

// From Cartesian space to the panorama's axes, in metres.
Vec3<double> DepthSurface::ToLocal(const Vec3<double>& vector) const {
  const double metres = 1.0 / Units::s_inv_planet_radius;
  return {Dot(vector, right_) * metres, Dot(vector, ahead_) * metres, Dot(vector, up_) * metres};
}

bool DepthSurface::SeesPlaneAt(const Vec3<double>& local, std::size_t plane) const {
  if (cells_.empty()) {
    return false;
  }
  const double azimuth = std::atan2(local.x, local.y);
  const double elevation = std::atan2(local.z, std::hypot(local.x, local.y));
  const std::int32_t column = PartOf(azimuth / (2.0 * kPi) + 0.5, width_);
  const std::int32_t row = PartOf(0.5 - elevation / kPi, height_);
  const std::size_t cell = static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) +
                           static_cast<std::size_t>(column);
  return cells_[cell] == plane;
}

bool DepthSurface::TestRay(const Vec3<double>& start, const Vec3<double>& direction,
                           Vec3<double>* hit) const {
  const Vec3<double> local_start = ToLocal(Sum(start, 1.0, origin_, -1.0));
  const Vec3<double> local_direction = ToLocal(direction);
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < planes_.size(); ++i) {
    const double reach = ReachOf(planes_[i], local_start, local_direction);
    if (reach >= 0.0 && reach < nearest &&
        SeesPlaneAt(Sum(local_start, 1.0, local_direction, reach), i)) {
      nearest = reach;
    }
  }
  if (!(nearest < std::numeric_limits<double>::infinity())) {
    return false;
  }
  *hit = Sum(start, 1.0, direction, nearest);
  return true;
}

}  // namespace loculus
}  // namespace nimbara
