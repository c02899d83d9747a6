// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/geometry.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Fields of a placemark.
struct PELORIN_HOST_EXPORT PlacemarkSchema : AbstractFeatureSchema {
  PlacemarkSchema();
  ObjectField<Geometry> geometry;
};

/// A feature with a geometry.
class PELORIN_HOST_EXPORT Placemark final : public AbstractFeature {
 public:
  static const PlacemarkSchema& GetSchema();

  Placemark(const KmlId& id, const QString& source_url);
  /// Null until it is set.
  Geometry* geometry() const { return geometry_.get(); }
  void SetGeometry(Geometry* geometry);

 private:
  friend struct PlacemarkSchema;
  RefPtr<Geometry> geometry_;
};

}  // namespace loculus
}  // namespace nimbara
