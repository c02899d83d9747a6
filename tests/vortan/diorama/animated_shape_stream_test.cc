// SPDX-License-Identifier: Apache-2.0
// Animated shape streams beyond the plain case: at random, cut, damaged, and lawful ones that the
// encoder would write otherwise.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>

#include "tests/util/geometry3d/mesh/animation_samples.h"
#include "vortan/diorama/animated_shape_coder.h"

namespace vortan {
namespace {

using geometry3d::AnimationSet;
using geometry3d::Shape;
using test_support::AnimationText;
using test_support::FillUp;
using test_support::RandomAnimation;

constexpr unsigned kStartingNumber = 20261121;
constexpr std::size_t kBudget = std::size_t{1} << 16;

std::string Encode(const AnimationSet& set) {
  std::string buffer;
  EXPECT_TRUE(AnimatedShapeEncoder::EncodeToBuffer(Shape(), set, 3, &buffer));
  return buffer;
}

// From a string of its own, whose block ends with the terminator behind the bytes, so that a
// sanitizer sees whatever is read beyond it.
bool Decode(const std::string& stream, AnimationSet* set) {
  const std::string exact(stream.begin(), stream.end());
  Shape shape;
  return AnimatedShapeDecoder::DecodeFromBuffer(exact, &shape, set, kBudget);
}

bool DecodeDamaged(const std::string& stream, AnimationSet* set) {
  try {
    return Decode(stream, set);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

TEST(AnimatedShapeStream, BringsRandomAnimationsBackBitForBit) {
  RecordProperty("starting_number", static_cast<int>(kStartingNumber));
  RandomAnimation random(kStartingNumber);
  for (int round = 0; round < 500; ++round) {
    AnimationSet set;
    random.Fill(&set);
    AnimationSet decoded;
    ASSERT_TRUE(Decode(Encode(set), &decoded)) << round;
    ASSERT_EQ(AnimationText::Of(decoded), AnimationText::Of(set)) << round;
  }
}

TEST(AnimatedShapeStream, FailsForEveryPrefixThatEndsBeforeTheHeaderOfTheShape) {
  RandomAnimation random(kStartingNumber);
  for (int round = 0; round < 20; ++round) {
    AnimationSet set;
    FillUp(&set);
    random.Fill(&set);
    const std::string stream = Encode(set);
    const std::size_t shape_start = stream.size() - 8;
    for (std::size_t size = 0; size < shape_start + 4; ++size) {
      AnimationSet decoded;
      EXPECT_FALSE(DecodeDamaged(stream.substr(0, size), &decoded)) << size;
    }
    // With its header the shape is there; what is missing of it reads as nothing.
    for (std::size_t size = shape_start + 4; size <= stream.size(); ++size) {
      AnimationSet decoded;
      EXPECT_TRUE(Decode(stream.substr(0, size), &decoded)) << size;
    }
  }
}

TEST(AnimatedShapeStream, IsReadSafelyWithAnyBitsFlipped) {
  RandomAnimation animations(kStartingNumber);
  std::mt19937 random(kStartingNumber);
  int failures = 0;
  for (int round = 0; round < 3000; ++round) {
    AnimationSet set;
    animations.Fill(&set);
    std::string stream = Encode(set);
    for (int flips = 1 + static_cast<int>(random() % 8); flips > 0; --flips) {
      char& byte = stream[random() % stream.size()];
      byte = static_cast<char>(byte ^ (1 << (random() % 8)));
    }
    AnimationSet decoded;
    failures += DecodeDamaged(stream, &decoded) ? 0 : 1;
  }
  EXPECT_GT(failures, 0);
  EXPECT_LT(failures, 3000);
}

TEST(AnimatedShapeStream, IsReadSafelyFromBytesThatAreNone) {
  std::mt19937 random(kStartingNumber);
  std::size_t transforms = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string stream("\x41\x45\x01\x00", 4);
    for (std::size_t size = random() % 200; size > 0; --size) {
      stream.push_back(static_cast<char>(random()));
    }
    AnimationSet decoded;
    DecodeDamaged(stream, &decoded);
    transforms += decoded.transforms().size();
  }
  EXPECT_GT(transforms, 0u);
}

// Streams that are put together field by field.
class HandMadeAnimation : public testing::Test {
 protected:
  HandMadeAnimation() {
    out_.WriteBits(17729, 16);
    out_.WriteBits(1, 16);
  }
  // Begins a single animation without a name and its only channel, of `value_type`.
  void BeginChannel(int value_type) {
    out_.WriteVarUInt(0, 4);
    out_.WriteVarUInt(1, 4);
    out_.WriteVarUInt(0, 1);
    out_.WriteVarUInt(1, 4);
    out_.WriteVarInt(0, 4);
    out_.WriteVarInt(value_type, 4);
  }
  void WriteZeros(int doubles) {
    for (int i = 0; i < doubles; ++i) {
      out_.WriteDouble(0.0);
    }
  }
  bool DecodeWithShape(std::size_t budget = AllocationBudget::kUnlimited) {
    out_.Flush();
    const std::string stream =
        std::string(out_.buffer(), static_cast<std::size_t>(out_.buffer_size())) +
        std::string("SE\3\0\0\0\0\0", 8);
    Shape shape;
    return AnimatedShapeDecoder::DecodeFromBuffer(stream, &shape, &set_, budget);
  }

  BinaryEncoder out_;
  AnimationSet set_;
};

TEST_F(HandMadeAnimation, FailsForAnUnknownValueType) {
  BeginChannel(2);
  EXPECT_FALSE(DecodeWithShape());
  EXPECT_TRUE(set_.animations().empty());
}

TEST_F(HandMadeAnimation, FailsForANegativeValueType) {
  BeginChannel(-1);
  EXPECT_FALSE(DecodeWithShape());
}

TEST_F(HandMadeAnimation, GoesOnBehindAnUnknownModifierType) {
  BeginChannel(0);
  WriteZeros(3);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarInt(4, 4);
  // The decoder is at the padding now, as if the channel were over.
  EXPECT_TRUE(DecodeWithShape());
  ASSERT_EQ(set_.animations().size(), 1u);
  ASSERT_EQ(set_.animations()[0]->channels().size(), 1u);
  EXPECT_TRUE(set_.animations()[0]->channels()[0]->keyframes().empty());
}

TEST_F(HandMadeAnimation, HasNoElementsForCountsOfTwoToTheThirtyOne) {
  const int negative = static_cast<int>(0x80000000u);
  out_.WriteVarUInt(negative, 4);
  out_.WriteVarUInt(negative, 4);
  EXPECT_TRUE(DecodeWithShape());
  EXPECT_TRUE(set_.transforms().empty());
  EXPECT_TRUE(set_.animations().empty());
}

TEST_F(HandMadeAnimation, HasNoChannelsForACountOfTwoToTheThirtyOne) {
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 1);
  out_.WriteVarUInt(static_cast<int>(0x80000000u), 4);
  EXPECT_TRUE(DecodeWithShape());
  EXPECT_TRUE(set_.animations()[0]->channels().empty());
}

TEST_F(HandMadeAnimation, HasNoKeyframesForACountOfTwoToTheThirtyOneBehindItsType) {
  BeginChannel(0);
  WriteZeros(3);
  out_.WriteVarUInt(static_cast<int>(0x80000000u), 4);
  out_.WriteVarInt(2, 4);
  EXPECT_TRUE(DecodeWithShape());
  EXPECT_TRUE(set_.animations()[0]->channels()[0]->keyframes().empty());
}

TEST_F(HandMadeAnimation, ThrowsALengthErrorForANameOfTwoToTheThirtyOne) {
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(static_cast<int>(0x80000000u), 1);
  EXPECT_THROW(DecodeWithShape(), std::length_error);
}

TEST_F(HandMadeAnimation, ThrowsForCountsBeyondTheBudget) {
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(DecodeWithShape(1 << 16), std::bad_alloc);
}

TEST_F(HandMadeAnimation, ThrowsForAListBeyondTheBudget) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarInt(0, 4);
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(DecodeWithShape(1 << 16), std::bad_alloc);
}

TEST_F(HandMadeAnimation, ThrowsForANameBeyondTheBudget) {
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(1 << 20, 1);
  EXPECT_THROW(DecodeWithShape(1 << 16), std::bad_alloc);
}

TEST_F(HandMadeAnimation, ThrowsForKeyframesBeyondTheBudget) {
  BeginChannel(1);
  WriteZeros(7);
  out_.WriteVarUInt(1 << 20, 4);
  out_.WriteVarInt(3, 4);
  EXPECT_THROW(DecodeWithShape(1 << 16), std::bad_alloc);
}

}  // namespace
}  // namespace vortan
