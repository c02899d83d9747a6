// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/values.h"
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace spatial {

/// How far a computed place is off the true one, both seen from the parent.
struct PlaceError {
  double angle_deg = 0.0;      ///< Between the two directions.
  double distance_part = 0.0;  ///< |computed / true - 1| of the distances.
};

/// Our place of `body` relative to its parent, in astronomical units.
Vec3<double> OurPlaceAu(OrbitName body, double julian_date);

/// ERFA's place of a planet relative to the Sun (`eraPlan94`, Simon et al. 1994) or of the Moon
/// relative to the Earth (`eraMoon98`, Meeus 1998), in astronomical units on the axes of the mean
/// ecliptic and equinox of the date, as our elements have them. Not for the Sun. `eraPlan94` gives
/// the barycentre of Earth and Moon; the Earth's own place is taken from it.
Vec3<double> ErfaPlaceAu(OrbitName body, double julian_date_tt);

/// A vector on the axes of the ICRF turned to those of the mean ecliptic and equinox of the date.
Vec3<double> ToEclipticOfDate(const Vec3<double>& icrf, double julian_date_tt);

PlaceError ErrorOf(const Vec3<double>& ours, const Vec3<double>& truth);

}  // namespace spatial
}  // namespace nimbara
