// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/building_z_coder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/logging.h"
#include "strings/stringprintf.h"
#include "util/geometry3d/mesh/rounding.h"
#include "vortan/diorama/packed_indices.h"
#include "vortan/diorama/quantized_pool.h"

namespace vortan {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;
using geometry3d::Vector2;
using geometry3d::mesh_internal::RoundAndCut;

// Widths of groups and of the fields that tell a width.
constexpr int kGroupBits = 4;
constexpr int kWidthBits = 5;
constexpr int kPointBitsBits = 6;
constexpr int kMinPointBits = -32;
constexpr int kMaxPointBits = 31;
constexpr std::size_t kMaxCount = 0x3FFFFFFF;
constexpr int kMinimumLimit = 1 << 30;
constexpr int kMaxWidth = 31;

double Factor(int point_bits) {
  const double factor = std::ldexp(1.0, point_bits);
  PELORIN_CHECK_GT(factor, 0);
  return factor;
}

// Resizes a list by its count in the stream; whether any elements follow. A count of 2^31 or more
// is negative and becomes a size that no list can have.
template <typename T>
bool ResizeByCount(BinaryDecoder* decoder, std::vector<T>* list) {
  const int count = static_cast<int>(decoder->ReadVarUInt(kGroupBits));
  const auto size = static_cast<std::size_t>(count);
  decoder->mutable_budget()->Charge(size, sizeof(T));
  list->resize(size);
  return size > 0;
}

}  // namespace

std::string BuildingZEncoderStats::AsString() const {
  return StringPrintf("%d %d %d %d %d %d %d", total_bytes, point_bytes, contour_bytes,
                      triangle_bytes, point_count, contour_count, triangle_index_count);
}

bool BuildingZEncoder::EncodeBuildingZ(const BuildingZ& building) {
  WriteHeader(kCodecVersion);
  if (!EncodeQuantization()) {
    return false;
  }
  WriteVarUInt(static_cast<int>(building.polygons().size()), kGroupBits);
  for (const PolygonZ* const polygon : building.polygons()) {
    if (polygon == nullptr || !EncodePolygonZ(*polygon)) {
      return false;
    }
  }
  Flush();
  RegisterStat(&stats_.total_bytes);
  return true;
}

double BuildingZEncoder::point_factor() const {
  return Factor(point_bits_);
}

void BuildingZEncoder::RegisterStat(int* stat) {
  PELORIN_CHECK(stat);
  const int size = buffer_size();
  if (stat != nullptr) {
    *stat += size - stats_.total_bytes;
  }
  stats_.total_bytes = size;
}

void BuildingZEncoder::WriteHeader(int version) {
  WriteUInt(kMagicSignature, 16);
  WriteUInt(version, 16);
}

bool BuildingZEncoder::EncodeQuantization() {
  if (point_bits_ < kMinPointBits || point_bits_ > kMaxPointBits) {
    return false;
  }
  WriteInt(point_bits_, kPointBitsBits);
  return true;
}

bool BuildingZEncoder::EncodePolygonZ(const PolygonZ& polygon) {
  if (!EncodePoints(polygon.points())) {
    return false;
  }
  WriteVarInt(RoundAndCut(polygon.z() * point_factor()), kGroupBits);
  return EncodeContourSizes(polygon.contour_sizes()) &&
         EncodeTriangleIndices(polygon.triangle_indices());
}

bool BuildingZEncoder::EncodePoints(const std::vector<Vector2<double>>& points) {
  RegisterStat(&stats_.total_bytes);
  if (points.size() > kMaxCount) {
    return false;
  }
  WriteVarUInt(static_cast<int>(points.size()), kGroupBits);
  if (!points.empty()) {
    const double factor = point_factor();
    const auto at = [&](std::size_t i) -> const Vector2<double>& { return points[i]; };
    const auto range = quantized_pool::Measure<Vector2<double>>(at, points.size(), factor);
    if (std::max(range.min[0], range.min[1]) >= kMinimumLimit) {
      return false;
    }
    for (const std::int32_t min : range.min) {
      WriteVarInt(min, kGroupBits);
    }
    if (std::max(range.width(0), range.width(1)) > kMaxWidth) {
      return false;
    }
    for (const int width : range.widths()) {
      WriteUInt(width, kWidthBits);
    }
    quantized_pool::Write<Vector2<double>>(at, points.size(), factor, range, this);
  }
  RegisterStat(&stats_.point_bytes);
  stats_.point_count += static_cast<int>(points.size());
  return true;
}

bool BuildingZEncoder::EncodeContourSizes(const std::vector<int>& sizes) {
  RegisterStat(&stats_.total_bytes);
  if (sizes.size() > kMaxCount) {
    return false;
  }
  WriteVarUInt(static_cast<int>(sizes.size()), kGroupBits);
  for (const int size : sizes) {
    if (size < 0) {
      return false;
    }
    WriteVarUInt(size, kGroupBits);
  }
  RegisterStat(&stats_.contour_bytes);
  stats_.contour_count += static_cast<int>(sizes.size());
  return true;
}

bool BuildingZEncoder::EncodeTriangleIndices(const std::vector<int>& indices) {
  RegisterStat(&stats_.total_bytes);
  if (indices.size() > kMaxCount) {
    return false;
  }
  WriteVarUInt(static_cast<int>(indices.size()), kGroupBits);
  if (!indices.empty()) {
    const auto [smallest, largest] = std::minmax_element(indices.begin(), indices.end());
    if (*smallest < 0) {
      return false;
    }
    // At most 31, since the sign bit is clear: every width fits its field.
    const int bits = BitsRequired(*largest);
    WriteUInt(bits, kWidthBits);
    packed_indices::Write(indices, 0, bits, this);
  }
  RegisterStat(&stats_.triangle_bytes);
  stats_.triangle_index_count += static_cast<int>(indices.size());
  return true;
}

bool BuildingZDecoder::DecodeBuildingZ(BuildingZ* building) {
  PELORIN_CHECK(building);
  if (building == nullptr || ReadHeader() != BuildingZEncoder::kCodecVersion ||
      !DecodeQuantization()) {
    return false;
  }
  // A count of 2^31 or more is negative here, and no polygon follows it.
  const int count = static_cast<int>(ReadVarUInt(kGroupBits));
  for (int i = 0; i < count; ++i) {
    mutable_budget()->Charge(1, sizeof(PolygonZ) + sizeof(PolygonZ*));
    if (!DecodePolygonZ(building->AddNewPolygon())) {
      return false;
    }
  }
  return true;
}

double BuildingZDecoder::point_factor() const {
  return Factor(point_bits_);
}

int BuildingZDecoder::ReadHeader() {
  if (ReadUInt(16) != BuildingZEncoder::kMagicSignature) {
    return -1;
  }
  return static_cast<int>(ReadUInt(16));
}

bool BuildingZDecoder::DecodeQuantization() {
  point_bits_ = ReadInt(kPointBitsBits);
  return true;
}

bool BuildingZDecoder::DecodePolygonZ(PolygonZ* polygon) {
  PELORIN_CHECK(polygon);
  if (polygon == nullptr || !DecodePoints(polygon->mutable_points())) {
    return false;
  }
  polygon->set_z(ReadVarInt(kGroupBits) / point_factor());
  return DecodeContourSizes(polygon->mutable_contour_sizes()) &&
         DecodeTriangleIndices(polygon->mutable_triangle_indices());
}

bool BuildingZDecoder::DecodePoints(std::vector<Vector2<double>>* points) {
  PELORIN_CHECK(points);
  if (points == nullptr) {
    return false;
  }
  if (!ResizeByCount(this, points)) {
    return true;
  }
  quantized_pool::Packing<2> packing;
  for (std::int32_t& min : packing.min) {
    min = ReadVarInt(kGroupBits);
  }
  for (int& width : packing.widths) {
    width = static_cast<int>(ReadUInt(kWidthBits));
  }
  // Both are powers of two, so the product is the quotient to the last bit.
  const double unit = 1.0 / point_factor();
  const auto to_scalar = [unit](std::int32_t q) { return q * unit; };
  quantized_pool::Read(packing, to_scalar, points, this);
  return true;
}

bool BuildingZDecoder::DecodeContourSizes(std::vector<int>* contour_sizes) {
  PELORIN_CHECK(contour_sizes);
  if (contour_sizes == nullptr) {
    return false;
  }
  if (ResizeByCount(this, contour_sizes)) {
    for (int& size : *contour_sizes) {
      size = static_cast<int>(ReadVarUInt(kGroupBits));
    }
  }
  return true;
}

bool BuildingZDecoder::DecodeTriangleIndices(std::vector<int>* triangle_indices) {
  PELORIN_CHECK(triangle_indices);
  if (triangle_indices == nullptr) {
    return false;
  }
  if (ResizeByCount(this, triangle_indices)) {
    const int bits = static_cast<int>(ReadUInt(kWidthBits));
    packed_indices::Read(0, bits, triangle_indices, this);
  }
  return true;
}

}  // namespace vortan
