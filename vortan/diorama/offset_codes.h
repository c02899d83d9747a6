// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "util/coding/bit_run.h"
#include "util/coding/bits.h"

/// The variable numbers of `BinaryEncoder` in groups of one bit, each in one step. `m` groups are
/// `m - 1` ones, a zero and `m` bits, and their first number is 2^m - 2; so a number is told by the
/// place of the leading one of what is two above it, and by the bits below that.
namespace vortan::offset_codes {

/// The longest code, in bits.
constexpr std::size_t kMaxBits = 64;

/// Writes the code of `number`. Wants room for `kMaxBits`.
inline void Put(std::uint32_t number, BitRunWriter* run) {
  const std::uint64_t two_above = std::uint64_t{number} + 2;
  const int m = 63 ^ __builtin_clzll(two_above);
  const std::uint64_t first = std::uint64_t{1} << m;
  const std::uint64_t code = ((first >> 1) - 1) | (two_above ^ first) << m;
  if (2 * m <= BitRunWriter::kMaxBits) {
    run->Put(code, 2 * m);
  } else {
    run->Put(code & 0xFFFFFFFF, 32);
    run->Put(code >> 32, 2 * m - 32);
  }
}

/// Bits of the code at the low end of `word`, 2 to 128; above 64 where the word does not hold it.
inline int Length(std::uint64_t word) {
  constexpr std::uint64_t kTop = std::uint64_t{1} << 63;
  return 2 * (__builtin_ctzll(~word | kTop) + 1);
}

/// The number whose code of `length` bits stands at the low end of `word`.
inline std::uint32_t Number(std::uint64_t word, int length) {
  const int m = length / 2;
  const std::uint64_t first = std::uint64_t{1} << m;
  return static_cast<std::uint32_t>((((word >> m) & (first - 1)) | first) - 2);
}

}  // namespace vortan::offset_codes
