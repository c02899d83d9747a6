// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/outcome.h"
#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace command {

/// The file beside an OBJ file that holds its materials: "houses.mtl" for "houses.obj"; empty for
/// standard output, which has none.
std::string MaterialLibraryPath(const std::string& obj_path);

/// Writes `mesh` as an OBJ file, and its materials, if any, beside it. Neither gets its name before
/// both are written.
Outcome WriteObjFiles(const geometry3d::Shape& mesh, const std::string& path, bool overwrite);

}  // namespace command
}  // namespace pelorin
