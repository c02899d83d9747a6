// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/binary_coder.h"

#include <cstring>
#include <limits>

#include "base/logging.h"

namespace vortan {
namespace {

int GroupWidth(int group_bits) {
  return std::clamp(group_bits, 1, 32);
}

}  // namespace

void BinaryEncoder::Init() {
  encoder_ = std::make_unique<BitEncoder>();
}

void BinaryEncoder::Reserve(int num_bits) {
  const std::int64_t bytes = (std::int64_t{num_bits} + 39) / 8;
  if (bytes > 0) {
    encoder_->mutable_encoder()->Ensure(static_cast<std::size_t>(bytes));
  }
}

void BinaryEncoder::WriteVarUInt(int value, int group_bits) {
  const int width = GroupWidth(group_bits);
  // A width that does not divide 32 makes the last group reach beyond it.
  const int excess = (width - 32 % width) % width;
  MakeRoom(32 / width + 71 + excess);
  const std::uint64_t number = static_cast<std::uint32_t>(value);
  // `range` is how many numbers `m` groups have, `base` the first of them.
  std::uint64_t base = 0;
  std::uint64_t range = std::uint64_t{1} << width;
  int m = 1;
  for (; number - base >= range; ++m) {
    base += range;
    range <<= width;
  }
  encoder_->PutUnary(m);
  const auto payload = static_cast<std::uint32_t>(number - base);
  encoder_->PutBits(payload, std::min(m * width, 32));
  encoder_->PutBits(0, m * width - 32);
}

void BinaryEncoder::WriteVarInt(int value, int group_bits) {
  const std::uint32_t sign = value < 0 ? 1 : 0;
  const auto magnitude = static_cast<std::uint32_t>(value < 0 ? ~value : value);
  WriteVarUInt(static_cast<int>(2 * magnitude + sign), group_bits);
}

void BinaryEncoder::WriteFloat(float value) {
  static_assert(sizeof(value) == sizeof(std::uint32_t));
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  MakeRoom(64);
  encoder_->PutBits(bits, 32);
}

void BinaryEncoder::WriteDouble(double value) {
  static_assert(sizeof(value) == sizeof(std::uint64_t));
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  MakeRoom(96);
  encoder_->PutBits(static_cast<std::uint32_t>(bits), 32);
  encoder_->PutBits(static_cast<std::uint32_t>(bits >> 32), 32);
}

void BinaryEncoder::WriteString(const std::string& s, int num_bits) {
  const auto str_size = static_cast<std::int64_t>(s.size());
  const std::int64_t max_size = (std::int64_t{1} << std::clamp(num_bits, 0, 32)) - 1;
  PELORIN_CHECK_LT(str_size, max_size);
  WriteBits(static_cast<int>(str_size), num_bits);
  WriteBytes(s);
}

void BinaryEncoder::WriteVarString(const std::string& s, int group_bits) {
  WriteVarUInt(static_cast<int>(s.size()), group_bits);
  WriteBytes(s);
}

void BinaryEncoder::WriteBytes(const std::string& s) {
  for (const char byte : s) {
    WriteBits(byte, 8);
  }
}

void BinaryDecoder::Init(const char* data, int size) {
  const std::size_t bytes = data == nullptr || size < 0 ? 0 : static_cast<std::size_t>(size);
  decoder_ = std::make_unique<BitDecoder>(data, bytes);
}

int BinaryDecoder::BytesDecoded() const {
  if (decoder_ == nullptr) {
    return 0;
  }
  const std::size_t bits =
      decoder_->bytes_loaded() * 8 - static_cast<std::size_t>(decoder_->bits_in_hand());
  return static_cast<int>((bits + 7) / 8);
}

int BinaryDecoder::ReadInt(int num_bits) {
  const int unused = 32 - std::clamp(num_bits, 0, 32);
  const std::uint32_t bits = ReadBits(num_bits);
  // A shift by the whole word has no meaning, and no bits have no sign.
  return unused == 32 ? 0 : static_cast<int>(bits << unused) >> unused;
}

unsigned BinaryDecoder::ReadVarUInt(int group_bits) {
  const int width = GroupWidth(group_bits);
  std::uint32_t m = 0;
  if (decoder_ == nullptr || !decoder_->GetUnary(&m)) {
    return 0;
  }
  const std::int64_t payload_bits = std::int64_t{m} * width;
  std::uint32_t value = 0;
  if (!decoder_->GetBits(
          static_cast<int>(std::min<std::int64_t>(payload_bits, std::numeric_limits<int>::max())),
          &value)) {
    return 0;
  }
  // At most two loads were in hand, so `m` is small here.
  for (std::uint32_t j = m - 1; j > 0; --j) {
    value += std::uint32_t{1} << (static_cast<std::uint32_t>(width) * j % 32);
  }
  return value;
}

int BinaryDecoder::ReadVarInt(int group_bits) {
  const unsigned number = ReadVarUInt(group_bits);
  const int half = static_cast<int>(number) >> 1;
  return number % 2 != 0 ? ~half : half;
}

float BinaryDecoder::ReadFloat() {
  const std::uint32_t bits = ReadBits(32);
  float value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

double BinaryDecoder::ReadDouble() {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  const bool has_low = decoder_ != nullptr && decoder_->GetBits(32, &low);
  const bool has_high = decoder_ != nullptr && decoder_->GetBits(32, &high);
  if (!has_low || !has_high) {
    return 0;
  }
  const std::uint64_t bits = std::uint64_t{high} << 32 | low;
  double value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

std::string BinaryDecoder::ReadString(int num_bits) {
  PELORIN_CHECK(decoder_.get());
  return ReadBytes(ReadBits(num_bits));
}

std::string BinaryDecoder::ReadVarString(int group_bits) {
  PELORIN_CHECK(decoder_.get());
  return ReadBytes(ReadVarUInt(group_bits));
}

std::string BinaryDecoder::ReadBytes(unsigned length) {
  // A length above the signed range becomes one that no string can have.
  const auto size = static_cast<std::size_t>(static_cast<int>(length));
  budget_.Charge(size, sizeof(char));
  std::string bytes;
  bytes.resize(size);
  for (char& byte : bytes) {
    if (decoder_->at_end()) {
      break;
    }
    byte = static_cast<char>(ReadBits(8));
  }
  return bytes;
}

}  // namespace vortan
