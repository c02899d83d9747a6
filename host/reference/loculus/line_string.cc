// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/line_string.h"

namespace nimbara {
namespace loculus {

LineStringSchema::LineStringSchema()
    : GeometrySchema("LineString", &Geometry::GetSchema(), &CreateObject<LineString>),
      altitude_offset(this, "altitudeOffset", &LineString::altitude_offset_),
      extrude(this, "extrude", &LineString::extrude_),
      tessellate(this, "tessellate", &LineString::tessellate_) {}

const LineStringSchema& LineString::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) LineStringSchema();
  return *schema;
}

LineString::LineString(const KmlId& id, const QString& source_url)
    : Geometry(GetSchema(), id, source_url) {}

LineString::LineString(const mmvector<Vec3<double>>& coordinates, AbstractFeature* parent,
                       const KmlId& id, const QString& source_url)
    : Geometry(GetSchema(), id, source_url), coordinates_(coordinates.begin(), coordinates.end()) {
  AddOwner(parent);
}

Vec3<double> LineString::GetCoordinate(int index) const {
  return Has(index) ? coordinates_[static_cast<std::size_t>(index)] : Vec3<double>::Zero();
}

void LineString::RemoveCoordinate(int index) {
  if (Has(index)) {
    coordinates_.erase(coordinates_.begin() + index);
  }
}

void LineString::SetCoordinateAltitude(int index, double altitude) {
  if (Has(index)) {
    coordinates_[static_cast<std::size_t>(index)].z = altitude;
  }
}

void LineString::AppendCoordinate(const Vec3<double>& position) {
  coordinates_.push_back(position);
}

void LineString::CloneContents(SchemaObject* copy, bool, MemoryManager*) const {
  static_cast<LineString*>(copy)->coordinates_ = coordinates_;
}

void LineString::SetAltitudeOffset(float altitude_offset) {
  GetSchema().altitude_offset.CheckSet(this, altitude_offset, Field::s_dummy_fields_specified);
}

void LineString::SetExtrude(bool extrude) {
  GetSchema().extrude.CheckSet(this, extrude, Field::s_dummy_fields_specified);
}

void LineString::SetTessellate(bool tessellate) {
  GetSchema().tessellate.CheckSet(this, tessellate, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
