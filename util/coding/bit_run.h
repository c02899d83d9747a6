// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/little_endian.h"
#include "util/coding/bitcoding.h"

/// Appends a long run of fields to a `BitEncoder` with its state in registers and no test in
/// between. Its user makes room for as many fields as possible at once. Until this ends the encoder
/// must not be used otherwise; then it is as if every field had gone through it.
///
///     BitRunWriter run(&encoder);
///     for (const Block& block : blocks) {
///       run.MakeRoom(block.size() * 9);
///       for (const std::uint64_t value : block) {
///         run.Put(value, 9);
///       }
///     }
class BitRunWriter {
 public:
  /// The widest field, in bits.
  static constexpr int kMaxBits = 56;

  explicit BitRunWriter(BitEncoder* encoder) : encoder_(encoder) { Begin(); }
  ~BitRunWriter() { End(); }
  BitRunWriter(const BitRunWriter&) = delete;
  BitRunWriter& operator=(const BitRunWriter&) = delete;

  /// Makes room for so many bits from here, and for some bytes more, which counts where the encoder
  /// has a fixed buffer. Throws what the allocator throws; the fields so far are then in the
  /// encoder, and no more can be put.
  void MakeRoom(std::size_t bits) {
    End();
    encoder_->mutable_encoder()->Ensure(bits / 8 + kSlack);
    Begin();
    // Stores the whole bytes of the word in hand, of which `Put` expects none.
    Put(0, 0);
    has_stored_ = true;
  }

  /// The `n` bits of `v`, which has no others; `n` is 0 to `kMaxBits`. Wants room.
  void Put(std::uint64_t v, int n) {
    word_ |= v << count_;
    count_ += n;
    StoreLittleEndian(word_, cursor_);
    cursor_ += count_ >> 3;
    word_ >>= count_ & ~7;
    count_ &= 7;
  }

 private:
  // The word in hand, what the last store reaches beyond it, and rounding.
  static constexpr std::size_t kSlack = 24;

  void Begin() {
    start_ = encoder_->encoder_.cursor();
    cursor_ = start_;
    word_ = encoder_->bits_;
    count_ = encoder_->num_bits_;
  }

  void End() {
    if (!has_stored_) {
      return;
    }
    const std::size_t bytes = static_cast<std::size_t>(cursor_ - start_);
    const std::size_t bits = bytes * 8 + static_cast<std::size_t>(count_);
    // The encoder has whole words of its own among its bytes, and the rest in hand.
    const std::size_t stored = bits / 32 * 4;
    std::uint64_t word = word_ << (bytes - stored) * 8;
    for (std::size_t i = stored; i < bytes; ++i) {
      word |= std::uint64_t{static_cast<unsigned char>(start_[i])} << (i - stored) * 8;
    }
    // Behind its bytes an encoder has zeros.
    StoreLittleEndian(std::uint64_t{0}, start_ + stored);
    StoreLittleEndian(std::uint64_t{0}, cursor_);
    encoder_->bits_ = static_cast<std::uint32_t>(word);
    encoder_->num_bits_ = static_cast<int>(bits % 32);
    encoder_->encoder_.Skip(stored);
    has_stored_ = false;
  }

  BitEncoder* encoder_;
  char* start_ = nullptr;
  char* cursor_ = nullptr;
  // Below `count_` bits in hand, fewer than 8 between two fields; the others are zero.
  std::uint64_t word_ = 0;
  int count_ = 0;
  // Whether bytes from `start_` on were written that the encoder does not know of.
  bool has_stored_ = false;
};

/// Reads a long run of fields from a `BitDecoder` in the same way, as far as there is data in front
/// of its last bytes; those, with all their ways to fail, are left to the decoder. Until this ends
/// the decoder must not be used otherwise; then it is as if every field had been read from it.
///
///     {
///       BitRunReader run(&decoder);
///       for (; i < count && run.has_bits(); ++i) {
///         values[i] = run.Peek() & 511;
///         run.Consume(9);
///       }
///     }
///     for (; i < count; ++i) decoder.GetBits(9, &values[i]);
class BitRunReader {
 public:
  /// Bits of a `Peek` that are of the stream.
  static constexpr int kPeekBits = BitDecoder::kPeekBits;

  explicit BitRunReader(BitDecoder* decoder)
      : decoder_(decoder), start_(decoder->start_),
        end_(Limit(static_cast<std::size_t>(decoder->limit_ - decoder->start_))),
        position_(decoder->position()) {}
  ~BitRunReader() { decoder_->MoveTo(position_); }
  BitRunReader(const BitRunReader&) = delete;
  BitRunReader& operator=(const BitRunReader&) = delete;

  /// Whether the next `kPeekBits` bits can be had here.
  bool has_bits() const { return position_ < end_; }
  /// How many fields of `bits` bits can be had here, each in any number of peeks.
  std::size_t fields_left(std::size_t bits) const {
    return has_bits() ? (end_ - position_) / std::max<std::size_t>(bits, 1) : 0;
  }

  /// The next 57 bits, and up to 7 more that may be of the stream or zero. Wants `has_bits`.
  std::uint64_t Peek() const {
    return LoadLittleEndian<std::uint64_t>(start_ + (position_ >> 3)) >> (position_ & 7);
  }
  /// Goes on by `n` bits, 0 to `kPeekBits`, that were peeked.
  void Consume(int n) { position_ += static_cast<std::size_t>(n); }

 private:
  // Behind the last place, in bits, from whose byte on there are eight.
  static std::size_t Limit(std::size_t size) { return size < 8 ? 0 : (size - 7) * 8; }

  BitDecoder* decoder_;
  const char* start_;
  // Positions in bits.
  std::size_t end_;
  std::size_t position_;
};
