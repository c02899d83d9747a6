// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "base/logging.h"
#include "util/geometry3d/mesh/append.h"
#include "util/geometry3d/mesh/owned_list.h"

namespace geometry3d {

using mesh_internal::AllEqual;
using mesh_internal::DeleteAll;
using mesh_internal::DeleteAt;
using mesh_internal::Own;

namespace {

template <typename T>
bool AllValid(const std::vector<T*>& list, std::string* error_msg) {
  return std::all_of(list.begin(), list.end(), [error_msg](const T* element) {
    return element != nullptr && element->Validate(error_msg);
  });
}

// What a null entry of a list is copied as, so that all others keep their positions.
template <typename T>
const T& OrDefault(const T* element) {
  static const T nothing;
  return element != nullptr ? *element : nothing;
}

// An index of a damaged file may be any number: the sum wraps.
int Shifted(int index, std::size_t by) {
  return static_cast<int>(static_cast<unsigned>(index) + static_cast<unsigned>(by));
}

void AppendShifted(const std::vector<int>& from, std::size_t by, std::vector<int>* to) {
  to->reserve(from.size());
  for (const int index : from) {
    to->push_back(index < 0 ? index : Shifted(index, by));
  }
}

}  // namespace

Shape::~Shape() {
  DeleteAll(&materials_);
  DeleteAll(&index_sets_);
}

void Shape::CopyFrom(const Shape& other) {
  Clear();
  points_ = other.points_;
  normals_ = other.normals_;
  tex_coords_ = other.tex_coords_;
  materials_.reserve(other.materials_.size());
  for (const Material* material : other.materials_) {
    AppendMaterial(OrDefault(material));
  }
  index_sets_.reserve(other.index_sets_.size());
  for (const IndexSet* index_set : other.index_sets_) {
    AppendIndexSet(OrDefault(index_set));
  }
}

void Shape::Clear() {
  points_.clear();
  normals_.clear();
  tex_coords_.clear();
  DeleteAll(&materials_);
  DeleteAll(&index_sets_);
}

Material* Shape::AddNewMaterial() {
  std::unique_ptr<Material> material(new (std::nothrow) Material);
  PELORIN_CHECK(material);
  Material* const added = Own(std::move(material), &materials_);
  added->set_shape(this);
  return added;
}

IndexSet* Shape::AddNewIndexSet() {
  std::unique_ptr<IndexSet> index_set(new (std::nothrow) IndexSet);
  PELORIN_CHECK(index_set);
  IndexSet* const added = Own(std::move(index_set), &index_sets_);
  added->set_shape(this);
  return added;
}

Material* Shape::AppendMaterial(const Material& material) {
  Material* const copy = AddNewMaterial();
  copy->CopyFrom(material);
  return copy;
}

IndexSet* Shape::AppendIndexSet(const IndexSet& index_set) {
  IndexSet* const copy = AddNewIndexSet();
  copy->CopyFrom(index_set);
  return copy;
}

void Shape::RemoveMaterial(int index) {
  DeleteAt(index, &materials_);
  for (IndexSet* index_set : index_sets_) {
    if (index_set == nullptr) {
      continue;
    }
    const int used = index_set->material_index();
    if (used > index) {
      index_set->set_material_index(used - 1);
    } else if (used == index) {
      index_set->set_material_index(-1);
    }
  }
}

void Shape::RemoveIndexSet(int index) {
  DeleteAt(index, &index_sets_);
}

void Shape::AppendShape(const Shape& other) {
  // Sizes are taken first, for a shape that is appended to itself grows on the way.
  const std::size_t first_material = materials_.size();
  const std::size_t material_count = other.materials_.size();
  for (std::size_t i = 0; i < material_count; ++i) {
    AppendMaterial(OrDefault(other.materials_[i]));
  }
  const std::size_t first_point = points_.size();
  mesh_internal::Append(other.points_, &points_);
  const std::size_t first_normal = normals_.size();
  mesh_internal::Append(other.normals_, &normals_);
  const std::size_t first_tex_coord = tex_coords_.size();
  mesh_internal::Append(other.tex_coords_, &tex_coords_);

  const std::size_t index_set_count = other.index_sets_.size();
  for (std::size_t i = 0; i < index_set_count; ++i) {
    IndexSet* const copy = AddNewIndexSet();
    const IndexSet& source = OrDefault(other.index_sets_[i]);
    copy->set_format(source.format());
    // No look at -1: viewers rely on what it becomes.
    copy->set_material_index(Shifted(source.material_index(), first_material));
    AppendShifted(source.point_indices(), first_point, copy->mutable_point_indices());
    AppendShifted(source.normal_indices(), first_normal, copy->mutable_normal_indices());
    AppendShifted(source.tex_coord_indices(), first_tex_coord, copy->mutable_tex_coord_indices());
  }
}

bool Shape::IsEqual(const Shape& other) const {
  return points_ == other.points_ && normals_ == other.normals_ &&
         tex_coords_ == other.tex_coords_ && AllEqual(materials_, other.materials_) &&
         AllEqual(index_sets_, other.index_sets_);
}

bool Shape::Validate(std::string* error_msg) const {
  PELORIN_CHECK(error_msg);
  return AllValid(materials_, error_msg) && AllValid(index_sets_, error_msg);
}

}  // namespace geometry3d
