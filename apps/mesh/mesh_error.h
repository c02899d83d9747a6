// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// How far a coded mesh lies from its source, over all corners. Points in the mesh's units.
struct MeshError {
  double max = 0;            ///< The largest distance of a point from where it was.
  double rms = 0;            ///< The root of the mean square of those distances.
  double max_axis = 0;       ///< The largest difference in one coordinate.
  double max_normal = 0;     ///< The same in one component of a normal,
  double max_tex_coord = 0;  ///< and of a texture coordinate.
};

/// Compares corner by corner, so the order of the pools does not matter. False where the two have
/// not the same index sets, or a corner names what is not there; `*error` is then as before. A
/// difference that is no number counts as infinite.
bool CompareMeshes(const geometry3d::Shape& source, const geometry3d::Shape& coded,
                   MeshError* error);

}  // namespace mesh
}  // namespace pelorin
