// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "apps/dataset/height_grid.h"

namespace pelorin {

/// How the samples of a grid are kept. Internal to this room.

/// Tiles are squares of this many samples, those at the south and east edges cut; they are numbered
/// row by row from the north-west.
constexpr std::int64_t kHeightTileSide = 64;

/// Tiles in a row of tiles, and in the whole grid.
std::int64_t HeightTileColumns(const HeightGridInfo& info);
std::int64_t HeightTileCount(const HeightGridInfo& info);

/// One tile of `grid` as a compressed stream.
std::string PackedHeightTile(const HeightGrid& grid, std::int64_t tile);

/// The heights of the planet over several grids, read tile by tile as they are needed. For one
/// thread at a time.
class HeightField {
 public:
  /// Gives the stream of one tile, as `PackedHeightTile` made it. Throws if there is none.
  using TileReader = std::function<std::string(std::size_t grid, std::int64_t tile)>;

  /// `grids` is sorted: the finest first.
  HeightField(std::vector<HeightGridInfo> grids, TileReader read);

  const std::vector<HeightGridInfo>& grids() const { return grids_; }

  /// The height at a valid place; only the grids `wanted` count, in their order. Throws what the
  /// reader throws, and if a tile is damaged.
  Height At(const LatLng& place, HeightInterpolation interpolation,
            const std::vector<std::size_t>& wanted);

 private:
  struct Spot;
  struct Sample {
    double metres;
    bool filled;
    bool known;
  };

  Sample SampleAt(std::size_t grid, std::int64_t row, std::int64_t column);
  Sample Filled(std::size_t grid, std::int64_t row, std::int64_t column);
  float Raw(std::size_t grid, std::int64_t row, std::int64_t column);
  const std::vector<float>& Tile(std::size_t grid, std::int64_t tile);
  bool Locate(std::size_t grid, const LatLng& place, Spot* spot) const;
  Height Interpolated(std::size_t grid, const Spot& spot, HeightInterpolation interpolation);

  std::vector<HeightGridInfo> grids_;
  TileReader read_;
  std::vector<std::unordered_map<std::int64_t, std::vector<float>>> tiles_;  // For each grid.
  std::size_t kept_samples_ = 0;
  // The last tile that was used: neighbouring places mostly want the same.
  std::size_t last_grid_ = 0;
  std::int64_t last_number_ = -1;
  const std::vector<float>* last_tile_ = nullptr;
};

}  // namespace pelorin
