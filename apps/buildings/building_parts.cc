// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/building_parts.h"

#include <algorithm>
#include <utility>

namespace pelorin {
namespace {

constexpr double kCovered = 0.9;

}  // namespace

BuildingParts::Box BuildingParts::BoxOf(const PlaneRing& ring) {
  Box box{ring.front(), ring.front()};
  for (const PlanePoint& point : ring) {
    box.low = PlanePoint(std::min(box.low.x, point.x), std::min(box.low.y, point.y));
    box.high = PlanePoint(std::max(box.high.x, point.x), std::max(box.high.y, point.y));
  }
  return box;
}

void BuildingParts::Add(std::vector<PlaneRing> rings) {
  const Box box = BoxOf(rings.front());
  widest_ = std::max(widest_, box.high.x - box.low.x);
  parts_.push_back({box, std::move(rings)});
}

void BuildingParts::Sort() {
  std::sort(parts_.begin(), parts_.end(),
            [](const Part& a, const Part& b) { return a.box.low.x < b.box.low.x; });
}

bool BuildingParts::Replace(const std::vector<PlaneRing>& outline, Tessellator* tessellator) const {
  const Box box = BoxOf(outline.front());
  std::vector<const std::vector<PlaneRing>*> near;
  for (auto part =
           std::lower_bound(parts_.begin(), parts_.end(), box.low.x - widest_,
                            [](const Part&each, double west) { return each.box.low.x < west; });
       part != parts_.end() && part->box.low.x <= box.high.x; ++part) {
    if (part->box.high.x >= box.low.x && part->box.low.y <= box.high.y &&
        part->box.high.y >= box.low.y) {
      near.push_back(&part->rings);
    }
  }
  return !near.empty() && tessellator->CoveredShare(outline, near) >= kCovered;
}

}  // namespace pelorin
