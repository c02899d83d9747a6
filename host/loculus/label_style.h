// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/color_style.h"
#include "host/loculus/schema.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// Fields of a label style.
struct PELORIN_HOST_EXPORT LabelStyleSchema : ColorStyleSchema {
  LabelStyleSchema();
  TypedField<float> scale;
  TypedField<LegacyScreenVec> hot_spot;
};

/// How the name of a feature is drawn.
class PELORIN_HOST_EXPORT LabelStyle final : public ColorStyle {
 public:
  static const LabelStyleSchema& GetSchema();

  LabelStyle(const KmlId& id, const QString& source_url);
  /// Relative to the usual size; 0 shows nothing.
  float scale() const { return scale_; }
  void SetScale(float scale);
  /// The point of the label that stands on the position. Not in KML.
  const LegacyScreenVec& hot_spot() const { return hot_spot_; }
  void SetHotSpot(const LegacyScreenVec& hot_spot);

 private:
  friend struct LabelStyleSchema;
  float scale_ = 1.0f;
  LegacyScreenVec hot_spot_;
};

}  // namespace loculus
}  // namespace nimbara
