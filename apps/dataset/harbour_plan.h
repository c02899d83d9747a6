// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"
#include "apps/dataset/street_network.h"

namespace pelorin {

/// The drawing board of the harbour town. Internal to this room. Metres east and north of the
/// market square; the whole plan lies within 600 m of it.

struct PlanPoint {
  double x = 0.0;
  double y = 0.0;
};

/// One street as it is drawn.
struct PlanStreet {
  std::string name;
  std::int32_t rank = 0;
  std::uint32_t road_argb = 0xFFFFFFFF;
  double half_width_m = 6.0;
  bool left_houses = true;
  bool right_houses = true;
  std::int32_t first_number = 0;
  bool curved = true;  ///< A smooth curve through the points; else straight from each to the next.
  std::int32_t storey = 0;
  std::string level_id;           ///< Empty outside the station.
  std::vector<PlanPoint> points;  ///< Streets meet where they share one of these, on one storey.
  /// The storeys of the first and the last point, where those differ from the street's own.
  std::int32_t first_storey = 0;
  std::int32_t last_storey = 0;
};

/// A shape beneath the streets.
struct PlanShape {
  std::string kind;
  std::string name;
  bool closed = true;
  bool curved = false;
  std::vector<PlanPoint> points;
};

/// Something to point out to whoever stands near it.
struct PlanSight {
  std::string id;
  std::string title;
  PlanPoint point;
  double height_m = 0.0;  ///< Of what is pointed at, above the street.
  double seen_within_m = 0.0;
};

const std::vector<PlanStreet>& HarbourStreets();
const std::vector<PlanShape>& HarbourShapes();
const std::vector<PlanSight>& HarbourSights();

/// The points of a smooth curve through `points`, which are all among them, a few metres apart.
/// `closed` runs back to the first, which is not repeated.
std::vector<PlanPoint> CurveThrough(const std::vector<PlanPoint>& points, bool closed);

/// The line of a street as it is walked: curved if it says so.
std::vector<PlanPoint> LineOf(const PlanStreet& street);

/// How far `p` is from the line between `a` and `b`, in metres.
double DistanceToLine(const PlanPoint& p, const PlanPoint& a, const PlanPoint& b);
/// True if `p` lies inside the closed line `ring`.
bool Inside(const PlanPoint& p, const std::vector<PlanPoint>& ring);

/// The place of a point of the plan on the planet.
LatLng PlaceOf(const PlanPoint& point);

}  // namespace pelorin
