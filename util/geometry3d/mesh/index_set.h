// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/vector.h"

namespace geometry3d {

class Material;
class Shape;

/// One run of primitives of one format, drawn with one material. A vertex is a position in up to
/// three parallel arrays of indices, so that its point, normal and texture coordinate may come from
/// different places of the shape's pools. Formats of variable length separate their primitives by
/// the index -1, at the same position of each array.
///
/// An index set is made by its shape, which owns it. Plain data: one thread may change it, or any
/// number read it.
///
///     IndexSet* roof = shape.AddNewIndexSet();
///     roof->set_format(IndexSet::kTriangleStrip);
///     *roof->mutable_point_indices() = {0, 1, 2, 3, -1, 4, 5, 6};
class PELORIN_EXPORT IndexSet {
 public:
  /// The formats of primitives.
  enum Format {
    kTriangles = 0,      ///< three indices each
    kTriangleStrip = 1,  ///< a strip, ended by -1
    kTriangleFan = 2,    ///< a fan about its first index, ended by -1
    kQuads = 3,          ///< four indices each
    kPolygons = 4,       ///< a polygon, ended by -1, walked as a fan about its first index
    kLines = 5,          ///< two indices each
  };

  IndexSet() = default;
  IndexSet(const IndexSet&) = delete;
  IndexSet& operator=(const IndexSet&) = delete;

  /// Empties the three arrays, which keep their capacity, and nothing else.
  void Clear();
  /// Indices of one primitive; 0 where primitives vary in length and for an unknown format.
  int GetStride() const;
  /// Takes over everything but the shape.
  void CopyFrom(const IndexSet& other);
  /// Whether `other` could be appended: same format and material, and the same arrays in use.
  bool IsCompatible(const IndexSet& other) const;
  /// Whether format and material are the same. The arrays are deliberately not looked at.
  bool IsEqual(const IndexSet& other) const;
  /// Adds the arrays of `index_set`, which may be this one, at the ends of its own; its material
  /// stays, and no delimiter goes between. Fatal check "format_==index_set.format()", behind which
  /// another format is appended all the same.
  void AppendIndexSet(const IndexSet& index_set);

  /// The material in the shape; null for a negative index. Fatal check "shape_", and null without
  /// one. Throws std::out_of_range where the shape has no such material.
  const Material* GetMaterial() const;
  /// What entry `i` of the matching array names. Throws std::out_of_range where the array has no
  /// such entry or the pool no such element, as for -1. Fatal check "shape_", behind which a set
  /// without a shape throws the same.
  const Vector3<double>& GetPoint(int i) const;
  const Vector3<float>& GetNormal(int i) const;
  const Vector2<float>& GetTexCoord(int i) const;

  /// Whether the set can be drawn with the pools and materials of its shape; otherwise the first
  /// fault stands in `*error_msg`, which is untouched on success. Fatal check "error_msg"; without
  /// one the answer comes alone. Delimiters that are not at the same place in all arrays pass.
  bool Validate(std::string* error_msg) const;

  /// The shape that holds it, or null. Not owned.
  Shape* shape() const { return shape_; }
  void set_shape(Shape* shape) { shape_ = shape; }
  /// One of `Format`; of a damaged file any number.
  int format() const { return format_; }
  void set_format(int format) { format_ = format; }
  /// Position in the shape's materials; -1 is no material.
  int material_index() const { return material_index_; }
  void set_material_index(int material_index) { material_index_ = material_index; }

  const std::vector<int>& point_indices() const { return point_indices_; }
  const std::vector<int>& normal_indices() const { return normal_indices_; }
  const std::vector<int>& tex_coord_indices() const { return tex_coord_indices_; }
  /// Those of normals and texture coordinates are empty or as long as those of points.
  std::vector<int>* mutable_point_indices() { return &point_indices_; }
  std::vector<int>* mutable_normal_indices() { return &normal_indices_; }
  std::vector<int>* mutable_tex_coord_indices() { return &tex_coord_indices_; }

 private:
  Shape* shape_ = nullptr;
  int format_ = kTriangles;
  int material_index_ = -1;
  std::vector<int> point_indices_;
  std::vector<int> normal_indices_;
  std::vector<int> tex_coord_indices_;
};

}  // namespace geometry3d
