// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/shape_coder1.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/logging.h"
#include "vortan/diorama/packed_indices.h"
#include "vortan/diorama/quantized_pool.h"

namespace vortan {
namespace {

constexpr int kMaxBits = 31;
constexpr std::size_t kMaxEntries = 0x3FFFFFFF;
constexpr float kMaxShininess = 128.0f;
constexpr float kMaxTransparency = 1.0f;
constexpr int kUriLengthBits = 16;

bool IsPrecision(int bits) {
  return bits >= 0 && bits <= kMaxBits;
}

// The highest number of `bits` bits, 0 to 31.
std::int32_t FullRange(int bits) {
  return static_cast<std::int32_t>((std::uint32_t{1} << bits) - 1);
}

// What both index arrays and pools begin with. False, with nothing written, for too many.
bool WriteCount(std::size_t count, BinaryEncoder* encoder) {
  if (count > kMaxEntries) {
    return false;
  }
  encoder->WriteUInt(static_cast<int>(count), 32);
  return true;
}

// A section behind its count, of a pool that is not empty.
template <typename Vector, typename WriteUnit>
bool WriteSection(const std::vector<Vector>& pool, int bits, quantized_pool::Scalar<Vector> factor,
                  const WriteUnit& write_unit, BinaryEncoder* encoder) {
  const auto at = [&](std::size_t i) -> const Vector& { return pool[i]; };
  const auto range = quantized_pool::Measure<Vector>(at, pool.size(), factor);
  encoder->WriteUInt(bits, 5);
  write_unit();
  for (const std::int32_t min : range.min) {
    encoder->WriteInt(min, 32);
  }
  for (std::size_t k = 0; k < range.min.size(); ++k) {
    if (range.width(k) > quantized_pool::kMaxShapeWidth) {
      return false;
    }
  }
  for (std::size_t k = 0; k < range.min.size(); ++k) {
    encoder->WriteUInt(range.width(k), 5);
  }
  quantized_pool::Write<Vector>(at, pool.size(), factor, range, encoder);
  return true;
}

// The sections of normals and texture coordinates differ in their type alone.
template <typename Vector>
bool WriteFloatSection(const std::vector<Vector>& pool, int bits, BinaryEncoder* encoder) {
  if (!WriteCount(pool.size(), encoder)) {
    return false;
  }
  if (pool.empty()) {
    return true;
  }
  if (!IsPrecision(bits)) {
    return false;
  }
  const auto write_unit = [&] { encoder->WriteFloat(1.0f); };
  return WriteSection(pool, bits, static_cast<float>(FullRange(bits)), write_unit, encoder);
}

template <typename Vector>
void ResizePool(BinaryDecoder* decoder, std::vector<Vector>* pool) {
  const std::size_t count = decoder->ReadUInt(32);
  decoder->mutable_budget()->Charge(count, sizeof(Vector));
  pool->resize(count);
}

// A section behind its unit.
template <typename Vector>
void ReadSection(quantized_pool::Scalar<Vector> factor, BinaryDecoder* decoder,
                 std::vector<Vector>* pool) {
  quantized_pool::Packing<quantized_pool::VectorTraits<Vector>::kSize> packing;
  for (std::int32_t& min : packing.min) {
    min = decoder->ReadInt(32);
  }
  for (int& width : packing.widths) {
    width = static_cast<int>(decoder->ReadUInt(5));
  }
  const auto to_scalar = [factor](std::int32_t q) {
    return static_cast<quantized_pool::Scalar<Vector>>(q) / factor;
  };
  quantized_pool::Read(packing, to_scalar, pool, decoder);
}

// The counterpart of `WriteFloatSection` for a pool that has its size; the bits go to `*bits`.
template <typename Vector>
bool ReadFloatSection(BinaryDecoder* decoder, int* bits, std::vector<Vector>* pool) {
  *bits = static_cast<int>(decoder->ReadUInt(5));
  const float unit = decoder->ReadFloat();
  if (unit <= 0.0f) {
    return false;
  }
  const double factor = static_cast<double>(FullRange(*bits)) / static_cast<double>(unit);
  ReadSection(static_cast<float>(factor), decoder, pool);
  return true;
}

}  // namespace

bool ShapeEncoder1::EncodeShape(const geometry3d::Shape& shape) {
  WriteHeader();
  RegisterStat(&stats_.total_bytes);

  if (!EncodePoints(shape.points())) {
    return false;
  }
  RegisterStat(&stats_.point_bytes);
  stats_.point_count = static_cast<int>(shape.points().size());
  if (!EncodeNormals(shape.normals())) {
    return false;
  }
  RegisterStat(&stats_.normal_bytes);
  stats_.normal_count = static_cast<int>(shape.normals().size());
  if (!EncodeTexCoords(shape.tex_coords())) {
    return false;
  }
  RegisterStat(&stats_.tex_coord_bytes);
  stats_.tex_coord_count = static_cast<int>(shape.tex_coords().size());

  encoder_.WriteUInt(static_cast<int>(shape.materials().size()), 32);
  for (const geometry3d::Material* material : shape.materials()) {
    if (material == nullptr || !EncodeMaterial(*material)) {
      return false;
    }
  }
  RegisterStat(&stats_.material_bytes);
  stats_.material_count = static_cast<int>(shape.materials().size());

  encoder_.WriteUInt(static_cast<int>(shape.index_sets().size()), 32);
  for (const geometry3d::IndexSet* index_set : shape.index_sets()) {
    if (index_set == nullptr || !EncodeIndexSet(*index_set)) {
      return false;
    }
  }
  encoder_.Flush();
  RegisterStat(&stats_.total_bytes);
  return true;
}

bool ShapeEncoder1::EncodePoints(const std::vector<geometry3d::Vector3<double>>& points) {
  if (!WriteCount(points.size(), &encoder_)) {
    return false;
  }
  if (points.empty()) {
    return true;
  }
  if (point_unit_ <= 0.0 || !IsPrecision(point_bits_)) {
    return false;
  }
  const double factor = static_cast<double>(FullRange(point_bits_)) / point_unit_;
  const auto write_unit = [&] { encoder_.WriteDouble(point_unit_); };
  return WriteSection(points, point_bits_, factor, write_unit, &encoder_);
}

bool ShapeEncoder1::EncodeNormals(const std::vector<geometry3d::Vector3<float>>& normals) {
  return WriteFloatSection(normals, normal_bits_, &encoder_);
}

bool ShapeEncoder1::EncodeTexCoords(const std::vector<geometry3d::Vector2<float>>& tex_coords) {
  return WriteFloatSection(tex_coords, tex_coord_bits_, &encoder_);
}

bool ShapeEncoder1::EncodeMaterial(const geometry3d::Material& material) {
  WriteColorRGB888(material.ambient_color());
  WriteColorRGB888(material.diffuse_color());
  WriteColorRGB888(material.specular_color());
  WriteFloatURange(material.shininess(), kMaxShininess, 8);
  encoder_.WriteString(material.texture_uri(), kUriLengthBits);
  if (codec_version() > 1) {
    WriteColorRGB888(material.emissive_color());
    WriteColorRGB888(material.transparent_color());
    WriteFloatURange(material.transparency(), kMaxTransparency, 8);
    encoder_.WriteBits(material.double_sided() ? 1 : 0, 1);
  }
  return true;
}

bool ShapeEncoder1::EncodeIndexSet(const geometry3d::IndexSet& index_set) {
  encoder_.WriteUInt(index_set.format(), 8);
  encoder_.WriteInt(index_set.material_index(), 16);
  const auto encode = [this](const std::vector<int>& indices, int* bytes, int* count) {
    if (!EncodeIndices(indices)) {
      return false;
    }
    RegisterStat(bytes);
    *count += static_cast<int>(indices.size());
    return true;
  };
  return encode(index_set.point_indices(), &stats_.point_index_bytes, &stats_.point_index_count) &&
         encode(index_set.normal_indices(), &stats_.normal_index_bytes,
                &stats_.normal_index_count) &&
         encode(index_set.tex_coord_indices(), &stats_.tex_coord_index_bytes,
                &stats_.tex_coord_index_count);
}

bool ShapeEncoder1::EncodeIndices(const std::vector<int>& indices) {
  if (!WriteCount(indices.size(), &encoder_)) {
    return false;
  }
  if (indices.empty()) {
    return true;
  }
  const auto [min, max] = std::minmax_element(indices.begin(), indices.end());
  if (*min > static_cast<int>(kMaxEntries)) {
    return false;
  }
  encoder_.WriteInt(*min, 32);
  const int bits =
      BinaryEncoder::BitsRequired(static_cast<int>(quantized_pool::Difference(*max, *min)));
  if (bits > kMaxBits) {
    return false;
  }
  encoder_.WriteUInt(bits, 5);
  packed_indices::Write(indices, *min, bits, &encoder_);
  return true;
}

bool ShapeDecoder1::DecodeShape(geometry3d::Shape* shape) {
  PELORIN_CHECK(shape);
  if (!ReadHeader() || codec_version() > 2 || shape == nullptr) {
    return false;
  }
  if (!DecodePoints(shape->mutable_points()) || !DecodeNormals(shape->mutable_normals()) ||
      !DecodeTexCoords(shape->mutable_tex_coords())) {
    return false;
  }
  const int material_count = decoder_.ReadInt(32);
  for (int i = 0; i < material_count; ++i) {
    decoder_.mutable_budget()->Charge(1, sizeof(geometry3d::Material));
    if (!DecodeMaterial(shape->AddNewMaterial())) {
      return false;
    }
  }
  const int index_set_count = decoder_.ReadInt(32);
  for (int i = 0; i < index_set_count; ++i) {
    decoder_.mutable_budget()->Charge(1, sizeof(geometry3d::IndexSet));
    if (!DecodeIndexSet(shape->AddNewIndexSet())) {
      return false;
    }
  }
  return true;
}

bool ShapeDecoder1::DecodePoints(std::vector<geometry3d::Vector3<double>>* points) {
  PELORIN_CHECK(points);
  if (points == nullptr) {
    return false;
  }
  ResizePool(&decoder_, points);
  if (points->empty()) {
    return true;
  }
  set_point_bits(static_cast<int>(decoder_.ReadUInt(5)));
  set_point_unit(decoder_.ReadDouble());
  if (point_unit() <= 0.0) {
    return false;
  }
  ReadSection(static_cast<double>(FullRange(point_bits())) / point_unit(), &decoder_, points);
  return true;
}

bool ShapeDecoder1::DecodeNormals(std::vector<geometry3d::Vector3<float>>* normals) {
  PELORIN_CHECK(normals);
  if (normals == nullptr) {
    return false;
  }
  ResizePool(&decoder_, normals);
  return normals->empty() || ReadFloatSection(&decoder_, &normal_bits_, normals);
}

bool ShapeDecoder1::DecodeTexCoords(std::vector<geometry3d::Vector2<float>>* tex_coords) {
  PELORIN_CHECK(tex_coords);
  if (tex_coords == nullptr) {
    return false;
  }
  ResizePool(&decoder_, tex_coords);
  return tex_coords->empty() || ReadFloatSection(&decoder_, &tex_coord_bits_, tex_coords);
}

bool ShapeDecoder1::DecodeMaterial(geometry3d::Material* material) {
  PELORIN_CHECK(material);
  if (material == nullptr) {
    return false;
  }
  material->set_ambient_color(ReadColorRGB888());
  material->set_diffuse_color(ReadColorRGB888());
  material->set_specular_color(ReadColorRGB888());
  material->set_shininess(ReadFloatURange(kMaxShininess, 8));
  material->set_texture_uri(decoder_.ReadString(kUriLengthBits));
  if (codec_version() > 1) {
    material->set_emissive_color(ReadColorRGB888());
    material->set_transparent_color(ReadColorRGB888());
    material->set_transparency(ReadFloatURange(kMaxTransparency, 8));
    material->set_double_sided(decoder_.ReadBits(1) != 0);
  }
  return true;
}

bool ShapeDecoder1::DecodeIndexSet(geometry3d::IndexSet* index_set) {
  PELORIN_CHECK(index_set);
  if (index_set == nullptr) {
    return false;
  }
  index_set->set_format(static_cast<int>(decoder_.ReadUInt(8)));
  index_set->set_material_index(decoder_.ReadInt(16));
  return DecodeIndices(index_set->mutable_point_indices()) &&
         DecodeIndices(index_set->mutable_normal_indices()) &&
         DecodeIndices(index_set->mutable_tex_coord_indices());
}

bool ShapeDecoder1::DecodeIndices(std::vector<int>* indices) {
  PELORIN_CHECK(indices);
  if (indices == nullptr) {
    return false;
  }
  // A count below 0 becomes one that no vector can have, and ends in its length error.
  const auto count = static_cast<std::size_t>(decoder_.ReadInt(32));
  decoder_.mutable_budget()->Charge(count, sizeof(int));
  indices->resize(count);
  if (indices->empty()) {
    return true;
  }
  const int min = decoder_.ReadInt(32);
  const int bits = static_cast<int>(decoder_.ReadUInt(5));
  packed_indices::Read(min, bits, indices, &decoder_);
  return true;
}

}  // namespace vortan
