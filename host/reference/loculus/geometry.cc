// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/geometry.h"

namespace nimbara {
namespace loculus {

GeometrySchema::GeometrySchema()
    : GeometrySchema("Geometry", &SchemaObject::GetSchema(), nullptr) {}

GeometrySchema::GeometrySchema(const char* class_name, const Schema* base, Factory factory)
    : Schema(class_name, base, factory),
      altitude_mode(this, "altitudeMode", &Geometry::altitude_mode_) {}

const GeometrySchema& Geometry::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) GeometrySchema();
  return *schema;
}

Geometry::Geometry(const Schema& schema, const KmlId& id, const QString& source_url)
    : SchemaObject(schema, id, source_url) {}

void Geometry::SetAltitudeMode(AltitudeMode altitude_mode) {
  GetSchema().altitude_mode.CheckSet(this, altitude_mode, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
