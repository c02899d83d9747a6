// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/shape_coder.h"

namespace vortan {

/// Versions 1 and 2 of the shape stream: pools and index arrays as they stand, each as its smallest
/// value and distances from it in a fixed width. Version 2 has the longer material record. Nothing
/// is renumbered and nothing left out, so indices come back as they were, delimiters and faulty
/// ones included; a `format` above 255 and a material index beyond 16 bits are cut without notice.
///
/// `EncodeShape` gives false for precisions outside 0 to 31 bits, a `point_unit` of 0 or less, a
/// component whose quantised range takes more than 30 bits, an index array whose range takes more
/// than 31 bits or whose smallest entry is above 2^30 - 1, pools and arrays of 2^30 entries and
/// more, and a null material or index set. A texture URI of 65535 bytes or more is a failed check
/// instead (see `BinaryEncoder::WriteString`), and from 65536 on its stream is unreadable.
///
/// Made by `ShapeEncoder::CreateEncoder`, which sets the version.
class PELORIN_EXPORT ShapeEncoder1 : public ShapeEncoder {
 public:
  bool EncodeShape(const geometry3d::Shape& shape) override;

 protected:
  bool EncodePoints(const std::vector<geometry3d::Vector3<double>>& points);
  bool EncodeNormals(const std::vector<geometry3d::Vector3<float>>& normals);
  bool EncodeTexCoords(const std::vector<geometry3d::Vector2<float>>& tex_coords);
  bool EncodeMaterial(const geometry3d::Material& material);
  bool EncodeIndexSet(const geometry3d::IndexSet& index_set);
  bool EncodeIndices(const std::vector<int>& indices);
};

/// Reads versions 1 and 2. `DecodeShape` gives false for another version and for a pool whose unit
/// is 0 or less, which a stream that was cut there reads as well. No entry is compared with the
/// pools.
///
/// Each part has its fatal check that the place for its result is not null, and is false behind it.
class PELORIN_EXPORT ShapeDecoder1 : public ShapeDecoder {
 public:
  bool DecodeShape(geometry3d::Shape* shape) override;

 protected:
  bool DecodePoints(std::vector<geometry3d::Vector3<double>>* points);
  bool DecodeNormals(std::vector<geometry3d::Vector3<float>>* normals);
  bool DecodeTexCoords(std::vector<geometry3d::Vector2<float>>* tex_coords);
  bool DecodeMaterial(geometry3d::Material* material);
  bool DecodeIndexSet(geometry3d::IndexSet* index_set);
  bool DecodeIndices(std::vector<int>* indices);
};

}  // namespace vortan
