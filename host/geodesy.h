// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/export.h"
#include "host/values.h"

namespace nimbara {

/// The bearing from point 1 to point 2. Arguments in the stored scale, degrees divided by 180, so
/// latitudes lie in -0.5 to 0.5 and longitudes in -1 to 1. The library compares differences of
/// results only.
///
/// Reference host: the initial bearing of the great circle, in radians, 0 towards north and growing
/// towards east, in -pi to pi; 0 for coincident points.
PELORIN_HOST_EXPORT double AzimuthToPoint(double lat1, double lon1, double lat2, double lon2);

/// The compass heading from `from` to `to` in degrees, 0 up to but not including 360, computed flat
/// in the stored plane (x east, y north). 0 for coincident points.
PELORIN_HOST_EXPORT float ComputeFlatMapCompassHeading(const Vec2<double>& from,
                                                       const Vec2<double>& to);

namespace geometry {

/// Replaces `*out` by the encoded polyline of `count` stored positions (x longitude / 180,
/// y latitude / 180): latitude then longitude, rounded to 1e-5 degrees, each as the difference to
/// the point before, in the published 5-bit text form. A null `points` or a `count` of 0 or less
/// gives empty text; a coordinate that is not finite counts as 0. Null `out` does nothing.
PELORIN_HOST_EXPORT void EncodePolylineString(const Vec3<double>* points, int count,
                                              std::string* out);

}  // namespace geometry
}  // namespace nimbara
