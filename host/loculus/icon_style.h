// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/color_style.h"
#include "host/loculus/icon.h"
#include "host/loculus/schema.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// How an icon stands in the scene.
enum class IconPlacement : std::int32_t {
  kScreen = 0,        ///< Faces the screen, with one size on it.
  kUpright = 1,       ///< Stands on the ground and turns to the viewer.
  kOverlappable = 2,  ///< As `kScreen`, without making room for its neighbours.
  kOnSurface = 3,     ///< Lies on the surface below, as large as it is there.
};

/// Fields of an icon style.
struct PELORIN_HOST_EXPORT IconStyleSchema : ColorStyleSchema {
  IconStyleSchema();
  ObjectField<Icon> icon;
  TypedField<float> scale;
  TypedField<IconPlacement> placement;
  TypedField<float> heading;
  TypedField<LegacyScreenVec> hot_spot;
};

/// How the icon of a feature is drawn.
class PELORIN_HOST_EXPORT IconStyle final : public ColorStyle {
 public:
  static const IconStyleSchema& GetSchema();

  IconStyle(const KmlId& id, const QString& source_url);
  /// Null shows the usual icon, an empty `Icon` none.
  Icon* icon() const { return icon_.get(); }
  void SetIcon(Icon* icon);
  /// Relative to the usual size; 0 shows nothing.
  float scale() const { return scale_; }
  void SetScale(float scale);
  /// Not in KML.
  IconPlacement placement() const { return placement_; }
  void SetPlacement(IconPlacement placement);
  /// Degrees clockwise from north, 0 to 360.
  float heading() const { return heading_; }
  void SetHeading(float heading);
  /// The point of the icon that stands on the position; its centre by default.
  const LegacyScreenVec& hot_spot() const { return hot_spot_; }
  void SetHotSpot(const LegacyScreenVec& hot_spot);

 private:
  friend struct IconStyleSchema;
  RefPtr<Icon> icon_;
  float scale_ = 1.0f;
  IconPlacement placement_ = IconPlacement::kScreen;
  float heading_ = 0.0f;
  LegacyScreenVec hot_spot_{0.5, 0.5, 0, 0};
};

}  // namespace loculus
}  // namespace nimbara
