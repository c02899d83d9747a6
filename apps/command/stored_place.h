// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "apps/dataset/pano_record.h"
#include "host/values.h"

namespace pelorin {
namespace command {

/// Between places in degrees and the positions of the library: x longitude / 180, y latitude / 180.
/// Pure functions, safe from any thread.

/// Metres of one unit of the stored plane, along a meridian. Along a parallel a unit is shorter by
/// the cosine of the latitude, which the library leaves aside: its corridors are that much narrower
/// from east to west than from north to south.
constexpr double kMetresPerStoredUnit = 180.0 * kMetresPerDegree;

/// At altitude 0.
inline nimbara::Vec3<double> StoredFrom(const LatLng& place) {
  return {place.lng_deg / 180.0, place.lat_deg / 180.0, 0.0};
}

inline nimbara::Vec2<double> FlatFrom(const LatLng& place) {
  return {place.lng_deg / 180.0, place.lat_deg / 180.0};
}

inline nimbara::Vec2<double> FlatFrom(const nimbara::Vec3<double>& stored) {
  return {stored.x, stored.y};
}

inline LatLng PlaceFromStored(const nimbara::Vec3<double>& stored) {
  return {stored.y * 180.0, stored.x * 180.0};
}

inline LatLng PlaceFromFlat(const nimbara::Vec2<double>& flat) {
  return {flat.y * 180.0, flat.x * 180.0};
}

/// The direction of `to` from `from` in the stored plane, radians clockwise from north: what the
/// library calls a heading. 0 for equal points.
inline double FlatHeading(const nimbara::Vec2<double>& from, const nimbara::Vec2<double>& to) {
  return std::atan2(to.x - from.x, to.y - from.y);
}

/// How much shorter a unit of the stored plane is from east to west, at `flat`.
inline double EastShare(const nimbara::Vec2<double>& flat) {
  return std::cos(flat.y * kPi);
}

/// A flat heading as a compass at `flat` shows it, in degrees, 0 up to 360.
inline double CompassDegrees(const nimbara::Vec2<double>& flat, double heading) {
  return NormalizedDegrees(std::atan2(std::sin(heading) * EastShare(flat), std::cos(heading)) *
                           180.0 / kPi);
}

/// The point `metres` on the ground from `flat` in the direction of a flat heading. Good for steps
/// that are short beside the distance to the poles.
inline nimbara::Vec2<double> FlatStep(const nimbara::Vec2<double>& flat, double heading,
                                      double metres) {
  const double ground = std::hypot(std::sin(heading) * EastShare(flat), std::cos(heading));
  const double length = ground > 0.0 ? metres / (ground * kMetresPerStoredUnit) : 0.0;
  return {flat.x + std::sin(heading) * length, flat.y + std::cos(heading) * length};
}

}  // namespace command
}  // namespace pelorin
