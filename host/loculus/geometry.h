// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/altitude_mode.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// Fields of every geometry.
struct PELORIN_HOST_EXPORT GeometrySchema : Schema {
  GeometrySchema();
  TypedField<AltitudeMode> altitude_mode;

 protected:
  GeometrySchema(const char* class_name, const Schema* base, Factory factory);
};

/// A shape in the scene. Positions are stored ones: x is the longitude and y the latitude in
/// degrees, each divided by 180, and z the altitude in planet radii, counted as the altitude mode
/// says.
class PELORIN_HOST_EXPORT Geometry : public SchemaObject {
 public:
  static const GeometrySchema& GetSchema();

  AltitudeMode altitude_mode() const { return altitude_mode_; }
  void SetAltitudeMode(AltitudeMode altitude_mode);

 protected:
  Geometry(const Schema& schema, const KmlId& id, const QString& source_url);

 private:
  friend struct GeometrySchema;
  AltitudeMode altitude_mode_ = AltitudeMode::kClampToGround;
};

}  // namespace loculus
}  // namespace nimbara
