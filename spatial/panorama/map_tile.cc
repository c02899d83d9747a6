// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/map_tile.h"

#include <cmath>
#include <limits>

#include "host/units.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kFourPi = 12.566370614359172;
// (1 + s) / (1 - s) with s = sin(lat) at 85 and -85 degrees.
constexpr double kNorthEdgeRatio = 524.5824762975057;
constexpr double kSouthEdgeRatio = 0.0019062779356603433;

double MercatorRatio(double lat) {
  if (lat > 85.0) {
    return kNorthEdgeRatio;
  }
  if (lat < -85.0) {
    return kSouthEdgeRatio;
  }
  const double s = std::sin(lat * kPi / 180.0);
  return (s + 1.0) / (1.0 - s);
}

// Truncation towards zero; what an int32 cannot hold becomes -1, the number of no tile.
std::int32_t TileNumber(double position) {
  constexpr double kBeyondInt32 = 2147483648.0;
  return position > -kBeyondInt32 && position < kBeyondInt32 ? static_cast<std::int32_t>(position)
                                                             : -1;
}

}  // namespace

void MapTile::DeriveTileParams(double lat, double lng, int zoom, double* x, double* y) {
  if (zoom < 0 || zoom > kMaxZoom) {
    *x = *y = std::numeric_limits<double>::quiet_NaN();
    return;
  }
  const int n = 1 << zoom;
  const int half = n / 2;
  *x = lng / 360.0 * n + half;
  *y = -(std::log(MercatorRatio(lat)) / kFourPi) * n + half;
}

MapTile::MapTile(double lat, double lng, int zoom_level) : zoom(zoom_level) {
  double fractional_x = 0.0;
  double fractional_y = 0.0;
  DeriveTileParams(lat, lng, zoom_level, &fractional_x, &fractional_y);
  x = TileNumber(fractional_x);
  y = TileNumber(fractional_y);
}

bool MapTile::Contains(double lat, double lng) const {
  return MapTile(lat, lng, zoom) == *this;
}

bool MapTile::IsValid() const {
  // The sign is tested before the shift, and a zoom that would shift into or past the sign bit has
  // no tiles.
  return zoom >= 0 && zoom <= kMaxZoom && x >= 0 && y >= 0 && x < (1 << zoom) && y < (1 << zoom);
}

void MapTile::CollectSurroundingTiles(double lat, double lng, int zoom, double radius,
                                      mmvector<MapTile>* tiles) {
  const MapTile centre(lat, lng, zoom);
  if (tiles == nullptr || !centre.IsValid()) {
    return;
  }
  tiles->push_back(centre);
  if (!(radius > 0.0)) {
    return;
  }
  const double offset_deg = radius * Units::s_inv_planet_radius * 180.0;
  for (int i = -1; i <= 1; ++i) {
    for (int j = -1; j <= 1; ++j) {
      if (i == 0 && j == 0) {
        continue;
      }
      const double length = std::sqrt(static_cast<double>(i * i + j * j));
      const double lng2 = std::fmod(j / length * offset_deg + lng + 540.0, 360.0) - 180.0;
      const double lat2 = std::fmod(i / length * offset_deg + lat + 270.0, 180.0) - 90.0;
      const MapTile tile(lat2, lng2, zoom);
      if (tile != centre) {
        tiles->push_back(tile);
      }
    }
  }
}

}  // namespace spatial
}  // namespace nimbara
