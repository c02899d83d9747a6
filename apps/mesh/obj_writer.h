// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// A valid shape as the text of an OBJ file, its three index arrays kept apart and every number so
/// that it comes back as it was. Strips and fans become triangles. `library` is the name of the
/// material library to point at; empty for none.
std::string ObjText(const geometry3d::Shape& shape, const std::string& library);

/// Its materials as the text of that library; textures by name.
std::string MtlText(const geometry3d::Shape& shape);

}  // namespace mesh
}  // namespace pelorin
