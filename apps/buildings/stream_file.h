// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "util/geometry3d/mesh/building_z.h"

namespace pelorin {

/// What a building stream told beside its building.
struct StreamFacts {
  int point_bits = 0;
  std::size_t bytes_behind_end = 0;  ///< Bytes of the file that belong to nothing.
};

/// Whether `bytes` begin as a building stream does, of whatever version.
bool IsBuildingStream(const std::string& bytes);

/// Reads the stream of a file, and refuses what a decoder takes from any bytes: a stream that was
/// cut, one whose counts want more than a gigabyte, and polygons that cannot be extruded (contours
/// that do not cover their points, no triangles, indices out of range). False with one line in
/// `*error`; `*building`, which should be empty, is then to be dropped. Safe from any thread.
bool ReadBuildingStream(const std::string& bytes, geometry3d::BuildingZ* building,
                        StreamFacts* facts, std::string* error);

}  // namespace pelorin
