// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/collision_fillet.h"

#include <cmath>

#include "spatial/graph/plane.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kWidestOpening = 2.9670597283903604;  // 170 degrees in radians.

}  // namespace

// The centre C stands `reach` along the link and square to it, on the bisector of the opening:
//
//      P ---reach--- T ------ before        tan(theta / 2) = |TC| / reach
//       \ ) theta/2  |
//         \          | tangent radius
//           \        C                      |TC| - half width = radius of the circle
//             after
bool MakeCollisionFillet(const CollisionCorner& corner, CollisionFillet* fillet) {
  if (!(corner.half_width >= 0.0)) {
    return false;
  }
  const double opening =
      BroughtIntoFullTurn(AngleFromEast(corner.before) - AngleFromEast(corner.after));
  if (!(opening <= kWidestOpening)) {
    return false;
  }
  const double tangent_radius = std::tan(opening / 2.0) * corner.reach;
  const double radius = tangent_radius - corner.half_width;
  if (!(radius >= 0.0)) {
    return false;
  }
  const Vec2<double> inward = Normalised({corner.before.y, -corner.before.x});
  const Vec2<double> touched = Along(corner.place, corner.before, corner.reach);
  *fillet = {Along(touched, inward, tangent_radius), radius};
  return true;
}

}  // namespace spatial
}  // namespace nimbara
