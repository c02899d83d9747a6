// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"

namespace nimbara {

/// Lengths as the host's scene measures them.
class PELORIN_HOST_EXPORT Units {
 public:
  /// Codes of length units.
  enum LType {
    kSceneUnit = 8,          ///< The scene's own unit; in the reference host a planet radius.
    kAstronomicalUnit = 13,  ///< 149597870700 m.
  };

  /// 1 divided by the planet's radius in metres: turns metres into planet radii.
  static const double s_inv_planet_radius;

  /// `value` of unit `from`, expressed in unit `to`. A unit code that the host does not know gives
  /// not-a-number.
  static double ConvertLength(double value, LType from, LType to);
};

}  // namespace nimbara
