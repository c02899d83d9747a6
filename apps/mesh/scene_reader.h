// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// Reads the bytes of a file whose format has the name `ending` ("ply" or "glb") into an empty
/// shape. Nodes are placed where the file puts them, and equal points, normals and texture
/// coordinates become one pool entry each. Textures are taken by name; files beside are not read.
///
/// False with a reason in `*error` for bytes that cannot be read and for those without faces;
/// `*shape` is then of no use.
bool ReadScene(const std::string& bytes, const std::string& ending, geometry3d::Shape* shape,
               std::string* error);

}  // namespace mesh
}  // namespace pelorin
