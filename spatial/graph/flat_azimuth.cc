// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/flat_azimuth.h"

#include "spatial/graph/plane.h"

namespace nimbara {
namespace spatial {

double FlatAzimuth(const Vec3<double>& from, const Vec3<double>& to) {
  constexpr double kQuarterTurn = 3.14159265358979323846 / 2.0;
  return BroughtIntoHalfTurns(kQuarterTurn - AngleFromEast({to.x - from.x, to.y - from.y}));
}

}  // namespace spatial
}  // namespace nimbara
