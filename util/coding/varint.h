// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/export.h"

/// Numbers in as few bytes as they need: seven bits a byte, the lowest group first, the top bit set
/// in each byte but the last. 300 is AC 02. The parsers treat varints that are too long or too big
/// each in their own way, which their users rely on; each one says how. None reads behind the
/// varint itself or behind its limit, and on failure (null) none writes its result. All are pure
/// and safe from any thread.
class PELORIN_EXPORT Varint {
 public:
  /// The most bytes of a 32-bit and of a 64-bit number.
  static constexpr int kMax32 = 5;
  static constexpr int kMax64 = 10;
  /// Bytes that an encoder may write behind its varint.
  static constexpr int kSlopBytes = 0;

  /// Writes the varint at `p`, which has room for it, at most 5 or 10 bytes; returns the position
  /// behind it.
  static char* Encode32(char* p, std::uint32_t v) {
    if (v <= 0x7F) {
      *p = static_cast<char>(v);
      return p + 1;
    }
    return Encode32Long(p, v);
  }
  static char* Encode64(char* p, std::uint64_t v);

  /// Parses at `p`, where there are as many bytes as the varint claims, up to 5 or 10; also one of
  /// a single byte. Returns the position behind it; null when the fifth or tenth byte has its top
  /// bit set. Of that byte the bits beyond the number's width are dropped.
  static const char* Parse32Fallback(const char* p, std::uint32_t* v);
  static const char* Parse64Fallback(const char* p, std::uint64_t* v);

  /// The same with a bound: null also when `limit` comes first, or lies before `p`.
  static const char* Parse64WithLimit(const char* p, const char* limit, std::uint64_t* v);

  /// The first byte of the varint that ends just before `p`, not going below `base`; null when
  /// there is none, because `p` is not above `base`, the byte before `p` has its top bit set, or
  /// the varint would be longer than 5 or 10 bytes.
  static const char* Skip32BackwardSlow(const char* p, const char* base);
  static const char* Skip64BackwardSlow(const char* p, const char* base);
  /// The same, and decodes it; bits beyond the number's width are dropped.
  static const char* Parse32BackwardSlow(const char* p, const char* base, std::uint32_t* v);
  static const char* Parse64BackwardSlow(const char* p, const char* base, std::uint64_t* v);

  /// Appends the varint to `*s`.
  static void Append32Slow(std::string* s, std::uint32_t v);
  static void Append64Slow(std::string* s, std::uint64_t v);

  /// Appends a pair of small numbers as one varint: half a byte of `a` below half a byte of `b`,
  /// lowest first, until both are used up. (1, 2) is 21, (0x123, 4) is C3 84 04, (0, 0) is 00.
  static void EncodeTwo32Values(std::string* s, std::uint32_t a, std::uint32_t b);
  /// The pair back, as `Parse64Fallback` parses; returns the position behind it. On failure both
  /// results are as they were.
  static const char* DecodeTwo32ValuesSlow(const char* p, std::uint32_t* a, std::uint32_t* b);

  /// The bytes of a number's varint, 1 to 5 or 10.
  static int Length32NonInline(std::uint32_t v);
  static int Length64(std::uint64_t v);

  /// The bytes of a varint, by the bit length 0 to 32 of its number.
  static const std::array<unsigned char, 33> length32_bytes_required;

 private:
  // The same for two bytes and more.
  static char* Encode32Long(char* p, std::uint32_t v);
};
