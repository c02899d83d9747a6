// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/planet.h"

namespace nimbara {
namespace loculus {

PlanetSchema::PlanetSchema()
    : AbstractFeatureSchema("Planet", &AbstractFeature::GetSchema(), &CreateObject<Planet>) {}

const PlanetSchema& Planet::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) PlanetSchema();
  return *schema;
}

Planet::Planet(const KmlId& id, const QString& source_url)
    : AbstractFeature(GetSchema(), id, source_url) {}

}  // namespace loculus
}  // namespace nimbara
