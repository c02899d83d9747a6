// SPDX-License-Identifier: Apache-2.0
#include "host/units.h"

#include <limits>

namespace nimbara {
namespace {

constexpr double kPlanetRadiusMetres = 6371010.0;
constexpr double kAstronomicalUnitMetres = 149597870700.0;  // Exact, IAU 2012 resolution B2.

double MetresPerUnit(Units::LType unit) {
  switch (unit) {
  case Units::kSceneUnit:
    return kPlanetRadiusMetres;
  case Units::kAstronomicalUnit:
    return kAstronomicalUnitMetres;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

const double Units::s_inv_planet_radius = 1.0 / kPlanetRadiusMetres;

double Units::ConvertLength(double value, LType from, LType to) {
  return value * (MetresPerUnit(from) / MetresPerUnit(to));  // Exact where nothing changes.
}

}  // namespace nimbara
