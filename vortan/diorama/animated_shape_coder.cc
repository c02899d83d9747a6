// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/animated_shape_coder.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "base/logging.h"
#include "vortan/diorama/stream_header.h"

namespace vortan {
namespace {

using geometry3d::Animation;
using geometry3d::AnimationChannel;
using geometry3d::AnimationSet;
using geometry3d::AnimationTransform;
using geometry3d::ITransformModifier;
using geometry3d::ITransformValue;
using geometry3d::Keyframe;
using geometry3d::RotationAngleModifier;
using geometry3d::RotationAxisAngleModifier;
using geometry3d::RotationTransformValue;
using geometry3d::Shape;
using geometry3d::TranslationTransformModifier;
using geometry3d::TranslationTransformValue;
using geometry3d::Vector3;
using util::gtl::PointerVector;

// Widths of groups: of names, and of all else.
constexpr int kNameGroupBits = 1;
constexpr int kGroupBits = 4;
// The only shapes that can follow an animation when it is read.
constexpr int kShapeCodecVersion = 3;
constexpr char kShapeMagicStart = 'S';

void WriteCount(std::size_t count, BinaryEncoder* encoder) {
  encoder->WriteVarUInt(static_cast<int>(count), kGroupBits);
}

// A count of 2^31 or more is negative, and nothing follows it.
int ReadCount(BinaryDecoder* decoder) {
  return static_cast<int>(decoder->ReadVarUInt(kGroupBits));
}

// What an element costs in a vector of pointers.
template <typename T>
void ChargeElement(BinaryDecoder* decoder) {
  decoder->mutable_budget()->Charge(1, sizeof(T) + sizeof(T*));
}

bool IsKnownModifier(int type) {
  return type == TranslationTransformModifier::kType || type == RotationAngleModifier::kType ||
         type == RotationAxisAngleModifier::kType;
}

}  // namespace

AnimatedShapeEncoder::AnimatedShapeEncoder(ShapeEncoder* shape_encoder)
    : shape_encoder_(shape_encoder) {}

AnimatedShapeEncoder::~AnimatedShapeEncoder() = default;

AnimatedShapeEncoder* AnimatedShapeEncoder::CreateEncoder(int codec_version,
                                                          ShapeEncoder* shape_encoder) {
  std::unique_ptr<AnimatedShapeEncoder> encoder;
  if (codec_version == AnimatedShapeEncoder1::kCodecVersion) {
    encoder = std::make_unique<AnimatedShapeEncoder1>(shape_encoder);
  } else {
    PELORIN_LOG_FATAL() << "Invalid AnimatedShapeEncoder codec version: " << codec_version;
  }
  PELORIN_CHECK(encoder);
  if (encoder != nullptr) {
    PELORIN_CHECK_EQ(encoder->codec_version(), codec_version);
  }
  return encoder.release();
}

bool AnimatedShapeEncoder::EncodeToBuffer(const Shape& shape, const AnimationSet& animation_set,
                                          int shape_codec_version, std::string* buffer) {
  const std::unique_ptr<AnimatedShapeEncoder> encoder(
      CreateEncoder(kDefaultCodecVersion, ShapeEncoder::CreateEncoder(shape_codec_version)));
  if (encoder == nullptr) {
    return false;
  }
  const bool good = encoder->EncodeShape(shape, animation_set);
  encoder->get_buffer(buffer);
  return good;
}

void AnimatedShapeEncoder::get_buffer(std::string* buffer) const {
  PELORIN_CHECK(buffer);
  if (buffer == nullptr) {
    return;
  }
  buffer->assign(encoder_.buffer(), static_cast<std::size_t>(encoder_.buffer_size()));
  if (shape_encoder_ != nullptr) {
    std::string shape_stream;
    shape_encoder_->get_buffer(&shape_stream);
    buffer->append(shape_stream);
  }
}

void AnimatedShapeEncoder::set_codec_version(int codec_version) {
  PELORIN_CHECK_GT(codec_version, 0);
  PELORIN_CHECK_LE(codec_version, kMaxCodecVersion);
  codec_version_ = codec_version;
}

void AnimatedShapeEncoder::WriteHeader() {
  encoder_.WriteUInt(kMagicSignature, 16);
  encoder_.WriteUInt(codec_version_, 16);
}

void AnimatedShapeEncoder::WriteDoubleVec3(const Vector3<double>& v) {
  encoder_.WriteDouble(v.x);
  encoder_.WriteDouble(v.y);
  encoder_.WriteDouble(v.z);
}

AnimatedShapeEncoder1::AnimatedShapeEncoder1(ShapeEncoder* shape_encoder)
    : AnimatedShapeEncoder(shape_encoder) {
  set_codec_version(kCodecVersion);
}

bool AnimatedShapeEncoder1::EncodeShape(const Shape& shape, const AnimationSet& animation_set) {
  WriteHeader();
  if (!EncodeAnimationSet(animation_set)) {
    return false;
  }
  encoder_.Flush();
  return shape_encoder_ != nullptr && shape_encoder_->EncodeShape(shape);
}

bool AnimatedShapeEncoder1::EncodeAnimationSet(const AnimationSet& animation_set) {
  WriteCount(animation_set.transforms().size(), &encoder_);
  for (const AnimationTransform* const transform : animation_set.transforms()) {
    if (!EncodeAnimationTransform(transform)) {
      return false;
    }
  }
  WriteCount(animation_set.animations().size(), &encoder_);
  for (const Animation* const animation : animation_set.animations()) {
    if (!EncodeAnimation(animation)) {
      return false;
    }
  }
  return true;
}

bool AnimatedShapeEncoder1::EncodeAnimationTransform(const AnimationTransform* transform) {
  if (transform == nullptr) {
    return false;
  }
  encoder_.WriteVarInt(transform->id(), kGroupBits);
  WriteCount(transform->index_list().size(), &encoder_);
  for (const unsigned long index : transform->index_list()) {
    encoder_.WriteVarUInt(static_cast<int>(index), kGroupBits);
  }
  return true;
}

bool AnimatedShapeEncoder1::EncodeAnimation(const Animation* animation) {
  if (animation == nullptr) {
    return false;
  }
  encoder_.WriteVarString(animation->name(), kNameGroupBits);
  WriteCount(animation->channels().size(), &encoder_);
  for (const AnimationChannel* const channel : animation->channels()) {
    if (!EncodeAnimationChannel(channel)) {
      return false;
    }
  }
  return true;
}

bool AnimatedShapeEncoder1::EncodeAnimationChannel(const AnimationChannel* channel) {
  if (channel == nullptr || channel->value() == nullptr) {
    return false;
  }
  const ITransformValue& value = *channel->value();
  encoder_.WriteVarInt(channel->target(), kGroupBits);
  encoder_.WriteVarInt(value.GetType(), kGroupBits);
  switch (value.GetType()) {
  case TranslationTransformValue::kType:
    EncodeTranslationTransformValue(static_cast<const TranslationTransformValue&>(value));
    break;
  case RotationTransformValue::kType:
    EncodeRotationTransformValue(static_cast<const RotationTransformValue&>(value));
    break;
  default:
    return false;
  }
  return EncodeKeyframes(channel->keyframes());
}

void AnimatedShapeEncoder1::EncodeTranslationTransformValue(
    const TranslationTransformValue& value) {
  WriteDoubleVec3(value.translation());
}

void AnimatedShapeEncoder1::EncodeRotationTransformValue(const RotationTransformValue& value) {
  WriteDoubleVec3(value.center());
  WriteDoubleVec3(value.axis());
  encoder_.WriteDouble(value.angle());
}

bool AnimatedShapeEncoder1::EncodeKeyframes(const PointerVector<Keyframe>& keyframes) {
  WriteCount(keyframes.size(), &encoder_);
  if (keyframes.empty()) {
    return true;
  }
  const Keyframe* const first = keyframes[0];
  if (first == nullptr || first->value() == nullptr) {
    return false;
  }
  const int type = first->value()->GetType();
  encoder_.WriteVarInt(type, kGroupBits);
  if (!IsKnownModifier(type)) {
    return false;
  }
  for (const Keyframe* const keyframe : keyframes) {
    // The stream has one type for all of them, and a modifier of another class has other fields.
    if (keyframe == nullptr || keyframe->value() == nullptr ||
        keyframe->value()->GetType() != type) {
      return false;
    }
    encoder_.WriteDouble(keyframe->time());
    EncodeModifier(*keyframe->value(), type);
  }
  return true;
}

void AnimatedShapeEncoder1::EncodeModifier(const ITransformModifier& modifier, int type) {
  switch (type) {
  case TranslationTransformModifier::kType:
    WriteDoubleVec3(static_cast<const TranslationTransformModifier&>(modifier).translation());
    break;
  case RotationAngleModifier::kType:
    encoder_.WriteDouble(static_cast<const RotationAngleModifier&>(modifier).angle());
    break;
  default: {
    const auto& rotation = static_cast<const RotationAxisAngleModifier&>(modifier);
    WriteDoubleVec3(rotation.axis());
    encoder_.WriteDouble(rotation.angle());
  }
  }
}

AnimatedShapeDecoder::AnimatedShapeDecoder() = default;

AnimatedShapeDecoder::~AnimatedShapeDecoder() = default;

AnimatedShapeDecoder* AnimatedShapeDecoder::CreateDecoder(int codec_version) {
  if (codec_version != AnimatedShapeEncoder1::kCodecVersion) {
    return nullptr;
  }
  auto decoder = std::make_unique<AnimatedShapeDecoder1>();
  PELORIN_CHECK(decoder);
  return decoder.release();
}

int AnimatedShapeDecoder::GetCodecVersionFromBuffer(const std::string& buffer) {
  return VersionInHeader(buffer, AnimatedShapeEncoder::kMagicSignature);
}

bool AnimatedShapeDecoder::DecodeFromBuffer(const std::string& buffer, Shape* shape,
                                            AnimationSet* animation_set) {
  return DecodeFromBuffer(buffer, shape, animation_set, AllocationBudget::kUnlimited);
}

bool AnimatedShapeDecoder::DecodeFromBuffer(const std::string& buffer, Shape* shape,
                                            AnimationSet* animation_set, std::size_t budget_bytes) {
  const int codec_version = GetCodecVersionFromBuffer(buffer);
  if (codec_version < 0) {
    return false;
  }
  const std::unique_ptr<AnimatedShapeDecoder> decoder(CreateDecoder(codec_version));
  if (decoder == nullptr) {
    return false;
  }
  decoder->set_allocation_budget(budget_bytes);
  decoder->set_buffer(buffer);
  return decoder->DecodeShape(shape, animation_set);
}

void AnimatedShapeDecoder::set_buffer(const std::string& buffer) {
  buffer_ = &buffer;
  constexpr std::size_t kMost = std::numeric_limits<int>::max();
  decoder_.Init(buffer.data(), static_cast<int>(std::min(buffer.size(), kMost)));
}

void AnimatedShapeDecoder::set_codec_version(int codec_version) {
  PELORIN_CHECK_GT(codec_version, 0);
  PELORIN_CHECK_LE(codec_version, AnimatedShapeEncoder::kMaxCodecVersion);
  codec_version_ = codec_version;
}

bool AnimatedShapeDecoder::ReadHeader() {
  if (decoder_.ReadUInt(16) == AnimatedShapeEncoder::kMagicSignature) {
    set_codec_version(static_cast<int>(decoder_.ReadUInt(16)));
  } else {
    set_codec_version(-1);
  }
  return codec_version_ > 0 && codec_version_ <= AnimatedShapeEncoder::kMaxCodecVersion;
}

Vector3<double> AnimatedShapeDecoder::ReadDoubleVec3() {
  // One statement each: arguments of a call are evaluated in any order.
  const double x = decoder_.ReadDouble();
  const double y = decoder_.ReadDouble();
  const double z = decoder_.ReadDouble();
  return Vector3<double>(x, y, z);
}

bool AnimatedShapeDecoder1::DecodeShape(Shape* shape, AnimationSet* animation_set) {
  if (animation_set == nullptr || !ReadHeader() || !DecodeAnimationSet(animation_set)) {
    return false;
  }
  const auto starts_at = [this](std::size_t i) {
    return i < buffer_->size() && (*buffer_)[i] == kShapeMagicStart;
  };
  auto start = static_cast<std::size_t>(decoder_.BytesDecoded());
  if (!starts_at(start) && !starts_at(++start)) {
    return false;
  }
  const std::unique_ptr<ShapeDecoder> shape_decoder(
      ShapeDecoder::CreateDecoder(kShapeCodecVersion));
  shape_decoder->set_allocation_budget(decoder_.budget().bytes());
  shape_decoder->set_buffer(buffer_->data() + start, buffer_->size() - start);
  return shape_decoder->DecodeShape(shape);
}

bool AnimatedShapeDecoder1::DecodeAnimationSet(AnimationSet* animation_set) {
  const int transform_count = ReadCount(&decoder_);
  for (int i = 0; i < transform_count; ++i) {
    ChargeElement<AnimationTransform>(&decoder_);
    auto transform = std::make_unique<AnimationTransform>();
    DecodeAnimationTransform(transform.get());
    animation_set->mutable_transforms()->push_back(transform.release());
  }
  const int animation_count = ReadCount(&decoder_);
  for (int i = 0; i < animation_count; ++i) {
    ChargeElement<Animation>(&decoder_);
    auto animation = std::make_unique<Animation>();
    if (!DecodeAnimation(animation.get())) {
      return false;
    }
    animation_set->mutable_animations()->push_back(animation.release());
  }
  return true;
}

void AnimatedShapeDecoder1::DecodeAnimationTransform(AnimationTransform* transform) {
  transform->set_id(decoder_.ReadVarInt(kGroupBits));
  const int count = ReadCount(&decoder_);
  for (int i = 0; i < count; ++i) {
    decoder_.mutable_budget()->Charge(1, sizeof(unsigned long));
    // 32 bits are in the stream; their top bit is taken for a sign.
    const int index = static_cast<int>(decoder_.ReadVarUInt(kGroupBits));
    transform->mutable_index_list()->push_back(static_cast<unsigned long>(index));
  }
}

bool AnimatedShapeDecoder1::DecodeAnimation(Animation* animation) {
  *animation->mutable_name() = decoder_.ReadVarString(kNameGroupBits);
  const int count = ReadCount(&decoder_);
  for (int i = 0; i < count; ++i) {
    ChargeElement<AnimationChannel>(&decoder_);
    auto channel = DecodeAnimationChannel();
    if (channel == nullptr) {
      return false;
    }
    animation->mutable_channels()->push_back(channel.release());
  }
  return true;
}

std::unique_ptr<AnimationChannel> AnimatedShapeDecoder1::DecodeAnimationChannel() {
  const int target = decoder_.ReadVarInt(kGroupBits);
  auto value = DecodeTransformValue(decoder_.ReadVarInt(kGroupBits));
  if (value == nullptr) {
    return nullptr;
  }
  std::unique_ptr<AnimationChannel> channel(new AnimationChannel(target, value.release()));
  // Deliberately not looked at: a channel of an unknown modifier stays without keyframes, and what
  // follows is read from wherever the stream is then.
  DecodeKeyframes(channel->mutable_keyframes());
  return channel;
}

std::unique_ptr<ITransformValue> AnimatedShapeDecoder1::DecodeTransformValue(int type) {
  if (type == TranslationTransformValue::kType) {
    decoder_.mutable_budget()->Charge(1, sizeof(TranslationTransformValue));
    return std::make_unique<TranslationTransformValue>(ReadDoubleVec3());
  }
  if (type == RotationTransformValue::kType) {
    decoder_.mutable_budget()->Charge(1, sizeof(RotationTransformValue));
    const Vector3<double> center = ReadDoubleVec3();
    const Vector3<double> axis = ReadDoubleVec3();
    const double angle = decoder_.ReadDouble();
    return std::make_unique<RotationTransformValue>(center, axis, angle);
  }
  return nullptr;
}

bool AnimatedShapeDecoder1::DecodeKeyframes(PointerVector<Keyframe>* keyframes) {
  const int count = ReadCount(&decoder_);
  if (count == 0) {
    return true;
  }
  const int type = decoder_.ReadVarInt(kGroupBits);
  if (!IsKnownModifier(type)) {
    return false;
  }
  for (int i = 0; i < count; ++i) {
    ChargeElement<Keyframe>(&decoder_);
    const double time = decoder_.ReadDouble();
    auto modifier = DecodeModifier(type);
    keyframes->push_back(new Keyframe(time, modifier.release()));
  }
  return true;
}

std::unique_ptr<ITransformModifier> AnimatedShapeDecoder1::DecodeModifier(int type) {
  if (type == TranslationTransformModifier::kType) {
    decoder_.mutable_budget()->Charge(1, sizeof(TranslationTransformModifier));
    return std::make_unique<TranslationTransformModifier>(ReadDoubleVec3());
  }
  if (type == RotationAngleModifier::kType) {
    decoder_.mutable_budget()->Charge(1, sizeof(RotationAngleModifier));
    return std::make_unique<RotationAngleModifier>(decoder_.ReadDouble());
  }
  decoder_.mutable_budget()->Charge(1, sizeof(RotationAxisAngleModifier));
  const Vector3<double> axis = ReadDoubleVec3();
  const double angle = decoder_.ReadDouble();
  return std::make_unique<RotationAxisAngleModifier>(axis, angle);
}

}  // namespace vortan
