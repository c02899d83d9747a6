// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstring>
#include <random>
#include <sstream>
#include <string>

#include "util/geometry3d/mesh/shape_animation.h"

namespace test_support {

/// One transform, and one animation named "up" that lifts target 0 by one within one unit of time.
inline void FillUp(geometry3d::AnimationSet* set) {
  using namespace geometry3d;
  set->mutable_transforms()->push_back(new AnimationTransform({0}, -1));
  auto* const channel = new AnimationChannel(0, new TranslationTransformValue({0.0, 0.0, 0.0}));
  channel->mutable_keyframes()->push_back(
      new Keyframe(1.0, new TranslationTransformModifier({1.0, 0.0, 0.0})));
  auto* const animation = new Animation("up");
  animation->mutable_channels()->push_back(channel);
  set->mutable_animations()->push_back(animation);
}

/// Writes all that a set holds, doubles bit for bit, so that texts of equal sets are equal.
class AnimationText {
 public:
  static std::string Of(const geometry3d::AnimationSet& set) {
    AnimationText text;
    for (const auto* const transform : set.transforms()) {
      text.out_ << "transform " << transform->id();
      for (const unsigned long index : transform->index_list()) {
        text.out_ << ' ' << index;
      }
      text.out_ << '\n';
    }
    for (const auto* const animation : set.animations()) {
      text.out_ << "animation " << animation->name().size() << ' ' << animation->name() << '\n';
      for (const auto* const channel : animation->channels()) {
        text.Add(*channel);
      }
    }
    return text.out_.str();
  }

 private:
  void Add(const geometry3d::AnimationChannel& channel) {
    using namespace geometry3d;
    out_ << " channel " << channel.target() << ' ' << channel.value()->GetType();
    if (const auto* t = dynamic_cast<const TranslationTransformValue*>(channel.value())) {
      Add(t->translation());
    } else if (const auto* r = dynamic_cast<const RotationTransformValue*>(channel.value())) {
      Add(r->center());
      Add(r->axis());
      Add(r->angle());
    }
    out_ << '\n';
    for (const Keyframe* const keyframe : channel.keyframes()) {
      out_ << "  keyframe " << keyframe->value()->GetType();
      Add(keyframe->time());
      Add(*keyframe->value());
      out_ << '\n';
    }
  }
  void Add(const geometry3d::ITransformModifier& modifier) {
    using namespace geometry3d;
    if (const auto* t = dynamic_cast<const TranslationTransformModifier*>(&modifier)) {
      Add(t->translation());
    } else if (const auto* a = dynamic_cast<const RotationAngleModifier*>(&modifier)) {
      Add(a->angle());
    } else if (const auto* r = dynamic_cast<const RotationAxisAngleModifier*>(&modifier)) {
      Add(r->axis());
      Add(r->angle());
    }
  }
  void Add(const geometry3d::Vector3<double>& v) {
    Add(v.x);
    Add(v.y);
    Add(v.z);
  }
  void Add(double number) {
    unsigned long bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    out_ << ' ' << bits;
  }

  std::ostringstream out_;
};

/// A set of any content that a stream keeps: numbers of all sizes up to 2^30, doubles of any bits.
class RandomAnimation {
 public:
  explicit RandomAnimation(unsigned starting_number) : random_(starting_number) {}

  void Fill(geometry3d::AnimationSet* set) {
    using namespace geometry3d;
    for (int i = Below(4); i > 0; --i) {
      auto* const transform = new AnimationTransform({}, Signed());
      for (int k = Below(6); k > 0; --k) {
        transform->mutable_index_list()->push_back(static_cast<unsigned long>(Signed()));
      }
      set->mutable_transforms()->push_back(transform);
    }
    for (int i = Below(4); i > 0; --i) {
      auto* const animation = new Animation;
      for (int k = Below(20); k > 0; --k) {
        animation->mutable_name()->push_back(static_cast<char>(Below(256)));
      }
      for (int k = Below(4); k > 0; --k) {
        animation->mutable_channels()->push_back(Channel());
      }
      set->mutable_animations()->push_back(animation);
    }
  }

 private:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
  int Signed() {
    const int number = Below(1 << (1 + Below(30)));
    return Below(2) == 0 ? number : ~number;
  }
  double Double() {
    unsigned long bits = 0;
    for (int i = 0; i < 4; ++i) {
      bits = bits << 16 | static_cast<unsigned long>(Below(1 << 16));
    }
    double number = 0.0;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
  }
  geometry3d::Vector3<double> Vector() {
    const double x = Double();
    const double y = Double();
    return {x, y, Double()};
  }
  geometry3d::AnimationChannel* Channel() {
    using namespace geometry3d;
    ITransformValue* value = nullptr;
    if (Below(2) == 0) {
      value = new TranslationTransformValue(Vector());
    } else {
      const Vector3<double> center = Vector();
      const Vector3<double> axis = Vector();
      value = new RotationTransformValue(center, axis, Double());
    }
    auto* const channel = new AnimationChannel(Signed(), value);
    const int type = 1 + Below(3);
    for (int k = Below(6); k > 0; --k) {
      const double time = Double();
      channel->mutable_keyframes()->push_back(new Keyframe(time, Modifier(type)));
    }
    return channel;
  }
  geometry3d::ITransformModifier* Modifier(int type) {
    using namespace geometry3d;
    if (type == 1) {
      return new TranslationTransformModifier(Vector());
    }
    if (type == 2) {
      return new RotationAngleModifier(Double());
    }
    const Vector3<double> axis = Vector();
    return new RotationAxisAngleModifier(axis, Double());
  }

  std::mt19937 random_;
};

}  // namespace test_support
