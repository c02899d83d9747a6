// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "base/export.h"
#include "util/geometry3d/mesh/vector.h"
#include "vortan/diorama/allocation_budget.h"
#include "vortan/diorama/binary_coder.h"
#include "vortan/diorama/shape_encoder_stats.h"

namespace geometry3d {
class Shape;
}

namespace vortan {

/// Turns a `Shape` into a stream of bytes that says itself how it is to be read. The stream begins
/// with "SE" and a version; the formats behind them are `ShapeEncoder1` (versions 1 and 2) and
/// `ShapeEncoder3`, the default, which is the smallest.
///
///     std::string stream;
///     if (!ShapeEncoder::EncodeToBuffer(shape, &stream)) ...   // the shape can't be held
///
/// or, with another version or precision:
///
///     const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(1));
///     encoder->set_point_bits(12);
///     encoder->EncodeShape(shape);
///     encoder->get_buffer(&stream);
///
/// Values are quantised, so they come back within half a step: with `bits` of precision a step is
/// 1 / 2^bits in version 3 and 1 / (2^bits - 1) in versions 1 and 2, there for points times
/// `point_unit`. The setting fixes the step and not the range, which is measured.
///
/// An encoder serves for one shape and belongs to one thread; the statics are safe from any.
class PELORIN_EXPORT ShapeEncoder {
 public:
  static constexpr int kMagicSignature = 17747;
  static constexpr int kDefaultCodecVersion = 3;
  static constexpr int kMaxCodecVersion = 3;

  ShapeEncoder() = default;
  ShapeEncoder(const ShapeEncoder&) = delete;
  ShapeEncoder& operator=(const ShapeEncoder&) = delete;
  virtual ~ShapeEncoder();

  /// Appends `shape` to the stream. False for a shape or settings that the format cannot hold; the
  /// stream is then of no use, though what there is of it can be had.
  virtual bool EncodeShape(const geometry3d::Shape& shape) = 0;

  /// An encoder for a version from 1 to 3, which the caller owns; null for any other.
  static ShapeEncoder* CreateEncoder(int codec_version);

  /// Encodes by the default version with default settings into `*buffer`, replacing it whatever the
  /// result is.
  static bool EncodeToBuffer(const geometry3d::Shape& shape, std::string* buffer);

  /// Replaces `*buffer` by the stream so far. Fatal check "buffer", behind which nothing is done.
  void get_buffer(std::string* buffer) const;

  /// The version in the header. `CreateEncoder` sets it with the format that belongs to it. Fatal
  /// checks "codec_version>0" and "codec_version<=kMaxCodecVersion"; it is set all the same.
  int codec_version() const { return codec_version_; }
  void set_codec_version(int codec_version);

  /// The length that the whole range of `point_bits` spans, in versions 1 and 2 only; above 0.
  double point_unit() const { return point_unit_; }
  void set_point_unit(double point_unit) { point_unit_ = point_unit; }
  /// Precisions in bits: 0 to 31 in versions 1 and 2, -32 to 31 in version 3, where -2 means
  /// multiples of 4.
  int point_bits() const { return point_bits_; }
  void set_point_bits(int point_bits) { point_bits_ = point_bits; }
  int normal_bits() const { return normal_bits_; }
  void set_normal_bits(int normal_bits) { normal_bits_ = normal_bits; }
  int tex_coord_bits() const { return tex_coord_bits_; }
  void set_tex_coord_bits(int tex_coord_bits) { tex_coord_bits_ = tex_coord_bits; }

  /// Complete after `EncodeShape`; where that failed, the sections behind the failure are 0.
  const ShapeEncoderStats& stats() const { return stats_; }
  ShapeEncoderStats* mutable_stats() { return &stats_; }

  /// Charges the bytes since the last registration to `*stat`, a counter of `stats()`, and notes
  /// the size in `total_bytes`; charged to `total_bytes` itself they are in no other counter. Fatal
  /// check "stat", behind which they are in none either.
  void RegisterStat(int* stat);

 protected:
  /// Magic and version, 16 bits each.
  void WriteHeader();

  /// `value`, meant to be from 0 to 1 or from 0 to `range`, as a number of `bits` bits, rounded
  /// half to even. What lies outside is not clamped but wraps: 1.5 in 8 bits is 382, cut to 126.
  /// What no `int` can hold, not-a-number included, is written as 0. A `range` of 0 makes the fatal
  /// entry "Check failed: ".
  void WriteFloatUnit(float value, int bits);
  void WriteFloatURange(float value, float range, int bits);
  /// Three units of 8 bits.
  void WriteColorRGB888(const geometry3d::Vector3<float>& color);

  BinaryEncoder encoder_;
  int codec_version_ = kDefaultCodecVersion;
  double point_unit_ = 1.0;
  int point_bits_ = 8;
  int normal_bits_ = 8;
  int tex_coord_bits_ = 8;
  ShapeEncoderStats stats_;
};

/// Turns a stream of `ShapeEncoder` back into a `Shape`.
///
///     geometry3d::Shape shape;
///     if (!ShapeDecoder::DecodeFromBuffer(stream, &shape)) ...   // discard the shape
///
/// Materials and index sets are added to those that the shape has, its pools are replaced; callers
/// pass an empty shape, and discard it when the result is false.
///
/// No bytes whatever make a decoder read outside them. But few damages are noticed: a read beyond
/// the end of the stream yields 0, so a stream that was cut decodes into a shape that is cut, or
/// whose indices point outside its pools; `Shape::Validate` tells. Counts are believed as they
/// are read. What a stream then wants allocated ends, where it is too much, in the exception of the
/// allocator or a length error of the container, which passes to the caller; set a budget for
/// streams of strangers.
///
/// A decoder serves for one stream and belongs to one thread; the statics are safe from any.
class PELORIN_EXPORT ShapeDecoder {
 public:
  ShapeDecoder() = default;
  ShapeDecoder(const ShapeDecoder&) = delete;
  ShapeDecoder& operator=(const ShapeDecoder&) = delete;
  virtual ~ShapeDecoder();

  /// Decodes the stream that was set into `*shape`. False for one that is not of the decoder's
  /// versions or breaks a rule of the format. Fatal check "shape"; null is false.
  virtual bool DecodeShape(geometry3d::Shape* shape) = 0;

  /// A decoder for a version from 1 to 3, which the caller owns; null for any other.
  static ShapeDecoder* CreateDecoder(int codec_version);

  /// The version in the header, 0 to 65535; -1 for fewer than 5 bytes (so for a header alone) and
  /// for a stream of another kind.
  static int GetCodecVersionFromBuffer(const std::string& buffer);

  /// Decodes a stream of any version. False also for a header that is none of ours.
  /// `budget_bytes` is what may be allocated for the shape, `std::bad_alloc` beyond it; without it
  /// there is no limit.
  static bool DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape);
  static bool DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape,
                               std::size_t budget_bytes);

  /// The stream to decode. It is not copied and must outlive the decoding. Of one of more than
  /// 2^31 - 1 bytes only those are read.
  void set_buffer(const std::string& buffer);
  void set_buffer(std::string&&) = delete;
  /// The same for `size` bytes at `data`, such as the end of a longer stream.
  void set_buffer(const char* data, std::size_t size);

  /// Bytes that may be allocated for the shape; see `AllocationBudget`.
  void set_allocation_budget(std::size_t bytes) { decoder_.mutable_budget()->set_bytes(bytes); }

  /// The version in the header; -1 until one was read. Fatal checks "codec_version>0" and
  /// "codec_version<=ShapeEncoder::kMaxCodecVersion"; it is set all the same.
  int codec_version() const { return codec_version_; }
  void set_codec_version(int codec_version);

  /// The settings that the stream was made with, once it is decoded. A pool without entries carries
  /// none; its setting then says nothing.
  double point_unit() const { return point_unit_; }
  void set_point_unit(double point_unit) { point_unit_ = point_unit; }
  int point_bits() const { return point_bits_; }
  void set_point_bits(int point_bits) { point_bits_ = point_bits; }
  int normal_bits() const { return normal_bits_; }
  void set_normal_bits(int normal_bits) { normal_bits_ = normal_bits; }
  int tex_coord_bits() const { return tex_coord_bits_; }
  void set_tex_coord_bits(int tex_coord_bits) { tex_coord_bits_ = tex_coord_bits; }

 protected:
  /// Reads the header. False for another magic, behind a version of -1, and for an unknown version;
  /// both make the fatal entry of `set_codec_version`.
  bool ReadHeader();

  /// The counterparts of the encoder's.
  float ReadFloatUnit(int bits);
  float ReadFloatURange(float range, int bits);
  geometry3d::Vector3<float> ReadColorRGB888();

  BinaryDecoder decoder_;
  int codec_version_ = -1;
  double point_unit_ = 1.0;
  int point_bits_ = 8;
  int normal_bits_ = 8;
  int tex_coord_bits_ = 8;
};

}  // namespace vortan
