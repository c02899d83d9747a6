// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "apps/command/building/building_report.h"
#include "apps/command/outcome.h"
#include "util/geometry3d/mesh/building_z.h"

namespace pelorin {
namespace command {

/// What a building is written as.
enum class BuildingFormat {
  kStream,  ///< "stream", ".zb": as it is, without a base.
  kGlb,     ///< "glb": extruded, y up as glTF wants it.
  kObj,     ///< "obj": extruded, z up; its materials in a file beside it.
  kHtml,    ///< "html": a page that shows it.
};

/// By the name of the format or of a file's ending; nothing for any other.
std::optional<BuildingFormat> BuildingFormatByName(std::string_view name);

/// The building as a stream at `point_bits`; false where a number does not fit.
bool BuildingStream(const geometry3d::BuildingZ& building, int point_bits, std::string* stream);

/// Fails with wrong usage for files that are there and may not be replaced.
Outcome CheckMayWriteBuilding(BuildingFormat format, const std::string& path, bool overwrite);

/// Writes `building`, whose `stream` is known, to `path` ("-" for standard output). Meshes have
/// walls down to `base_m`, roofs and the lines of their edges. `report` stands on the page.
Outcome WriteBuilding(const geometry3d::BuildingZ& building, const std::string& stream,
                      BuildingFormat format, double base_m, const std::string& path, bool overwrite,
                      const BuildingReport& report);

}  // namespace command
}  // namespace pelorin
