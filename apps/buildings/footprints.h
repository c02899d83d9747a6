// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// The outline of one building on the map. Rings are closed without a repeated place, of at least
/// three places each; the first one is the outer ring, the others are holes. They may run either
/// way round and cross themselves: nobody has looked at that yet.
struct Footprint {
  std::string name;  ///< The feature's id, or its number such as "feature 3".
  std::vector<std::vector<LatLng>> rings;
  double height_m = 0.0;  ///< Metres above the ground, above 0 and at most 10000.
  bool is_part = false;  ///< Of a building with an outline of its own: its `building:part` says so.
};

/// How heights are found.
struct FootprintOptions {
  double level_height_m = 3.0;    ///< Of one storey, where only storeys are told.
  double default_height_m = 6.0;  ///< Where nothing is told.
};

/// What a file of footprints holds.
struct Footprints {
  std::vector<Footprint> footprints;
  std::string attribution;        ///< What the file says about itself; may be empty.
  std::uint64_t from_height = 0;  ///< Footprints by where their height is from.
  std::uint64_t from_levels = 0;
  std::uint64_t from_default = 0;
  std::uint64_t above_ground = 0;    ///< Parts that in truth begin above the ground.
  std::uint64_t other_features = 0;  ///< Points, lines and features without a shape.
  /// Oddities that were stepped over, at most 100, each one line; `warning_count` counts all.
  std::vector<std::string> warnings;
  std::uint64_t warning_count = 0;

  void Warn(const std::string& warning);
};

/// Reads the polygons of a GeoJSON text (any object; collections may be nested). The height of each
/// is its property `height` (metres, or with a unit: "12.5", "12.5 m", "41 ft"), else
/// `building:levels` times the height of a storey, else the default; a number that is no height is
/// warned of and passed over. False, with one line in `*error` (line and byte where they are
/// known), for a text that is not GeoJSON; `*footprints` is then as it was. Safe from any thread.
bool ReadFootprints(std::string_view text, const FootprintOptions& options, Footprints* footprints,
                    std::string* error);

/// Reads a length in metres, or with a unit behind it: m, ft or '. False for anything else, and for
/// what is not above 0 or above 10000 m, with `*metres` as it was. The point is a dot.
bool ParseHeight(std::string_view text, double* metres);

}  // namespace pelorin
