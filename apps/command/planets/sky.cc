// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/sky.h"

#include <cmath>

#include "host/units.h"
#include "spatial/orbit/orbit.h"
#include "spatial/orbit/solar_system_data.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::DateTime;
using nimbara::Units;
using nimbara::Vec3;

constexpr double kDegrees = 57.29577951308232;

}  // namespace

std::vector<std::string> Sky::Names() {
  std::vector<std::string> names;
  for (const QString& name : nimbara::spatial::solarsystemdata::orbit_names_) {
    names.push_back(name.toStdString());
  }
  return names;
}

BodyPlace Sky::PlaceOf(const std::string& body, const std::string& relative_to,
                       double julian_date) const {
  const DateTime date = DateTime::FromJulianDate(julian_date);
  const QString name = QString::fromStdString(body);
  const Vec3<double> at =
      orbits_.CalcOrbitPosition(name, QString::fromStdString(relative_to), date);
  const Vec3<double> turned = orbits_.CalcOrbitYawPitchRoll(name, date);
  BodyPlace place;
  place.at_au = {SceneToAu(at.x), SceneToAu(at.y), SceneToAu(at.z)};
  place.distance_au = std::hypot(place.at_au.x, place.at_au.y, place.at_au.z);
  const double longitude = std::atan2(place.at_au.y, place.at_au.x) * kDegrees;
  const bool has_direction = place.distance_au > 0.0;
  place.longitude_deg = !has_direction    ? std::nan("")
                        : longitude < 0.0 ? longitude + 360.0
                                          : longitude;
  place.latitude_deg =
      has_direction ? std::asin(place.at_au.z / place.distance_au) * kDegrees : std::nan("");
  place.yaw_deg = turned.x * kDegrees;
  place.spin_deg = turned.y * kDegrees;
  place.roll_deg = turned.z * kDegrees;
  return place;
}

const nimbara::spatial::OrbitalParameters& Sky::RecordOf(const std::string& body) const {
  return orbits_.GetOrbit(QString::fromStdString(body))->orbital_parameters();
}

double SceneToAu(double length) {
  return Units::ConvertLength(length, Units::kSceneUnit, Units::kAstronomicalUnit);
}

bool IsInUsefulRange(double julian_date) {
  static const double first = DateTime(1600, 1, 1).GetJulianDate();
  static const double end = DateTime(2400, 1, 1).GetJulianDate();
  return julian_date >= first && julian_date < end;
}

}  // namespace command
}  // namespace pelorin
