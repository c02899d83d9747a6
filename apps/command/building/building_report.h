// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/buildings/building_maker.h"
#include "apps/buildings/footprints.h"
#include "apps/dataset/pano_record.h"
#include "util/geometry3d/mesh/building_z.h"

namespace pelorin {
namespace command {

/// What `pelorin building` read and made. Lengths in metres.
struct BuildingReport {
  std::string input;
  std::string attribution;
  /// Of footprints only; a stream has none of them.
  struct Source {
    std::uint64_t footprints = 0;
    std::uint64_t from_height = 0;
    std::uint64_t from_levels = 0;
    std::uint64_t from_default = 0;
    std::uint64_t above_ground = 0;
    std::uint64_t repaired = 0;
    std::uint64_t left_out = 0;
    std::uint64_t replaced = 0;
    LatLng origin;
  };
  std::optional<Source> source;
  std::vector<std::string> warnings;  ///< The first ones.
  std::uint64_t warning_count = 0;

  std::uint64_t polygons = 0;
  std::uint64_t contours = 0;
  std::uint64_t points = 0;
  std::uint64_t triangles = 0;  ///< Of the roofs.
  double min_x = 0.0, min_y = 0.0, max_x = 0.0, max_y = 0.0;
  double lowest = 0.0, highest = 0.0;  ///< Roofs.
  int point_bits = 0;
  std::size_t stream_bytes = 0;
};

/// Fills in what the building itself tells, which has a polygon at least.
void Measure(const geometry3d::BuildingZ& building, BuildingReport* report);

/// For people: a few lines.
std::string BuildingText(const BuildingReport& report);
/// {"input", "polygons", "contours", "points", "triangles", "extent_m": {"west", "south", "east",
/// "north"}, "roofs_m": {"lowest", "highest"}, "point_bits", "stream_bytes", "bytes_per_triangle",
/// and of footprints "origin": {lat, lng}, "footprints", "heights": {"height", "levels",
/// "default"}, "above_ground", "repaired", "left_out", "replaced_by_parts", "attribution";
/// "warnings": [text], "warning_count"}.
std::string BuildingJson(const BuildingReport& report);

}  // namespace command
}  // namespace pelorin
