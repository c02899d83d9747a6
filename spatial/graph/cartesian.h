// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "host/values.h"

namespace nimbara {
namespace spatial {

/// The two conversions between stored positions and Cartesian space. Pure functions, safe from any
/// thread.
///
/// A stored position has x = longitude in degrees / 180, y = latitude in degrees / 180 and
/// z = altitude in planet radii. Cartesian space has its origin in the planet's centre and planet
/// radii as its unit; Y points to the north pole.

/// The Cartesian point of a stored position. Any finite input is accepted; not-a-number stays so.
PELORIN_EXPORT Vec3<double> CartesianFromStored(const Vec3<double>& stored);

/// The stored position of a Cartesian point, longitude brought into -1 to 1. The zero vector gives
/// altitude -1 (and whatever direction the signs of its zeros name). Not-a-number stays so.
PELORIN_EXPORT Vec3<double> StoredFromCartesian(const Vec3<double>& point);

}  // namespace spatial
}  // namespace nimbara
