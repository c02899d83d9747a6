// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <vector>

#include "apps/mesh/faces.h"
#include "util/geometry3d/mesh/shape.h"

namespace test_support {

/// A wavy sheet of `size` x `size` quads as triangles in no good order, with a normal and a texture
/// coordinate at each vertex, and a textured material.
inline void FillSheet(int size, geometry3d::Shape* shape) {
  geometry3d::Material* const material = shape->AddNewMaterial();
  material->set_diffuse_color({0.5f, 0.25f, 0.75f});
  material->set_texture_uri("sheet.png");
  for (int y = 0; y <= size; ++y) {
    for (int x = 0; x <= size; ++x) {
      shape->mutable_points()->emplace_back(x * 0.37, y * 0.41, std::sin(x * 0.5) * 2);
      shape->mutable_normals()->emplace_back(0.0f, 0.6f, 0.8f);
      shape->mutable_tex_coords()->emplace_back(static_cast<float>(x) / 16.0f,
                                                static_cast<float>(y) / 16.0f);
    }
  }
  geometry3d::IndexSet* const set = shape->AddNewIndexSet();
  set->set_material_index(0);
  for (int i = 0; i < size * size; ++i) {
    const int cell = i * 7919 % (size * size);
    const int corner = cell / size * (size + 1) + cell % size;
    for (const int index : {corner, corner + 1, corner + size + 1, corner + 1, corner + size + 2,
                            corner + size + 1}) {
      set->mutable_point_indices()->push_back(index);
      set->mutable_normal_indices()->push_back(index);
      set->mutable_tex_coord_indices()->push_back(index);
    }
  }
}

/// The triangles of a shape by the coordinates of their corners, each from its least corner on, so
/// that neither order nor pools count.
inline std::multiset<std::array<std::array<double, 3>, 3>>
TrianglesOf(const geometry3d::Shape& shape) {
  std::multiset<std::array<std::array<double, 3>, 3>> triangles;
  for (const geometry3d::IndexSet* set : shape.index_sets()) {
    pelorin::mesh::ForEachTriangle(*set, [&](int a, int b, int c) {
      std::array<std::array<double, 3>, 3> corners;
      std::size_t i = 0;
      for (const int position : {a, b, c}) {
        const auto& point = set->GetPoint(position);
        corners[i++] = {point.x, point.y, point.z};
      }
      std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
      triangles.insert(corners);
    });
  }
  return triangles;
}

}  // namespace test_support
