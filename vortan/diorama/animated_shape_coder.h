// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "base/export.h"
#include "util/geometry3d/mesh/shape.h"
#include "util/geometry3d/mesh/shape_animation.h"
#include "util/geometry3d/mesh/vector.h"
#include "vortan/diorama/binary_coder.h"
#include "vortan/diorama/shape_coder.h"

namespace vortan {

/// Writes a shape and its animation as two streams end to end: that of the animation, padded to a
/// whole byte, then that of the shape. Animation is kept exactly but for `index_list`, of whose
/// entries the low 32 bits go; the shape as its own coder keeps it. Ids, targets and indices of
/// -2^30 to 2^30 - 1 read back as they were. docs/formats/animated-shape-stream.md draws the
/// stream.
///
///     std::string buffer;
///     if (!AnimatedShapeEncoder::EncodeToBuffer(shape, set, 3, &buffer)) return false;
///
/// An encoder writes one stream and belongs to one thread.
class PELORIN_EXPORT AnimatedShapeEncoder {
 public:
  /// The first two bytes, "AE".
  static constexpr int kMagicSignature = 17729;
  static constexpr int kDefaultCodecVersion = 1;
  static constexpr int kMaxCodecVersion = 1;

  virtual ~AnimatedShapeEncoder();

  /// Encodes both; see `AnimatedShapeEncoder1`.
  virtual bool EncodeShape(const geometry3d::Shape& shape,
                           const geometry3d::AnimationSet& animation_set) = 0;

  /// A new encoder, which the caller owns and which takes over `shape_encoder` (may be null: then
  /// only the animation is written, and encoding fails). For a version other than 1 the fatal
  /// entries "Invalid AnimatedShapeEncoder codec version: " with the version and the check
  /// "encoder", and null; `shape_encoder` then stays with the caller.
  static AnimatedShapeEncoder* CreateEncoder(int codec_version, ShapeEncoder* shape_encoder);

  /// Encodes with the default settings of a shape encoder of `shape_codec_version`; of 1 to 3, only
  /// the streams of 3 can be decoded, and for others the result is false. `*buffer` gets what was
  /// written, whatever the result.
  static bool EncodeToBuffer(const geometry3d::Shape& shape,
                             const geometry3d::AnimationSet& animation_set, int shape_codec_version,
                             std::string* buffer);

  /// Both streams so far. Fatal check "buffer"; null is left alone.
  void get_buffer(std::string* buffer) const;

  int codec_version() const { return codec_version_; }
  /// Fatal checks "codec_version>0" and "codec_version<=kMaxCodecVersion"; any number is stored.
  void set_codec_version(int codec_version);

  void WriteHeader();
  void WriteDoubleVec3(const geometry3d::Vector3<double>& v);

 protected:
  /// Takes over `shape_encoder`; may be null.
  explicit AnimatedShapeEncoder(ShapeEncoder* shape_encoder);

  BinaryEncoder encoder_;
  std::unique_ptr<ShapeEncoder> shape_encoder_;
  int codec_version_ = kDefaultCodecVersion;
};

/// Version 1, the only one.
class PELORIN_EXPORT AnimatedShapeEncoder1 : public AnimatedShapeEncoder {
 public:
  static constexpr int kCodecVersion = 1;

  explicit AnimatedShapeEncoder1(ShapeEncoder* shape_encoder);

  /// False for a value or modifier of an unknown type, a null record, and for keyframes of one
  /// channel whose modifiers are not all of one type; the animation stream then ends somewhere
  /// before that, not flushed, and the shape is not begun. False, too, without a shape encoder and
  /// where that one fails.
  bool EncodeShape(const geometry3d::Shape& shape,
                   const geometry3d::AnimationSet& animation_set) override;

 private:
  bool EncodeAnimationSet(const geometry3d::AnimationSet& animation_set);
  bool EncodeAnimationTransform(const geometry3d::AnimationTransform* transform);
  bool EncodeAnimation(const geometry3d::Animation* animation);
  bool EncodeAnimationChannel(const geometry3d::AnimationChannel* channel);
  void EncodeTranslationTransformValue(const geometry3d::TranslationTransformValue& value);
  void EncodeRotationTransformValue(const geometry3d::RotationTransformValue& value);
  bool EncodeKeyframes(const util::gtl::PointerVector<geometry3d::Keyframe>& keyframes);
  void EncodeModifier(const geometry3d::ITransformModifier& modifier, int type);
};

/// Reads what `AnimatedShapeEncoder` writes.
///
///     Shape shape;
///     AnimationSet set;
///     if (!AnimatedShapeDecoder::DecodeFromBuffer(buffer, &shape, &set)) return false;
///
/// No bytes do harm. Behind the end of the stream all is read as zeros; counts are taken as they
/// are read (a count of 2^31 or more as none) and elements allocated one by one, a name in one
/// piece, unless the budget forbids it: then `std::bad_alloc`, for a name of 2^31 or more bytes
/// without a budget `std::length_error`. Shape and set are added to, so callers pass empty ones,
/// and drop them on failure. A decoder reads one stream and belongs to one thread.
class PELORIN_EXPORT AnimatedShapeDecoder {
 public:
  AnimatedShapeDecoder();
  virtual ~AnimatedShapeDecoder();
  AnimatedShapeDecoder(const AnimatedShapeDecoder&) = delete;
  AnimatedShapeDecoder& operator=(const AnimatedShapeDecoder&) = delete;

  /// Decodes both; see `AnimatedShapeDecoder1`.
  virtual bool DecodeShape(geometry3d::Shape* shape, geometry3d::AnimationSet* animation_set) = 0;

  /// A new decoder, which the caller owns; null for a version other than 1. Fatal check "decoder".
  static AnimatedShapeDecoder* CreateDecoder(int codec_version);

  /// The version of the stream in `buffer`; -1 for fewer than 5 bytes and for another magic.
  static int GetCodecVersionFromBuffer(const std::string& buffer);

  /// Decodes `buffer` by the version that it tells. False, with nothing touched, for another magic
  /// or an unknown version.
  /// `budget_bytes` is what may be allocated for both, `std::bad_alloc` beyond it; without it there
  /// is no limit.
  static bool DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape,
                               geometry3d::AnimationSet* animation_set);
  static bool DecodeFromBuffer(const std::string& buffer, geometry3d::Shape* shape,
                               geometry3d::AnimationSet* animation_set, std::size_t budget_bytes);

  /// Starts at the first byte of `buffer`, which is not copied and must outlive this. Of one of
  /// more than 2^31 - 1 bytes only those are read.
  void set_buffer(const std::string& buffer);
  void set_buffer(std::string&&) = delete;

  int codec_version() const { return codec_version_; }
  /// Fatal checks "codec_version>0" and "codec_version<=AnimatedShapeEncoder::kMaxCodecVersion";
  /// any number is stored.
  void set_codec_version(int codec_version);

  /// Bytes that may be allocated for animation and shape together; see `AllocationBudget`.
  void set_allocation_budget(std::size_t bytes) { decoder_.mutable_budget()->set_bytes(bytes); }

  /// Reads magic and version into `codec_version()`; another magic counts as version -1, so that
  /// the fatal checks of `set_codec_version` tell of it. Whether the version is a known one.
  bool ReadHeader();
  geometry3d::Vector3<double> ReadDoubleVec3();

 protected:
  BinaryDecoder decoder_;
  // Not owned. The shape stream begins in the middle of it.
  const std::string* buffer_ = nullptr;
  int codec_version_ = -1;
};

/// Version 1, the only one.
class PELORIN_EXPORT AnimatedShapeDecoder1 : public AnimatedShapeDecoder {
 public:
  /// False for a header or an animation that cannot be read, where neither the byte behind the
  /// animation nor the one after it is the "S" of a shape stream, and for any shape that is not of
  /// version 3. The set may have been filled by then. False for a null set; for a null shape the
  /// set is filled and the shape's own decoder makes its fatal entry.
  bool DecodeShape(geometry3d::Shape* shape, geometry3d::AnimationSet* animation_set) override;

 private:
  bool DecodeAnimationSet(geometry3d::AnimationSet* animation_set);
  void DecodeAnimationTransform(geometry3d::AnimationTransform* transform);
  bool DecodeAnimation(geometry3d::Animation* animation);
  std::unique_ptr<geometry3d::AnimationChannel> DecodeAnimationChannel();
  std::unique_ptr<geometry3d::ITransformValue> DecodeTransformValue(int type);
  bool DecodeKeyframes(util::gtl::PointerVector<geometry3d::Keyframe>* keyframes);
  std::unique_ptr<geometry3d::ITransformModifier> DecodeModifier(int type);
};

}  // namespace vortan
