// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/vector.h"

namespace geometry3d {

/// A flat polygon at a height, with holes, already tessellated. Lengths are in units of the
/// caller's. A plain record: nothing is checked here.
///
/// Contours run with the outside to their right: an outer ring counter-clockwise, seen from above,
/// a hole clockwise. Each is closed without a repeated point.
class PELORIN_EXPORT PolygonZ {
 public:
  /// The vertices of all contours, one contour behind the other.
  const std::vector<Vector2<double>>& points() const { return points_; }
  std::vector<Vector2<double>>* mutable_points() { return &points_; }
  /// How many of `points` each contour takes, in order, 1 or more each; their sum is the number of
  /// points.
  const std::vector<int>& contour_sizes() const { return contour_sizes_; }
  std::vector<int>* mutable_contour_sizes() { return &contour_sizes_; }
  /// Three positions in `points` for each triangle of the tessellation.
  const std::vector<int>& triangle_indices() const { return triangle_indices_; }
  std::vector<int>* mutable_triangle_indices() { return &triangle_indices_; }
  /// The height of the roof; 0 at first.
  double z() const { return z_; }
  void set_z(double z) { z_ = z; }

  /// Empties the three vectors; `z` stays.
  void Clear();
  /// Copies all four fields.
  void CopyFrom(const PolygonZ& polygon);
  /// Whether all four fields compare equal; a NaN is unequal, also to itself.
  bool IsEqual(const PolygonZ& polygon) const;

 private:
  std::vector<Vector2<double>> points_;
  std::vector<int> contour_sizes_;
  std::vector<int> triangle_indices_;
  double z_ = 0.0;
};

/// A building as polygons that are each extruded downwards (`BuildingZShape`). It owns its
/// polygons; one that it has given out stays valid until it is removed. One thread at a time may
/// change it, any number may read.
///
///     BuildingZ building;
///     PolygonZ* roof = building.AddNewPolygon();
///     *roof->mutable_points() = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};
///     *roof->mutable_contour_sizes() = {4};
///     *roof->mutable_triangle_indices() = {0, 1, 2, 0, 2, 3};
///     roof->set_z(10.0);
class PELORIN_EXPORT BuildingZ {
 public:
  BuildingZ() = default;
  ~BuildingZ();
  BuildingZ(const BuildingZ&) = delete;
  BuildingZ& operator=(const BuildingZ&) = delete;

  const std::vector<PolygonZ*>& polygons() const { return polygons_; }
  /// A new, empty polygon behind the others. Fatal check "polygon" where there is no memory for it;
  /// then throws std::bad_alloc, the building being as before.
  PolygonZ* AddNewPolygon();
  /// Deletes the polygon at `index`, 0 up to the number of polygons less one, and closes the gap;
  /// any other `index` throws std::out_of_range.
  void RemovePolygon(int index);
  /// Deletes all polygons.
  void Clear();
  /// Replaces the polygons by copies of those of `building`. A copy of itself ends up empty.
  void CopyFrom(const BuildingZ& building);
  /// Whether both have as many polygons and these are equal, place for place.
  bool IsEqual(const BuildingZ& building) const;

 private:
  std::vector<PolygonZ*> polygons_;
};

}  // namespace geometry3d
