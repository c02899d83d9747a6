// SPDX-License-Identifier: Apache-2.0
#include "util/coding/bits.h"

namespace {

constexpr std::array<unsigned char, 256> MakeBitCounts() {
  std::array<unsigned char, 256> counts{};
  for (unsigned i = 1; i < 256; ++i) {
    counts[i] = static_cast<unsigned char>(counts[i / 2] + i % 2);
  }
  return counts;
}

int Log2Floor64(std::uint64_t v) {
  const auto high = static_cast<std::uint32_t>(v >> 32);
  return high != 0 ? 32 + Bits::Log2Floor_Portable(high)
                   : Bits::Log2Floor_Portable(static_cast<std::uint32_t>(v));
}

}  // namespace

constexpr std::array<unsigned char, 256> Bits::num_bits = MakeBitCounts();

int Bits::Count(const void* p, int n) {
  const auto* const bytes = static_cast<const unsigned char*>(p);
  int count = 0;
  for (int i = 0; i < n; ++i) {
    count += num_bits[bytes[i]];
  }
  return count;
}

int Bits::Difference(const void* a, const void* b, int n) {
  const auto* const left = static_cast<const unsigned char*>(a);
  const auto* const right = static_cast<const unsigned char*>(b);
  int count = 0;
  for (int i = 0; i < n; ++i) {
    count += num_bits[left[i] ^ right[i]];
  }
  return count;
}

int Bits::CappedDifference(const void* a, const void* b, int n, int cap) {
  const auto* const left = static_cast<const unsigned char*>(a);
  const auto* const right = static_cast<const unsigned char*>(b);
  int count = 0;
  for (int i = 0; i < n && count <= cap; ++i) {
    count += num_bits[left[i] ^ right[i]];
  }
  return count;
}

int Bits::Log2Floor_Portable(std::uint32_t v) {
  if (v == 0) {
    return -1;
  }
  int log = 0;
  for (int shift = 16; shift != 0; shift /= 2) {
    if (v >> shift != 0) {
      v >>= shift;
      log += shift;
    }
  }
  return log;
}

int Bits::Log2Ceiling(std::uint32_t v) {
  const int floor = Log2Floor_Portable(v);
  return (v & (v - 1)) == 0 ? floor : floor + 1;
}

int Bits::Log2Ceiling64(std::uint64_t v) {
  const int floor = Log2Floor64(v);
  return (v & (v - 1)) == 0 ? floor : floor + 1;
}

int Bits::FindLSBSetNonZero_Portable(std::uint32_t v) {
  return Log2Floor_Portable(v & (0 - v));
}
