// SPDX-License-Identifier: Apache-2.0
#include "apps/command/inspect/field_reader.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace pelorin {
namespace command {
namespace {

std::string Hex(std::uint64_t value) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  do {
    text.insert(text.begin(), kDigits[value % 16]);
    value /= 16;
  } while (value != 0);
  return "0x" + text;
}

template <typename T>
std::uint64_t Pattern(T value) {
  std::uint64_t bits = 0;
  static_assert(sizeof(value) <= sizeof(bits));
  std::memcpy(&bits, &value, sizeof(value));
  return bits;
}

std::string Decimal(std::uint32_t value) {
  return std::to_string(value);
}

}  // namespace

std::string NumberText(double value) {
  // Of the two libraries at hand this one prints the shortest text, but has none for these.
  if (value != value) {
    return "nan";
  }
  if (value - value != 0) {
    return value > 0 ? "inf" : "-inf";
  }
  return nlohmann::json(value).dump();
}

FieldReader::FieldReader(const std::string& stream, Sink sink)
    : stream_(stream), sink_(std::move(sink)),
      size_(std::min<std::size_t>(stream.size(), std::numeric_limits<int>::max()) * 8) {
  decoder_.Init(stream.data(), static_cast<int>(size_ / 8));
}

bool FieldReader::Begin(const std::string& path, std::size_t width) {
  if (!good_) {
    return false;
  }
  field_ = {position_, width, path, "", ""};
  good_ = width <= size_ - position_;
  if (!good_) {
    sink_(field_);
  }
  return good_;
}

void FieldReader::End(std::string raw, std::string value) {
  field_.raw = std::move(raw);
  field_.value = std::move(value);
  position_ += field_.width;
  sink_(field_);
}

std::uint32_t FieldReader::Bits(const std::string& path, int width, const Show& show) {
  if (!Begin(path, static_cast<std::size_t>(width))) {
    return 0;
  }
  const std::uint32_t value = decoder_.ReadBits(width);
  End(Hex(value), show(value));
  return value;
}

std::uint32_t FieldReader::Bits(const std::string& path, int width) {
  return Bits(path, width, Decimal);
}

std::int32_t FieldReader::Int(const std::string& path, int width) {
  std::int32_t value = 0;
  Bits(path, width, [&](std::uint32_t bits) {
    const int unused = 32 - width;
    value = static_cast<std::int32_t>(bits << unused) >> unused;
    return std::to_string(value);
  });
  return value;
}

std::size_t FieldReader::VarWidth(int group) const {
  std::size_t ones = 0;
  for (std::size_t bit = position_; bit < size_; ++bit, ++ones) {
    if ((static_cast<unsigned char>(stream_[bit / 8]) >> bit % 8) % 2 == 0) {
      break;
    }
  }
  return (ones + 1) * static_cast<std::size_t>(1 + group);
}

std::uint32_t FieldReader::VarUInt(const std::string& path, int group, const Show& show) {
  if (!Begin(path, VarWidth(group))) {
    return 0;
  }
  const std::uint32_t value = decoder_.ReadVarUInt(group);
  End(Hex(value), show(value));
  return value;
}

std::uint32_t FieldReader::VarUInt(const std::string& path, int group) {
  return VarUInt(path, group, Decimal);
}

std::int32_t FieldReader::VarInt(const std::string& path, int group) {
  std::int32_t value = 0;
  VarUInt(path, group, [&](std::uint32_t bits) {
    const std::int32_t half = static_cast<std::int32_t>(bits) >> 1;
    value = bits % 2 != 0 ? ~half : half;
    return std::to_string(value);
  });
  return value;
}

float FieldReader::Float(const std::string& path) {
  if (!Begin(path, 32)) {
    return 0;
  }
  const float value = decoder_.ReadFloat();
  End(Hex(Pattern(value)), NumberText(static_cast<double>(value)));
  return value;
}

double FieldReader::Double(const std::string& path) {
  if (!Begin(path, 64)) {
    return 0;
  }
  const double value = decoder_.ReadDouble();
  End(Hex(Pattern(value)), NumberText(value));
  return value;
}

void FieldReader::Text(const std::string& path, std::uint32_t count) {
  if (count == 0 || !Begin(path, std::size_t{count} * 8)) {
    return;
  }
  std::string raw = "0x";
  std::string text = "\"";
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t byte = decoder_.ReadBits(8);
    const std::string digits = Hex(byte + 256).substr(3);
    raw += digits;
    const bool is_plain = byte >= ' ' && byte < 127 && byte != '"' && byte != '\\';
    text += is_plain ? std::string(1, static_cast<char>(byte)) : "\\x" + digits;
  }
  End(std::move(raw), text + '"');
}

void FieldReader::Padding() {
  const int width = static_cast<int>((8 - position_ % 8) % 8);
  if (width != 0) {
    Bits("padding", width);
  }
}

}  // namespace command
}  // namespace pelorin
