// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace mesh {

/// Whether a PLY file, text or binary, has a sound header, the elements of a mesh in their order
/// and all the data that it promises, in text one element a line. The reader behind it believes
/// what it is told: a damaged file would crash it, keep it for hours or come out as another mesh.
/// False with a reason in `*error`; also for strips of triangles, of which it would take one each.
bool CheckPly(const std::string& bytes, std::string* error);

}  // namespace mesh
}  // namespace pelorin
