// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/abstract_view.h"
#include "host/loculus/altitude_mode.h"
#include "host/loculus/schema.h"

namespace nimbara {
namespace loculus {

/// Parts of a camera, as the bits of a set.
enum CameraParts : std::uint16_t {
  kCameraPosition = 0x01,  ///< Longitude and latitude.
  kCameraHeading = 0x02,
  kCameraAltitude = 0x04,  ///< With its mode.
  kCameraTilt = 0x08,
  kCameraRoll = 0x20,
  kCameraAllParts = 0x2F,
};

/// Fields of a camera.
struct PELORIN_HOST_EXPORT CameraSchema : AbstractViewSchema {
  CameraSchema();
  TypedField<double> longitude;
  TypedField<double> latitude;
  TypedField<double> altitude;
  TypedField<double> heading;
  TypedField<double> tilt;
  TypedField<double> roll;
  TypedField<AltitudeMode> altitude_mode;
};

/// Where an eye stands and how it is turned. Angles are in degrees and are stored as given, without
/// folding; numbers that are not finite are kept and left out of KML.
class PELORIN_HOST_EXPORT Camera final : public AbstractView {
 public:
  static const CameraSchema& GetSchema();

  Camera(const KmlId& id, const QString& source_url);
  /// Degrees, east positive, -180 to 180.
  double longitude() const { return longitude_; }
  void SetLongitude(double longitude);
  /// Degrees, north positive, -90 to 90.
  double latitude() const { return latitude_; }
  void SetLatitude(double latitude);
  /// Metres, counted as the mode says.
  double altitude() const { return altitude_; }
  void SetAltitude(double altitude);
  /// Degrees clockwise from north, 0 to 360.
  double heading() const { return heading_; }
  void SetHeading(double heading);
  /// Degrees from straight down; 90 is level.
  double tilt() const { return tilt_; }
  void SetTilt(double tilt);
  /// Degrees about the line of sight, -180 to 180.
  double roll() const { return roll_; }
  void SetRoll(double roll);
  AltitudeMode altitude_mode() const { return altitude_mode_; }
  void SetAltitudeMode(AltitudeMode altitude_mode);
  /// Which parts a viewer takes over when it goes to this camera; it keeps its own for the rest. A
  /// set of `CameraParts`: position, altitude and roll, 0x25, leave it its heading and tilt. Not in
  /// KML.
  std::uint16_t applied_parts() const { return applied_parts_; }
  void SetAppliedParts(std::uint16_t parts) { applied_parts_ = parts; }

 protected:
  void CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const override;

 private:
  friend struct CameraSchema;
  double longitude_ = 0.0;
  double latitude_ = 0.0;
  double altitude_ = 0.0;
  double heading_ = 0.0;
  double tilt_ = 0.0;
  double roll_ = 0.0;
  AltitudeMode altitude_mode_ = AltitudeMode::kClampToGround;
  std::uint16_t applied_parts_ = kCameraAllParts;
};

}  // namespace loculus
}  // namespace nimbara
