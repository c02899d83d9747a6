// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "util/geometry3d/mesh/index_set.h"

namespace pelorin {
namespace mesh {

/// Calls `take(positions)` for each face and line of `set`, with the positions of its corners in
/// the index arrays: triangles of strips (their winding kept) and fans, quads and polygons whole,
/// lines as two. Left out are triangles of strips and fans that name a point twice, which only lead
/// a strip on, and primitives with too few corners for their format, also in the middle of a set,
/// so any set can be walked. `positions` is only valid during the call.
template <typename Take>
void ForEachFace(const geometry3d::IndexSet& set, Take take) {
  using geometry3d::IndexSet;
  const std::vector<int>& indices = set.point_indices();
  std::vector<int> positions;
  if (const auto stride = static_cast<std::size_t>(set.GetStride()); stride > 0) {
    for (std::size_t i = 0; i + stride <= indices.size(); i += stride) {
      positions.clear();
      for (std::size_t k = 0; k < stride; ++k) {
        positions.push_back(static_cast<int>(i + k));
      }
      take(positions);
    }
    return;
  }
  for (std::size_t begin = 0, end = 0; begin < indices.size(); begin = end + 1) {
    for (end = begin; end < indices.size() && indices[end] != -1;) {
      ++end;
    }
    const auto first = static_cast<int>(begin);
    const auto last = static_cast<int>(end);
    if (set.format() == IndexSet::kPolygons) {
      positions.clear();
      for (int i = first; i < last; ++i) {
        positions.push_back(i);
      }
      if (positions.size() >= 3) {
        take(positions);
      }
      continue;
    }
    for (int i = first + 2; i < last; ++i) {
      if (set.format() == IndexSet::kTriangleFan) {
        positions = {first, i - 1, i};
      } else if ((i - first) % 2 == 0) {
        positions = {i - 2, i - 1, i};
      } else {
        positions = {i - 1, i - 2, i};
      }
      const int a = indices[static_cast<std::size_t>(positions[0])];
      const int b = indices[static_cast<std::size_t>(positions[1])];
      const int c = indices[static_cast<std::size_t>(positions[2])];
      if (a != b && b != c && a != c) {
        take(positions);
      }
    }
  }
}

/// Calls `take(a, b, c)` for each triangle of `set`; quads and polygons are cut as fans about their
/// first corner, lines have none.
template <typename Take>
void ForEachTriangle(const geometry3d::IndexSet& set, Take take) {
  ForEachFace(set, [&take](const std::vector<int>& face) {
    for (std::size_t i = 2; i < face.size(); ++i) {
      take(face[0], face[i - 1], face[i]);
    }
  });
}

}  // namespace mesh
}  // namespace pelorin
