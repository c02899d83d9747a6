// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {

/// Turns buildings into meshes: each polygon becomes a flat roof at its height, walls down to a
/// base height and, if wanted, lines along its edges. The bottom stays open.
///
///        3 ------- 2      top ring: points 0 to P-1 of the polygon, at its z
///       /|        /|
///      0 ------- 1 |      roof: the polygon's triangles, normal (0, 0, 1)
///      | 7 - - - | 6      walls: 0 4 5, 0 5 1, then 1 5 6, 1 6 2, and so on
///      |/        |/
///      4 ------- 5        bottom ring: the same points at the base height
///
/// A wall corner where the way turns sharply is a crease: the two walls have each its own normal
/// there and a vertical line stands at it. At any other corner the walls share one normal, half way
/// between them, so that a round tower looks round.
///
///     Shape shape;
///     if (!BuildingZShape::CreateShapeWithDefaults(building, &shape)) return;  // Drop `shape`.
///
/// Both operations only read the building and may run beside each other on different shapes.
class PELORIN_EXPORT BuildingZShape {
 public:
  BuildingZShape() = delete;

  /// Appends the mesh of `building` to `shape`: copies of the materials, then for each polygon its
  /// points, normals and one index set of triangles with `material`. With `add_crease_edges` a
  /// second set of lines with `crease_material` follows: all top and bottom edges and the verticals
  /// at creases. A null material leaves its sets without one (-1).
  ///
  /// `base_z` is in the unit of the polygons. `crease_threshold` is the cosine of the turn at a
  /// corner: where the unit normals of two walls have a dot product below it they meet at a crease.
  /// 0.8 is a turn of more than about 36.9 degrees. A wall without length has a zero normal, and so
  /// a crease at both ends for any positive threshold.
  ///
  /// False behind an error entry, with `shape` filled up to there and to be dropped:
  /// "Polygon N has not been tessellated." for a polygon without any triangle index, and
  /// "PolygonZ contour size mismatch" for contours that do not cover the points exactly (contours
  /// behind those that cover all points are not looked at). A contour of size 0 or less counts as
  /// such a mismatch. A polygon of fewer than 3 points, without contours, or with a number of
  /// triangle indices that is no multiple of 3 is left out without a word.
  ///
  /// Triangle indices are copied unchecked; `Shape::Validate` finds those out of range.
  ///
  /// Fatal checks: "shape" (false for null), "add_crease_edges" for a `crease_material` without
  /// edges (the material is copied all the same), "polygon" for a null polygon (it is left out).
  static bool CreateShape(const BuildingZ& building, const Material* material,
                          const Material* crease_material, double base_z, bool add_crease_edges,
                          float crease_threshold, Shape* shape);

  /// The same from the ground (0) up, with edges, with creases from 0.8 down, walls and roofs in
  /// light grey (0.68, 0.66, 0.68) and lines in sand (1.0, 0.86, 0.68) as diffuse colours.
  static bool CreateShapeWithDefaults(const BuildingZ& building, Shape* shape);
};

}  // namespace geometry3d
