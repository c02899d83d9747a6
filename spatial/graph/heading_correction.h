// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"

namespace nimbara {
namespace spatial {

/// How fast a view that looks `angle` radians (0 or above) away from its street may be turned back,
/// in radians per second, by the settings "maxAngularCorrectionPerSec",
/// "minAngularCorrectionPerSec", "angleOfMinCorrection" and "angleOfMaxCorrection" as they are now.
///
/// It grows as the angle shrinks, from the minimum at the one angle smoothly to the maximum at the
/// other: whoever looks nearly along the street is drawn in, whoever looks aside is left to look.
/// Where both angles are set equal, the maximum holds above that angle and the minimum at it and
/// below. Settings that are negative or no numbers can make the result so too.
PELORIN_EXPORT double HeadingCorrectionLimit(double angle);

/// `delta` (radians) brought into the range -limit to limit for its own size. 0 for a `delta` that
/// is not a number and where the limit is not above 0: then nothing is turned.
PELORIN_EXPORT double LimitedHeadingCorrection(double delta);

}  // namespace spatial
}  // namespace nimbara
