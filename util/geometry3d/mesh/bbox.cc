// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/bbox.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <ostream>
#include <type_traits>

namespace geometry3d {
namespace {

using mesh_internal::Product;
using mesh_internal::Sum;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool BeginsNumber(const char* text) {
  if (*text == '.') {
    return IsDigit(text[1]) || text[1] == '\0';
  }
  return IsDigit(*text) || *text == '+' || *text == '-';
}

template <typename T>
T InDimension(const Vector3<T>& v, typename BBox3<T>::Dimension d) {
  return d == BBox3<T>::x ? v.x : d == BBox3<T>::y ? v.y : v.z;
}

template <typename T>
T Middle(T low, T high) {
  if constexpr (std::is_integral_v<T>) {
    return static_cast<T>((std::int64_t{low} + high) / 2);
  } else {
    return static_cast<T>(static_cast<double>(low + high) * 0.5);
  }
}

template <typename T>
T Converted(double number) {
  if constexpr (!std::is_integral_v<T>) {
    return static_cast<T>(number);
  } else if (std::isnan(number)) {
    return 0;
  } else {
    return static_cast<T>(
        std::clamp<double>(number, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
  }
}

template <typename T>
Vector3<T> Lower(const Vector3<T>& a, const Vector3<T>& b) {
  return Vector3<T>(std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z));
}

template <typename T>
Vector3<T> Higher(const Vector3<T>& a, const Vector3<T>& b) {
  return Vector3<T>(std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z));
}

bool ApproxEqualsInAxis(double min, double max, double other_min, double other_max,
                        double tolerance) {
  if (min > max) {
    return other_max - other_min <= 2 * tolerance;
  }
  if (other_min > other_max) {
    return max - min <= 2 * tolerance;
  }
  return std::fabs(min - other_min) <= tolerance && std::fabs(max - other_max) <= tolerance;
}

}  // namespace

bool SplitStringAndParseDoubles(const std::string& text, std::vector<double>* values) {
  for (const char* cursor = text.c_str(); *cursor != '\0';) {
    if (!BeginsNumber(cursor)) {
      ++cursor;
      continue;
    }
    char* end = nullptr;
    const double value = std::strtod(cursor, &end);
    if (end == cursor) {
      return false;
    }
    values->push_back(value);
    cursor = end;
  }
  return true;
}

template <typename T>
Vector3<T> BBox3<T>::GetCenter() const {
  if (IsEmpty()) {
    constexpr T kNowhere =
        std::is_integral_v<T> ? std::numeric_limits<T>::max() : std::numeric_limits<T>::quiet_NaN();
    return Vector3<T>(kNowhere, kNowhere, kNowhere);
  }
  return Vector3<T>(Middle(min.x, max.x), Middle(min.y, max.y), Middle(min.z, max.z));
}

template <typename T>
double BBox3<T>::GetSizeInDimension(Dimension d) const {
  return static_cast<double>(InDimension(GetSize(), d));
}

template <typename T>
double BBox3<T>::GetMaxDimensionSize() const {
  return std::max({GetWidth(), GetHeight(), GetDepth()});
}

template <typename T>
T BBox3<T>::GetSurfaceArea() const {
  const Vector3<T> size = GetSize();
  const T faces =
      Sum(Sum(Product(size.x, size.y), Product(size.y, size.z)), Product(size.z, size.x));
  return Product(T{2}, faces);
}

template <typename T>
double BBox3<T>::GetVolume() const {
  const Vector3<T> size = GetSize();
  return static_cast<double>(Product(Product(size.x, size.y), size.z));
}

template <typename T>
std::pair<double, double> BBox3<T>::GetProjectionOnAxis(Dimension d) const {
  return {static_cast<double>(InDimension(min, d)), static_cast<double>(InDimension(max, d))};
}

template <typename T>
void BBox3<T>::ExtendToContainPoint(const Vector3<T>& point) {
  if (IsEmpty()) {
    Set(point, point);
    return;
  }
  Set(Lower(min, point), Higher(max, point));
}

template <typename T>
void BBox3<T>::ExtendToContainBBox(const BBox3& box) {
  if (!box.IsEmpty()) {
    // A copy, as `box` may be this one.
    const BBox3 other = box;
    ExtendToContainPoint(other.min);
    ExtendToContainPoint(other.max);
  }
}

template <typename T>
void BBox3<T>::Expand(T distance) {
  if (!IsEmpty()) {
    const Vector3<T> by(distance, distance, distance);
    Set(min - by, max + by);
  }
}

template <typename T>
Vector3<T> BBox3<T>::ClosestPointInBox(const Vector3<T>& point) const {
  return Lower(Higher(point, min), max);
}

template <typename T>
bool BBox3<T>::IsOutsideBBox(const BBox3& box) const {
  return min.x > box.max.x || min.y > box.max.y || min.z > box.max.z || box.min.x > max.x ||
         box.min.y > max.y || box.min.z > max.z;
}

template <typename T>
BBox3<T> BBox3<T>::Union(const BBox3& box) const {
  BBox3 both = *this;
  both.ExtendToContainBBox(box);
  return both;
}

template <typename T>
BBox3<T> BBox3<T>::Intersection(const BBox3& box) const {
  return BBox3(Higher(min, box.min), Lower(max, box.max));
}

template <typename T>
BBox3<T> BBox3<T>::Translate(const Vector3<T>& by) const {
  return IsEmpty() ? *this : BBox3(min + by, max + by);
}

template <typename T>
bool BBox3<T>::ApproxEquals(const BBox3& box, double tolerance) const {
  const auto in_axis = [&](T low, T high, T other_low, T other_high) {
    return ApproxEqualsInAxis(static_cast<double>(low), static_cast<double>(high),
                              static_cast<double>(other_low), static_cast<double>(other_high),
                              tolerance);
  };
  return in_axis(min.x, max.x, box.min.x, box.max.x) &&
         in_axis(min.y, max.y, box.min.y, box.max.y) && in_axis(min.z, max.z, box.min.z, box.max.z);
}

template <typename T>
bool BBox3<T>::ParseFromString(const std::string& text) {
  std::vector<double> numbers;
  if (!SplitStringAndParseDoubles(text, &numbers) || numbers.size() != 6) {
    return false;
  }
  min = Vector3<T>(Converted<T>(numbers[0]), Converted<T>(numbers[1]), Converted<T>(numbers[2]));
  max = Vector3<T>(Converted<T>(numbers[3]), Converted<T>(numbers[4]), Converted<T>(numbers[5]));
  return true;
}

template <typename T>
std::ostream& operator<<(std::ostream& stream, const BBox3<T>& box) {
  const auto write = [&stream](const Vector3<T>& v) {
    stream << v.x << ", " << v.y << ", " << v.z;
  };
  stream << "[(";
  write(box.min);
  stream << ")..(";
  write(box.max);
  return stream << ")]";
}

template class BBox3<float>;
template class BBox3<double>;
template class BBox3<int>;
template std::ostream& operator<<(std::ostream&, const BBox3<float>&);
template std::ostream& operator<<(std::ostream&, const BBox3<double>&);
template std::ostream& operator<<(std::ostream&, const BBox3<int>&);

}  // namespace geometry3d
