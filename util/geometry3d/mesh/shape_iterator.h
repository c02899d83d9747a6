// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "util/geometry3d/mesh/index_set_reader.h"

namespace geometry3d {

/// Walks the primitives of an index set, whatever its format: each is a run of positions in the
/// index arrays. The set is not owned, must outlive the iterator and should be a valid one. An
/// iterator belongs to one thread; several may walk one set.
///
/// A primitive is a ring: `GetIndex(0)` is where it is entered, `GetIndex(GetSize())` is the same
/// position again. `Seek` chooses the entry, and `Next` does not: the place in the ring follows
/// from the position that was chosen last, also in the primitives behind it.
///
///     for (ShapePrimitiveIterator it(set); !it.Done(); it.Next())
///       for (int i = 0; i < it.GetSize(); ++i)
///         Use(it.GetPoint(i));
class PELORIN_EXPORT ShapePrimitiveIterator
    : public mesh_internal::IndexSetReader<ShapePrimitiveIterator> {
 public:
  /// At the first primitive. Fatal check "index_set"; null is walked as an empty set.
  explicit ShapePrimitiveIterator(const IndexSet* index_set);

  /// Back to the first primitive and its first position.
  void Reset();
  /// Whether there is no primitive here. One that the array cuts off at its end is one.
  bool Done() const { return begin_ >= length(); }
  /// To the next primitive, also where that is none; false when `Done()` already. Logs "Unknown
  /// Format." for an unknown format, and is then done.
  bool Next();
  /// To the primitive of position `first`, entered there. A delimiter counts to the primitive
  /// before it. Fatal check "first >= 0 && first < index_set_->point_indices().size()", behind
  /// which it seeks all the same; entries that the array does not have throw.
  void Seek(int first);

  /// Positions in this primitive; 0 for an empty one, between two delimiters, and at the end.
  int GetSize() const { return end_ - begin_; }
  /// Position `i` of the ring, any number. Of an empty primitive, where it stands.
  int GetIndex(int i) const;

 private:
  void SeekEnd();

  // Positions of the first entry, of the entrance, and behind the last entry.
  int begin_ = 0;
  int first_ = 0;
  int end_ = 0;
};

/// Walks the triangles of an index set: strips with their winding kept, fans and polygons about
/// their first entry, quads cut in two, and a line (a, b) as the triangle (a, b, a). Of a primitive
/// with fewer than three entries it takes the delimiter for a corner, whose `GetPoint` throws.
/// Ownership and threads as above.
class PELORIN_EXPORT ShapeTriangleIterator
    : public mesh_internal::IndexSetReader<ShapeTriangleIterator> {
 public:
  /// At the first triangle. Fatal check "index_set"; null is walked as an empty set.
  explicit ShapeTriangleIterator(const IndexSet* index_set);

  /// Back to the first triangle.
  void Reset();
  /// Whether there is no triangle here.
  bool Done() const { return corner_2_ >= length(); }
  /// To the next triangle, also where that is none; false when `Done()` already. Logs "Unknown
  /// Format." for an unknown format, and is then done.
  bool Next();
  /// The position of corner `i` in the index arrays. Fatal check "i >= 0 && i < 3", and -1 for
  /// another `i`.
  int GetIndex(int i) const;

 private:
  void StartBehind(int position);
  void StartBehindDelimiter();

  int corner_0_ = 0;
  int corner_1_ = 0;
  int corner_2_ = 0;
};

}  // namespace geometry3d
