// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "base/export.h"
#include "base/little_endian.h"
#include "util/coding/bits.h"
#include "util/coding/coder.h"

/// Writes a stream of bits. Bit `i` of the stream is bit `i mod 8` of byte `i / 8`, and a value
/// goes in with its lowest bit first, on every machine:
///
///     PutBits(5, 3), PutBits(1, 1)   ->   1 0 1 1   ->   0D after Flush
///
/// Bits are gathered in a word and reach the bytes 32 at a time, or with `Flush`. Whoever knows
/// what is to come makes room beforehand by `mutable_encoder()->Ensure`; where room is missing the
/// encoder grows. An object belongs to one thread; `Initialize` has run when the library is loaded.
class PELORIN_EXPORT BitEncoder {
 public:
  /// Over an encoder that grows.
  BitEncoder() = default;
  /// Over a fixed buffer, as with `Encoder`. Up to four bytes of it behind those written become
  /// zero.
  BitEncoder(char* buffer, std::size_t size) : encoder_(buffer, size) {}

  /// The low `n` bits of `v`; `n` is 0 to 32, below it counts as 0, above it as 32.
  void PutBits(std::uint32_t v, int n) {
    if (static_cast<unsigned>(n) > 32) {
      n = n < 0 ? 0 : 32;
    }
    const std::uint64_t word = bits_ | ((v & mask_[static_cast<unsigned>(n)]) << num_bits_);
    const int filled = num_bits_ + n;
    // Where a word ends is as random as the widths are, so nothing here branches on it.
    encoder_.Put32If(filled >= 32, static_cast<std::uint32_t>(word));
    bits_ = static_cast<std::uint32_t>(word >> (filled & 32));
    num_bits_ = filled & 31;
  }

  /// `n - 1` one bits and a zero bit, for `n` of 1 or more; below that nothing.
  void PutUnary(int n) {
    if (n <= 0) {
      return;
    }
    int ones = n - 1;
    for (; ones >= 32; ones -= 32) {
      PutBits(~std::uint32_t{0}, 32);
    }
    PutBits((std::uint32_t{1} << ones) - 1, ones + 1);
  }

  /// The Elias gamma code of `v`, 1 or more: as many ones as there are bits below its leading one,
  /// a zero, then those bits. 2 is 1 0 0, 3 is 1 0 1. 0 has no code and writes nothing.
  void PutGamma(std::uint32_t v) {
    if (v < gamma_.size()) {
      PutBits(gamma_[v] & 0xffffff, static_cast<int>(gamma_[v] >> 24));
    } else {
      PutLongGamma(v);
    }
  }

  /// Pads with zero bits up to the next byte and stores all; nothing on an empty stream.
  void Flush();

  /// The bytes stored so far. Bits in the word are not among them.
  const Encoder& encoder() const { return encoder_; }
  Encoder* mutable_encoder() { return &encoder_; }
  /// Bits in the word, 0 to 31.
  int num_bits() const { return num_bits_; }

  /// Fills `gamma_` and proves it by reading it back: fatal checks "(value & 0xffffff) == value",
  /// "bd.GetGamma(&v)" and "v == i". Runs by itself when the library is loaded, before its other
  /// statics. Not beside any use of the class on another thread.
  static void Initialize();

  /// The low `n` bits of `v` in reverse order; `n` is 0 to 32, below it counts as 0, above it
  /// as 32.
  static std::uint32_t ReverseBits(int n, std::uint32_t v);

  /// For diagnostics: `n` characters '0' or '1', bit 0 of `v` first, and a terminator; returns
  /// `dest`, which has room for `n + 1`. From bit 32 on all are '0'. `n` must be 0 or more: for a
  /// negative one the terminator alone is written, to `dest[n]`.
  static char* UnparseLSBFirst(char* dest, std::uint32_t v, int n);

  /// Entry `i` has the low `i` bits set.
  static const std::array<std::uint64_t, 65> mask_;
  /// The floor of the binary logarithm of the index; 0 for 0.
  static const std::array<unsigned char, 256> log2_table_;
  /// For 1 to 255 the length of the gamma code in the top 8 bits, the code below; entry 0 is 0.
  /// Only `Initialize` writes it.
  static std::array<std::uint32_t, 256> gamma_;

 private:
  friend class BitRunWriter;

  // The code by its definition, for any `v` above 0.
  void PutLongGamma(std::uint32_t v);

  Encoder encoder_;
  // The low `num_bits_` bits are filled, the others zero.
  std::uint32_t bits_ = 0;
  int num_bits_ = 0;
};

/// Reads a stream of bits, as `BitEncoder` writes it, from bytes that it does not own. It loads
/// eight bytes at a time, or what is left, and never reads behind the bytes. Nothing is reported
/// but by return value. An object belongs to one thread.
///
/// A failed read is not without effect: the bits that were in hand are lost, and the bits that were
/// loaded for it, if any, are next.
class PELORIN_EXPORT BitDecoder {
 public:
  /// Over `size` bytes at `data`, which must outlive it; null for none.
  BitDecoder(const char* data, std::size_t size)
      : start_(data), cursor_(data), limit_(data + size) {}

  /// The next `n` bits, the first one lowest; false, with `*v` as it was, when there are not
  /// enough. 0 bits can be had at the end, too. Above 32 (a damaged stream may ask for it) they are
  /// all consumed and the low 32 bits given; one load must suffice for what is not in hand. Below 0
  /// fails without any effect.
  bool GetBits(int n, std::uint32_t* v) {
    if (!CanPeek() || static_cast<unsigned>(n) > 32) {
      return OnCopy(
          v, [n](BitDecoder* copy, std::uint32_t* value) { return copy->GetBitsSlow(n, value); });
    }
    *v = static_cast<std::uint32_t>(Peek() & BitEncoder::mask_[static_cast<unsigned>(n)]);
    num_bits_ -= n;
    return true;
  }

  /// The length of a unary code: the one bits up to the first zero, which is consumed, plus one.
  /// More than 4294967295 count as that. False at the end, with `*n` as it was and nothing in hand.
  bool GetUnary(std::uint32_t* n) {
    const int ones = CanPeek() ? CountOnes(Peek()) : kPeekBits;
    if (ones >= kPeekBits) {
      return OnCopy(
          n, [](BitDecoder* copy, std::uint32_t* length) { return copy->GetUnarySlow(length); });
    }
    *n = static_cast<std::uint32_t>(ones) + 1;
    num_bits_ -= ones + 1;
    return true;
  }

  /// A gamma code. False, with `*v` as it was, at the end or for a code of more than 31 bits behind
  /// its zero, of which then only the unary part is consumed.
  bool GetGamma(std::uint32_t* v) {
    if (CanPeek()) {
      const std::uint64_t word = Peek();
      const int n = CountOnes(word);
      if (2 * n + 1 <= kPeekBits) {
        const std::uint64_t mask = BitEncoder::mask_[static_cast<unsigned>(n)];
        *v = static_cast<std::uint32_t>((mask + 1) | ((word >> (n + 1)) & mask));
        num_bits_ -= 2 * n + 1;
        return true;
      }
    }
    return OnCopy(v,
                  [](BitDecoder* copy, std::uint32_t* value) { return copy->GetGammaSlow(value); });
  }

  /// Bytes that were loaded, and bits of them not yet given out, 0 to 64. Their difference, in
  /// bits, is what was consumed.
  std::size_t bytes_loaded() const { return static_cast<std::size_t>(cursor_ - start_) + due(); }
  int bits_in_hand() const { return static_cast<int>(bytes_loaded() * 8 - position()); }
  /// Whether nothing is left, so that every further read of a bit fails and changes nothing.
  bool at_end() const { return position() == static_cast<std::size_t>(limit_ - start_) * 8; }

  /// For each byte the length of the unary code at its low end, 1 to 8; 9 for a byte without a
  /// zero.
  static const std::array<unsigned char, 256> unary_decode_table;

 private:
  friend class BitRunReader;

  // Bits of a `Peek` that are of the stream, wherever in a byte it begins.
  static constexpr int kPeekBits = 57;

  // Whether eight bytes are left from the byte of the next bit on. A count near the end of its type
  // is settled first.
  bool CanPeek() const {
    constexpr int kLeast = std::numeric_limits<int>::min() + 64;
    return limit_ - next_byte() >= 8 && num_bits_ > kLeast;
  }
  // The next 57 bits, and up to 7 more that may be of the stream or zero. Wants `CanPeek`.
  std::uint64_t Peek() const {
    return LoadLittleEndian<std::uint64_t>(next_byte()) >> (-num_bits_ & 7);
  }
  const char* next_byte() const { return cursor_ + (-num_bits_ >> 3); }
  static int CountOnes(std::uint64_t word) { return ~word == 0 ? 64 : __builtin_ctzll(~word); }

  // Goes to a place farther on, counted in bits. The load that it makes due may be a shorter one,
  // those before it are whole.
  void MoveTo(std::size_t position) {
    const auto loaded = static_cast<std::size_t>(cursor_ - start_) * 8;
    if (position > loaded) {
      cursor_ += (position - loaded - 1) / 64 * 8;
    }
    num_bits_ = static_cast<int>((cursor_ - start_) * 8 - static_cast<std::ptrdiff_t>(position));
  }
  std::size_t position() const {
    return static_cast<std::size_t>((cursor_ - start_) * 8 - num_bits_);
  }
  // The bytes of the loads that are due.
  std::size_t due() const {
    const auto left = static_cast<std::size_t>(limit_ - cursor_);
    return num_bits_ >= 0 ? 0
                          : std::min(left, (static_cast<std::size_t>(-num_bits_) + 63) / 64 * 8);
  }
  // The rare way on a copy of this: a decoder and a variable whose addresses nobody takes can stay
  // in registers while one field is read after the other.
  template <typename Read>
  bool OnCopy(std::uint32_t* v, Read read) {
    BitDecoder copy = *this;
    std::uint32_t value = 0;
    copy.Settle();
    const bool is_there = read(&copy, &value);
    *this = copy;
    if (is_there) {
      *v = value;
    }
    return is_there;
  }
  // Makes the loads that are due and brings `bits_` up to date. The slow reads want that.
  void Settle();
  bool GetGammaSlow(std::uint32_t* v);
  bool GetBitsSlow(int n, std::uint32_t* v);
  bool GetUnarySlow(std::uint32_t* n);
  // Replaces the bits in hand by the next eight bytes, or what is left of them.
  void Refill();
  // Drops `n` bits of those in hand.
  void Consume(int n) {
    bits_ = n == num_bits_ ? 0 : bits_ >> n;
    num_bits_ -= n;
  }

  const char* start_;
  const char* cursor_;
  const char* limit_;
  // The last loads up to `cursor_` left `num_bits_` bits in hand, which stand in the low bits of
  // `bits_`, the next one lowest and zeros above. Far from the end reads only count `num_bits_`
  // down and take their bits from the bytes: `bits_` is out of date then, and below 0 the count is
  // of bits behind `cursor_` whose loads are due.
  std::uint64_t bits_ = 0;
  int num_bits_ = 0;
};
