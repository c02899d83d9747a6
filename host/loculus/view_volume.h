// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// Fields of a view volume.
struct PELORIN_HOST_EXPORT ViewVolumeSchema : Schema {
  ViewVolumeSchema();
  TypedField<float> left_fov;
  TypedField<float> right_fov;
  TypedField<float> bottom_fov;
  TypedField<float> top_fov;
  TypedField<float> near;
};

/// How much of the sphere around a camera an image covers. Angles are degrees from the line of
/// sight.
class PELORIN_HOST_EXPORT ViewVolume final : public SchemaObject {
 public:
  static const ViewVolumeSchema& GetSchema();

  ViewVolume(const KmlId& id, const QString& source_url);
  /// -180 to 0.
  float left_fov() const { return left_fov_; }
  void SetLeftFov(float left_fov);
  /// 0 to 180.
  float right_fov() const { return right_fov_; }
  void SetRightFov(float right_fov);
  /// -90 to 0.
  float bottom_fov() const { return bottom_fov_; }
  void SetBottomFov(float bottom_fov);
  /// 0 to 90.
  float top_fov() const { return top_fov_; }
  void SetTopFov(float top_fov);
  /// Metres from the camera to the image.
  float near() const { return near_; }
  void SetNear(float near);

 private:
  friend struct ViewVolumeSchema;
  float left_fov_ = 0.0f;
  float right_fov_ = 0.0f;
  float bottom_fov_ = 0.0f;
  float top_fov_ = 0.0f;
  float near_ = 0.0f;
};

}  // namespace loculus
}  // namespace nimbara
