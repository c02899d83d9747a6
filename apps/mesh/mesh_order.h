// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/mesh/mesh_stream.h"
#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// Looks for the order of triangles in which a valid shape makes the smallest stream: sets that
/// belong together joined, triangles reordered so that vertices are used again soon, and strips
/// made of those. `*ordered`, an empty shape, becomes the smallest of these and `shape` itself,
/// under the settings. Quads, polygons, fans and strips become triangles or strips; the surface,
/// its pools and materials stay.
void OrderForSize(const geometry3d::Shape& shape, const StreamSettings& settings,
                  geometry3d::Shape* ordered);

}  // namespace mesh
}  // namespace pelorin
