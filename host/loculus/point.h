// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/geometry.h"
#include "host/loculus/schema.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// Fields of a point.
struct PELORIN_HOST_EXPORT PointSchema : GeometrySchema {
  PointSchema();
  TypedField<Vec3<double>> position;
  TypedField<bool> extrude;
};

/// One position.
class PELORIN_HOST_EXPORT Point final : public Geometry {
 public:
  static const PointSchema& GetSchema();

  Point(const KmlId& id, const QString& source_url);
  /// `parent` becomes an owner; it can be null.
  Point(const Vec3<double>& position, AbstractFeature* parent, const KmlId& id,
        const QString& source_url);

  /// Zero until it is set.
  const Vec3<double>& position() const { return position_; }
  void SetPosition(const Vec3<double>& position);
  /// Whether a line joins it with the ground.
  bool extrude() const { return extrude_; }
  void SetExtrude(bool extrude);

 private:
  friend struct PointSchema;
  Vec3<double> position_;
  bool extrude_ = false;
};

}  // namespace loculus
}  // namespace nimbara
