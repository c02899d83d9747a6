// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "base/export.h"
#include "util/coding/bitcoding.h"
#include "vortan/diorama/allocation_budget.h"

namespace vortan {

/// Writes typed fields into a stream of bits, one behind the other without any alignment; the
/// order of bits is that of `BitEncoder`. Only `Flush`, at the very end, brings the stream to a
/// byte boundary.
///
///     BinaryEncoder encoder;
///     encoder.WriteBits(5, 3);
///     encoder.WriteVarUInt(300, 4);
///     encoder.Flush();
///     std::string stream(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
///
/// Widths of fields are 0 to 32 bits, widths of groups 1 to 32; what lies outside counts as the
/// nearer end. Writing fails only as the allocator does. An object belongs to one thread.
class PELORIN_EXPORT BinaryEncoder {
 public:
  BinaryEncoder() { Init(); }

  /// Back to an empty stream.
  void Init();

  /// A hint that `num_bits` are to come: room for them is made at once. Below 0 does nothing.
  void Reserve(int num_bits);

  /// The low `num_bits` bits of `value`, so a negative number goes in two's complement, cut to the
  /// width. The three are the same.
  void WriteBits(int value, int num_bits) {
    num_bits = std::clamp(num_bits, 0, 32);
    MakeRoom(num_bits + 39);
    encoder_->PutBits(static_cast<std::uint32_t>(value), num_bits);
  }
  void WriteInt(int value, int num_bits) { WriteBits(value, num_bits); }
  void WriteUInt(int value, int num_bits) { WriteBits(value, num_bits); }

  /// An unsigned number in as many groups of `group_bits` bits as it takes: `m` groups are `m - 1`
  /// one bits, a zero bit and the payload of `m * group_bits` bits, lowest first. Each count of
  /// groups begins where the range of the last one ended, so no number has two forms. By fours, 300
  /// is 28 above the first number of three groups:
  ///
  ///     1 1 0 | 0 0 1 1 1 0 0 0 0 0 0 0   ->   E3 00 after Flush
  ///
  ///     groups of 4:  0..15, 16..271, 272..4367, 4368..69903, ...
  ///     groups of 1:  0..1, 2..5, 6..13, 14..29, ...
  void WriteVarUInt(int value, int group_bits);

  /// A signed number by `WriteVarUInt`, doubled so that small ones stay small: 0, -1, 1, -2 go as
  /// 0, 1, 2, 3. Only numbers from -2^30 to 2^30 - 1 read back as they were; for others nothing is
  /// reported.
  void WriteVarInt(int value, int group_bits);

  /// The IEEE 754 bit patterns, 32 and 64 bits; of a double the low half goes first.
  void WriteFloat(float value);
  void WriteDouble(double value);

  /// The length of `s` in `num_bits` bits, then its bytes. Fatal check "str_size<max_size", where
  /// `max_size` is 2^num_bits - 1. A longer string is written all the same: one of `max_size` bytes
  /// still reads back; beyond that the length is cut to the field and all bytes follow, which no
  /// reader can follow.
  void WriteString(const std::string& s, int num_bits);
  /// The length by `WriteVarUInt`, then the bytes; no limit below 2^32.
  void WriteVarString(const std::string& s, int group_bits);

  /// Pads with zero bits to a whole byte. Without it the last bits, up to 31, are not in
  /// `buffer()`.
  void Flush() { encoder_->Flush(); }

  /// The bytes so far; null for none. Valid until the next write. All `buffer_size()` bytes can be
  /// read; those that were not flushed are zero.
  const char* buffer() const { return encoder_->encoder().base(); }
  /// Bytes so far, a partly filled one counted whole.
  int buffer_size() const { return static_cast<int>((num_bits() + 7) / 8); }
  /// Bits so far.
  long num_bits() const {
    return static_cast<long>(encoder_->encoder().length()) * 8 + encoder_->num_bits();
  }

  /// The bits themselves, for long runs. Whoever writes to them leaves room for those in hand, as
  /// `BitRunWriter` does.
  BitEncoder* mutable_bits() { return encoder_.get(); }

  /// The significant bits of `value`, taken as unsigned; 1 for 0. 1 to 32.
  static int BitsRequired(int value) {
    return Bits::Log2FloorNonZero(static_cast<std::uint32_t>(value)) + 1;
  }
  /// The bits that hold `value` in two's complement and every number nearer to 0; 2 for -1 to 1.
  /// 2 to 32.
  static int SignedBitsRequired(int value) { return BitsRequired(value ^ (value >> 31)) + 1; }

 private:
  // Room for so many bits. A write asks for those of the word in hand and a rounding, too, so that
  // whenever it is over all `buffer_size()` bytes are in the block.
  void MakeRoom(int num_bits) {
    encoder_->mutable_encoder()->Ensure(static_cast<std::size_t>(num_bits) / 8);
  }
  void WriteBytes(const std::string& s);

  std::unique_ptr<BitEncoder> encoder_;
};

/// Reads what `BinaryEncoder` writes, from bytes that it does not own.
///
/// It reports no failure. A read beyond the end yields 0, and so does every read before `Init`; no
/// byte behind the data is touched. A field that failed in mid-data leaves in hand the bits that
/// were loaded for it (see `BitDecoder`), which is what the next, narrower field then reads.
///
///     BinaryDecoder decoder;
///     decoder.Init(stream.data(), static_cast<int>(stream.size()));
///     const unsigned flags = decoder.ReadBits(3);
///     const unsigned count = decoder.ReadVarUInt(4);
///
/// Widths are as with `BinaryEncoder`. An object belongs to one thread.
class PELORIN_EXPORT BinaryDecoder {
 public:
  /// Starts at the first of the `size` bytes at `data`, which must outlive this; null, or a size
  /// below 1, for none.
  void Init(const char* data, int size);

  /// Bytes of which a bit was consumed.
  int BytesDecoded() const;

  /// The next `num_bits` bits as a number.
  unsigned ReadBits(int num_bits) {
    std::uint32_t value = 0;
    if (decoder_ == nullptr || !decoder_->GetBits(std::clamp(num_bits, 0, 32), &value)) {
      return 0;
    }
    return value;
  }
  unsigned ReadUInt(int num_bits) { return ReadBits(num_bits); }
  /// The same in two's complement of that width; no bits are 0.
  int ReadInt(int num_bits);

  /// The counterparts of the writers. A variable number of damaged data may have more than 32
  /// payload bits: its value is then the low 32 of them and of the sum.
  unsigned ReadVarUInt(int group_bits);
  int ReadVarInt(int group_bits);
  float ReadFloat();
  /// 0 if either half fails; the second one is read in any case.
  double ReadDouble();

  /// A string, its length in `num_bits` bits or as a variable number. Fatal check "decoder_.get()";
  /// without a decoder it is empty. The length is allocated as it is read, and zeros fill what the
  /// data do not; `std::length_error` for one of 2^31 or more, `std::bad_alloc` for one that
  /// the budget or the memory does not hold.
  std::string ReadString(int num_bits);
  std::string ReadVarString(int group_bits);

  /// The bits themselves, for long runs; null before `Init`.
  BitDecoder* mutable_bits() { return decoder_.get(); }

  /// What this decoder and those who decode with it may allocate. `Init` does not touch it.
  const AllocationBudget& budget() const { return budget_; }
  AllocationBudget* mutable_budget() { return &budget_; }

 private:
  std::string ReadBytes(unsigned length);

  std::unique_ptr<BitDecoder> decoder_;
  AllocationBudget budget_;
};

}  // namespace vortan
