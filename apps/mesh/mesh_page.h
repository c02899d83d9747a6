// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// The page as a browser reads it, with "@DATA@" where the data goes.
extern const std::string_view kMeshPage;

/// A page of its own, without any network, that shows two valid shapes with the same index sets
/// side by side, to be turned with the mouse, and the second one by its distance from the first.
/// `report_json` is the report as a JSON object, shown beside them.
std::string MeshPage(const geometry3d::Shape& before, const geometry3d::Shape& after,
                     const std::string& report_json);

}  // namespace mesh
}  // namespace pelorin
