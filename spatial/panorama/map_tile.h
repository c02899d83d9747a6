// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "base/export.h"
#include "host/memory.h"

namespace nimbara {
namespace spatial {

/// The address of one square of a Web Mercator tile pyramid: column from west, row from north,
/// level. A plain value; safe from any thread. Angles are in degrees, positive east and north.
///
/// Any number may go in. Coordinates that are not finite or that no tile number can hold give
/// column or row -1, as does any point at a zoom outside 0 to 30, so that such a tile
/// is not valid.
struct PELORIN_EXPORT MapTile {
  /// The highest level whose tile numbers fit an `int32`.
  static constexpr int kMaxZoom = 30;

  MapTile() = default;

  /// The tile that holds a point. Fractional tile positions are truncated towards zero, and
  /// longitudes do not wrap: longitude 180 gives a column that is not valid, and a point slightly
  /// west of -180 falls into column 0.
  MapTile(double lat, double lng, int zoom_level);

  /// The tile with these numbers, valid or not. No constructor, so that a point given in whole
  /// degrees cannot be taken for it.
  static MapTile At(std::int32_t tile_x, std::int32_t tile_y, std::int32_t tile_zoom) {
    MapTile tile;
    tile.x = tile_x;
    tile.y = tile_y;
    tile.zoom = tile_zoom;
    return tile;
  }

  /// The fractional position of a point in the pyramid. Latitudes above 85 or below -85 count as
  /// those. For a zoom outside 0 to 30 both results are not-a-number. `x` and `y` must not be null.
  static void DeriveTileParams(double lat, double lng, int zoom, double* x, double* y);

  /// True if the point lies in this tile.
  bool Contains(double lat, double lng) const;

  /// True if level, column and row exist: none negative, column and row below `1 << zoom`.
  bool IsValid() const;

  /// Appends the tile that holds the point, and, for a `radius` in metres above 0, the tiles of the
  /// eight points around it, south-west first, as far as they differ from the centre tile. The ring
  /// lies pi times farther out than `radius` says; clients and service are tuned to that reach. The
  /// ring's tiles are neither tested for validity nor for duplicates. An invalid centre appends
  /// nothing. Null `tiles` does nothing.
  static void CollectSurroundingTiles(double lat, double lng, int zoom, double radius,
                                      mmvector<MapTile>* tiles);

  friend bool operator==(const MapTile& a, const MapTile& b) {
    return a.x == b.x && a.y == b.y && a.zoom == b.zoom;
  }
  friend bool operator!=(const MapTile& a, const MapTile& b) { return !(a == b); }

  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t zoom = 0;
};

}  // namespace spatial
}  // namespace nimbara
