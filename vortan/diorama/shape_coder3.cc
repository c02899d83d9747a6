// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/shape_coder3.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/logging.h"
#include "util/coding/bit_run.h"
#include "vortan/diorama/offset_codes.h"
#include "vortan/diorama/quantized_pool.h"

namespace vortan {
namespace {

constexpr std::size_t kMaxIndices = 0x3FFFFFFF;
constexpr std::size_t kMaxValues = 0xFFFFFF;
constexpr int kMinBits = -32;
constexpr int kMaxBits = 31;
constexpr float kMaxShininess = 128.0f;
constexpr float kMaxTransparency = 1.0f;
// The group widths of counts and the like, and of offsets and lengths.
constexpr int kCountGroup = 4;
constexpr int kOffsetGroup = 1;
constexpr int kNotYet = -1;
constexpr int kDelimiter = -1;

// Indices between which there is no test for room.
constexpr std::size_t kBlock = 256;

inline void CheckOffset(int offset) {
  if (__builtin_expect(offset < 0, 0)) {
    PELORIN_CHECK_GE(offset, 0);
  }
}

}  // namespace

bool ShapeEncoder3::EncodeShape(const geometry3d::Shape& shape) {
  WriteHeader();
  RegisterStat(&stats_.total_bytes);

  encoder_.WriteVarUInt(static_cast<int>(shape.materials().size()), kCountGroup);
  for (const geometry3d::Material* material : shape.materials()) {
    if (material == nullptr || !EncodeMaterial(*material)) {
      return false;
    }
  }
  RegisterStat(&stats_.material_bytes);
  stats_.material_count = static_cast<int>(shape.materials().size());

  InitMaps(shape);
  encoder_.WriteVarUInt(static_cast<int>(shape.index_sets().size()), kCountGroup);
  for (const geometry3d::IndexSet* index_set : shape.index_sets()) {
    if (index_set == nullptr || !EncodeIndexSet(*index_set)) {
      return false;
    }
  }
  RegisterStat(&stats_.total_bytes);

  if (!EncodeValues(shape.points(), point_bits_, point_order_)) {
    return false;
  }
  RegisterStat(&stats_.point_bytes);
  stats_.point_count = static_cast<int>(shape.points().size());
  if (!EncodeValues(shape.normals(), normal_bits_, normal_order_)) {
    return false;
  }
  RegisterStat(&stats_.normal_bytes);
  stats_.normal_count = static_cast<int>(shape.normals().size());
  if (!EncodeValues(shape.tex_coords(), tex_coord_bits_, tex_coord_order_)) {
    return false;
  }
  RegisterStat(&stats_.tex_coord_bytes);
  stats_.tex_coord_count = static_cast<int>(shape.tex_coords().size());

  encoder_.Flush();
  RegisterStat(&stats_.total_bytes);
  return true;
}

void ShapeEncoder3::InitMaps(const geometry3d::Shape& shape) {
  point_index_map_.resize(shape.points().size(), kNotYet);
  normal_index_map_.resize(shape.normals().size(), kNotYet);
  tex_coord_index_map_.resize(shape.tex_coords().size(), kNotYet);
  next_point_index_ = 0;
  next_normal_index_ = 0;
  next_tex_coord_index_ = 0;
  point_order_.clear();
  point_order_.reserve(shape.points().size());
  normal_order_.clear();
  normal_order_.reserve(shape.normals().size());
  tex_coord_order_.clear();
  tex_coord_order_.reserve(shape.tex_coords().size());
}

bool ShapeEncoder3::EncodeMaterial(const geometry3d::Material& material) {
  WriteColorRGB888(material.ambient_color());
  WriteColorRGB888(material.diffuse_color());
  WriteColorRGB888(material.specular_color());
  WriteColorRGB888(material.emissive_color());
  WriteColorRGB888(material.transparent_color());
  WriteFloatURange(material.shininess(), kMaxShininess, 8);
  WriteFloatURange(material.transparency(), kMaxTransparency, 8);
  encoder_.WriteVarString(material.texture_uri(), kOffsetGroup);
  encoder_.WriteBits(material.double_sided() ? 1 : 0, 1);
  return true;
}

bool ShapeEncoder3::EncodeIndexSet(const geometry3d::IndexSet& index_set) {
  encoder_.WriteVarUInt(index_set.format(), kCountGroup);
  encoder_.WriteVarInt(index_set.material_index(), kCountGroup);
  if (!EncodeOffsetIndices(index_set.point_indices(), &point_index_map_, &next_point_index_,
                           &point_order_)) {
    return false;
  }
  RegisterStat(&stats_.point_index_bytes);
  stats_.point_index_count += static_cast<int>(index_set.point_indices().size());
  if (!EncodeOffsetIndices(index_set.normal_indices(), &normal_index_map_, &next_normal_index_,
                           &normal_order_)) {
    return false;
  }
  RegisterStat(&stats_.normal_index_bytes);
  stats_.normal_index_count += static_cast<int>(index_set.normal_indices().size());
  if (!EncodeOffsetIndices(index_set.tex_coord_indices(), &tex_coord_index_map_,
                           &next_tex_coord_index_, &tex_coord_order_)) {
    return false;
  }
  RegisterStat(&stats_.tex_coord_index_bytes);
  stats_.tex_coord_index_count += static_cast<int>(index_set.tex_coord_indices().size());
  return true;
}

bool ShapeEncoder3::EncodeOffsetIndices(const std::vector<int>& indices,
                                        std::vector<int>* index_map, int* next_index,
                                        std::vector<int>* order) {
  PELORIN_CHECK(index_map);
  if ((index_map == nullptr && !indices.empty()) || indices.size() > kMaxIndices) {
    return false;
  }
  encoder_.WriteVarUInt(static_cast<int>(indices.size()), kCountGroup);
  if (indices.empty()) {
    return true;
  }
  // Positions are unsigned, so that they wrap where a shape has more indices than an `int` counts.
  auto last_delimiter = static_cast<std::uint32_t>(kNotYet);
  auto position = static_cast<std::uint32_t>(*next_index);
  BitRunWriter run(encoder_.mutable_bits());
  bool good = true;
  for (std::size_t done = 0; good && done < indices.size();) {
    const std::size_t end = std::min(indices.size(), done + kBlock);
    run.MakeRoom((end - done) * offset_codes::kMaxBits);
    // Room for the block, should all of it be new.
    const std::size_t known = order->size();
    order->resize(known + end - done);
    int* new_entry = order->data() + known;
    for (; done < end; ++done, ++position) {
      const int index = indices[done];
      const auto entry = static_cast<std::size_t>(index);
      std::uint32_t offset = 0;
      if (entry < index_map->size()) {
        // Whether an entry is new cannot be foreseen, so nothing branches on it.
        int& last_use = (*index_map)[entry];
        const bool is_new = last_use < 0;
        offset = is_new ? 0 : position - static_cast<std::uint32_t>(last_use);
        last_use = static_cast<int>(position);
        *new_entry = index;
        new_entry += is_new;
      } else if (index == kDelimiter) {
        offset = position - last_delimiter;
        last_delimiter = position;
      } else {
        good = false;
        break;
      }
      CheckOffset(static_cast<int>(offset));
      offset_codes::Put(offset, &run);
    }
    order->resize(static_cast<std::size_t>(new_entry - order->data()));
  }
  *next_index = static_cast<int>(position);
  return good;
}

template <typename ValueType>
bool ShapeEncoder3::EncodeValues(const std::vector<ValueType>& values, int quantization_bits,
                                 const std::vector<int>& order) {
  if (order.size() > kMaxValues) {
    return false;
  }
  encoder_.WriteVarUInt(static_cast<int>(order.size()), kCountGroup);
  if (order.empty()) {
    return true;
  }
  if (quantization_bits < kMinBits || quantization_bits > kMaxBits) {
    return false;
  }
  encoder_.WriteInt(quantization_bits, 6);
  const double factor = std::ldexp(1.0, quantization_bits);
  PELORIN_CHECK_GT(factor, 0);
  const auto scale = static_cast<quantized_pool::Scalar<ValueType>>(factor);
  const auto at = [&](std::size_t i) -> const ValueType& {
    return values[static_cast<std::size_t>(order[i])];
  };
  const auto range = quantized_pool::Measure<ValueType>(at, order.size(), scale);
  for (const std::int32_t min : range.min) {
    encoder_.WriteVarInt(min, kCountGroup);
  }
  for (std::size_t k = 0; k < range.min.size(); ++k) {
    if (range.width(k) > quantized_pool::kMaxShapeWidth) {
      return false;
    }
    encoder_.WriteUInt(range.width(k), 5);
  }
  quantized_pool::Write<ValueType>(at, order.size(), scale, range, &encoder_);
  return true;
}

bool ShapeDecoder3::DecodeShape(geometry3d::Shape* shape) {
  PELORIN_CHECK(shape);
  if (!ReadHeader() || codec_version() != 3 || shape == nullptr) {
    return false;
  }
  const auto material_count = static_cast<int>(decoder_.ReadVarUInt(kCountGroup));
  for (int i = 0; i < material_count; ++i) {
    decoder_.mutable_budget()->Charge(1, sizeof(geometry3d::Material));
    if (!DecodeMaterial(shape->AddNewMaterial())) {
      return false;
    }
  }
  InitMaps();
  const auto index_set_count = static_cast<int>(decoder_.ReadVarUInt(kCountGroup));
  for (int i = 0; i < index_set_count; ++i) {
    decoder_.mutable_budget()->Charge(1, sizeof(geometry3d::IndexSet));
    if (!DecodeIndexSet(shape->AddNewIndexSet())) {
      return false;
    }
  }
  return DecodeValues(shape->mutable_points(), &point_bits_) &&
         DecodeValues(shape->mutable_normals(), &normal_bits_) &&
         DecodeValues(shape->mutable_tex_coords(), &tex_coord_bits_);
}

void ShapeDecoder3::InitMaps() {
  point_index_map_.clear();
  normal_index_map_.clear();
  tex_coord_index_map_.clear();
  next_point_index_ = 0;
  next_normal_index_ = 0;
  next_tex_coord_index_ = 0;
}

bool ShapeDecoder3::DecodeMaterial(geometry3d::Material* material) {
  PELORIN_CHECK(material);
  if (material == nullptr) {
    return false;
  }
  material->set_ambient_color(ReadColorRGB888());
  material->set_diffuse_color(ReadColorRGB888());
  material->set_specular_color(ReadColorRGB888());
  material->set_emissive_color(ReadColorRGB888());
  material->set_transparent_color(ReadColorRGB888());
  material->set_shininess(ReadFloatURange(kMaxShininess, 8));
  material->set_transparency(ReadFloatURange(kMaxTransparency, 8));
  material->set_texture_uri(decoder_.ReadVarString(kOffsetGroup));
  material->set_double_sided(decoder_.ReadBits(1) != 0);
  return true;
}

bool ShapeDecoder3::DecodeIndexSet(geometry3d::IndexSet* index_set) {
  PELORIN_CHECK(index_set);
  if (index_set == nullptr) {
    return false;
  }
  index_set->set_format(static_cast<int>(decoder_.ReadVarUInt(kCountGroup)));
  index_set->set_material_index(decoder_.ReadVarInt(kCountGroup));
  return DecodeOffsetIndices(&point_index_map_, &next_point_index_,
                             index_set->mutable_point_indices()) &&
         DecodeOffsetIndices(&normal_index_map_, &next_normal_index_,
                             index_set->mutable_normal_indices()) &&
         DecodeOffsetIndices(&tex_coord_index_map_, &next_tex_coord_index_,
                             index_set->mutable_tex_coord_indices());
}

bool ShapeDecoder3::DecodeOffsetIndices(std::vector<int>* index_map, int* next_index,
                                        std::vector<int>* indices) {
  PELORIN_CHECK(index_map);
  PELORIN_CHECK(indices);
  if (index_map == nullptr || indices == nullptr) {
    return false;
  }
  if (index_map->empty()) {
    index_map->push_back(kDelimiter);
  }
  // A count below 0 becomes one that no vector can have, and ends in its length error.
  const auto count = static_cast<std::size_t>(static_cast<int>(decoder_.ReadVarUInt(kCountGroup)));
  decoder_.mutable_budget()->Charge(count, 2 * sizeof(int));
  indices->resize(count);
  const std::size_t known = index_map->size();
  index_map->resize(known + count);
  const std::size_t done = DecodeOffsets(known, index_map, next_index);
  std::copy_n(index_map->begin() + static_cast<std::ptrdiff_t>(known), done, indices->begin());
  return done == count;
}

std::size_t ShapeDecoder3::DecodeOffsets(std::size_t known, std::vector<int>* index_map,
                                         int* next_index) {
  int* const history = index_map->data();
  auto next = static_cast<std::uint32_t>(*next_index);
  std::size_t size = known;
  // Whether `offset` leads to a known index, which is then entered.
  const auto enter = [&](std::size_t offset) {
    if (offset > size) {
      return false;
    }
    // Whether an entry is new cannot be foreseen, so nothing branches on it. The place of a new one
    // is there and holds 0.
    const int seen = history[size - offset];
    history[size++] = offset == 0 ? static_cast<int>(next) : seen;
    next += offset == 0;
    return true;
  };
  BitDecoder* const bits = decoder_.mutable_bits();
  const std::size_t end = index_map->size();
  bool good = true;
  while (good && size < end) {
    if (bits == nullptr || bits->at_end()) {
      // What is missing is read as 0.
      good = enter(0);
      continue;
    }
    {
      BitRunReader run(bits);
      while (good && size < end && run.has_bits()) {
        std::uint64_t word = run.Peek();
        int left = BitRunReader::kPeekBits;
        int length = offset_codes::Length(word);
        if (length > left) {
          break;
        }
        do {
          good = enter(offset_codes::Number(word, length));
          word >>= length;
          left -= length;
          length = offset_codes::Length(word);
        } while (good && length <= left && size < end);
        run.Consume(BitRunReader::kPeekBits - left);
      }
    }
    // A long code, or one in the last bytes of the stream.
    if (good && size < end) {
      good = enter(decoder_.ReadVarUInt(kOffsetGroup));
    }
  }
  *next_index = static_cast<int>(next);
  return size - known;
}

template <typename ValueType>
bool ShapeDecoder3::DecodeValues(std::vector<ValueType>* values, int* quantization_bits) {
  PELORIN_CHECK(values);
  PELORIN_CHECK(quantization_bits);
  if (values == nullptr || quantization_bits == nullptr) {
    return false;
  }
  const auto count = static_cast<std::size_t>(static_cast<int>(decoder_.ReadVarUInt(kCountGroup)));
  decoder_.mutable_budget()->Charge(count, sizeof(ValueType));
  values->resize(count);
  if (values->empty()) {
    return true;
  }
  *quantization_bits = decoder_.ReadInt(6);
  const double factor = std::ldexp(1.0, *quantization_bits);
  PELORIN_CHECK_GT(factor, 0);
  quantized_pool::Packing<quantized_pool::VectorTraits<ValueType>::kSize> packing;
  for (std::int32_t& min : packing.min) {
    min = decoder_.ReadVarInt(kCountGroup);
  }
  for (int& width : packing.widths) {
    width = static_cast<int>(decoder_.ReadUInt(5));
  }
  // A product with the inverse of a power of 2 is the quotient, to the last bit.
  using Scalar = quantized_pool::Scalar<ValueType>;
  const auto inverse = static_cast<Scalar>(1.0 / factor);
  const auto to_scalar = [inverse](std::int32_t q) { return static_cast<Scalar>(q) * inverse; };
  quantized_pool::Read(packing, to_scalar, values, &decoder_);
  return true;
}

}  // namespace vortan
