// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/sha1_compression.h"

#include <cstddef>

namespace nimbara {
namespace spatial {
namespace {

std::uint32_t RotatedLeft(std::uint32_t word, int bits) {
  return word << bits | word >> (32 - bits);
}

std::uint32_t LoadWord(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
}

}  // namespace

void Sha1Compress(const unsigned char* block, Sha1State* state) {
  std::array<std::uint32_t, 80> schedule;
  for (std::size_t t = 0; t < 16; ++t) {
    schedule[t] = LoadWord(block + 4 * t);
  }
  for (std::size_t t = 16; t < 80; ++t) {
    schedule[t] =
        RotatedLeft(schedule[t - 3] ^ schedule[t - 8] ^ schedule[t - 14] ^ schedule[t - 16], 1);
  }
  auto [a, b, c, d, e] = *state;
  for (std::size_t t = 0; t < 80; ++t) {
    std::uint32_t mixed;
    if (t < 20) {
      mixed = ((b & c) | (~b & d)) + 0x5A827999;
    } else if (t < 40) {
      mixed = (b ^ c ^ d) + 0x6ED9EBA1;
    } else if (t < 60) {
      mixed = ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDC;
    } else {
      mixed = (b ^ c ^ d) + 0xCA62C1D6;
    }
    const std::uint32_t next = RotatedLeft(a, 5) + mixed + e + schedule[t];
    e = d;
    d = c;
    c = RotatedLeft(b, 30);
    b = a;
    a = next;
  }
  Sha1State& sum = *state;
  sum = {sum[0] + a, sum[1] + b, sum[2] + c, sum[3] + d, sum[4] + e};
}

Sha1State LoadSha1State(const unsigned char* bytes) {
  Sha1State state;
  for (std::size_t i = 0; i < state.size(); ++i) {
    state[i] = LoadWord(bytes + 4 * i);
  }
  return state;
}

void StoreSha1State(const Sha1State& state, unsigned char* bytes) {
  for (std::size_t i = 0; i < state.size(); ++i) {
    for (std::size_t k = 0; k < 4; ++k) {
      bytes[4 * i + k] = static_cast<unsigned char>(state[i] >> (24 - 8 * k));
    }
  }
}

}  // namespace spatial
}  // namespace nimbara
