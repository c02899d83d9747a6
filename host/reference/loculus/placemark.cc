// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/placemark.h"

namespace nimbara {
namespace loculus {

PlacemarkSchema::PlacemarkSchema()
    : AbstractFeatureSchema("Placemark", &AbstractFeature::GetSchema(), &CreateObject<Placemark>),
      geometry(this, "Geometry", &Placemark::geometry_) {}

const PlacemarkSchema& Placemark::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) PlacemarkSchema();
  return *schema;
}

Placemark::Placemark(const KmlId& id, const QString& source_url)
    : AbstractFeature(GetSchema(), id, source_url) {}

void Placemark::SetGeometry(Geometry* geometry) {
  GetSchema().geometry.CheckSet(this, geometry, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
