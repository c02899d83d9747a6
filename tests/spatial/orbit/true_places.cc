// SPDX-License-Identifier: Apache-2.0
#include "tests/spatial/orbit/true_places.h"

#include <erfa.h>

#include <cmath>

#include "host/units.h"
#include "spatial/orbit/orbit_utils.h"

namespace nimbara {
namespace spatial {
namespace {

// Mass of the Earth and the Moon together, in masses of the Moon (IAU 2009).
constexpr double kEarthAndMoonInMoons = 82.300568;

Vec3<double> MoonIcrfAu(double julian_date_tt) {
  double pv[2][3];
  eraMoon98(julian_date_tt, 0.0, pv);
  return {pv[0][0], pv[0][1], pv[0][2]};
}

}  // namespace

Vec3<double> OurPlaceAu(OrbitName body, double julian_date) {
  const Vec3<double> at = OrbitUtils::CalcRelativePosition(
      DateTime::FromJulianDate(julian_date), solarsystemdata::orbital_parameters[body]);
  const auto au = [](double length) {
    return Units::ConvertLength(length, Units::kSceneUnit, Units::kAstronomicalUnit);
  };
  return {au(at.x), au(at.y), au(at.z)};
}

Vec3<double> ErfaPlaceAu(OrbitName body, double julian_date_tt) {
  if (body == kOrbitMoon) {
    return ToEclipticOfDate(MoonIcrfAu(julian_date_tt), julian_date_tt);
  }
  double pv[2][3];
  eraPlan94(julian_date_tt, 0.0, body, pv);  // It counts the planets as `OrbitName` does.
  Vec3<double> at{pv[0][0], pv[0][1], pv[0][2]};
  if (body == kOrbitEarth) {
    const Vec3<double> moon = MoonIcrfAu(julian_date_tt);
    at = {at.x - moon.x / kEarthAndMoonInMoons, at.y - moon.y / kEarthAndMoonInMoons,
          at.z - moon.z / kEarthAndMoonInMoons};
  }
  return ToEclipticOfDate(at, julian_date_tt);
}

Vec3<double> ToEclipticOfDate(const Vec3<double>& icrf, double julian_date_tt) {
  double turn[3][3];
  eraEcm06(julian_date_tt, 0.0, turn);
  const double from[3] = {icrf.x, icrf.y, icrf.z};
  double to[3];
  eraRxp(turn, const_cast<double*>(from), to);
  return {to[0], to[1], to[2]};
}

PlaceError ErrorOf(const Vec3<double>& ours, const Vec3<double>& truth) {
  double a[3] = {ours.x, ours.y, ours.z};
  double b[3] = {truth.x, truth.y, truth.z};
  return {eraSepp(a, b) * 57.29577951308232, std::fabs(eraPm(a) / eraPm(b) - 1.0)};
}

}  // namespace spatial
}  // namespace nimbara
