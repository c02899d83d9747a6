// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/animated_shape_coder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/util/geometry3d/mesh/animation_samples.h"
#include "tests/vortan/diorama/stream_fields.h"

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
using test_support::AnimationText;
using test_support::FillUp;
using test_support::LogRecorder;
using test_support::StreamFields;
using Lines = std::vector<std::string>;

template <std::size_t N>
std::string Bytes(const unsigned char (&bytes)[N]) {
  return std::string(bytes, bytes + N);
}

// A lift by one called "up" and an empty shape, field by field: its bit offset and its bits as they
// stand in the stream, lowest first.
constexpr unsigned char kUp[] = {
    0x41, 0x45,              // 0: magic 17729
    0x01, 0x00,              // 16: version 1
    0x42, 0x08, 0x20, 0xA2,  // 32: transform count 1 = 0 1000; 37: id -1 as 1 = 0 1000;
    0x0E, 0x4E,              // 42: list of 1 = 0 1000, entry 0 = 0 0000; 52: animation count 1;
                             // 57: name of 2 = 10 00; 61: 'u' = 10101110, 'p' = 00001110;
                             // 77: channel count 1 = 0 1000; 82: target 0, 87: value type 0
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 92: three
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,        // zeros
    0x20, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 284: keyframe count 1 = 0 1000;
                                                     // 289: modifier type 1 as 2 = 0 0100
    0xFC, 0x0F,                                      // 294: time 1.0
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xFC, 0x0F,  // 358: translation 1.0
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 0.0
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 0.0, two bits of padding
    0x53, 0x45, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00,  // 552: a shape stream
};

std::string Encode(const AnimationSet& set, int shape_version = 3) {
  std::string buffer;
  EXPECT_TRUE(AnimatedShapeEncoder::EncodeToBuffer(Shape(), set, shape_version, &buffer));
  return buffer;
}

bool Decode(const std::string& buffer, AnimationSet* set) {
  Shape shape;
  return AnimatedShapeDecoder::DecodeFromBuffer(buffer, &shape, set);
}

TEST(AnimatedShapeEncoder, WritesTheSeventySevenBytesOfALift) {
  AnimationSet set;
  FillUp(&set);
  EXPECT_EQ(sizeof(kUp), 77u);
  EXPECT_EQ(Encode(set), Bytes(kUp));
}

TEST(AnimatedShapeEncoder, WritesFourteenBytesForNothing) {
  EXPECT_EQ(Encode(AnimationSet()), Bytes({0x41, 0x45, 0x01, 0x00, 0x00, 0x00, 0x53, 0x45, 0x03,
                                           0x00, 0x00, 0x00, 0x00, 0x00}));
}

TEST(AnimatedShapeEncoder, WritesTheIdBeforeTheList) {
  AnimationSet set;
  set.mutable_transforms()->push_back(new AnimationTransform({5}, 3));
  BinaryDecoder reader;
  const std::string stream = Encode(set);
  reader.Init(stream.data(), static_cast<int>(stream.size()));
  reader.ReadBits(32);
  EXPECT_EQ(reader.ReadVarUInt(4), 1u);
  EXPECT_EQ(reader.ReadVarInt(4), 3);
  EXPECT_EQ(reader.ReadVarUInt(4), 1u);
  EXPECT_EQ(reader.ReadVarUInt(4), 5u);
}

// Two channels with all kinds of rotations, and each number another one.
void FillRotations(AnimationSet* set) {
  auto* const turn = new AnimationChannel(2, new RotationTransformValue({1, 2, 3}, {4, 5, 6}, 7));
  turn->mutable_keyframes()->push_back(
      new Keyframe(8, new RotationAxisAngleModifier({9, 10, 11}, 12)));
  auto* const swing = new AnimationChannel(-3, new TranslationTransformValue({13, 14, 15}));
  swing->mutable_keyframes()->push_back(new Keyframe(16, new RotationAngleModifier(17)));
  swing->mutable_keyframes()->push_back(new Keyframe(18, new RotationAngleModifier(19)));
  auto* const animation = new Animation("");
  animation->mutable_channels()->push_back(turn);
  animation->mutable_channels()->push_back(swing);
  set->mutable_animations()->push_back(animation);
}

std::string RotationFields() {
  StreamFields fields;
  const auto doubles = [&fields](int first, int last) {
    for (int number = first; number <= last; ++number) {
      fields.Double(number);
    }
  };
  fields.Bits(17729, 16).Bits(1, 16).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 1).VarUInt(2, 4);
  fields.VarInt(2, 4).VarInt(1, 4);
  doubles(1, 7);
  fields.VarUInt(1, 4).VarInt(3, 4);
  doubles(8, 12);
  fields.VarInt(-3, 4).VarInt(0, 4);
  doubles(13, 15);
  fields.VarUInt(2, 4).VarInt(2, 4);
  doubles(16, 19);
  return fields.Stream() + std::string("SE\3\0\0\0\0\0", 8);
}

TEST(AnimatedShapeEncoder, WritesTheNumbersOfRotationsInOrder) {
  AnimationSet set;
  FillRotations(&set);
  EXPECT_EQ(Encode(set), RotationFields());
}

TEST(AnimatedShapeDecoder, ReadsTheNumbersOfRotationsInOrder) {
  AnimationSet expected;
  FillRotations(&expected);
  AnimationSet set;
  ASSERT_TRUE(Decode(RotationFields(), &set));
  EXPECT_EQ(AnimationText::Of(set), AnimationText::Of(expected));
}

TEST(AnimatedShapeEncoder, CutsListEntriesTo32BitsThatReadBackWithASign) {
  AnimationSet set;
  set.mutable_transforms()->push_back(
      new AnimationTransform({0x1200000003, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFFFFFFFFFF}, 0));
  AnimationSet decoded;
  ASSERT_TRUE(Decode(Encode(set), &decoded));
  EXPECT_EQ(decoded.transforms()[0]->index_list(),
            (std::vector<unsigned long>{3, 0x7FFFFFFF, 0xFFFFFFFF80000000, 0xFFFFFFFFFFFFFFFF}));
}

TEST(AnimatedShapeEncoder, WritesNoModifierTypeForAChannelWithoutKeyframes) {
  AnimationSet set;
  set.mutable_animations()->push_back(new Animation);
  set.animations()[0]->mutable_channels()->push_back(
      new AnimationChannel(0, new TranslationTransformValue({0.0, 0.0, 0.0})));
  // 32 of header, counts 0 and 1 in 5 each, an empty name in 2, count 1, target and value type in 5
  // each, 192 of translation, keyframe count 0 in 5: 256 bits and the shape.
  EXPECT_EQ(Encode(set).size(), 32u + 8u);
  AnimationSet decoded;
  ASSERT_TRUE(Decode(Encode(set), &decoded));
  EXPECT_TRUE(decoded.animations()[0]->channels()[0]->keyframes().empty());
}

TEST(AnimatedShapeEncoder, FailsForAShapeVersionThatIsNotButWritesTheAnimation) {
  AnimationSet set;
  FillUp(&set);
  std::string buffer;
  EXPECT_FALSE(AnimatedShapeEncoder::EncodeToBuffer(Shape(), set, 5, &buffer));
  EXPECT_EQ(buffer, Bytes(kUp).substr(0, 69));
}

TEST(AnimatedShapeEncoder, MakesFatalEntriesForAnotherVersionAndLeavesTheShapeEncoderAlone) {
  const std::unique_ptr<ShapeEncoder> shape_encoder(ShapeEncoder::CreateEncoder(3));
  const LogRecorder log;
  EXPECT_EQ(AnimatedShapeEncoder::CreateEncoder(2, shape_encoder.get()), nullptr);
  EXPECT_EQ(log.lines(),
            (Lines{"3 Invalid AnimatedShapeEncoder codec version: 2", "3 Check failed: encoder"}));
}

TEST(AnimatedShapeEncoder, IsOfVersionOne) {
  const std::unique_ptr<AnimatedShapeEncoder> encoder(
      AnimatedShapeEncoder::CreateEncoder(1, nullptr));
  ASSERT_NE(encoder, nullptr);
  EXPECT_EQ(encoder->codec_version(), 1);
  EXPECT_NE(dynamic_cast<AnimatedShapeEncoder1*>(encoder.get()), nullptr);
}

TEST(AnimatedShapeEncoder, StoresAVersionThatItChecks) {
  AnimatedShapeEncoder1 encoder(nullptr);
  const LogRecorder log;
  encoder.set_codec_version(0);
  EXPECT_EQ(encoder.codec_version(), 0);
  encoder.set_codec_version(2);
  EXPECT_EQ(encoder.codec_version(), 2);
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: codec_version>0 0>0",
                                "3 Check failed: codec_version<=kMaxCodecVersion 2<=1"}));
}

TEST(AnimatedShapeEncoder, MakesAFatalEntryForNoBuffer) {
  const AnimatedShapeEncoder1 encoder(nullptr);
  const LogRecorder log;
  encoder.get_buffer(nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: buffer"});
}

TEST(AnimatedShapeEncoder, GivesAnEmptyBufferBeforeItBegins) {
  const AnimatedShapeEncoder1 encoder(nullptr);
  std::string buffer = "old";
  encoder.get_buffer(&buffer);
  EXPECT_EQ(buffer, "");
}

// A value or modifier that the stream has no number for.
class StrangeValue : public ITransformValue {
 public:
  int GetType() const override { return 2; }
};
class StrangeModifier : public ITransformModifier {
 public:
  int GetType() const override { return 4; }
};

class RefusingEncoder : public testing::Test {
 protected:
  RefusingEncoder() { set_.mutable_animations()->push_back(new Animation("up")); }
  AnimationChannel* AddChannel(ITransformValue* value) {
    auto* const channel = new AnimationChannel(0, value);
    set_.animations()[0]->mutable_channels()->push_back(channel);
    return channel;
  }
  AnimationChannel* AddChannel() {
    return AddChannel(new TranslationTransformValue({0.0, 0.0, 0.0}));
  }
  bool Encode() { return AnimatedShapeEncoder::EncodeToBuffer(Shape(), set_, 3, &buffer_); }

  AnimationSet set_;
  std::string buffer_;
};

TEST_F(RefusingEncoder, RefusesAnUnknownValueTypeBehindItsNumber) {
  AddChannel(new StrangeValue);
  EXPECT_FALSE(Encode());
  // 32 of header, counts 0 and 1, name 4 + 16, count 1, target, type 2: 77 bits and no shape.
  EXPECT_EQ(buffer_.size(), 10u);
}

TEST_F(RefusingEncoder, RefusesAnUnknownModifierTypeBehindItsNumber) {
  AddChannel()->mutable_keyframes()->push_back(new Keyframe(0.0, new StrangeModifier));
  EXPECT_FALSE(Encode());
  // The same, then 192 bits of value, count 1 and type 4: 279 bits.
  EXPECT_EQ(buffer_.size(), 35u);
}

TEST_F(RefusingEncoder, RefusesModifiersOfTwoTypesInOneChannel) {
  AnimationChannel* const channel = AddChannel();
  channel->mutable_keyframes()->push_back(new Keyframe(0.0, new RotationAngleModifier(1.0)));
  channel->mutable_keyframes()->push_back(
      new Keyframe(0.0, new TranslationTransformModifier({1.0, 0.0, 0.0})));
  EXPECT_FALSE(Encode());
}

TEST_F(RefusingEncoder, RefusesWhatIsMissing) {
  AddChannel(nullptr);
  EXPECT_FALSE(Encode());
  AnimationSet no_transform;
  no_transform.mutable_transforms()->push_back(nullptr);
  EXPECT_FALSE(AnimatedShapeEncoder::EncodeToBuffer(Shape(), no_transform, 3, &buffer_));
  AnimationSet no_animation;
  no_animation.mutable_animations()->push_back(nullptr);
  EXPECT_FALSE(AnimatedShapeEncoder::EncodeToBuffer(Shape(), no_animation, 3, &buffer_));
}

TEST_F(RefusingEncoder, RefusesAMissingKeyframe) {
  AddChannel()->mutable_keyframes()->push_back(nullptr);
  EXPECT_FALSE(Encode());
}

TEST_F(RefusingEncoder, RefusesAKeyframeWithoutAModifier) {
  AddChannel()->mutable_keyframes()->push_back(new Keyframe(0.0, nullptr));
  EXPECT_FALSE(Encode());
}

TEST(AnimatedShapeDecoder, ReadsTheLift) {
  AnimationSet expected;
  FillUp(&expected);
  AnimationSet set;
  Shape shape;
  ASSERT_TRUE(AnimatedShapeDecoder::DecodeFromBuffer(Bytes(kUp), &shape, &set));
  EXPECT_EQ(AnimationText::Of(set), AnimationText::Of(expected));
  EXPECT_TRUE(shape.IsEqual(Shape()));
}

TEST(AnimatedShapeDecoder, TellsTheVersionOfABuffer) {
  std::string buffer = Bytes(kUp);
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(buffer), 1);
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(buffer.substr(0, 5)), 1);
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(buffer.substr(0, 4)), -1);
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(""), -1);
  buffer[2] = '\xFE';
  buffer[3] = '\xFF';
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(buffer), 0xFFFE);
  buffer[0] = 'S';
  EXPECT_EQ(AnimatedShapeDecoder::GetCodecVersionFromBuffer(buffer), -1);
}

TEST(AnimatedShapeDecoder, IsMadeForVersionOneOnly) {
  const std::unique_ptr<AnimatedShapeDecoder> decoder(AnimatedShapeDecoder::CreateDecoder(1));
  ASSERT_NE(decoder, nullptr);
  EXPECT_EQ(decoder->codec_version(), -1);
  EXPECT_EQ(AnimatedShapeDecoder::CreateDecoder(2), nullptr);
  EXPECT_EQ(AnimatedShapeDecoder::CreateDecoder(0), nullptr);
}

TEST(AnimatedShapeDecoder, RefusesAnotherMagicAndVersionWithoutAnEntry) {
  const LogRecorder log;
  AnimationSet set;
  EXPECT_FALSE(Decode("SE" + Bytes(kUp).substr(2), &set));
  EXPECT_FALSE(Decode(Bytes(kUp).substr(0, 2) + '\2' + Bytes(kUp).substr(3), &set));
  EXPECT_FALSE(Decode(Bytes(kUp).substr(0, 4), &set));
  EXPECT_TRUE(set.transforms().empty());
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(AnimatedShapeDecoder, MakesTheEntryOfTheVersionForAMagicThatItReadsItself) {
  const std::string buffer = "SE" + Bytes(kUp).substr(2);
  AnimatedShapeDecoder1 decoder;
  decoder.set_buffer(buffer);
  const LogRecorder log;
  EXPECT_FALSE(decoder.ReadHeader());
  EXPECT_EQ(decoder.codec_version(), -1);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: codec_version>0 -1>0"});
}

TEST(AnimatedShapeDecoder, RefusesAVersionThatItReadsItself) {
  const std::string buffer = Bytes(kUp).substr(0, 2) + '\7' + Bytes(kUp).substr(3);
  AnimatedShapeDecoder1 decoder;
  decoder.set_buffer(buffer);
  const LogRecorder log;
  Shape shape;
  AnimationSet set;
  EXPECT_FALSE(decoder.DecodeShape(&shape, &set));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: codec_version<=AnimatedShapeEncoder::"
                               "kMaxCodecVersion 7<=1"});
}

TEST(AnimatedShapeDecoder, RefusesToDecodeWithoutABufferOrASet) {
  AnimatedShapeDecoder1 decoder;
  Shape shape;
  AnimationSet set;
  EXPECT_FALSE(decoder.DecodeShape(&shape, &set));
  const std::string buffer = Bytes(kUp);
  decoder.set_buffer(buffer);
  EXPECT_FALSE(decoder.DecodeShape(&shape, nullptr));
}

TEST(AnimatedShapeDecoder, MakesTheEntryOfTheShapeDecoderForNoShapeWithTheSetFilled) {
  AnimationSet expected;
  FillUp(&expected);
  AnimationSet set;
  const LogRecorder log;
  EXPECT_FALSE(AnimatedShapeDecoder::DecodeFromBuffer(Bytes(kUp), nullptr, &set));
  EXPECT_EQ(AnimationText::Of(set), AnimationText::Of(expected));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: shape"});
}

TEST(AnimatedShapeDecoder, RefusesShapesOfVersionsOneAndTwoWithTheSetFilled) {
  for (const int version : {1, 2}) {
    AnimationSet set;
    FillUp(&set);
    const std::string stream = Encode(set, version);
    AnimationSet decoded;
    EXPECT_FALSE(Decode(stream, &decoded)) << version;
    EXPECT_EQ(AnimationText::Of(decoded), AnimationText::Of(set)) << version;
  }
}

TEST(AnimatedShapeDecoder, FindsAShapeStreamThatBeginsOneByteLater) {
  std::string buffer = Bytes(kUp);
  buffer.insert(69, 1, '\0');
  AnimationSet set;
  EXPECT_TRUE(Decode(buffer, &set));
  buffer.insert(69, 1, '\0');
  EXPECT_FALSE(Decode(buffer, &set));
}

TEST(AnimatedShapeDecoder, ReadsAShapeHeaderAloneAsAnEmptyShape) {
  AnimationSet set;
  EXPECT_TRUE(Decode(Bytes(kUp).substr(0, 73), &set));
}

TEST(AnimatedShapeDecoder, TakesABudgetForAnimationAndShapeTogether) {
  Shape shape;
  for (int i = 0; i < 100; ++i) {
    shape.mutable_points()->push_back({1.0 * i, 0.0, 0.0});
  }
  auto* const lines = shape.AddNewIndexSet();
  lines->set_format(geometry3d::IndexSet::kLines);
  for (int i = 0; i < 100; ++i) {
    lines->mutable_point_indices()->push_back(i);
  }
  AnimationSet set;
  FillUp(&set);
  std::string buffer;
  ASSERT_TRUE(AnimatedShapeEncoder::EncodeToBuffer(shape, set, 3, &buffer));
  Shape decoded;
  AnimationSet decoded_set;
  EXPECT_TRUE(AnimatedShapeDecoder::DecodeFromBuffer(buffer, &decoded, &decoded_set, 1 << 16));
  EXPECT_EQ(decoded.points().size(), 100u);
  // Enough for the animation (under 700 bytes), but not for the shape.
  EXPECT_THROW(AnimatedShapeDecoder::DecodeFromBuffer(buffer, &decoded, &decoded_set, 1000),
               std::bad_alloc);
  // Not enough for the animation.
  EXPECT_THROW(AnimatedShapeDecoder::DecodeFromBuffer(buffer, &decoded, &decoded_set, 100),
               std::bad_alloc);
}

}  // namespace
}  // namespace vortan
