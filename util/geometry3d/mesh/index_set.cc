// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/index_set.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "base/logging.h"
#include "util/geometry3d/mesh/append.h"
#include "util/geometry3d/mesh/fault.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {
namespace {

// The element of a shape's pool that an entry of an index array names. The parameter has the name
// of the member that it is, for the check to tell.
template <typename T>
const T& PoolElement(const Shape* shape_, const std::vector<T>& (Shape::*pool)() const,
                     const std::vector<int>& indices, int i) {
  PELORIN_CHECK(shape_);
  if (shape_ == nullptr) {
    throw std::out_of_range("an index set without a shape has no elements");
  }
  return (shape_->*pool)().at(static_cast<std::size_t>(indices.at(static_cast<std::size_t>(i))));
}

bool AllWithin(const std::vector<int>& indices, int lowest, std::size_t pool_size) {
  return std::all_of(indices.begin(), indices.end(), [=](int index) {
    return index >= lowest && (index < 0 || static_cast<std::size_t>(index) < pool_size);
  });
}

bool SameDelimiters(const std::vector<int>& some, const std::vector<int>& others) {
  return std::equal(some.begin(), some.end(), others.begin(), others.end(),
                    [](int a, int b) { return (a == -1) == (b == -1); });
}

}  // namespace

void IndexSet::Clear() {
  point_indices_.clear();
  normal_indices_.clear();
  tex_coord_indices_.clear();
}

int IndexSet::GetStride() const {
  switch (format_) {
  case kTriangles:
    return 3;
  case kQuads:
    return 4;
  case kLines:
    return 2;
  default:
    return 0;
  }
}

void IndexSet::CopyFrom(const IndexSet& other) {
  format_ = other.format_;
  material_index_ = other.material_index_;
  point_indices_ = other.point_indices_;
  normal_indices_ = other.normal_indices_;
  tex_coord_indices_ = other.tex_coord_indices_;
}

bool IndexSet::IsCompatible(const IndexSet& other) const {
  return IsEqual(other) && point_indices_.empty() == other.point_indices_.empty() &&
         normal_indices_.empty() == other.normal_indices_.empty() &&
         tex_coord_indices_.empty() == other.tex_coord_indices_.empty();
}

bool IndexSet::IsEqual(const IndexSet& other) const {
  return format_ == other.format_ && material_index_ == other.material_index_;
}

void IndexSet::AppendIndexSet(const IndexSet& index_set) {
  PELORIN_CHECK_EQ(format_, index_set.format());
  mesh_internal::Append(index_set.point_indices_, &point_indices_);
  mesh_internal::Append(index_set.normal_indices_, &normal_indices_);
  mesh_internal::Append(index_set.tex_coord_indices_, &tex_coord_indices_);
}

const Material* IndexSet::GetMaterial() const {
  if (material_index_ < 0) {
    return nullptr;
  }
  PELORIN_CHECK(shape_);
  if (shape_ == nullptr) {
    return nullptr;
  }
  return shape_->materials().at(static_cast<std::size_t>(material_index_));
}

const Vector3<double>& IndexSet::GetPoint(int i) const {
  return PoolElement(shape_, &Shape::points, point_indices_, i);
}

const Vector3<float>& IndexSet::GetNormal(int i) const {
  return PoolElement(shape_, &Shape::normals, normal_indices_, i);
}

const Vector2<float>& IndexSet::GetTexCoord(int i) const {
  return PoolElement(shape_, &Shape::tex_coords, tex_coord_indices_, i);
}

bool IndexSet::Validate(std::string* error_msg) const {
  const mesh_internal::Fault fault(error_msg);
  if (shape_ == nullptr) {
    // One sentence for materials and index sets, which readers of the message rely on.
    return fault("Invalid Material, has no shape");
  }
  if (format_ < kTriangles || format_ > kLines) {
    return fault("Invalid format");
  }
  const std::vector<Material*>& materials = shape_->materials();
  if (material_index_ < -1 ||
      (material_index_ >= 0 && static_cast<std::size_t>(material_index_) >= materials.size())) {
    return fault("Invalid material index");
  }
  const Material* const material = GetMaterial();
  if (material != nullptr && !material->texture_uri().empty() && tex_coord_indices_.empty()) {
    return fault("Index set has a textured material but no texture coordinates.");
  }
  const int stride = GetStride();
  const int lowest = stride > 0 ? 0 : -1;
  if (stride > 0 && point_indices_.size() % static_cast<std::size_t>(stride) != 0) {
    return fault("Invalid point_indices size");
  }
  if (!normal_indices_.empty() && normal_indices_.size() != point_indices_.size()) {
    return fault("Invalid normal_indices size");
  }
  if (!tex_coord_indices_.empty() && tex_coord_indices_.size() != point_indices_.size()) {
    return fault("Invalid tex_coord_indices size");
  }
  if (!AllWithin(point_indices_, lowest, shape_->points().size())) {
    return fault("Point index out of range");
  }
  if (!AllWithin(normal_indices_, lowest, shape_->normals().size())) {
    return fault("Normal index out of range");
  }
  if (!AllWithin(tex_coord_indices_, lowest, shape_->tex_coords().size())) {
    return fault("TexCoord index out of range");
  }
  // Never so, as variable formats have stride 0: existing meshes with stray delimiters pass.
  if (stride == -1) {
    if (!normal_indices_.empty() && !SameDelimiters(point_indices_, normal_indices_)) {
      return fault("Normal index delimiter mismatch");
    }
    if (!tex_coord_indices_.empty() && !SameDelimiters(point_indices_, tex_coord_indices_)) {
      return fault("TexCoord index delimiter mismatch");
    }
  }
  return true;
}

}  // namespace geometry3d
