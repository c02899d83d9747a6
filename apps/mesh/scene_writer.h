// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// Writes a valid shape as the bytes of a file in the format `ending`: "glb", binary glTF 2.0, or
/// "ply", binary. Faces become triangles, corners become vertices. Both hold positions as `float`;
/// in GLB they count from a whole-numbered origin in the middle of the mesh, which its node adds,
/// so that meshes far from zero keep their precision. PLY has no materials. False with a reason in
/// `*error` where the library refuses; `*bytes` is then as before.
bool WriteScene(const geometry3d::Shape& shape, const std::string& ending, std::string* bytes,
                std::string* error);

}  // namespace mesh
}  // namespace pelorin
