// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/referent.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// The surface that a photo overlay is spread on, where the host knows its shape: the ground and
/// the walls around one panorama. The library puts roads onto it.
///
/// The host makes it and gives it to its overlay, which keeps one reference; the count is plain. A
/// surface does not change, so any thread may ask it while its overlay is kept alive.
///
/// Cartesian space has its origin in the planet's centre and planet radii as its unit; Y points to
/// the north pole, and a longitude of 0 lies on the negative Z axis.
class PELORIN_HOST_EXPORT OverlaySurface : public Referent {
 public:
  ~OverlaySurface() override;

  /// Where the surface is seen from: the eye of the panorama, as a Cartesian point.
  virtual Vec3<double> GetOrigin() const = 0;

  /// The direction away from the ground at the origin, in Cartesian space, of length 1.
  virtual Vec3<double> GetUpVector() const = 0;

  /// Follows a ray that starts at the Cartesian point `start` and has no end. `direction` can have
  /// any length above 0. True if it meets the surface; `*hit` is then the Cartesian point where it
  /// does so first, `start` itself included. Otherwise false, with `*hit` untouched: so with a zero
  /// direction, and with anything that is not a number.
  virtual bool TestRay(const Vec3<double>& start, const Vec3<double>& direction,
                       Vec3<double>* hit) const = 0;
};

}  // namespace loculus
}  // namespace nimbara
