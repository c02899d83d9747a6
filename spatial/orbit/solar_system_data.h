// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "spatial/orbit/orbital_parameters.h"

namespace nimbara {
namespace spatial {

/// The bodies of the default solar system; the values index its tables. Every body stands behind
/// the one that it orbits.
enum OrbitName {
  kOrbitSun = 0,
  kOrbitMercury = 1,
  kOrbitVenus = 2,
  kOrbitEarth = 3,
  kOrbitMars = 4,
  kOrbitJupiter = 5,
  kOrbitSaturn = 6,
  kOrbitUranus = 7,
  kOrbitNeptune = 8,
  kOrbitMoon = 9,  ///< Orbits the Earth, not the Sun.
};

/// The default solar system. Both tables are filled when the library is loaded, go when the process
/// ends, and never change in between, so any thread may read them.
///
/// The elements are those of the mean ecliptic and equinox of the date (the node's rates carry the
/// precession) and know of no perturbations; docs/solar-system.md tells how far they can be
/// trusted. The Sun's orbit of 1e-20 astronomical units is meant: it has a place that is not
/// exactly zero.
namespace solarsystemdata {

constexpr int kOrbitCount = 10;

/// The names by `OrbitName`: "sun", "mercury" and so on.
extern PELORIN_EXPORT const QString orbit_names_[kOrbitCount];

/// The records by `OrbitName`.
extern PELORIN_EXPORT const OrbitalParameters orbital_parameters[kOrbitCount];

/// A copy of the name of `name`, which must be one of the enumerators: its range is not tested.
PELORIN_EXPORT QString GetOrbitName(OrbitName name);

}  // namespace solarsystemdata
}  // namespace spatial
}  // namespace nimbara
