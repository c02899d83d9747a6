// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/abstract_feature.h"

#include "host/text.h"

namespace nimbara {
namespace loculus {

AbstractFeatureSchema::AbstractFeatureSchema()
    : AbstractFeatureSchema("AbstractFeature", &SchemaObject::GetSchema(), nullptr) {}

AbstractFeatureSchema::AbstractFeatureSchema(const char* class_name, const Schema* base,
                                             Factory factory)
    : Schema(class_name, base, factory), name(this, "name", &AbstractFeature::name_),
      visibility(this, "visibility", &AbstractFeature::visibility_),
      description(this, "description", &AbstractFeature::description_),
      view(this, "AbstractView", &AbstractFeature::view_),
      style(this, "Style", &AbstractFeature::style_) {}

const AbstractFeatureSchema& AbstractFeature::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) AbstractFeatureSchema();
  return *schema;
}

AbstractFeature::AbstractFeature(const Schema& schema, const KmlId& id, const QString& source_url)
    : SchemaObject(schema, id, source_url) {}

void AbstractFeature::SetName(const QString& name) {
  GetSchema().name.CheckSet(this, name, Field::s_dummy_fields_specified);
}

void AbstractFeature::SetVisibility(bool visibility) {
  GetSchema().visibility.CheckSet(this, visibility, Field::s_dummy_fields_specified);
}

void AbstractFeature::SetDescription(const QString& description) {
  GetSchema().description.CheckSet(this, description, Field::s_dummy_fields_specified);
}

void AbstractFeature::SetView(AbstractView* view) {
  GetSchema().view.CheckSet(this, view, Field::s_dummy_fields_specified);
}

Style* AbstractFeature::InlineStyle() {
  if (!style_) {
    const RefPtr<Style> made(new Style(KmlId(), QStringNull()));
    GetSchema().style.CheckSet(this, made, Field::s_dummy_fields_specified);
  }
  return style_.get();
}

}  // namespace loculus
}  // namespace nimbara
