// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/util/coding/bit_twins.h"

namespace test_support {

/// Writes the fields of a stream one bit at a time, each form by its definition.
class StreamFields {
 public:
  StreamFields& Bits(std::uint32_t value, int n) {
    bits_.PutBits(value, n);
    return *this;
  }
  StreamFields& Float(float value) {
    std::uint32_t pattern = 0;
    std::memcpy(&pattern, &value, sizeof(pattern));
    return Bits(pattern, 32);
  }
  StreamFields& Double(double value) {
    std::uint64_t pattern = 0;
    std::memcpy(&pattern, &value, sizeof(pattern));
    return Bits(static_cast<std::uint32_t>(pattern), 32)
        .Bits(static_cast<std::uint32_t>(pattern >> 32), 32);
  }
  StreamFields& VarUInt(std::uint32_t value, int k) {
    std::uint64_t base = 0;
    std::uint64_t rest = value;
    int m = 1;
    while (rest >= std::uint64_t{1} << k) {
      ++m;
      base += std::uint64_t{1} << (k * (m - 1));
      rest = (rest - (std::uint64_t{1} << k)) >> k;
    }
    bits_.PutUnary(m);
    Bits(static_cast<std::uint32_t>(value - base), std::min(m * k, 32));
    for (int beyond = 32; beyond < m * k; ++beyond) {
      Bits(0, 1);
    }
    return *this;
  }
  StreamFields& VarInt(int value, int k) {
    return value >= 0 ? VarUInt(2 * static_cast<std::uint32_t>(value), k)
                      : VarUInt(2 * static_cast<std::uint32_t>(~value) + 1, k);
  }
  StreamFields& Bytes(const std::string& text) {
    for (const char c : text) {
      Bits(static_cast<unsigned char>(c), 8);
    }
    return *this;
  }
  StreamFields& Header(std::uint32_t version) { return Bits(17747, 16).Bits(version, 16); }

  std::size_t bits() const { return bits_.size(); }
  /// Padded with zero bits to whole bytes.
  std::string Stream() const { return bits_.Bytes(); }

 private:
  BitWriterTwin bits_;
};

}  // namespace test_support
