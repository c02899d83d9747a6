// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// A corner of a face: positions in the pools of points, normals and texture coordinates; -1 where
/// the corner has none of the latter two.
struct Corner {
  int point = -1;
  int normal = -1;
  int tex_coord = -1;
};

/// Sorts faces into the index sets of a shape: one for each material, format and choice of arrays,
/// in the order in which they first appear. For one thread.
class MeshBuilder {
 public:
  /// `shape` is not owned and outlives the builder.
  explicit MeshBuilder(geometry3d::Shape* shape) : shape_(shape) {}

  /// A line of 2 corners, a triangle, a quad or a polygon of more; with fewer it is left out. A
  /// face has normals or texture coordinates if each of its corners has. `material` is a position
  /// in the shape's materials or -1. Positions are not checked.
  void AddFace(int material, const std::vector<Corner>& corners);

  /// Ends the building: faces with a textured material and no texture coordinates get a copy of it
  /// without the texture, and what colours and factors lie outside the ranges of a stream moves to
  /// the nearest end.
  void Finish();

 private:
  using Key = std::tuple<int, int, bool, bool>;

  geometry3d::Shape* shape_;
  std::map<Key, geometry3d::IndexSet*> sets_;
};

}  // namespace mesh
}  // namespace pelorin
