// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/values.h"
#include "spatial/orbit/orbit_manager.h"

namespace pelorin {
namespace command {

/// Where a body stands and how it is turned, at one date.
struct BodyPlace {
  nimbara::Vec3<double> at_au;  ///< Relative to the body that was asked for.
  double distance_au = 0.0;
  double longitude_deg = 0.0;  ///< On the ecliptic of the date, 0 to below 360; not a number in
                               ///< the centre itself.
  double latitude_deg = 0.0;   ///< Likewise.
  double yaw_deg = 0.0;
  double spin_deg = 0.0;  ///< 0 to 360.
  double roll_deg = 0.0;  ///< The tilt of the axis plus 90.
};

/// The default solar system, with its bodies cleared away in the end. For one thread.
class Sky {
 public:
  Sky() { orbits_.LoadSolarSystem(); }
  ~Sky() { orbits_.Clear(); }
  Sky(const Sky&) = delete;
  Sky& operator=(const Sky&) = delete;

  /// The names of all bodies, the Sun first.
  static std::vector<std::string> Names();

  /// `body` seen from the centre of `relative_to`; both must be among the names.
  BodyPlace PlaceOf(const std::string& body, const std::string& relative_to,
                    double julian_date) const;

  /// The record of a body; `body` must be among the names.
  const nimbara::spatial::OrbitalParameters& RecordOf(const std::string& body) const;

 private:
  nimbara::spatial::OrbitManager orbits_;
};

/// A length of the scene in astronomical units.
double SceneToAu(double length);

/// True for dates from 1600 to 2399, for which the elements of the default solar system are meant.
bool IsInUsefulRange(double julian_date);

}  // namespace command
}  // namespace pelorin
