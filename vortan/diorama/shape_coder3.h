// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/shape_coder.h"

namespace vortan {

/// Version 3 of the shape stream, made to be small. Index arrays come first. An index is stored as
/// how far back in the indices of its kind its pool entry was last used, or as 0 for an entry that
/// is new; the pools follow with each entry once, in the order of first use:
///
///     indices   5  7  5 -1  7  9 -1        pool entries written   5  7  9
///     offsets   0  0  2  4  3  0  3        indices read           0  1  0 -1  1  2 -1
///
/// A delimiter counts from the last one of its array, the first one from one place before the
/// beginning of all. Positions go on from one index set to the next.
///
/// So entries that no index refers to are lost, and a shape comes back with its entries in another
/// order; each primitive comes back as it was.
///
/// `EncodeShape` gives false for an index below -1 or outside its pool, precisions outside -32 to
/// 31 bits where there are values, a component whose quantised range takes more than 30 bits,
/// arrays of 2^30 entries and more, pools of which 2^24 entries or more are used, and a null
/// material or index set. Quantised values outside -2^30 to 2^30 - 1 are written without notice and
/// do not come back.
class PELORIN_EXPORT ShapeEncoder3 : public ShapeEncoder {
 public:
  bool EncodeShape(const geometry3d::Shape& shape) override;

  /// Positions in the shape's pools in the order of their first use, which is the order in the
  /// stream. Where encoding failed, those of the indices before that.
  const std::vector<int>& point_order() const { return point_order_; }
  const std::vector<int>& normal_order() const { return normal_order_; }
  const std::vector<int>& tex_coord_order() const { return tex_coord_order_; }

 protected:
  /// Makes the maps as long as the pools. What they hold already stays, so one encoder serves for
  /// one shape.
  void InitMaps(const geometry3d::Shape& shape);
  bool EncodeMaterial(const geometry3d::Material& material);
  bool EncodeIndexSet(const geometry3d::IndexSet& index_set);
  /// Fatal checks "index_map", behind which it is false, and "offset>=0", which only an encoder
  /// fails that is used again.
  bool EncodeOffsetIndices(const std::vector<int>& indices, std::vector<int>* index_map,
                           int* next_index, std::vector<int>* order);
  /// `order` comes from `EncodeOffsetIndices`, so each of its entries is a position in `values`.
  /// Fatal check "factor>0", which no precision that passes fails.
  template <typename ValueType>
  bool EncodeValues(const std::vector<ValueType>& values, int quantization_bits,
                    const std::vector<int>& order);

 private:
  // For each pool entry the position in the index stream where it was last used, -1 before that.
  std::vector<int> point_index_map_;
  std::vector<int> normal_index_map_;
  std::vector<int> tex_coord_index_map_;
  // The next position in the index stream of each kind.
  int next_point_index_ = 0;
  int next_normal_index_ = 0;
  int next_tex_coord_index_ = 0;
  std::vector<int> point_order_;
  std::vector<int> normal_order_;
  std::vector<int> tex_coord_order_;
};

/// Reads version 3. `DecodeShape` gives false for another version and for an offset that reaches
/// further back than one place before the beginning. The indices of a stream that was cut may point
/// outside the pools.
///
/// Each part has its fatal checks that the places for its results are not null, and is false behind
/// them.
class PELORIN_EXPORT ShapeDecoder3 : public ShapeDecoder {
 public:
  bool DecodeShape(geometry3d::Shape* shape) override;

 protected:
  void InitMaps();
  bool DecodeMaterial(geometry3d::Material* material);
  bool DecodeIndexSet(geometry3d::IndexSet* index_set);
  /// `*index_map` is the history of one kind. Ahead of its entries stands a delimiter, for offsets
  /// that reach to one place before the beginning; into an empty one it is put here.
  bool DecodeOffsetIndices(std::vector<int>* index_map, int* next_index, std::vector<int>* indices);
  template <typename ValueType>
  bool DecodeValues(std::vector<ValueType>* values, int* quantization_bits);

 private:
  // Reads offsets until `*index_map` is full, whose first `known` places are filled; how many were
  // good.
  std::size_t DecodeOffsets(std::size_t known, std::vector<int>* index_map, int* next_index);

  // Every index of each kind so far, delimiters included: what offsets reach back into. In front
  // stands a delimiter for those that reach to one place before the beginning.
  std::vector<int> point_index_map_;
  std::vector<int> normal_index_map_;
  std::vector<int> tex_coord_index_map_;
  // The next new pool number of each kind.
  int next_point_index_ = 0;
  int next_normal_index_ = 0;
  int next_tex_coord_index_ = 0;
};

}  // namespace vortan
