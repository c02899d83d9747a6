// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>

namespace coding_internal {

template <typename T>
struct AnyLimits {
  static constexpr bool kIsSigned = std::numeric_limits<T>::is_signed;
  static constexpr bool kIsInteger = std::numeric_limits<T>::is_integer;
  static constexpr T kMin = std::numeric_limits<T>::lowest();
  static constexpr T kMax = std::numeric_limits<T>::max();
  static constexpr T kPosMax = kMax;
};

template <typename T>
struct UnsignedLimits : AnyLimits<T> {
  static constexpr T kPosMin = 1;
  static constexpr T kEpsilon = 1;
  static constexpr T kStdError = 0;
  static constexpr int kMin10Exp = 0;
  static constexpr int kMax10Exp = std::numeric_limits<T>::digits10;
};

template <typename T>
struct SignedLimits : UnsignedLimits<T> {
  static constexpr T kNegMin = -1;
  static constexpr T kNegMax = AnyLimits<T>::kMin;
};

template <typename T>
struct FloatingLimits : AnyLimits<T> {
  static constexpr T kPosMin = std::numeric_limits<T>::min();
  static constexpr T kNegMin = -kPosMin;
  static constexpr T kNegMax = -AnyLimits<T>::kMax;
  static constexpr T kEpsilon = std::numeric_limits<T>::epsilon();
  static constexpr T kStdError = kEpsilon * 32;
  static constexpr int kMin10Exp = std::numeric_limits<T>::min_exponent10;
  static constexpr int kMax10Exp = std::numeric_limits<T>::max_exponent10;
  static constexpr int kPrecisionDigits = std::numeric_limits<T>::digits10;
  static constexpr T kPosInf = std::numeric_limits<T>::infinity();
  static constexpr T kNegInf = -kPosInf;
  static constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();
};

}  // namespace coding_internal

/// The limits of a number type, as constants. Other types than those below have none.
///
/// All: `kIsSigned`, `kIsInteger`; `kMin` and `kMax`, the ends of the range (of floating types the
/// finite ends); `kPosMin` and `kPosMax`, the smallest and the largest number above 0 (of floating
/// types the smallest normal one); `kEpsilon` and `kStdError`, the difference from 1 to the next
/// number and an error to expect of some steps of arithmetic (1 and 0 for integers); `kMin10Exp`
/// and `kMax10Exp`, the exponents of the smallest and largest power of ten in range. Signed and
/// floating: `kNegMin` and `kNegMax`, the number below 0 next to it and farthest from it. Floating:
/// `kPrecisionDigits`, decimal digits that survive; `kPosInf`, `kNegInf`, `kNaN` (quiet).
template <typename T>
struct MathLimits;

template <>
struct MathLimits<signed char> : coding_internal::SignedLimits<signed char> {};
template <>
struct MathLimits<unsigned char> : coding_internal::UnsignedLimits<unsigned char> {};
template <>
struct MathLimits<short> : coding_internal::SignedLimits<short> {};
template <>
struct MathLimits<unsigned short> : coding_internal::UnsignedLimits<unsigned short> {};
template <>
struct MathLimits<int> : coding_internal::SignedLimits<int> {};
template <>
struct MathLimits<unsigned int> : coding_internal::UnsignedLimits<unsigned int> {};
template <>
struct MathLimits<long> : coding_internal::SignedLimits<long> {};
template <>
struct MathLimits<unsigned long> : coding_internal::UnsignedLimits<unsigned long> {};
template <>
struct MathLimits<long long> : coding_internal::SignedLimits<long long> {};
template <>
struct MathLimits<unsigned long long> : coding_internal::UnsignedLimits<unsigned long long> {};
template <>
struct MathLimits<float> : coding_internal::FloatingLimits<float> {};
template <>
struct MathLimits<double> : coding_internal::FloatingLimits<double> {};
template <>
struct MathLimits<long double> : coding_internal::FloatingLimits<long double> {};
