// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/icon_style.h"

namespace nimbara {
namespace loculus {

IconStyleSchema::IconStyleSchema()
    : ColorStyleSchema("IconStyle", &ColorStyle::GetSchema(), &CreateObject<IconStyle>),
      icon(this, "Icon", &IconStyle::icon_), scale(this, "scale", &IconStyle::scale_),
      placement(this, "iconPlacement", &IconStyle::placement_),
      heading(this, "heading", &IconStyle::heading_),
      hot_spot(this, "hotSpot", &IconStyle::hot_spot_) {}

const IconStyleSchema& IconStyle::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) IconStyleSchema();
  return *schema;
}

IconStyle::IconStyle(const KmlId& id, const QString& source_url)
    : ColorStyle(GetSchema(), id, source_url) {}

void IconStyle::SetIcon(Icon* icon) {
  GetSchema().icon.CheckSet(this, icon, Field::s_dummy_fields_specified);
}

void IconStyle::SetScale(float scale) {
  GetSchema().scale.CheckSet(this, scale, Field::s_dummy_fields_specified);
}

void IconStyle::SetPlacement(IconPlacement placement) {
  GetSchema().placement.CheckSet(this, placement, Field::s_dummy_fields_specified);
}

void IconStyle::SetHeading(float heading) {
  GetSchema().heading.CheckSet(this, heading, Field::s_dummy_fields_specified);
}

void IconStyle::SetHotSpot(const LegacyScreenVec& hot_spot) {
  GetSchema().hot_spot.CheckSet(this, hot_spot, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
