// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/building_z.h"

#include <memory>
#include <new>
#include <utility>

#include "base/logging.h"
#include "util/geometry3d/mesh/owned_list.h"

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
  return points_ == polygon.points_ && contour_sizes_ == polygon.contour_sizes_ &&
         triangle_indices_ == polygon.triangle_indices_ && z_ == polygon.z_;
}

BuildingZ::~BuildingZ() {
  Clear();
}

PolygonZ* BuildingZ::AddNewPolygon() {
  std::unique_ptr<PolygonZ> polygon(new (std::nothrow) PolygonZ);
  PELORIN_CHECK(polygon);
  return mesh_internal::Own(std::move(polygon), &polygons_);
}

void BuildingZ::RemovePolygon(int index) {
  mesh_internal::DeleteAt(index, &polygons_);
}

void BuildingZ::Clear() {
  mesh_internal::DeleteAll(&polygons_);
}

void BuildingZ::CopyFrom(const BuildingZ& building) {
  Clear();
  polygons_.reserve(building.polygons_.size());
  for (const PolygonZ* const polygon : building.polygons_) {
    AddNewPolygon()->CopyFrom(*polygon);
  }
}

bool BuildingZ::IsEqual(const BuildingZ& building) const {
  return mesh_internal::AllEqual(polygons_, building.polygons_);
}

}  // namespace geometry3d
