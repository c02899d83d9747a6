// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include "base/export.h"

/// Small questions about bits. All are pure and safe from any thread.
class PELORIN_EXPORT Bits {
 public:
  /// The one bits of the `n` bytes at `p`; 0 for `n` below 1.
  static int Count(const void* p, int n);
  /// The bits in which the `n` bytes at `a` and at `b` differ; 0 for `n` below 1.
  static int Difference(const void* a, const void* b, int n);
  /// The same, but looks no further than the byte at which the sum exceeds `cap`, so the result may
  /// exceed `cap` by up to 8. 0 for `n` below 1 or `cap` below 0.
  static int CappedDifference(const void* a, const void* b, int n, int cap);

  /// The floor of the binary logarithm, 0 to 31; -1 for 0.
  static int Log2Floor_Portable(std::uint32_t v);
  /// The same by the machine's instruction, for `v` above 0; any number for 0.
  static int Log2FloorNonZero(std::uint32_t v) { return 31 ^ __builtin_clz(v | (v == 0)); }
  /// The ceiling, 0 to 32 or 64; -1 for 0.
  static int Log2Ceiling(std::uint32_t v);
  static int Log2Ceiling64(std::uint64_t v);
  /// The position of the lowest one bit, 0 to 31, for `v` above 0; -1 for 0.
  static int FindLSBSetNonZero_Portable(std::uint32_t v);

  /// The one bits of each byte value.
  static const std::array<unsigned char, 256> num_bits;
};
