// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "util/geometry3d/mesh/index_set.h"

namespace geometry3d {
namespace mesh_internal {

/// What the iterators over an index set have in common: the set, and its entries at the positions
/// that `Iterator::GetIndex` gives. Entries throw std::out_of_range where there is no such position
/// or no such pool element.
template <typename Iterator>
class IndexSetReader {
 public:
  const Vector3<double>& GetPoint(int i) const { return index_set_->GetPoint(Position(i)); }
  const Vector3<float>& GetNormal(int i) const { return index_set_->GetNormal(Position(i)); }
  const Vector2<float>& GetTexCoord(int i) const { return index_set_->GetTexCoord(Position(i)); }
  /// The entries themselves.
  int GetPointIndex(int i) const { return Entry(index_set_->point_indices(), i); }
  int GetNormalIndex(int i) const { return Entry(index_set_->normal_indices(), i); }
  int GetTexCoordIndex(int i) const { return Entry(index_set_->tex_coord_indices(), i); }
  /// Whether the array has entries.
  bool HasPoints() const { return !index_set_->point_indices().empty(); }
  bool HasNormals() const { return !index_set_->normal_indices().empty(); }
  bool HasTexCoords() const { return !index_set_->tex_coord_indices().empty(); }
  /// The set; an empty one in place of null.
  const IndexSet* index_set() const { return index_set_; }

 protected:
  explicit IndexSetReader(const IndexSet* index_set);

  int length() const { return static_cast<int>(index_set_->point_indices().size()); }
  bool IsDelimiter(int position) const {
    return index_set_->point_indices()[static_cast<std::size_t>(position)] == -1;
  }

  const IndexSet* index_set_;

 private:
  int Position(int i) const { return static_cast<const Iterator*>(this)->GetIndex(i); }
  int Entry(const std::vector<int>& indices, int i) const {
    return indices.at(static_cast<std::size_t>(Position(i)));
  }
};

}  // namespace mesh_internal
}  // namespace geometry3d
