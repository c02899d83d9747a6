// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/export.h"
#include "base/little_endian.h"
#include "util/coding/varint.h"

/// A growing sink of bytes. It owns its block, unless it was laid over a buffer of the caller;
/// bytes of its own block that nothing was written to are zero. An object belongs to one thread.
class PELORIN_EXPORT Encoder {
 public:
  /// Empty, without a block yet.
  Encoder() = default;
  /// Over `size` bytes at `buffer`, which must outlive it. Such an encoder should not outgrow them:
  /// where it must, that is a failed check, and it goes on in a block of its own.
  Encoder(char* buffer, std::size_t size);
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// The first byte; null while there is no block. Valid until the next growth.
  const char* base() const { return start_; }
  /// Bytes written.
  std::size_t length() const { return static_cast<std::size_t>(cursor_ - start_); }
  /// Bytes that can be written without growth.
  std::size_t avail() const { return static_cast<std::size_t>(limit_ - cursor_); }
  /// Whether it may grow.
  bool ensure_allowed() const { return underlying_buffer_ != nullptr; }

  /// Makes `avail()` at least `N`.
  void Ensure(std::size_t N) {
    if (avail() < N) {
      EnsureSlowPath(N);
    }
  }
  /// Grows to the larger of `length() + N` and twice `length()` bytes, whatever there is. Throws
  /// what the allocator throws, and is then as before. Fatal check "ensure_allowed()".
  void EnsureSlowPath(std::size_t N);

  /// Where the next byte goes, with room for `avail()`; what is stored there counts as written
  /// after a `Skip` over it, of at most `avail()` bytes. Bytes behind those must be left zero.
  char* cursor() { return cursor_; }
  void Skip(std::size_t N) { cursor_ += N; }

  /// Takes the last `N` bytes back. Fatal check "length() >= N"; of a larger `N` all are taken.
  void RemoveLast(std::size_t N);
  /// Shortens to `N` bytes. Fatal check "length() >= N"; a larger `N` changes nothing.
  void Resize(std::size_t N);

  /// Appends one byte, growing if there is no room.
  void Put8(unsigned char byte) {
    Ensure(1);
    *cursor_++ = static_cast<char>(byte);
  }
  /// Appends four bytes, lowest first, growing if there is no room.
  void Put32(std::uint32_t word) {
    Ensure(sizeof(word));
    StoreLittleEndian(word, cursor_);
    cursor_ += sizeof(word);
  }
  /// The same where `keep` is true; otherwise nothing. Free of branches on `keep`, for writers
  /// whose words fill up at no foreseeable place.
  void Put32If(bool keep, std::uint32_t word) {
    if (avail() < sizeof(word)) {
      if (keep) {
        Put32(word);
      }
      return;
    }
    // Zeros do no harm behind the written bytes, and nothing else must stand there.
    StoreLittleEndian(word & (0 - static_cast<std::uint32_t>(keep)), cursor_);
    cursor_ += sizeof(word) * static_cast<std::size_t>(keep);
  }

  /// The bytes of a number's varint, 1 to 5 or 10.
  static int varint32_length(std::uint32_t v) { return Varint::Length32NonInline(v); }
  static int varint64_length(std::uint64_t v) { return Varint::Length64(v); }

 private:
  // Only its address counts: the mark of an encoder that may grow and has no block.
  static char kEmptyBuffer;

  char* start_ = nullptr;
  char* cursor_ = nullptr;
  char* limit_ = nullptr;
  char* underlying_buffer_ = &kEmptyBuffer;
};

/// A bounded source of bytes, which it does not own; it never reads behind them. An object belongs
/// to one thread.
class PELORIN_EXPORT Decoder {
 public:
  Decoder() = default;
  /// Over `size` bytes at `data`, which must outlive it.
  Decoder(const char* data, std::size_t size) : start_(data), cursor_(data), limit_(data + size) {}

  /// Bytes read and bytes left.
  std::size_t pos() const { return static_cast<std::size_t>(cursor_ - start_); }
  std::size_t avail() const { return static_cast<std::size_t>(limit_ - cursor_); }

  /// Reads a varint. On failure `*v` and the position are as before. With 6 bytes or more left it
  /// fails only on a fifth byte with its top bit set, and drops that byte's bits 4 to 6; with fewer
  /// it also fails on a fifth byte above 15, or where the bytes run out.
  bool get_varint32(std::uint32_t* v) {
    if (TakeSingleByte(v)) {
      return true;
    }
    // The caller's variable stays in a register where nobody else takes its address.
    std::uint32_t longer = 0;
    const bool is_there = avail() <= static_cast<std::size_t>(Varint::kMax32)
                              ? GetVarint32NearEnd(&longer)
                              : Advance(Varint::Parse32Fallback(cursor_, &longer));
    if (is_there) {
      *v = longer;
    }
    return is_there;
  }

  /// Reads a varint. On failure `*v` is as before. With 10 bytes or more left it fails on a tenth
  /// byte with its top bit set, drops that byte's bits 1 to 6, and leaves the position on failure;
  /// with fewer it fails where the bytes run out, and that is where the position is then.
  bool get_varint64(std::uint64_t* v) {
    if (TakeSingleByte(v)) {
      return true;
    }
    // The caller's variable stays in a register where nobody else takes its address.
    std::uint64_t longer = 0;
    const bool is_there = avail() < static_cast<std::size_t>(Varint::kMax64)
                              ? GetVarint64NearEnd(&longer)
                              : Advance(Varint::Parse64Fallback(cursor_, &longer));
    if (is_there) {
      *v = longer;
    }
    return is_there;
  }

 private:
  bool GetVarint32NearEnd(std::uint32_t* v);
  bool GetVarint64NearEnd(std::uint64_t* v);
  // The most common varint, which needs no more than itself.
  template <typename Number>
  bool TakeSingleByte(Number* v) {
    if (cursor_ == limit_ || static_cast<unsigned char>(*cursor_) > 0x7F) {
      return false;
    }
    *v = static_cast<unsigned char>(*cursor_++);
    return true;
  }
  // Moves to `end`, or says that there was none.
  bool Advance(const char* end) {
    cursor_ = end != nullptr ? end : cursor_;
    return end != nullptr;
  }

  const char* start_ = nullptr;
  const char* cursor_ = nullptr;
  const char* limit_ = nullptr;
};
