// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/harbour_heights.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "apps/dataset/harbour_plan.h"

namespace pelorin {

namespace {

constexpr double kHalfWidthMetres = 620.0;
constexpr double kHalfHeightMetres = 560.0;
constexpr double kStepMetres = 10.0;
constexpr double kQuayMetres = 2.0;
// The ground rises steeply for the first metres behind the shore, then gently.
constexpr double kBeachMetres = 35.0;
constexpr double kBeachSlope = 0.08;
constexpr double kLandSlope = 0.04;
// Heights are kept in quarters of a metre, so that no machine's last bit can show.
constexpr double kParts = 4.0;

struct Hill {
  PlanPoint top;
  double radius_m;
  double height_m;
};

constexpr Hill kHills[] = {{{-290.0, 168.0}, 170.0, 34.0}, {{112.0, 190.0}, 130.0, 13.0}};

// Flat at the top and at the foot: (1 - q^2)^2 of the distance q in radii.
double HillMetres(const Hill& hill, const PlanPoint& point) {
  const double x = (point.x - hill.top.x) / hill.radius_m;
  const double y = (point.y - hill.top.y) / hill.radius_m;
  const double rest = std::max(0.0, 1.0 - (x * x + y * y));
  return hill.height_m * rest * rest;
}

double MetresToShore(const PlanPoint& point, const std::vector<PlanPoint>& ring) {
  double metres = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
    metres = std::min(metres, DistanceToLine(point, ring[i], ring[j]));
  }
  return metres;
}

double LandMetres(const PlanPoint& point, const PlanShape& land) {
  const double shore = MetresToShore(point, land.points);
  double metres = std::min(shore, kBeachMetres) * kBeachSlope +
                  std::max(0.0, shore - kBeachMetres) * kLandSlope;
  for (const Hill& hill : kHills) {
    metres += HillMetres(hill, point);
  }
  return metres;
}

double GroundMetres(const PlanPoint& point) {
  double metres = 0.0;
  for (const PlanShape& shape : HarbourShapes()) {
    const bool built = shape.kind == "quay" || shape.kind == "mole";
    if ((shape.kind == "land" || built) && Inside(point, shape.points)) {
      metres = std::max(metres, built ? kQuayMetres : LandMetres(point, shape));
    } else if (shape.kind == "water" && Inside(point, shape.points)) {
      return std::numeric_limits<double>::quiet_NaN();
    }
  }
  return metres;
}

}  // namespace

HeightGrid HarbourHeights() {
  HeightGrid grid;
  const LatLng corner = PlaceOf({-kHalfWidthMetres, kHalfHeightMetres});
  const LatLng next = PlaceOf({-kHalfWidthMetres + kStepMetres, kHalfHeightMetres - kStepMetres});
  grid.info.name = "gull-haven";
  grid.info.north_deg = corner.lat_deg;
  grid.info.west_deg = corner.lng_deg;
  grid.info.lat_step_deg = corner.lat_deg - next.lat_deg;
  grid.info.lng_step_deg = next.lng_deg - corner.lng_deg;
  grid.info.rows = static_cast<std::int64_t>(2.0 * kHalfHeightMetres / kStepMetres) + 1;
  grid.info.columns = static_cast<std::int64_t>(2.0 * kHalfWidthMetres / kStepMetres) + 1;
  for (std::int64_t row = 0; row < grid.info.rows; ++row) {
    for (std::int64_t column = 0; column < grid.info.columns; ++column) {
      const PlanPoint point{-kHalfWidthMetres + kStepMetres * static_cast<double>(column),
                            kHalfHeightMetres - kStepMetres * static_cast<double>(row)};
      grid.samples.push_back(static_cast<float>(std::round(GroundMetres(point) * kParts) / kParts));
    }
  }
  return grid;
}

}  // namespace pelorin
