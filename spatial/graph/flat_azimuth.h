// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "host/values.h"

namespace nimbara {
namespace spatial {

/// The direction from one stored position to another in the plane of x (longitude / 180) and y
/// (latitude / 180), without correction for the convergence of the meridians: radians, 0 towards
/// north, growing towards east, -pi to pi with both ends possible (due south is -pi). Altitudes
/// play no part. Positions less than 1e-9 apart give pi/2; a coordinate that is not a number gives
/// not-a-number. Safe from any thread.
PELORIN_EXPORT double FlatAzimuth(const Vec3<double>& from, const Vec3<double>& to);

}  // namespace spatial
}  // namespace nimbara
