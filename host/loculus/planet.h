// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Fields of a planet: those of a feature.
struct PELORIN_HOST_EXPORT PlanetSchema : AbstractFeatureSchema {
  PlanetSchema();
};

/// A body of the solar system. KML has no form for it.
class PELORIN_HOST_EXPORT Planet final : public AbstractFeature {
 public:
  static const PlanetSchema& GetSchema();

  Planet(const KmlId& id, const QString& source_url);
};

}  // namespace loculus
}  // namespace nimbara
