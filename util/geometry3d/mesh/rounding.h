// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>

#ifdef __x86_64__
#include <emmintrin.h>
#endif

namespace geometry3d {
namespace mesh_internal {

/// `value` rounded as the rounding mode says, by default to the nearest integer and from halves to
/// the even one, as a 64-bit integer cut to its low 32 bits: 4294967297.4 is 1. A NaN and numbers
/// beyond 64 bits give 0.
inline int RoundAndCut(double value) {
#ifdef __x86_64__
  // One instruction, where lrint is a call that minds errno. What does not fit is a lone top bit.
  const std::int64_t rounded = _mm_cvtsd_si64(_mm_set_sd(value));
#else
  const std::int64_t rounded = std::fabs(value) < 0x1p63 ? std::llrint(value) : 0;
#endif
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(rounded));
}

/// The same: rounding a `float` and the `double` of equal value gives one and the same integer.
inline int RoundAndCut(float value) {
  return RoundAndCut(static_cast<double>(value));
}

}  // namespace mesh_internal
}  // namespace geometry3d
