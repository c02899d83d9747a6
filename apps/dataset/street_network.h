// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// Identity of a street point: streets meet where they share it, not where they merely cross.
struct NodeKey {
  /// The point of a source that numbers its points; equal numbers are one point.
  static NodeKey OfNumber(std::int64_t number) { return {0, number}; }
  /// The point of a source that only has places: the place to 1e-7 degrees, told apart by `storey`
  /// so that streets above each other stay apart.
  static NodeKey OfPlace(const LatLng& place, std::int32_t storey = 0);

  std::uint64_t space = 0;  ///< 0 for numbers; else 2^32 and the storey.
  std::int64_t value = 0;

  friend bool operator==(const NodeKey& a, const NodeKey& b) {
    return a.space == b.space && a.value == b.value;
  }
};

struct NodeKeyHash {
  std::size_t operator()(const NodeKey& key) const {
    return std::hash<std::uint64_t>()(key.space * 0x9E3779B97F4A7C15u ^
                                      static_cast<std::uint64_t>(key.value));
  }
};

struct StreetPoint {
  LatLng place;
  NodeKey key;
};

/// One storey of a building with streets inside it.
struct StreetLevel {
  std::string id;            ///< Empty: not in a building.
  std::int32_t ordinal = 0;  ///< 0 is the ground floor.
  std::string text;
  std::string abbreviation;
};

/// One line of streets. Points outside the planet's degrees are stepped over; a point next to an
/// equal one counts once.
struct Street {
  std::string name;       ///< Can be empty.
  std::int32_t rank = 0;  ///< Importance; where streets meet the lowest gives the name.
  std::uint32_t road_argb = 0xFFFFFFFF;
  StreetLevel level;
  std::string image_date;     ///< When it was seen, such as "2024-05"; can be empty.
  double half_width_m = 6.0;  ///< From the middle to the facades, above 0.
  bool left_facade = true;    ///< Houses along the left side, seen in the order of the points.
  bool right_facade = true;
  std::int32_t first_number = 0;  ///< The first house number; 0: houses have none.
  std::vector<StreetPoint> points;
};

}  // namespace pelorin
