// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/abstract_link.h"

namespace nimbara {
namespace loculus {

AbstractLinkSchema::AbstractLinkSchema()
    : AbstractLinkSchema("AbstractLink", &SchemaObject::GetSchema(), nullptr) {}

AbstractLinkSchema::AbstractLinkSchema(const char* class_name, const Schema* base, Factory factory)
    : Schema(class_name, base, factory), href(this, "href", &AbstractLink::href_),
      refresh_mode(this, "refreshMode", &AbstractLink::refresh_mode_) {}

const AbstractLinkSchema& AbstractLink::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) AbstractLinkSchema();
  return *schema;
}

AbstractLink::AbstractLink(const Schema& schema, const KmlId& id, const QString& source_url)
    : SchemaObject(schema, id, source_url) {}

void AbstractLink::SetHref(const QString& href) {
  GetSchema().href.CheckSet(this, href, Field::s_dummy_fields_specified);
}

void AbstractLink::SetRefreshMode(RefreshMode refresh_mode) {
  GetSchema().refresh_mode.CheckSet(this, refresh_mode, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
