// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/geometry.h"
#include "host/loculus/schema.h"
#include "host/memory.h"

namespace nimbara {
namespace loculus {

/// Fields of a line. The first three lie in this order.
struct PELORIN_HOST_EXPORT LineStringSchema : GeometrySchema {
  LineStringSchema();
  TypedField<float> altitude_offset;
  TypedField<bool> extrude;
  TypedField<bool> tessellate;
};

/// A line through positions.
class PELORIN_HOST_EXPORT LineString final : public Geometry {
 public:
  static const LineStringSchema& GetSchema();

  LineString(const KmlId& id, const QString& source_url);
  /// `parent` becomes an owner; it can be null.
  LineString(const mmvector<Vec3<double>>& coordinates, AbstractFeature* parent, const KmlId& id,
             const QString& source_url);

  int GetCoordinateCount() const { return static_cast<int>(coordinates_.size()); }
  /// The position at `index`; outside 0 to `GetCoordinateCount()` - 1 it is zero.
  Vec3<double> GetCoordinate(int index) const;
  /// Takes a position out; those behind it move up. An index outside the line does nothing.
  void RemoveCoordinate(int index);
  /// Gives a position another altitude, in planet radii. An index outside the line does nothing.
  void SetCoordinateAltitude(int index, double altitude);
  void AppendCoordinate(const Vec3<double>& position);

  /// Metres by which the whole line is raised when it is drawn. A file holds the raised altitudes.
  float altitude_offset() const { return altitude_offset_; }
  void SetAltitudeOffset(float altitude_offset);
  /// Whether a wall joins the line with the ground.
  bool extrude() const { return extrude_; }
  void SetExtrude(bool extrude);
  /// Whether the line follows the ground between its positions.
  bool tessellate() const { return tessellate_; }
  void SetTessellate(bool tessellate);

 protected:
  void CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const override;

 private:
  bool Has(int index) const { return index >= 0 && index < GetCoordinateCount(); }

  friend struct LineStringSchema;
  float altitude_offset_ = 0.0f;
  bool extrude_ = false;
  bool tessellate_ = false;
  mmvector<Vec3<double>> coordinates_;
};

}  // namespace loculus
}  // namespace nimbara
