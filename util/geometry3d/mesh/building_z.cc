// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/building_z.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "base/logging.h"

namespace geometry3d {

void PolygonZ::Clear() {
  points_.clear();
  contour_sizes_.clear();
  triangle_indices_.clear();
}

void PolygonZ::CopyFrom(const PolygonZ& polygon) {
  *this = polygon;
}

bool PolygonZ::IsEqual(const PolygonZ& polygon) const {
  const auto same_place = [](const Vector2<double>& a, const Vector2<double>& b) {
    return a.x == b.x && a.y == b.y;
  };
  return std::equal(points_.begin(), points_.end(), polygon.points_.begin(), polygon.points_.end(),
                    same_place) &&
         contour_sizes_ == polygon.contour_sizes_ &&
         triangle_indices_ == polygon.triangle_indices_ && z_ == polygon.z_;
}

BuildingZ::~BuildingZ() {
  Clear();
}

PolygonZ* BuildingZ::AddNewPolygon() {
  auto polygon = std::make_unique<PolygonZ>();
  PELORIN_CHECK(polygon);
  polygons_.push_back(polygon.get());
  return polygon.release();
}

void BuildingZ::RemovePolygon(int index) {
  // A negative index becomes one that no vector reaches.
  delete polygons_.at(static_cast<std::size_t>(index));
  polygons_.erase(polygons_.begin() + index);
}

void BuildingZ::Clear() {
  for (PolygonZ* const polygon : polygons_) {
    delete polygon;
  }
  polygons_.clear();
}

void BuildingZ::CopyFrom(const BuildingZ& building) {
  Clear();
  polygons_.reserve(building.polygons_.size());
  for (const PolygonZ* const polygon : building.polygons_) {
    AddNewPolygon()->CopyFrom(*polygon);
  }
}

bool BuildingZ::IsEqual(const BuildingZ& building) const {
  return std::equal(polygons_.begin(), polygons_.end(), building.polygons_.begin(),
                    building.polygons_.end(),
                    [](const PolygonZ* a, const PolygonZ* b) { return a->IsEqual(*b); });
}

}  // namespace geometry3d
