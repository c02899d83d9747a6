// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_builder.h"

#include <algorithm>
#include <cstddef>

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Material;

constexpr float kMaxShininess = 128.0f;

// A NaN counts as 0.
float Within(float value, float highest) {
  return value > 0 ? std::min(value, highest) : 0.0f;
}

geometry3d::Vector3<float> Within(const geometry3d::Vector3<float>& color) {
  return {Within(color.x, 1), Within(color.y, 1), Within(color.z, 1)};
}

void ConfineToRanges(Material* material) {
  material->set_ambient_color(Within(material->ambient_color()));
  material->set_diffuse_color(Within(material->diffuse_color()));
  material->set_specular_color(Within(material->specular_color()));
  material->set_emissive_color(Within(material->emissive_color()));
  material->set_transparent_color(Within(material->transparent_color()));
  material->set_shininess(Within(material->shininess(), kMaxShininess));
  material->set_transparency(Within(material->transparency(), 1));
}

int FormatOf(std::size_t corners) {
  switch (corners) {
  case 2:
    return IndexSet::kLines;
  case 3:
    return IndexSet::kTriangles;
  case 4:
    return IndexSet::kQuads;
  default:
    return IndexSet::kPolygons;
  }
}

void Append(int index, bool delimit, std::vector<int>* indices) {
  if (delimit && !indices->empty()) {
    indices->push_back(-1);
  }
  indices->push_back(index);
}

}  // namespace

void MeshBuilder::AddFace(int material, const std::vector<Corner>& corners) {
  if (corners.size() < 2) {
    return;
  }
  const int format = FormatOf(corners.size());
  const bool normals =
      std::all_of(corners.begin(), corners.end(), [](const Corner& c) { return c.normal >= 0; });
  const bool tex_coords =
      std::all_of(corners.begin(), corners.end(), [](const Corner& c) { return c.tex_coord >= 0; });
  IndexSet*& set = sets_[Key(material, format, normals, tex_coords)];
  if (set == nullptr) {
    set = shape_->AddNewIndexSet();
    set->set_format(format);
    set->set_material_index(material);
  }
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const bool delimit = format == IndexSet::kPolygons && i == 0;
    Append(corners[i].point, delimit, set->mutable_point_indices());
    if (normals) {
      Append(corners[i].normal, delimit, set->mutable_normal_indices());
    }
    if (tex_coords) {
      Append(corners[i].tex_coord, delimit, set->mutable_tex_coord_indices());
    }
  }
}

void MeshBuilder::Finish() {
  std::map<int, int> untextured;
  for (IndexSet* set : shape_->index_sets()) {
    const Material* const material = set->GetMaterial();
    if (material == nullptr || material->texture_uri().empty() ||
        !set->tex_coord_indices().empty()) {
      continue;
    }
    const auto [copy, is_new] =
        untextured.emplace(set->material_index(), static_cast<int>(shape_->materials().size()));
    if (is_new) {
      shape_->AppendMaterial(*material)->set_texture_uri("");
    }
    set->set_material_index(copy->second);
  }
  for (Material* material : shape_->materials()) {
    ConfineToRanges(material);
  }
}

}  // namespace mesh
}  // namespace pelorin
