// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/vector.h"
#include "util/gtl/pointer_vector.h"

namespace geometry3d {

/// Keyframe animation that rides along with a shape, as plain records: an `AnimationSet` holds
/// transforms and named animations; an animation is made of channels; a channel has a base value
/// and a track of keyframes, each a time and a modifier of that value.
///
///     AnimationSet set;
///     auto* channel = new AnimationChannel(0, new TranslationTransformValue({0.0, 0.0, 0.0}));
///     channel->mutable_keyframes()->push_back(
///         new Keyframe(1.0, new TranslationTransformModifier({1.0, 0.0, 0.0})));
///     auto* up = new Animation("up");
///     up->mutable_channels()->push_back(channel);
///     set.mutable_animations()->push_back(up);
///
/// Nothing here is evaluated. What `target`, `id` and `index_list` refer to and the units of times,
/// lengths and angles are agreed between whoever builds and whoever reads the records; any number
/// is carried, infinities and NaN too. A record owns what it points to. Nothing is shared and
/// nothing locks: one thread at a time for each set.

/// The state of a transform before any keyframe.
class PELORIN_EXPORT ITransformValue {
 public:
  /// Which of the classes below it is, as a stream tells it.
  virtual int GetType() const = 0;
  virtual ~ITransformValue();

 protected:
  ITransformValue() = default;
  ITransformValue(const ITransformValue&) = default;
  ITransformValue& operator=(const ITransformValue&) = default;
};

class PELORIN_EXPORT TranslationTransformValue : public ITransformValue {
 public:
  static constexpr int kType = 0;
  explicit TranslationTransformValue(const Vector3<double>& translation)
      : translation_(translation) {}
  int GetType() const override;
  const Vector3<double>& translation() const { return translation_; }

 private:
  Vector3<double> translation_;
};

class PELORIN_EXPORT RotationTransformValue : public ITransformValue {
 public:
  static constexpr int kType = 1;
  RotationTransformValue(const Vector3<double>& center, const Vector3<double>& axis, double angle)
      : center_(center), axis_(axis), angle_(angle) {}
  int GetType() const override;
  const Vector3<double>& center() const { return center_; }
  const Vector3<double>& axis() const { return axis_; }
  double angle() const { return angle_; }

 private:
  Vector3<double> center_;
  Vector3<double> axis_;
  double angle_;
};

/// What a keyframe does to the value of its channel. The numbers of the classes are counted apart
/// from those of the values.
class PELORIN_EXPORT ITransformModifier {
 public:
  /// Which of the classes below it is, as a stream tells it.
  virtual int GetType() const = 0;
  virtual ~ITransformModifier();

 protected:
  ITransformModifier() = default;
  ITransformModifier(const ITransformModifier&) = default;
  ITransformModifier& operator=(const ITransformModifier&) = default;
};

class PELORIN_EXPORT TranslationTransformModifier : public ITransformModifier {
 public:
  static constexpr int kType = 1;
  explicit TranslationTransformModifier(const Vector3<double>& translation)
      : translation_(translation) {}
  int GetType() const override;
  const Vector3<double>& translation() const { return translation_; }

 private:
  Vector3<double> translation_;
};

class PELORIN_EXPORT RotationAngleModifier : public ITransformModifier {
 public:
  static constexpr int kType = 2;
  explicit RotationAngleModifier(double angle) : angle_(angle) {}
  int GetType() const override;
  double angle() const { return angle_; }

 private:
  double angle_;
};

class PELORIN_EXPORT RotationAxisAngleModifier : public ITransformModifier {
 public:
  static constexpr int kType = 3;
  RotationAxisAngleModifier(const Vector3<double>& axis, double angle)
      : axis_(axis), angle_(angle) {}
  int GetType() const override;
  const Vector3<double>& axis() const { return axis_; }
  double angle() const { return angle_; }

 private:
  Vector3<double> axis_;
  double angle_;
};

/// A modifier at a time.
class PELORIN_EXPORT Keyframe {
 public:
  /// Takes over `value`. Null is the fatal check "value != NULL"; the keyframe then has none.
  Keyframe(double time, ITransformModifier* value);

  double time() const { return time_; }
  /// Owned by the keyframe.
  const ITransformModifier* value() const { return value_.get(); }

 private:
  double time_;
  std::unique_ptr<ITransformModifier> value_;
};

/// What happens to one target. All keyframes of a channel have a modifier of one class, which fits
/// the class of `value`; a channel without keyframes is legal and has no such class at all.
class PELORIN_EXPORT AnimationChannel {
 public:
  /// Takes over `value`, which is not null in a finished channel.
  AnimationChannel(int target, ITransformValue* value,
                   util::gtl::PointerVector<Keyframe> keyframes = {});

  int target() const { return target_; }
  /// Owned by the channel.
  const ITransformValue* value() const { return value_.get(); }
  const util::gtl::PointerVector<Keyframe>& keyframes() const { return keyframes_; }
  util::gtl::PointerVector<Keyframe>* mutable_keyframes() { return &keyframes_; }

 private:
  int target_;
  std::unique_ptr<ITransformValue> value_;
  util::gtl::PointerVector<Keyframe> keyframes_;
};

/// A named list of channels; the name may be empty and hold any bytes.
class PELORIN_EXPORT Animation {
 public:
  explicit Animation(std::string name = {},
                     util::gtl::PointerVector<AnimationChannel> channels = {});

  const std::string& name() const { return name_; }
  std::string* mutable_name() { return &name_; }
  const util::gtl::PointerVector<AnimationChannel>& channels() const { return channels_; }
  util::gtl::PointerVector<AnimationChannel>* mutable_channels() { return &channels_; }

 private:
  std::string name_;
  util::gtl::PointerVector<AnimationChannel> channels_;
};

/// A list of positions under a number.
class PELORIN_EXPORT AnimationTransform {
 public:
  explicit AnimationTransform(std::vector<unsigned long> index_list = {}, int id = 0);

  const std::vector<unsigned long>& index_list() const { return index_list_; }
  std::vector<unsigned long>* mutable_index_list() { return &index_list_; }
  int id() const { return id_; }
  void set_id(int id) { id_ = id; }

 private:
  std::vector<unsigned long> index_list_;
  int id_;
};

/// All the animation of one shape.
class PELORIN_EXPORT AnimationSet {
 public:
  explicit AnimationSet(util::gtl::PointerVector<AnimationTransform> transforms = {},
                        util::gtl::PointerVector<Animation> animations = {});

  const util::gtl::PointerVector<AnimationTransform>& transforms() const { return transforms_; }
  util::gtl::PointerVector<AnimationTransform>* mutable_transforms() { return &transforms_; }
  const util::gtl::PointerVector<Animation>& animations() const { return animations_; }
  util::gtl::PointerVector<Animation>* mutable_animations() { return &animations_; }

 private:
  util::gtl::PointerVector<AnimationTransform> transforms_;
  util::gtl::PointerVector<Animation> animations_;
};

}  // namespace geometry3d
