// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/building_maker.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "apps/buildings/building_parts.h"
#include "apps/buildings/tessellation.h"

namespace pelorin {
namespace {

// Beyond it a plane has nothing to do with the ground.
constexpr double kMaxDistance = 1e6;

// Degrees eastwards from `from` to `to`, the short way round.
double EastwardDegrees(double from_deg, double to_deg) {
  return std::remainder(to_deg - from_deg, 360.0);
}

// The middle of the box around all places, which may lie across the meridian of 180 degrees.
LatLng MiddleOf(const std::vector<Footprint>& footprints) {
  if (footprints.empty()) {
    return {};
  }
  const LatLng first = footprints.front().rings.front().front();
  LatLng low;
  LatLng high;
  for (const Footprint& footprint : footprints) {
    for (const LatLng& place : footprint.rings.front()) {
      const LatLng from_first{place.lat_deg - first.lat_deg,
                              EastwardDegrees(first.lng_deg, place.lng_deg)};
      low = {std::min(low.lat_deg, from_first.lat_deg), std::min(low.lng_deg, from_first.lng_deg)};
      high = {std::max(high.lat_deg, from_first.lat_deg),
              std::max(high.lng_deg, from_first.lng_deg)};
    }
  }
  return {first.lat_deg + (low.lat_deg + high.lat_deg) / 2.0,
          std::remainder(first.lng_deg + (low.lng_deg + high.lng_deg) / 2.0, 360.0)};
}

class Plan {
 public:
  explicit Plan(const LatLng& origin)
      : origin_(origin), east_scale_(kMetresPerDegree * std::cos(origin.lat_deg * kPi / 180.0)) {}

  PlanePoint Place(const LatLng& place) const {
    return PlanePoint(EastwardDegrees(origin_.lng_deg, place.lng_deg) * east_scale_,
                      (place.lat_deg - origin_.lat_deg) * kMetresPerDegree);
  }

 private:
  LatLng origin_;
  double east_scale_;
};

std::vector<PlaneRing> RingsOnPlan(const Footprint& footprint, const Plan& plan) {
  std::vector<PlaneRing> rings;
  for (const std::vector<LatLng>& places : footprint.rings) {
    PlaneRing ring;
    for (const LatLng& place : places) {
      ring.push_back(plan.Place(place));
      if (std::hypot(ring.back().x, ring.back().y) > kMaxDistance) {
        throw TessellationFault("it is more than 1000 km from the origin");
      }
    }
    rings.push_back(std::move(ring));
  }
  return rings;
}

// Those of which something can be made: an outline does not give way to anything less.
BuildingParts PartsOf(const std::vector<Footprint>& footprints, const Plan& plan,
                      Tessellator* tessellator) {
  BuildingParts parts;
  for (const Footprint& footprint : footprints) {
    if (footprint.is_part) {
      try {
        std::vector<PlaneRing> rings = RingsOnPlan(footprint, plan);
        bool repaired = false;
        if (!tessellator->Cut(rings, &repaired).empty()) {
          parts.Add(std::move(rings));
        }
      } catch (const TessellationFault&) {
        // It is left out below, and told of there.
      }
    }
  }
  parts.Sort();
  return parts;
}

}  // namespace

BuildingResult MakeBuilding(const BuildingOptions& options, Footprints* footprints,
                            geometry3d::BuildingZ* building) {
  BuildingResult result;
  result.origin = options.origin ? *options.origin : MiddleOf(footprints->footprints);
  const Plan plan(result.origin);
  const double step = std::ldexp(1.0, -options.point_bits);
  Tessellator tessellator(step);
  const BuildingParts building_parts = PartsOf(footprints->footprints, plan, &tessellator);
  const std::uint64_t total = footprints->footprints.size();
  std::uint64_t done = 0;
  for (const Footprint& footprint : footprints->footprints) {
    if (options.on_progress) {
      options.on_progress(done++, total);
    }
    bool repaired = false;
    std::vector<TessellatedPolygon> parts;
    try {
      const std::vector<PlaneRing> rings = RingsOnPlan(footprint, plan);
      if (!footprint.is_part && building_parts.Replace(rings, &tessellator)) {
        ++result.replaced;
        continue;
      }
      parts = tessellator.Cut(rings, &repaired);
      if (parts.empty()) {
        throw TessellationFault("it is thinner than a step of the coordinates");
      }
    } catch (const TessellationFault& fault) {
      footprints->Warn(footprint.name + ": left out: " + fault.what());
      ++result.left_out;
      continue;
    }
    result.repaired += repaired ? 1 : 0;
    // At least one step high, or the roof would lie on the ground.
    const double height = std::max(step, std::nearbyint(footprint.height_m / step) * step);
    for (TessellatedPolygon& part : parts) {
      ++result.polygons;
      result.points += part.points.size();
      result.triangles += part.triangles.size() / 3;
      geometry3d::PolygonZ* const polygon = building->AddNewPolygon();
      *polygon->mutable_points() = std::move(part.points);
      *polygon->mutable_contour_sizes() = std::move(part.contour_sizes);
      *polygon->mutable_triangle_indices() = std::move(part.triangles);
      polygon->set_z(height);
    }
  }
  return result;
}

}  // namespace pelorin
