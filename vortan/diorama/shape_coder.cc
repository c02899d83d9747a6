// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/shape_coder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "base/logging.h"
#include "strings/stringprintf.h"
#include "vortan/diorama/shape_coder1.h"
#include "vortan/diorama/shape_coder3.h"
#include "vortan/diorama/stream_header.h"

namespace vortan {
namespace {

// The highest number of `bits` bits as a float, which for 25 bits and more is the next power of 2.
float FullRange(int bits) {
  return static_cast<float>((std::int64_t{1} << std::clamp(bits, 0, 32)) - 1);
}

// A float that no `int` holds has no integer of its own; 0 is as good as any and is always safe.
int Truncated(float value) {
  constexpr float kLimit = 2147483648.0f;
  return value >= -kLimit && value < kLimit ? static_cast<int>(value) : 0;
}

void CheckRange(float range) {
  if (range == 0.0f) {
    // The check behind this has no text of its own.
    PELORIN_LOG_FATAL() << "Check failed: ";
  }
}

std::unique_ptr<ShapeEncoder> MakeEncoder(int codec_version) {
  if (codec_version == ShapeEncoder::kMaxCodecVersion) {
    return std::make_unique<ShapeEncoder3>();
  }
  auto encoder = std::make_unique<ShapeEncoder1>();
  encoder->set_codec_version(codec_version);
  return encoder;
}

std::unique_ptr<ShapeDecoder> MakeDecoder(int codec_version) {
  if (codec_version == ShapeEncoder::kMaxCodecVersion) {
    return std::make_unique<ShapeDecoder3>();
  }
  return std::make_unique<ShapeDecoder1>();
}

bool IsKnown(int codec_version) {
  return codec_version >= 1 && codec_version <= ShapeEncoder::kMaxCodecVersion;
}

}  // namespace

std::string ShapeEncoderStats::AsString() const {
  return StringPrintf("%d %d %d %d %d %d %d %d %d %d %d %d %d %d %d", total_bytes, material_bytes,
                      point_bytes, normal_bytes, tex_coord_bytes, point_index_bytes,
                      normal_index_bytes, tex_coord_index_bytes, material_count, point_count,
                      normal_count, tex_coord_count, point_index_count, normal_index_count,
                      tex_coord_index_count);
}

ShapeEncoder::~ShapeEncoder() = default;

ShapeEncoder* ShapeEncoder::CreateEncoder(int codec_version) {
  if (!IsKnown(codec_version)) {
    return nullptr;
  }
  std::unique_ptr<ShapeEncoder> encoder = MakeEncoder(codec_version);
  PELORIN_CHECK(encoder);
  PELORIN_CHECK_EQ(encoder->codec_version(), codec_version);
  return encoder.release();
}

bool ShapeEncoder::EncodeToBuffer(const geometry3d::Shape& shape, std::string* buffer) {
  const std::unique_ptr<ShapeEncoder> encoder(CreateEncoder(kDefaultCodecVersion));
  if (encoder == nullptr) {
    return false;
  }
  const bool encoded = encoder->EncodeShape(shape);
  encoder->get_buffer(buffer);
  return encoded;
}

void ShapeEncoder::get_buffer(std::string* buffer) const {
  PELORIN_CHECK(buffer);
  if (buffer == nullptr) {
    return;
  }
  const int size = encoder_.buffer_size();
  if (size == 0) {
    buffer->clear();
  } else {
    buffer->assign(encoder_.buffer(), static_cast<std::size_t>(size));
  }
}

void ShapeEncoder::set_codec_version(int codec_version) {
  PELORIN_CHECK_GT(codec_version, 0);
  PELORIN_CHECK_LE(codec_version, kMaxCodecVersion);
  codec_version_ = codec_version;
}

void ShapeEncoder::RegisterStat(int* stat) {
  PELORIN_CHECK(stat);
  const int size = encoder_.buffer_size();
  if (stat != nullptr) {
    *stat += size - stats_.total_bytes;
  }
  stats_.total_bytes = size;
}

void ShapeEncoder::WriteHeader() {
  encoder_.WriteBits(kMagicSignature, 16);
  encoder_.WriteBits(codec_version_, 16);
}

void ShapeEncoder::WriteFloatUnit(float value, int bits) {
  encoder_.WriteBits(Truncated(std::rint(value * FullRange(bits))), bits);
}

void ShapeEncoder::WriteFloatURange(float value, float range, int bits) {
  CheckRange(range);
  encoder_.WriteBits(Truncated(std::rint(FullRange(bits) * value / range)), bits);
}

void ShapeEncoder::WriteColorRGB888(const geometry3d::Vector3<float>& color) {
  WriteFloatUnit(color.x, 8);
  WriteFloatUnit(color.y, 8);
  WriteFloatUnit(color.z, 8);
}

ShapeDecoder::~ShapeDecoder() = default;

ShapeDecoder* ShapeDecoder::CreateDecoder(int codec_version) {
  if (!IsKnown(codec_version)) {
    return nullptr;
  }
  std::unique_ptr<ShapeDecoder> decoder = MakeDecoder(codec_version);
  PELORIN_CHECK(decoder);
  return decoder.release();
}

int ShapeDecoder::GetCodecVersionFromBuffer(const std::string& buffer) {
  return VersionInHeader(buffer, ShapeEncoder::kMagicSignature);
}

bool ShapeDecoder::DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape) {
  return DecodeFromBuffer(buffer, shape, AllocationBudget::kUnlimited);
}

bool ShapeDecoder::DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape,
                                    std::size_t budget_bytes) {
  const int codec_version = GetCodecVersionFromBuffer(buffer);
  if (codec_version < 0) {
    return false;
  }
  const std::unique_ptr<ShapeDecoder> decoder(CreateDecoder(codec_version));
  if (decoder == nullptr) {
    return false;
  }
  decoder->set_allocation_budget(budget_bytes);
  decoder->set_buffer(buffer);
  return decoder->DecodeShape(shape);
}

void ShapeDecoder::set_buffer(const std::string& buffer) {
  set_buffer(buffer.data(), buffer.size());
}

void ShapeDecoder::set_buffer(const char* data, std::size_t size) {
  constexpr std::size_t kMost = std::numeric_limits<int>::max();
  decoder_.Init(data, static_cast<int>(std::min(size, kMost)));
}

void ShapeDecoder::set_codec_version(int codec_version) {
  PELORIN_CHECK_GT(codec_version, 0);
  PELORIN_CHECK_LE(codec_version, ShapeEncoder::kMaxCodecVersion);
  codec_version_ = codec_version;
}

bool ShapeDecoder::ReadHeader() {
  const bool is_shape = decoder_.ReadBits(16) == unsigned{ShapeEncoder::kMagicSignature};
  set_codec_version(is_shape ? static_cast<int>(decoder_.ReadBits(16)) : -1);
  return IsKnown(codec_version_);
}

float ShapeDecoder::ReadFloatUnit(int bits) {
  return static_cast<float>(decoder_.ReadBits(bits)) / FullRange(bits);
}

float ShapeDecoder::ReadFloatURange(float range, int bits) {
  CheckRange(range);
  return static_cast<float>(decoder_.ReadBits(bits)) * range / FullRange(bits);
}

geometry3d::Vector3<float> ShapeDecoder::ReadColorRGB888() {
  // In named steps: arguments of a call may be evaluated in any order.
  const float x = ReadFloatUnit(8);
  const float y = ReadFloatUnit(8);
  const float z = ReadFloatUnit(8);
  return geometry3d::Vector3<float>(x, y, z);
}

}  // namespace vortan
