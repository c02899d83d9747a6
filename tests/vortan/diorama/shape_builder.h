// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace test_support {

/// An index set of one kind of index, added to `*shape`.
inline geometry3d::IndexSet* AddPointIndices(const std::vector<int>& indices,
                                             geometry3d::Shape* shape) {
  geometry3d::IndexSet* const set = shape->AddNewIndexSet();
  *set->mutable_point_indices() = indices;
  return set;
}

/// One right triangle: three points, one index set.
inline void MakeTriangle(geometry3d::Shape* shape) {
  *shape->mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  AddPointIndices({0, 1, 2}, shape);
}

/// Adds a material whose fields are all set, each differently, to multiples of 1/255 where they are
/// stored in 8 bits.
inline geometry3d::Material* AddFullMaterial(geometry3d::Shape* shape) {
  const auto color = [](int x, int y, int z) {
    const auto unit = [](int v) { return static_cast<float>(v) / 255.0f; };
    return geometry3d::Vector3<float>(unit(x), unit(y), unit(z));
  };
  geometry3d::Material* const material = shape->AddNewMaterial();
  material->set_ambient_color(color(1, 2, 3));
  material->set_diffuse_color(color(4, 5, 6));
  material->set_specular_color(color(7, 8, 9));
  material->set_emissive_color(color(10, 11, 12));
  material->set_transparent_color(color(13, 14, 255));
  material->set_shininess(64.0f);
  material->set_transparency(0.2f);
  material->set_texture_uri(std::string("a\0.png", 6));
  material->set_double_sided(true);
  return material;
}

}  // namespace test_support
