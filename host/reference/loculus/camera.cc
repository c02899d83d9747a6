// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/camera.h"

namespace nimbara {
namespace loculus {

CameraSchema::CameraSchema()
    : AbstractViewSchema("Camera", &AbstractView::GetSchema(), &CreateObject<Camera>),
      longitude(this, "longitude", &Camera::longitude_),
      latitude(this, "latitude", &Camera::latitude_),
      altitude(this, "altitude", &Camera::altitude_), heading(this, "heading", &Camera::heading_),
      tilt(this, "tilt", &Camera::tilt_), roll(this, "roll", &Camera::roll_),
      altitude_mode(this, "altitudeMode", &Camera::altitude_mode_) {}

const CameraSchema& Camera::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) CameraSchema();
  return *schema;
}

Camera::Camera(const KmlId& id, const QString& source_url)
    : AbstractView(GetSchema(), id, source_url) {}

void Camera::SetLongitude(double longitude) {
  GetSchema().longitude.CheckSet(this, longitude, Field::s_dummy_fields_specified);
}

void Camera::SetLatitude(double latitude) {
  GetSchema().latitude.CheckSet(this, latitude, Field::s_dummy_fields_specified);
}

void Camera::SetAltitude(double altitude) {
  GetSchema().altitude.CheckSet(this, altitude, Field::s_dummy_fields_specified);
}

void Camera::SetHeading(double heading) {
  GetSchema().heading.CheckSet(this, heading, Field::s_dummy_fields_specified);
}

void Camera::SetTilt(double tilt) {
  GetSchema().tilt.CheckSet(this, tilt, Field::s_dummy_fields_specified);
}

void Camera::SetRoll(double roll) {
  GetSchema().roll.CheckSet(this, roll, Field::s_dummy_fields_specified);
}

void Camera::SetAltitudeMode(AltitudeMode altitude_mode) {
  GetSchema().altitude_mode.CheckSet(this, altitude_mode, Field::s_dummy_fields_specified);
}

void Camera::CloneContents(SchemaObject* copy, bool, MemoryManager*) const {
  static_cast<Camera*>(copy)->applied_parts_ = applied_parts_;
}

}  // namespace loculus
}  // namespace nimbara
