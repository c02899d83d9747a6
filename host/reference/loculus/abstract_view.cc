// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/abstract_view.h"

namespace nimbara {
namespace loculus {

AbstractViewSchema::AbstractViewSchema()
    : AbstractViewSchema("AbstractView", &SchemaObject::GetSchema(), nullptr) {}

AbstractViewSchema::AbstractViewSchema(const char* class_name, const Schema* base, Factory factory)
    : Schema(class_name, base, factory) {}

const AbstractViewSchema& AbstractView::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) AbstractViewSchema();
  return *schema;
}

AbstractView::AbstractView(const Schema& schema, const KmlId& id, const QString& source_url)
    : SchemaObject(schema, id, source_url) {}

}  // namespace loculus
}  // namespace nimbara
