// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/line_style.h"

namespace nimbara {
namespace loculus {

LineStyleSchema::LineStyleSchema()
    : ColorStyleSchema("LineStyle", &ColorStyle::GetSchema(), &CreateObject<LineStyle>),
      width(this, "width", &LineStyle::width_),
      outer_color(this, "outerColor", &LineStyle::outer_color_),
      outer_width(this, "outerWidth", &LineStyle::outer_width_) {}

const LineStyleSchema& LineStyle::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) LineStyleSchema();
  return *schema;
}

LineStyle::LineStyle(const KmlId& id, const QString& source_url)
    : ColorStyle(GetSchema(), id, source_url) {}

void LineStyle::SetWidth(float width) {
  GetSchema().width.CheckSet(this, width, Field::s_dummy_fields_specified);
}

void LineStyle::SetOuterColor(const Color32& outer_color) {
  GetSchema().outer_color.CheckSet(this, outer_color, Field::s_dummy_fields_specified);
}

void LineStyle::SetOuterWidth(float outer_width) {
  GetSchema().outer_width.CheckSet(this, outer_width, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
