// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "base/export.h"
#include "util/coding/mathlimits.h"
#include "util/geometry3d/mesh/vector.h"

namespace geometry3d {

/// Appends the numbers in free text to `*values`, as strtod reads them, in the process's locale:
/// any character that cannot begin a number is skipped, up to the first NUL. "1-2" is 1 and -2. A
/// digit, "+", "-", and a "." before a digit or at the very end begin one; false, at once, where
/// one of these is not a number after all, such as a lone "-". The numbers before it stay in
/// `*values`.
PELORIN_EXPORT bool SplitStringAndParseDoubles(const std::string& text,
                                               std::vector<double>* values);

/// Two corners of a box in the plane.
template <typename T>
struct BBox2 {
  Vector2<T> min;
  Vector2<T> max;
};

/// A box along the axes, `T` being `float`, `double` or `int`. It is empty when in any axis `min`
/// exceeds `max`, and by nothing else, so an axis with a NaN is not. Faces belong to the box.
///
/// Arithmetic is in `T`, each operation rounded, from left to right; that of `int` wraps modulo 2
/// to the 32, also in sizes, areas and volumes. A plain value.
///
///     BBox3<double> box;
///     for (const Vector3<double>& point : shape.points())
///       box.ExtendToContainPoint(point);
template <typename T>
class BBox3 {
 public:
  /// The axes.
  enum Dimension { x = 0, y = 1, z = 2 };

  /// Empty, as after `Clear`.
  BBox3() { Clear(); }
  /// The corners are kept as they are, in any order.
  BBox3(const Vector3<T>& min_corner, const Vector3<T>& max_corner)
      : min(min_corner), max(max_corner) {}
  BBox3(const BBox2<T>& box, T min_z, T max_z)
      : min(box.min.x, box.min.y, min_z), max(box.max.x, box.max.y, max_z) {}

  /// Empty: every `min` the greatest finite number, every `max` the least.
  void Clear() {
    min = Vector3<T>(MathLimits<T>::kPosMax, MathLimits<T>::kPosMax, MathLimits<T>::kPosMax);
    max = Vector3<T>(MathLimits<T>::kNegMax, MathLimits<T>::kNegMax, MathLimits<T>::kNegMax);
  }
  void Set(const Vector3<T>& min_corner, const Vector3<T>& max_corner) {
    min = min_corner;
    max = max_corner;
  }
  void SetMin(const Vector3<T>& corner) { min = corner; }
  void SetMax(const Vector3<T>& corner) { max = corner; }
  const Vector3<T>& GetMin() const { return min; }
  const Vector3<T>& GetMax() const { return max; }

  bool IsEmpty() const { return min.x > max.x || min.y > max.y || min.z > max.z; }
  /// Half of the sum of the corners, in `double`; of `int` cut towards zero, and exact however far
  /// the corners are. Of an empty box NaN, of `int` the greatest number.
  Vector3<T> GetCenter() const;
  /// `max - min` in one axis; 0 when empty.
  double GetSizeInDimension(Dimension d) const;
  double GetWidth() const { return GetSizeInDimension(x); }
  double GetHeight() const { return GetSizeInDimension(y); }
  double GetDepth() const { return GetSizeInDimension(z); }
  Vector3<T> GetSize() const { return IsEmpty() ? Vector3<T>() : max - min; }
  /// The largest of the three sizes; 0 when empty.
  double GetMaxDimensionSize() const;
  T GetSurfaceArea() const;
  double GetVolume() const;
  /// `min` and `max` of one axis, also of an empty box.
  std::pair<double, double> GetProjectionOnAxis(Dimension d) const;

  /// Grows to hold `point`. An empty box becomes that point, whatever it is; of a point with NaNs
  /// another box takes the rest.
  void ExtendToContainPoint(const Vector3<T>& point);
  void ExtendToContainBBox(const BBox3& box);
  /// Moves every face outwards, or inwards by a negative `distance`, which may empty the box.
  void Expand(T distance);

  /// The point of the box nearest to `point`: per axis the larger of it and `min`, then the smaller
  /// of that and `max`. Where an axis is turned round that is `max`.
  Vector3<T> ClosestPointInBox(const Vector3<T>& point) const;
  /// The same, in place.
  void ClampToBox(Vector3<T>* point) const { *point = ClosestPointInBox(*point); }
  bool ContainsPoint(const Vector3<T>& point) const {
    return min.x <= point.x && point.x <= max.x && min.y <= point.y && point.y <= max.y &&
           min.z <= point.z && point.z <= max.z;
  }
  /// Whether both corners of `box` lie in this one.
  bool Contains(const BBox3& box) const { return ContainsPoint(box.min) && ContainsPoint(box.max); }
  /// Whether a plane between them separates the boxes.
  bool IsOutsideBBox(const BBox3& box) const;

  /// The smallest box around both.
  BBox3 Union(const BBox3& box) const;
  /// What both have in common; empty where that is nothing.
  BBox3 Intersection(const BBox3& box) const;
  /// A copy, moved; of an empty box an equal one.
  BBox3 Translate(const Vector3<T>& by) const;

  /// Empty boxes are all equal; others by their six numbers.
  bool operator==(const BBox3& box) const {
    return (IsEmpty() && box.IsEmpty()) || (min == box.min && max == box.max);
  }
  bool operator!=(const BBox3& box) const { return !(*this == box); }
  /// Whether in every axis both ends are within `tolerance`, which is 0 or more; in an axis where
  /// one of the boxes is empty, whether the other is no larger than twice that. In `double`.
  bool ApproxEquals(const BBox3& box, double tolerance) const;

  /// Takes the six numbers in `text`, `min` first. False for any other count and for text that
  /// `SplitStringAndParseDoubles` refuses; the box is then as before. `float` takes the nearest
  /// ones, `int` cuts towards zero; beyond its range the nearest end, and 0 for a NaN.
  bool ParseFromString(const std::string& text);

  Vector3<T> min;
  Vector3<T> max;
};

/// Writes "[(0, 0, 0)..(1, 2, 3)]", with the stream's precision and locale.
template <typename T>
std::ostream& operator<<(std::ostream& stream, const BBox3<T>& box);

extern template class PELORIN_EXPORT BBox3<float>;
extern template class PELORIN_EXPORT BBox3<double>;
extern template class PELORIN_EXPORT BBox3<int>;
extern template PELORIN_EXPORT std::ostream& operator<<(std::ostream&, const BBox3<float>&);
extern template PELORIN_EXPORT std::ostream& operator<<(std::ostream&, const BBox3<double>&);
extern template PELORIN_EXPORT std::ostream& operator<<(std::ostream&, const BBox3<int>&);

}  // namespace geometry3d
