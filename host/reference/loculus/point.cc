// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/point.h"

namespace nimbara {
namespace loculus {

PointSchema::PointSchema()
    : GeometrySchema("Point", &Geometry::GetSchema(), &CreateObject<Point>),
      position(this, "coordinates", &Point::position_), extrude(this, "extrude", &Point::extrude_) {
}

const PointSchema& Point::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) PointSchema();
  return *schema;
}

Point::Point(const KmlId& id, const QString& source_url) : Geometry(GetSchema(), id, source_url) {}

Point::Point(const Vec3<double>& position, AbstractFeature* parent, const KmlId& id,
             const QString& source_url)
    : Geometry(GetSchema(), id, source_url), position_(position) {
  AddOwner(parent);
}

void Point::SetPosition(const Vec3<double>& position) {
  GetSchema().position.CheckSet(this, position, Field::s_dummy_fields_specified);
}

void Point::SetExtrude(bool extrude) {
  GetSchema().extrude.CheckSet(this, extrude, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
