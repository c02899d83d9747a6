// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "host/values.h"
#include "spatial/orbit/mat4.h"
#include "spatial/orbit/orbital_parameters.h"

namespace nimbara {
namespace spatial {

/// The arithmetic of orbits: Kepler's problem with linearly drifting elements, and rotations from
/// attitude triples. Pure functions, safe from any thread; nothing is kept between calls, nothing
/// allocated, nothing refused. Numbers that are not finite come out as such.
///
/// An attitude triple is a `Vec3` read as (yaw, pitch, roll), in radians. The order of all
/// operations is fixed and none is fused, so equal inputs give equal bits on every machine with the
/// same sine and cosine.
///
///     const Vec3<double> at = OrbitUtils::CalcRelativePosition(
///         DateTime(2030, 1, 1), solarsystemdata::orbital_parameters[kOrbitMars]);
class PELORIN_EXPORT OrbitUtils {
 public:
  /// Where the body stands relative to its parent, in the host's scene unit, on the axes of the
  /// elements: for the default table x towards the equinox of the date and z towards the north pole
  /// of the ecliptic of the date.
  ///
  /// Kepler's equation is solved by exactly seven Newton steps, which is enough for a
  /// double at eccentricities up to about 0.95 and not for every one near 1. An eccentricity of 1
  /// or more gives not-a-number.
  static Vec3<double> CalcRelativePosition(const DateTime& date,
                                           const OrbitalParameters& parameters);

  /// How the body is turned: its yaw, its spin angle at `date` from 0 to two pi, both included, and
  /// its roll. A spin angle that is not finite, as a `rotation_period` of 0 gives, or of more than
  /// 2^31 turns, is returned as it is.
  static Vec3<double> CalcYawPitchRoll(const DateTime& date, const OrbitalParameters& parameters);

  /// The rotation from the body's own frame to that of the solar system.
  static Mat4 ComputeOrbitToSolarRotation(const Vec3<double>& yaw_pitch_roll);

  /// Its inverse, which is its transpose.
  static Mat4 ComputeSolarToOrbitRotation(const Vec3<double>& yaw_pitch_roll);

  /// The same rotation times `scale`, with the negated `position` as translation. The translation
  /// is neither turned nor scaled.
  static Mat4 ComputeOrbitToSolarTransform(double scale, const Vec3<double>& yaw_pitch_roll,
                                           const Vec3<double>& position);

  /// The unit vector from a body at `position` towards the origin of the solar frame, on the axes
  /// of the body that is turned by `yaw_pitch_roll`. The zero vector (perhaps with negative zeros)
  /// where `position` is zero or its square is too small for a double.
  static Vec3<double> CalcDirectionToBody(const Vec3<double>& position,
                                          const Vec3<double>& yaw_pitch_roll);
};

}  // namespace spatial
}  // namespace nimbara
