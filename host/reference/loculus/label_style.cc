// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/label_style.h"

namespace nimbara {
namespace loculus {

LabelStyleSchema::LabelStyleSchema()
    : ColorStyleSchema("LabelStyle", &ColorStyle::GetSchema(), &CreateObject<LabelStyle>),
      scale(this, "scale", &LabelStyle::scale_),
      hot_spot(this, "labelHotSpot", &LabelStyle::hot_spot_) {}

const LabelStyleSchema& LabelStyle::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) LabelStyleSchema();
  return *schema;
}

LabelStyle::LabelStyle(const KmlId& id, const QString& source_url)
    : ColorStyle(GetSchema(), id, source_url) {}

void LabelStyle::SetScale(float scale) {
  GetSchema().scale.CheckSet(this, scale, Field::s_dummy_fields_specified);
}

void LabelStyle::SetHotSpot(const LegacyScreenVec& hot_spot) {
  GetSchema().hot_spot.CheckSet(this, hot_spot, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
