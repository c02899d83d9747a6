// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape_animation.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_recorder.h"

namespace geometry3d {
namespace {

using Double3 = Vector3<double>;

TEST(TransformValue, TellsItsClassByNumber) {
  const TranslationTransformValue translation(Double3(1.0, 2.0, 3.0));
  const RotationTransformValue rotation(Double3(1.0, 2.0, 3.0), Double3(4.0, 5.0, 6.0), 7.0);
  const ITransformValue& first = translation;
  const ITransformValue& second = rotation;
  EXPECT_EQ(first.GetType(), 0);
  EXPECT_EQ(second.GetType(), 1);
}

TEST(TransformValue, KeepsItsFieldsInTheirOrder) {
  const RotationTransformValue rotation(Double3(1.0, 2.0, 3.0), Double3(4.0, 5.0, 6.0), 7.0);
  EXPECT_EQ(rotation.center().y, 2.0);
  EXPECT_EQ(rotation.axis().y, 5.0);
  EXPECT_EQ(rotation.angle(), 7.0);
  EXPECT_EQ(TranslationTransformValue(Double3(1.0, 2.0, 3.0)).translation().z, 3.0);
}

TEST(TransformModifier, TellsItsClassByANumberFromOneOn) {
  const TranslationTransformModifier translation(Double3(1.0, 2.0, 3.0));
  const RotationAngleModifier angle(4.0);
  const RotationAxisAngleModifier axis_angle(Double3(1.0, 2.0, 3.0), 5.0);
  const ITransformModifier& first = translation;
  const ITransformModifier& second = angle;
  const ITransformModifier& third = axis_angle;
  EXPECT_EQ(first.GetType(), 1);
  EXPECT_EQ(second.GetType(), 2);
  EXPECT_EQ(third.GetType(), 3);
}

TEST(TransformModifier, KeepsItsFields) {
  const RotationAxisAngleModifier axis_angle(Double3(1.0, 2.0, 3.0), 5.0);
  EXPECT_EQ(TranslationTransformModifier(Double3(1.0, 2.0, 3.0)).translation().x, 1.0);
  EXPECT_EQ(RotationAngleModifier(4.0).angle(), 4.0);
  EXPECT_EQ(axis_angle.axis().z, 3.0);
  EXPECT_EQ(axis_angle.angle(), 5.0);
}

TEST(Keyframe, OwnsItsModifier) {
  bool deleted = false;
  class Watched : public ITransformModifier {
   public:
    explicit Watched(bool* deleted) : deleted_(deleted) {}
    ~Watched() override { *deleted_ = true; }
    int GetType() const override { return 7; }

   private:
    bool* deleted_;
  };
  {
    const Keyframe keyframe(0.5, new Watched(&deleted));
    EXPECT_EQ(keyframe.time(), 0.5);
    EXPECT_EQ(keyframe.value()->GetType(), 7);
    EXPECT_FALSE(deleted);
  }
  EXPECT_TRUE(deleted);
}

TEST(Keyframe, MakesAFatalEntryForNoModifier) {
  const test_support::LogRecorder log;
  const Keyframe keyframe(0.0, nullptr);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Check failed: value != NULL"});
  EXPECT_EQ(keyframe.value(), nullptr);
}

TEST(AnimationChannel, MayHaveNoKeyframes) {
  const AnimationChannel channel(-3, new TranslationTransformValue(Double3(1.0, 2.0, 3.0)));
  EXPECT_EQ(channel.target(), -3);
  EXPECT_EQ(channel.value()->GetType(), 0);
  EXPECT_TRUE(channel.keyframes().empty());
}

TEST(AnimationChannel, TakesKeyframesLater) {
  AnimationChannel channel(0, new TranslationTransformValue(Double3(0.0, 0.0, 0.0)));
  channel.mutable_keyframes()->push_back(new Keyframe(2.0, new RotationAngleModifier(1.0)));
  EXPECT_EQ(channel.keyframes()[0]->time(), 2.0);
  EXPECT_THROW(channel.keyframes()[1], std::out_of_range);
}

TEST(Animation, MayBeNamelessAndWithoutChannels) {
  const Animation animation;
  EXPECT_EQ(animation.name(), "");
  EXPECT_TRUE(animation.channels().empty());
}

TEST(Animation, TakesItsFieldsInTheirOrder) {
  util::gtl::PointerVector<AnimationChannel> channels;
  channels.push_back(new AnimationChannel(4, nullptr));
  const Animation animation("door", std::move(channels));
  EXPECT_EQ(animation.name(), "door");
  EXPECT_EQ(animation.channels()[0]->target(), 4);
}

TEST(AnimationTransform, HasAnIdAndAListOfPositions) {
  AnimationTransform transform({3, 1, 0xFFFFFFFFFFFFFFFF}, -1);
  EXPECT_EQ(transform.id(), -1);
  EXPECT_EQ(transform.index_list(), (std::vector<unsigned long>{3, 1, 0xFFFFFFFFFFFFFFFF}));
  transform.set_id(8);
  transform.mutable_index_list()->clear();
  EXPECT_EQ(transform.id(), 8);
  EXPECT_TRUE(transform.index_list().empty());
}

TEST(AnimationSet, OwnsTransformsAndAnimations) {
  AnimationSet set;
  EXPECT_TRUE(set.transforms().empty());
  EXPECT_TRUE(set.animations().empty());
  set.mutable_transforms()->push_back(new AnimationTransform({0}, -1));
  set.mutable_animations()->push_back(new Animation("up"));
  EXPECT_EQ(set.transforms()[0]->id(), -1);
  EXPECT_EQ(set.animations()[0]->name(), "up");
}

}  // namespace
}  // namespace geometry3d
