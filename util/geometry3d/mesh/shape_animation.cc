// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape_animation.h"

#include <cstddef>
#include <utility>

#include "base/logging.h"

namespace geometry3d {

ITransformValue::~ITransformValue() = default;

int TranslationTransformValue::GetType() const {
  return kType;
}

int RotationTransformValue::GetType() const {
  return kType;
}

ITransformModifier::~ITransformModifier() = default;

int TranslationTransformModifier::GetType() const {
  return kType;
}

int RotationAngleModifier::GetType() const {
  return kType;
}

int RotationAxisAngleModifier::GetType() const {
  return kType;
}

Keyframe::Keyframe(double time, ITransformModifier* value) : time_(time), value_(value) {
  PELORIN_CHECK(value != NULL);
}

AnimationChannel::AnimationChannel(int target, ITransformValue* value,
                                   util::gtl::PointerVector<Keyframe> keyframes)
    : target_(target), value_(value), keyframes_(std::move(keyframes)) {}

Animation::Animation(std::string name, util::gtl::PointerVector<AnimationChannel> channels)
    : name_(std::move(name)), channels_(std::move(channels)) {}

AnimationTransform::AnimationTransform(std::vector<unsigned long> index_list, int id)
    : index_list_(std::move(index_list)), id_(id) {}

AnimationSet::AnimationSet(util::gtl::PointerVector<AnimationTransform> transforms,
                           util::gtl::PointerVector<Animation> animations)
    : transforms_(std::move(transforms)), animations_(std::move(animations)) {}

}  // namespace geometry3d
