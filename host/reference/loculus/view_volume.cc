// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/view_volume.h"

namespace nimbara {
namespace loculus {

ViewVolumeSchema::ViewVolumeSchema()
    : Schema("ViewVolume", &SchemaObject::GetSchema(), &CreateObject<ViewVolume>),
      left_fov(this, "leftFov", &ViewVolume::left_fov_),
      right_fov(this, "rightFov", &ViewVolume::right_fov_),
      bottom_fov(this, "bottomFov", &ViewVolume::bottom_fov_),
      top_fov(this, "topFov", &ViewVolume::top_fov_), near(this, "near", &ViewVolume::near_) {}

const ViewVolumeSchema& ViewVolume::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) ViewVolumeSchema();
  return *schema;
}

ViewVolume::ViewVolume(const KmlId& id, const QString& source_url)
    : SchemaObject(GetSchema(), id, source_url) {}

void ViewVolume::SetLeftFov(float left_fov) {
  GetSchema().left_fov.CheckSet(this, left_fov, Field::s_dummy_fields_specified);
}

void ViewVolume::SetRightFov(float right_fov) {
  GetSchema().right_fov.CheckSet(this, right_fov, Field::s_dummy_fields_specified);
}

void ViewVolume::SetBottomFov(float bottom_fov) {
  GetSchema().bottom_fov.CheckSet(this, bottom_fov, Field::s_dummy_fields_specified);
}

void ViewVolume::SetTopFov(float top_fov) {
  GetSchema().top_fov.CheckSet(this, top_fov, Field::s_dummy_fields_specified);
}

void ViewVolume::SetNear(float near) {
  GetSchema().near.CheckSet(this, near, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
