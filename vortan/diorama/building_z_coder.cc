// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/building_z_coder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "base/logging.h"
#include "strings/stringprintf.h"
#include "util/geometry3d/mesh/rounding.h"

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
  const double factor = std::pow(2.0, point_bits);
  PELORIN_CHECK_GT(factor, 0);
  return factor;
}

// Coordinates may be as far apart as the numbers reach: differences and sums wrap.
int Difference(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

// A hint for `count` fields of `width` bits in all. One that an int does not hold is cut: there is
// still less than a quarter of a gigabyte to be copied then.
void ReserveFields(std::size_t count, int width, BinaryEncoder* encoder) {
  const auto bits = static_cast<std::int64_t>(count) * width;
  encoder->Reserve(
      static_cast<int>(std::min<std::int64_t>(bits, std::numeric_limits<int>::max() - 64)));
}

// Gathers fields of up to 32 bits in a register and hands them on 32 bits at a time: a list of
// narrow fields is then written faster than field by field. The last of them go with the
// destructor.
class FieldPacker {
 public:
  explicit FieldPacker(BinaryEncoder* encoder) : encoder_(encoder) {}
  ~FieldPacker() { encoder_->WriteBits(static_cast<int>(word_), filled_); }
  FieldPacker(const FieldPacker&) = delete;
  FieldPacker& operator=(const FieldPacker&) = delete;

  // `value` has no bits beyond `width`.
  void Put(int value, int width) {
    word_ |= std::uint64_t{static_cast<unsigned>(value)} << filled_;
    filled_ += width;
    if (filled_ >= 32) {
      encoder_->WriteBits(static_cast<int>(word_), 32);
      word_ >>= 32;
      filled_ -= 32;
    }
  }

 private:
  BinaryEncoder* encoder_;
  std::uint64_t word_ = 0;
  int filled_ = 0;  // Below 32 between calls.
};

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
    Vector2<int> min = (points.front() * factor).IRound();
    Vector2<int> max = min;
    for (const Vector2<double>& point : points) {
      const Vector2<int> q = (point * factor).IRound();
      min = Vector2<int>(std::min(min.x, q.x), std::min(min.y, q.y));
      max = Vector2<int>(std::max(max.x, q.x), std::max(max.y, q.y));
    }
    const int x_bits = BitsRequired(Difference(max.x, min.x));
    const int y_bits = BitsRequired(Difference(max.y, min.y));
    if (min.x >= kMinimumLimit || min.y >= kMinimumLimit) {
      return false;
    }
    WriteVarInt(min.x, kGroupBits);
    WriteVarInt(min.y, kGroupBits);
    if (x_bits > kMaxWidth || y_bits > kMaxWidth) {
      return false;
    }
    WriteUInt(x_bits, kWidthBits);
    WriteUInt(y_bits, kWidthBits);
    ReserveFields(points.size(), x_bits + y_bits, this);
    FieldPacker packer(this);
    for (const Vector2<double>& point : points) {
      const Vector2<int> q = (point * factor).IRound();
      packer.Put(Difference(q.x, min.x), x_bits);
      packer.Put(Difference(q.y, min.y), y_bits);
    }
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
    ReserveFields(indices.size(), bits, this);
    FieldPacker packer(this);
    for (const int index : indices) {
      packer.Put(index, bits);
    }
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
  const unsigned min_x = static_cast<unsigned>(ReadVarInt(kGroupBits));
  const unsigned min_y = static_cast<unsigned>(ReadVarInt(kGroupBits));
  const int x_bits = static_cast<int>(ReadUInt(kWidthBits));
  const int y_bits = static_cast<int>(ReadUInt(kWidthBits));
  const double factor = point_factor();
  for (Vector2<double>& point : *points) {
    point.x = static_cast<int>(ReadUInt(x_bits) + min_x) / factor;
    point.y = static_cast<int>(ReadUInt(y_bits) + min_y) / factor;
  }
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
    for (int& index : *triangle_indices) {
      index = static_cast<int>(ReadUInt(bits));
    }
  }
  return true;
}

}  // namespace vortan
