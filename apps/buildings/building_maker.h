// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "apps/buildings/footprints.h"
#include "util/geometry3d/mesh/building_z.h"

namespace pelorin {

/// How footprints become a building record.
struct BuildingOptions {
  /// Where the plan has its origin; empty: the middle of the footprints.
  std::optional<LatLng> origin;
  /// Coordinates and heights are multiples of 2^-point_bits metres; -8 to 16.
  int point_bits = 8;
  /// Called with the footprints done and all of them. Can be empty.
  std::function<void(std::uint64_t, std::uint64_t)> on_progress;
};

/// What came of it.
struct BuildingResult {
  LatLng origin;
  std::uint64_t polygons = 0;  ///< Made.
  std::uint64_t points = 0;
  std::uint64_t triangles = 0;
  std::uint64_t repaired = 0;  ///< Footprints that crossed themselves.
  std::uint64_t left_out = 0;  ///< Footprints of which nothing was made; each was warned of.
  std::uint64_t replaced = 0;  ///< Outlines whose parts stand for them.
};

/// Adds a polygon for each footprint to `*building`: metres east (x) and north (y) of the origin
/// and above the ground (z), on a plane that touches the planet (a sphere of 6371010 m) there. A
/// footprint that crosses itself is repaired and may make several polygons; one that cannot be cut
/// into triangles, is thinner than a step or lies more than 1000 km from the origin is left out,
/// with a warning in `*footprints`. An outline that parts cover but for a tenth at most is not
/// made: the parts stand for it, as mappers of simple 3D buildings mean it. Other footprints may
/// lie one in the other: both are made.
BuildingResult MakeBuilding(const BuildingOptions& options, Footprints* footprints,
                            geometry3d::BuildingZ* building);

}  // namespace pelorin
