// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// Reads the text of a Wavefront OBJ file into an empty shape, its three index arrays kept apart.
/// Faces of three, four and more corners become triangles, quads and polygons, lines become lines,
/// free points are left out. Material libraries are sought in `folder` (with a slash at its end, or
/// empty for the current one); one that is missing, larger than 64 MiB or no plain file leaves the
/// faces without material, and a line about it is appended to `*warnings`, which may be null.
///
/// False with a reason in `*error` for text that cannot be read, a number of a point, normal or
/// texture coordinate that is none or missing, a corner that is none, faces that name what is not
/// there or have more than 255 corners, and text without faces; `*shape` is then of no use.
bool ReadObj(const std::string& text, const std::string& folder, geometry3d::Shape* shape,
             std::string* error, std::vector<std::string>* warnings);

}  // namespace mesh
}  // namespace pelorin
