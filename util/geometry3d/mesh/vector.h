// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <type_traits>

#include "base/export.h"
#include "util/geometry3d/mesh/rounding.h"

namespace geometry3d {
namespace mesh_internal {

// Sums, differences and products in `T`. Integers wrap modulo 2 to their width, so that no numbers
// of a damaged file have an undefined result.
template <typename T, typename Operation>
constexpr T Wrapping(T a, T b, Operation operation) {
  if constexpr (std::is_integral_v<T>) {
    using Word = std::make_unsigned_t<T>;
    return static_cast<T>(operation(static_cast<Word>(a), static_cast<Word>(b)));
  } else {
    return operation(a, b);
  }
}
template <typename T>
constexpr T Sum(T a, T b) {
  return Wrapping(a, b, [](auto x, auto y) { return x + y; });
}
template <typename T>
constexpr T Difference(T a, T b) {
  return Wrapping(a, b, [](auto x, auto y) { return x - y; });
}
template <typename T>
constexpr T Product(T a, T b) {
  return Wrapping(a, b, [](auto x, auto y) { return x * y; });
}

}  // namespace mesh_internal

/// Two components of type `float`, `double` or `int`, 0 unless said otherwise. Arithmetic is by
/// component and in `T`, each operation rounded; that of `int` wraps modulo 2 to the 32. Equality
/// is that of the components: -0 equals 0, a NaN equals nothing. A plain value.
template <typename T>
struct Vector2 {
  T x{};
  T y{};

  constexpr Vector2() = default;
  constexpr Vector2(T x_value, T y_value) : x(x_value), y(y_value) {}

  constexpr Vector2 operator+(const Vector2& v) const {
    return Vector2(mesh_internal::Sum(x, v.x), mesh_internal::Sum(y, v.y));
  }
  constexpr Vector2 operator-(const Vector2& v) const {
    return Vector2(mesh_internal::Difference(x, v.x), mesh_internal::Difference(y, v.y));
  }
  constexpr Vector2 operator*(T factor) const {
    return Vector2(mesh_internal::Product(x, factor), mesh_internal::Product(y, factor));
  }
  constexpr Vector2 operator-() const { return *this * T{-1}; }
  /// Of floating `T`.
  constexpr Vector2 operator/(T divisor) const {
    static_assert(std::is_floating_point_v<T>);
    return Vector2(x / divisor, y / divisor);
  }
  friend constexpr Vector2 operator*(T factor, const Vector2& v) { return v * factor; }
  constexpr Vector2& operator+=(const Vector2& v) { return *this = *this + v; }
  constexpr Vector2& operator-=(const Vector2& v) { return *this = *this - v; }
  constexpr Vector2& operator*=(T factor) { return *this = *this * factor; }
  constexpr bool operator==(const Vector2& v) const { return x == v.x && y == v.y; }
  constexpr bool operator!=(const Vector2& v) const { return !(*this == v); }

  /// Each component rounded to an integer, halves to the even one, and cut to its low 32 bits; 0
  /// for a NaN and beyond 64 bits. Of floating `T`.
  Vector2<int> IRound() const {
    return Vector2<int>(mesh_internal::RoundAndCut(x), mesh_internal::RoundAndCut(y));
  }
};

/// Three components; otherwise as `Vector2`.
///
///     const Vector3<float> up = Vector3<float>(0.0f, 0.0f, 4.0f).Normalize();   // (0, 0, 1)
template <typename T>
struct Vector3 {
  T x{};
  T y{};
  T z{};

  constexpr Vector3() = default;
  constexpr Vector3(T x_value, T y_value, T z_value) : x(x_value), y(y_value), z(z_value) {}

  constexpr Vector3 operator+(const Vector3& v) const {
    return Vector3(mesh_internal::Sum(x, v.x), mesh_internal::Sum(y, v.y),
                   mesh_internal::Sum(z, v.z));
  }
  constexpr Vector3 operator-(const Vector3& v) const {
    return Vector3(mesh_internal::Difference(x, v.x), mesh_internal::Difference(y, v.y),
                   mesh_internal::Difference(z, v.z));
  }
  constexpr Vector3 operator*(T factor) const {
    return Vector3(mesh_internal::Product(x, factor), mesh_internal::Product(y, factor),
                   mesh_internal::Product(z, factor));
  }
  constexpr Vector3 operator-() const { return *this * T{-1}; }
  /// Of floating `T`.
  constexpr Vector3 operator/(T divisor) const {
    static_assert(std::is_floating_point_v<T>);
    return Vector3(x / divisor, y / divisor, z / divisor);
  }
  friend constexpr Vector3 operator*(T factor, const Vector3& v) { return v * factor; }
  constexpr Vector3& operator+=(const Vector3& v) { return *this = *this + v; }
  constexpr Vector3& operator-=(const Vector3& v) { return *this = *this - v; }
  constexpr Vector3& operator*=(T factor) { return *this = *this * factor; }
  constexpr bool operator==(const Vector3& v) const { return x == v.x && y == v.y && z == v.z; }
  constexpr bool operator!=(const Vector3& v) const { return !(*this == v); }

  /// As that of `Vector2`.
  Vector3<int> IRound() const {
    return Vector3<int>(mesh_internal::RoundAndCut(x), mesh_internal::RoundAndCut(y),
                        mesh_internal::RoundAndCut(z));
  }

  /// This vector times one over its length, which is the root of the sum of the squares from x to
  /// z, all in `T`. Zero when that length is 0, which also a tiny vector's may be. Of floating `T`.
  Vector3 Normalize() const {
    const T length = std::sqrt(x * x + y * y + z * z);
    return length == 0 ? Vector3() : *this * (1 / length);
  }
};

// Of `float` it is the library's code, whatever a caller's compiler may do to products and sums.
template <>
PELORIN_EXPORT Vector3<float> Vector3<float>::Normalize() const;

/// The cross product, `a` turned towards `b` as a right-handed screw. Of floating `T`.
template <typename T>
constexpr Vector3<T> CrossProduct(const Vector3<T>& a, const Vector3<T>& b) {
  return Vector3<T>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

}  // namespace geometry3d
