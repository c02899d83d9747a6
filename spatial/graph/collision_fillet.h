// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "host/values.h"

namespace nimbara {
namespace spatial {

/// The circle that rounds off the corner between the corridors of two links of one panorama. It is
/// tangent to both corridors' edges on the inside of the corner; what lies between them and the
/// circle can be walked on, the circle itself is the obstacle. A plain value in stored units.
struct CollisionFillet {
  Vec2<double> centre;
  double radius = 0.0;
};

/// What a fillet is made from. Lengths in stored units.
struct CollisionCorner {
  Vec2<double> place;  ///< Where the two links meet.
  /// Unit vectors along the two links, away from `place`. The wedge between them opens clockwise
  /// from `before` to `after`. A link of no length has a zero vector; its circle then sits on
  /// `place`.
  Vec2<double> before;
  Vec2<double> after;
  double half_width = 0.0;  ///< Of both corridors at `place`.
  double reach = 0.0;       ///< From `place` to where the circle touches, along each link.
};

/// True, and the circle in `*fillet`, for a wedge that opens by no more than 170 degrees and in
/// which the circle has room. False, `*fillet` untouched, for a wider or a reflex wedge, for one so
/// narrow that the circle would overlap the corridors, for a negative `half_width` and for numbers
/// that are none. Safe from any thread.
PELORIN_EXPORT bool MakeCollisionFillet(const CollisionCorner& corner, CollisionFillet* fillet);

}  // namespace spatial
}  // namespace nimbara
