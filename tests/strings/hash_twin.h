// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace test_support {

// Jenkins' published lookup2, one statement a step as published, on bytes as `Byte` values; with
// `unsigned char` it is the published function itself.
// clang-format off
inline void Mix(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c) {
  a -= b; a -= c; a ^= (c >> 13);
  b -= c; b -= a; b ^= (a << 8);
  c -= a; c -= b; c ^= (b >> 13);
  a -= b; a -= c; a ^= (c >> 12);
  b -= c; b -= a; b ^= (a << 16);
  c -= a; c -= b; c ^= (b >> 5);
  a -= b; a -= c; a ^= (c >> 3);
  b -= c; b -= a; b ^= (a << 10);
  c -= a; c -= b; c ^= (b >> 15);
}

inline std::uint32_t PublishedLookup2(const std::string& text, std::uint32_t seed) {
  const auto k = [&text](std::size_t i) -> std::uint32_t {
    return static_cast<unsigned char>(text[i]);
  };
  std::uint32_t a = 0x9e3779b9, b = 0x9e3779b9, c = seed;
  std::size_t left = text.size(), p = 0;
  while (left >= 12) {
    a += k(p) + (k(p + 1) << 8) + (k(p + 2) << 16) + (k(p + 3) << 24);
    b += k(p + 4) + (k(p + 5) << 8) + (k(p + 6) << 16) + (k(p + 7) << 24);
    c += k(p + 8) + (k(p + 9) << 8) + (k(p + 10) << 16) + (k(p + 11) << 24);
    Mix(a, b, c);
    p += 12;
    left -= 12;
  }
  c += static_cast<std::uint32_t>(text.size());
  switch (left) {
  case 11: c += k(p + 10) << 24; [[fallthrough]];
  case 10: c += k(p + 9) << 16; [[fallthrough]];
  case 9: c += k(p + 8) << 8; [[fallthrough]];
  case 8: b += k(p + 7) << 24; [[fallthrough]];
  case 7: b += k(p + 6) << 16; [[fallthrough]];
  case 6: b += k(p + 5) << 8; [[fallthrough]];
  case 5: b += k(p + 4); [[fallthrough]];
  case 4: a += k(p + 3) << 24; [[fallthrough]];
  case 3: a += k(p + 2) << 16; [[fallthrough]];
  case 2: a += k(p + 1) << 8; [[fallthrough]];
  case 1: a += k(p); [[fallthrough]];
  default: break;
  }
  Mix(a, b, c);
  return c;
}

// The same with every byte of a whole word as a signed one, in arithmetic wide enough to need no
// trick: each word is summed as a signed number and only then cut to 32 bits.
inline std::uint32_t SignedLookup2(const std::string& text, std::uint32_t seed) {
  const auto word = [&text](std::size_t p) {
    std::int64_t sum = 0;
    for (int i = 3; i >= 0; --i) {
      sum = sum * 256 + static_cast<signed char>(text[p + static_cast<std::size_t>(i)]);
    }
    return static_cast<std::uint32_t>(sum);
  };
  const auto single = [&text](std::size_t p) -> std::uint32_t {
    return p < text.size() ? static_cast<unsigned char>(text[p]) : 0u;
  };
  std::uint32_t a = 0x9e3779b9, b = 0x9e3779b9, c = seed;
  std::size_t p = 0;
  for (; text.size() - p >= 12; p += 12) {
    a += word(p);
    b += word(p + 4);
    c += word(p + 8);
    Mix(a, b, c);
  }
  const std::size_t left = text.size() - p;
  c += static_cast<std::uint32_t>(text.size());
  a += left >= 4 ? word(p) : single(p) + (single(p + 1) << 8) + (single(p + 2) << 16);
  if (left >= 8) {
    b += word(p + 4);
    c += (single(p + 8) << 8) + (single(p + 9) << 16) + (single(p + 10) << 24);
  } else if (left >= 4) {
    b += single(p + 4) + (single(p + 5) << 8) + (single(p + 6) << 16);
  }
  Mix(a, b, c);
  return c;
}

// Jenkins' published lookup8 with this system's constant.
inline std::uint64_t PublishedLookup8(const std::string& text, std::uint64_t seed) {
  const auto k = [&text](std::size_t i) -> std::uint64_t {
    return static_cast<unsigned char>(text[i]);
  };
  std::uint64_t a = 0xe08c1d668b756f82, b = 0xe08c1d668b756f82, c = seed;
  const auto mix = [&] {
    a -= b; a -= c; a ^= (c >> 43);
    b -= c; b -= a; b ^= (a << 9);
    c -= a; c -= b; c ^= (b >> 8);
    a -= b; a -= c; a ^= (c >> 38);
    b -= c; b -= a; b ^= (a << 23);
    c -= a; c -= b; c ^= (b >> 5);
    a -= b; a -= c; a ^= (c >> 35);
    b -= c; b -= a; b ^= (a << 49);
    c -= a; c -= b; c ^= (b >> 11);
    a -= b; a -= c; a ^= (c >> 12);
    b -= c; b -= a; b ^= (a << 18);
    c -= a; c -= b; c ^= (b >> 22);
  };
  std::size_t left = text.size(), p = 0;
  for (; left >= 24; left -= 24, p += 24) {
    for (unsigned i = 0; i < 8; ++i) {
      a += k(p + i) << (8 * i);
      b += k(p + 8 + i) << (8 * i);
      c += k(p + 16 + i) << (8 * i);
    }
    mix();
  }
  c += text.size();
  for (unsigned i = 0; i < left; ++i) {
    if (i < 8) {
      a += k(p + i) << (8 * i);
    } else if (i < 16) {
      b += k(p + i) << (8 * (i - 8));
    } else {
      c += k(p + i) << (8 * (i - 15));
    }
  }
  mix();
  return c;
}

// clang-format on
}  // namespace test_support
