// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/color_style.h"

namespace nimbara {
namespace loculus {

ColorStyleSchema::ColorStyleSchema()
    : ColorStyleSchema("ColorStyle", &SchemaObject::GetSchema(), nullptr) {}

ColorStyleSchema::ColorStyleSchema(const char* class_name, const Schema* base, Factory factory)
    : Schema(class_name, base, factory), color(this, "color", &ColorStyle::color_) {}

const ColorStyleSchema& ColorStyle::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) ColorStyleSchema();
  return *schema;
}

ColorStyle::ColorStyle(const Schema& schema, const KmlId& id, const QString& source_url)
    : SchemaObject(schema, id, source_url) {}

void ColorStyle::setColor(const Color32& color) {
  GetSchema().color.CheckSet(this, color, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
