// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "vortan/diorama/binary_coder.h"

namespace pelorin {
namespace command {

/// One field of a bit stream, as it was read.
struct BitField {
  std::size_t bit = 0;    ///< Where it begins, from the start of the stream.
  std::size_t width = 0;  ///< Bits that it takes, prefix and payload; also where they are missing.
  std::string path;       ///< Such as "index_sets[0].format".
  std::string raw;        ///< Its bits as a number, in hexadecimal.
  std::string value;      ///< What they stand for; empty where the data end before it does.
};

/// Reads a bit stream field by field and shows each to a sink. A field that passes the end is shown
/// as the last one; from then on everything reads 0 and nothing is shown, so whoever walks by the
/// counts of a damaged stream asks `good()` on the way. For one thread.
class FieldReader {
 public:
  using Sink = std::function<void(const BitField&)>;

  /// Over `stream`, which must outlive it, at most 2^31 - 1 bytes of it.
  FieldReader(const std::string& stream, Sink sink);

  /// Whether no field has passed the end.
  bool good() const { return good_; }
  /// The next bit.
  std::size_t position() const { return position_; }

  /// Numbers of `width` bits, and in groups. The value is shown as the number.
  std::uint32_t Bits(const std::string& path, int width);
  std::int32_t Int(const std::string& path, int width);
  std::uint32_t VarUInt(const std::string& path, int group);
  std::int32_t VarInt(const std::string& path, int group);
  /// The same, with the value as `show` gives it.
  using Show = std::function<std::string(std::uint32_t)>;
  std::uint32_t Bits(const std::string& path, int width, const Show& show);
  std::uint32_t VarUInt(const std::string& path, int group, const Show& show);
  float Float(const std::string& path);
  double Double(const std::string& path);
  /// `count` bytes, shown as one text; those that are no plain text as \xNN.
  void Text(const std::string& path, std::uint32_t count);
  /// The zero bits up to the next byte, if there are any.
  void Padding();

 private:
  // Whether `width` bits are left; notes where they are not.
  bool Begin(const std::string& path, std::size_t width);
  void End(std::string raw, std::string value);
  // The bits of the next variable number.
  std::size_t VarWidth(int group) const;

  const std::string& stream_;
  Sink sink_;
  vortan::BinaryDecoder decoder_;
  std::size_t size_;
  std::size_t position_ = 0;
  bool good_ = true;
  BitField field_;
};

/// How often a count makes the decoders go round: those of 2^31 and more are negative to them.
inline std::uint32_t Rounds(std::uint32_t count) {
  return count >> 31 != 0 ? 0 : count;
}

/// A number as people read it, shortest of those that read back.
std::string NumberText(double value);

}  // namespace command
}  // namespace pelorin
