// SPDX-License-Identifier: Apache-2.0
#include "util/coding/varint.h"

#include "base/little_endian.h"
#include "util/coding/bits.h"

namespace {

constexpr std::uint32_t kMore = 0x80;

constexpr std::array<unsigned char, 33> MakeLengths() {
  std::array<unsigned char, 33> lengths{};
  for (unsigned bits = 0; bits <= 32; ++bits) {
    lengths[bits] = static_cast<unsigned char>(bits == 0 ? 1 : (bits + 6) / 7);
  }
  return lengths;
}

std::uint32_t Byte(const char* p) {
  return static_cast<unsigned char>(*p);
}

bool HasMore(const char* p) {
  return (Byte(p) & kMore) != 0;
}

char ToChar(std::uint32_t byte) {
  return static_cast<char>(static_cast<unsigned char>(byte));
}

int TableLength(std::uint32_t v) {
  return Varint::length32_bytes_required[v == 0 ? 0
                                                : static_cast<unsigned>(Bits::Log2FloorNonZero(v) +
                                                                        1)];
}

// The first group stands apart, since it is most often the only one; the rest of a number is
// gathered without taking out each byte's top bit: the next byte's group comes in at that place
// reduced by one, which takes it out again.
template <typename Number, int kMaxBytes>
const char* Parse(const char* p, Number* v) {
  auto result = static_cast<Number>(Byte(p));
  if (result < kMore) {
    *v = result;
    return p + 1;
  }
#pragma GCC unroll 9
  for (int i = 1; i < kMaxBytes; ++i) {
    const std::uint32_t byte = Byte(p + i);
    result += (static_cast<Number>(byte) - 1) << (7 * i);
    if (byte < kMore) {
      *v = result;
      return p + i + 1;
    }
  }
  return nullptr;
}

// How long a number is cannot be foreseen, so there are few branches on it below: stores that
// overlap cover several lengths, each exactly.

// A seventh of the number's bits, rounded up; without a division that way.
int Length(std::uint64_t v) {
  return (9 * (64 - __builtin_clzll(v)) + 64) >> 6;
}

// The groups of the low 56 bits, each in a byte of its own.
std::uint64_t Spread(std::uint64_t v) {
  v = (v & 0x000000000FFFFFFF) | (v & 0x00FFFFFFF0000000) << 4;
  v = (v & 0x00003FFF00003FFF) | (v & 0x0FFFC0000FFFC000) << 2;
  return (v & 0x007F007F007F007F) | (v & 0x3F803F803F803F80) << 1;
}

// Those as a varint of `length` bytes, 1 to 8: all but the last have the top bit.
std::uint64_t SpreadVarint(std::uint64_t v, int length) {
  return Spread(v) | (0x8080808080808080 & ((std::uint64_t{1} << 8 * (length - 1)) - 1));
}

// `v` has 8 to 35 bits.
char* StoreUpToFive(char* p, std::uint64_t v) {
  const int length = Length(v);
  const std::uint64_t word = SpreadVarint(v, length);
  const int middle = length / 2;
  const int tail = length - 2;
  StoreLittleEndian(static_cast<std::uint16_t>(word), p);
  p[middle] = ToChar(static_cast<std::uint32_t>(word >> 8 * middle));
  StoreLittleEndian(static_cast<std::uint16_t>(word >> 8 * tail), p + tail);
  return p + length;
}

// `v` has 36 bits or more.
char* StoreSixAndMore(char* p, std::uint64_t v) {
  const std::uint64_t rest = v >> 56;
  if (rest == 0) {
    const int length = Length(v);
    const std::uint64_t word = SpreadVarint(v, length);
    StoreLittleEndian(static_cast<std::uint32_t>(word), p);
    StoreLittleEndian(static_cast<std::uint32_t>(word >> 8 * (length - 4)), p + length - 4);
    return p + length;
  }
  StoreLittleEndian(Spread(v) | 0x8080808080808080, p);
  p[8] = ToChar(static_cast<std::uint32_t>(rest));
  if (rest < kMore) {
    return p + 9;
  }
  p[9] = 1;
  return p + 10;
}

const char* SkipBackward(const char* p, const char* base, int max_bytes) {
  if (p <= base || HasMore(p - 1)) {
    return nullptr;
  }
  const char* first = p - 1;
  while (first > base && HasMore(first - 1)) {
    if (p - first == max_bytes) {
      return nullptr;
    }
    --first;
  }
  return first;
}

template <typename Number>
void Decode(const char* first, const char* end, Number* v) {
  Number result = 0;
  for (int shift = 0; first != end; ++first, shift += 7) {
    result |= static_cast<Number>(Byte(first) & (kMore - 1)) << shift;
  }
  *v = result;
}

}  // namespace

constexpr std::array<unsigned char, 33> Varint::length32_bytes_required = MakeLengths();

// Most numbers that are not of one byte are of two, which is soon foreseen.
char* Varint::Encode32Long(char* p, std::uint32_t v) {
  if (v <= 0x3FFF) {
    p[0] = ToChar(v | kMore);
    p[1] = ToChar(v >> 7);
    return p + 2;
  }
  return StoreUpToFive(p, v);
}

char* Varint::Encode64(char* p, std::uint64_t v) {
  if (v < kMore) {
    *p = ToChar(static_cast<std::uint32_t>(v));
    return p + 1;
  }
  return v < std::uint64_t{1} << 35 ? StoreUpToFive(p, v) : StoreSixAndMore(p, v);
}

const char* Varint::Parse32Fallback(const char* p, std::uint32_t* v) {
  return Parse<std::uint32_t, kMax32>(p, v);
}

const char* Varint::Parse64Fallback(const char* p, std::uint64_t* v) {
  return Parse<std::uint64_t, kMax64>(p, v);
}

const char* Varint::Parse64WithLimit(const char* p, const char* limit, std::uint64_t* v) {
  if (limit - p >= kMax64) {
    return Parse64Fallback(p, v);
  }
  for (const char* end = p; end < limit; ++end) {
    if (!HasMore(end)) {
      Decode(p, end + 1, v);
      return end + 1;
    }
  }
  return nullptr;
}

const char* Varint::Skip32BackwardSlow(const char* p, const char* base) {
  return SkipBackward(p, base, kMax32);
}

const char* Varint::Skip64BackwardSlow(const char* p, const char* base) {
  return SkipBackward(p, base, kMax64);
}

const char* Varint::Parse32BackwardSlow(const char* p, const char* base, std::uint32_t* v) {
  const char* const first = Skip32BackwardSlow(p, base);
  if (first != nullptr) {
    Decode(first, p, v);
  }
  return first;
}

const char* Varint::Parse64BackwardSlow(const char* p, const char* base, std::uint64_t* v) {
  const char* const first = Skip64BackwardSlow(p, base);
  if (first != nullptr) {
    Decode(first, p, v);
  }
  return first;
}

void Varint::Append32Slow(std::string* s, std::uint32_t v) {
  char buffer[kMax32];
  s->append(buffer, Encode32(buffer, v));
}

void Varint::Append64Slow(std::string* s, std::uint64_t v) {
  char buffer[kMax64];
  s->append(buffer, Encode64(buffer, v));
}

void Varint::EncodeTwo32Values(std::string* s, std::uint32_t a, std::uint32_t b) {
  std::uint64_t word = 0;
  for (int shift = 0; (a | b) != 0; shift += 8) {
    const std::uint32_t byte = (a & 0xF) | ((b & 0xF) << 4);
    word |= static_cast<std::uint64_t>(byte) << shift;
    a >>= 4;
    b >>= 4;
  }
  Append64Slow(s, word);
}

const char* Varint::DecodeTwo32ValuesSlow(const char* p, std::uint32_t* a, std::uint32_t* b) {
  std::uint64_t word = 0;
  p = Parse64Fallback(p, &word);
  if (p == nullptr) {
    return nullptr;
  }
  *a = 0;
  *b = 0;
  for (int shift = 0; word != 0; shift += 4, word >>= 8) {
    *a |= static_cast<std::uint32_t>(word & 0xF) << shift;
    *b |= static_cast<std::uint32_t>((word >> 4) & 0xF) << shift;
  }
  return p;
}

int Varint::Length32NonInline(std::uint32_t v) {
  return TableLength(v);
}

int Varint::Length64(std::uint64_t v) {
  if (v <= 0xFFFFFFF) {
    return TableLength(static_cast<std::uint32_t>(v));
  }
  return v < 0x800000000 ? 5 : 5 + TableLength(static_cast<std::uint32_t>(v >> 35));
}
