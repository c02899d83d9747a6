// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace command {

/// What stands beside the picture of a mesh. UTF-8 texts of any content: none of them can leave its
/// place in the page.
struct BuildingPageTexts {
  std::string title;
  std::vector<std::pair<std::string, std::string>> facts;  ///< Names and values.
  std::string credit;                                      ///< Whose data it is; may be empty.
  std::string made;                                        ///< The program.
};

/// A mesh as one HTML page that needs nothing else: it draws the triangles of all formats, lit by
/// their normals in the diffuse colours of their materials, and the lines, and lets the mesh be
/// turned. z is up. `shape` must be valid.
std::string BuildingPage(const geometry3d::Shape& shape, const BuildingPageTexts& texts);

}  // namespace command
}  // namespace pelorin
