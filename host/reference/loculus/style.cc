// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/style.h"

#include "host/text.h"

namespace nimbara {
namespace loculus {

namespace {

// What `field` of `style` holds, made now if there is nothing.
template <typename T>
T* Ensure(const ObjectField<T>& field, Style* style) {
  if (!field.Get(*style)) {
    const RefPtr<T> part(new T(KmlId(), QStringNull()));
    field.CheckSet(style, part, Field::s_dummy_fields_specified);
  }
  return field.Get(*style).get();
}

}  // namespace

StyleSchema::StyleSchema()
    : Schema("Style", &SchemaObject::GetSchema(), &CreateObject<Style>),
      icon_style(this, "IconStyle", &Style::icon_style_),
      label_style(this, "LabelStyle", &Style::label_style_),
      line_style(this, "LineStyle", &Style::line_style_) {}

const StyleSchema& Style::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) StyleSchema();
  return *schema;
}

Style::Style(const KmlId& id, const QString& source_url)
    : SchemaObject(GetSchema(), id, source_url) {}

IconStyle* Style::GetIconStyle() {
  return Ensure(GetSchema().icon_style, this);
}

LabelStyle* Style::GetLabelStyle() {
  return Ensure(GetSchema().label_style, this);
}

LineStyle* Style::GetLineStyle() {
  return Ensure(GetSchema().line_style, this);
}

}  // namespace loculus
}  // namespace nimbara
