// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/index_set.h"
#include "util/geometry3d/mesh/material.h"
#include "util/geometry3d/mesh/vector.h"

namespace geometry3d {

/// A mesh in memory: pools of points, normals and texture coordinates, materials, and index sets
/// that name pool entries. It does no rendering. The coders read and write it, the iterators walk
/// it.
///
/// It owns its materials and index sets, which point back at it. A pointer to one of them stays
/// valid while others are added, until it is removed or cleared away. One thread at a time may
/// change a shape; operations that are const may run side by side.
///
///     Shape shape;
///     *shape.mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
///     *shape.AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
///     std::string reason;
///     shape.Validate(&reason);   // true
class PELORIN_EXPORT Shape {
 public:
  /// Empty.
  Shape() = default;
  virtual ~Shape();
  Shape(const Shape&) = delete;
  Shape& operator=(const Shape&) = delete;

  /// Clears this shape, then copies all of `other`; of a null list entry it makes a default one. A
  /// shape copied onto itself is therefore empty.
  virtual void CopyFrom(const Shape& other);

  /// Empties it. The pools keep their capacity.
  void Clear();

  /// A new default material or index set at the end, owned by this shape. Fatal check "material"
  /// or "index_set" where there is no memory for it; then throws std::bad_alloc, the shape being as
  /// before.
  Material* AddNewMaterial();
  IndexSet* AddNewIndexSet();
  /// The same, as copies. Indices are copied as they stand.
  Material* AppendMaterial(const Material& material);
  IndexSet* AppendIndexSet(const IndexSet& index_set);
  /// Deletes the material at `index`; index sets that had it have none (-1) after that, those of
  /// later materials follow. Throws std::out_of_range where there is none, and changes nothing.
  void RemoveMaterial(int index);
  /// Deletes the index set at `index`. Throws std::out_of_range likewise.
  void RemoveIndexSet(int index);

  /// Adds all of `other`, which may be this shape, behind what is here; its indices move by the
  /// sizes of the pools here, delimiters stay. Its material indices move by the number of materials
  /// here, and so does a -1, which then names the last material that was here before (where there
  /// was one). Sums wrap modulo 2 to the 32.
  void AppendShape(const Shape& other);

  /// Whether pools and materials compare equal (a NaN is unequal, also to itself), and index sets
  /// in format and material. Index values are deliberately not looked at.
  bool IsEqual(const Shape& other) const;
  /// Whether every material and every index set is valid; otherwise the first fault stands in
  /// `*error_msg`. A null list entry is a fault without a sentence. Fatal check "error_msg";
  /// without one the answer comes alone.
  bool Validate(std::string* error_msg) const;

  /// Positions, in the shape's own units.
  const std::vector<Vector3<double>>& points() const { return points_; }
  const std::vector<Vector3<float>>& normals() const { return normals_; }
  const std::vector<Vector2<float>>& tex_coords() const { return tex_coords_; }
  std::vector<Vector3<double>>* mutable_points() { return &points_; }
  std::vector<Vector3<float>>* mutable_normals() { return &normals_; }
  std::vector<Vector2<float>>* mutable_tex_coords() { return &tex_coords_; }
  /// Owned by this shape, as is whatever a caller puts into the writable lists (made by `new`).
  const std::vector<Material*>& materials() const { return materials_; }
  const std::vector<IndexSet*>& index_sets() const { return index_sets_; }
  std::vector<Material*>* mutable_materials() { return &materials_; }
  std::vector<IndexSet*>* mutable_index_sets() { return &index_sets_; }

 private:
  std::vector<Vector3<double>> points_;
  std::vector<Vector3<float>> normals_;
  std::vector<Vector2<float>> tex_coords_;
  std::vector<Material*> materials_;
  std::vector<IndexSet*> index_sets_;
};

}  // namespace geometry3d
