// SPDX-License-Identifier: Apache-2.0
#include "strings/hash.h"

#include <cstdint>

#include "base/little_endian.h"

namespace {

std::uint32_t Unsigned(char c) {
  return static_cast<unsigned char>(c);
}

std::uint32_t Signed(char c) {
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(c)));
}

// Each signed byte b stands for b - 256 where its top bit is set, which is twice that bit less.
std::uint32_t SignedBytesWord(const char* s) {
  const auto word = LoadLittleEndian<std::uint32_t>(s);
  return word - 2 * (word & 0x80808080u);
}

// The `count` bytes at `s` from bit `shift` on, unsigned.
template <typename Word>
Word Tail(const char* s, unsigned count, unsigned shift) {
  Word word = 0;
  for (unsigned i = 0; i < count; ++i) {
    word += static_cast<Word>(static_cast<unsigned char>(s[i])) << (shift + 8 * i);
  }
  return word;
}

struct State32 {
  std::uint32_t a = 0x9e3779b9;
  std::uint32_t b = 0x9e3779b9;
  std::uint32_t c;

  void Mix() {
    a = (a - b - c) ^ (c >> 13);
    b = (b - c - a) ^ (a << 8);
    c = (c - a - b) ^ (b >> 13);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 16);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 3);
    b = (b - c - a) ^ (a << 10);
    c = (c - a - b) ^ (b >> 15);
  }
};

struct State64 {
  std::uint64_t a = 0xe08c1d668b756f82;
  std::uint64_t b = 0xe08c1d668b756f82;
  std::uint64_t c;

  void Mix() {
    a = (a - b - c) ^ (c >> 43);
    b = (b - c - a) ^ (a << 9);
    c = (c - a - b) ^ (b >> 8);
    a = (a - b - c) ^ (c >> 38);
    b = (b - c - a) ^ (a << 23);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 35);
    b = (b - c - a) ^ (a << 49);
    c = (c - a - b) ^ (b >> 11);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 18);
    c = (c - a - b) ^ (b >> 22);
  }
};

}  // namespace

unsigned int Hash32StringWithSeed(const char* s, unsigned int length, unsigned int seed) {
  State32 state;
  state.c = seed;
  unsigned left = length;
  for (; left >= 12; left -= 12, s += 12) {
    state.a += SignedBytesWord(s);
    state.b += SignedBytesWord(s + 4);
    state.c += SignedBytesWord(s + 8);
    state.Mix();
  }
  // The lowest byte of c belongs to the length, so its bytes start at bit 8.
  state.c += length;
  if (left >= 8) {
    state.a += SignedBytesWord(s);
    state.b += SignedBytesWord(s + 4);
    state.c += Tail<std::uint32_t>(s + 8, left - 8, 8);
  } else if (left >= 4) {
    state.a += SignedBytesWord(s);
    state.b += Tail<std::uint32_t>(s + 4, left - 4, 0);
  } else {
    state.a += Tail<std::uint32_t>(s, left, 0);
  }
  state.Mix();
  return state.c;
}

unsigned int Hash32StringWithSeedReferenceImplementation(const char* s, unsigned int length,
                                                         unsigned int seed) {
  State32 state;
  state.c = seed;
  unsigned left = length;
  for (; left >= 12; left -= 12, s += 12) {
    for (unsigned i = 0; i < 4; ++i) {
      state.a += Signed(s[i]) << (8 * i);
      state.b += Signed(s[4 + i]) << (8 * i);
      state.c += Signed(s[8 + i]) << (8 * i);
    }
    state.Mix();
  }
  state.c += length;
  for (unsigned i = 0; i < left; ++i) {
    const bool in_whole_word = i < left / 4 * 4;
    const std::uint32_t byte = in_whole_word ? Signed(s[i]) : Unsigned(s[i]);
    if (i < 4) {
      state.a += byte << (8 * i);
    } else if (i < 8) {
      state.b += byte << (8 * (i - 4));
    } else {
      state.c += byte << (8 * (i - 7));
    }
  }
  state.Mix();
  return state.c;
}

unsigned long long Hash64StringWithSeed(const char* s, unsigned int length,
                                        unsigned long long seed) {
  State64 state;
  state.c = seed;
  unsigned left = length;
  for (; left >= 24; left -= 24, s += 24) {
    state.a += LoadLittleEndian<std::uint64_t>(s);
    state.b += LoadLittleEndian<std::uint64_t>(s + 8);
    state.c += LoadLittleEndian<std::uint64_t>(s + 16);
    state.Mix();
  }
  state.c += length;
  if (left >= 16) {
    state.a += LoadLittleEndian<std::uint64_t>(s);
    state.b += LoadLittleEndian<std::uint64_t>(s + 8);
    state.c += Tail<std::uint64_t>(s + 16, left - 16, 8);
  } else if (left >= 8) {
    state.a += LoadLittleEndian<std::uint64_t>(s);
    state.b += Tail<std::uint64_t>(s + 8, left - 8, 0);
  } else {
    state.a += Tail<std::uint64_t>(s, left, 0);
  }
  state.Mix();
  return state.c;
}
