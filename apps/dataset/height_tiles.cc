// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/height_tiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "apps/dataset/schema.h"

namespace pelorin {

namespace {

// Unpacked tiles up to this many samples stay in memory: 64 MiB.
constexpr std::size_t kMaxKeptSamples = std::size_t{16} << 20;
// How far a missing sample looks for known ones, in samples, along each of eight directions.
constexpr std::int64_t kFillReach = 64;

struct TileShape {
  std::int64_t row = 0;  // Of its first sample.
  std::int64_t column = 0;
  std::int64_t rows = 0;
  std::int64_t columns = 0;
};

TileShape ShapeOf(const HeightGridInfo& info, std::int64_t tile) {
  TileShape shape;
  shape.row = tile / HeightTileColumns(info) * kHeightTileSide;
  shape.column = tile % HeightTileColumns(info) * kHeightTileSide;
  shape.rows = std::min(kHeightTileSide, info.rows - shape.row);
  shape.columns = std::min(kHeightTileSide, info.columns - shape.column);
  return shape;
}

bool GoesRound(const HeightGridInfo& info) {
  return static_cast<double>(info.columns) * info.lng_step_deg >= 360.0 - 0.5 * info.lng_step_deg;
}

// Samples once round, in a grid that goes round; the last one of a row can stand where the first
// does. At least one, however long a step is.
std::int64_t SamplesRound(const HeightGridInfo& info) {
  const auto steps = static_cast<std::int64_t>(std::lround(360.0 / info.lng_step_deg));
  return std::clamp<std::int64_t>(steps, 1, info.columns);
}

// The column that stands for one up to a step west or two east of the grid: across its seam, or the
// last one at its edge.
std::int64_t ColumnOf(const HeightGridInfo& info, std::int64_t column) {
  if (!GoesRound(info)) {
    return std::clamp<std::int64_t>(column, 0, info.columns - 1);
  }
  const std::int64_t round = SamplesRound(info);
  return (column + round) % round;
}

// The samples along one axis that a height can be made of: one before the place, the one at it or
// just before, and the two behind.
constexpr std::int64_t kTaps = 4;
using Weights = std::array<double, kTaps>;

// What each counts where the place is `t` of the way from the second to the third, 0 to 1.
Weights WeightsOf(HeightInterpolation interpolation, double t) {
  switch (interpolation) {
  case HeightInterpolation::kNearest:
    return t < 0.5 ? Weights{0.0, 1.0, 0.0, 0.0} : Weights{0.0, 0.0, 1.0, 0.0};
  case HeightInterpolation::kBilinear:
    return {0.0, 1.0 - t, t, 0.0};
  case HeightInterpolation::kCubic:
    break;
  }
  return {((1.0 - 0.5 * t) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1.0,
          ((2.0 - 1.5 * t) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
}

void AppendFloat(float value, std::string* bytes) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  for (int i = 0; i < 4; ++i) {
    bytes->push_back(static_cast<char>(bits >> (8 * i)));
  }
}

float FloatAt(const std::string& bytes, std::size_t at) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
  }
  float value = 0.0f;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace

std::int64_t HeightTileColumns(const HeightGridInfo& info) {
  return (info.columns + kHeightTileSide - 1) / kHeightTileSide;
}

std::int64_t HeightTileCount(const HeightGridInfo& info) {
  return (info.rows + kHeightTileSide - 1) / kHeightTileSide * HeightTileColumns(info);
}

std::string PackedHeightTile(const HeightGrid& grid, std::int64_t tile) {
  const TileShape shape = ShapeOf(grid.info, tile);
  std::string bytes;
  bytes.reserve(static_cast<std::size_t>(shape.rows * shape.columns) * 4);
  for (std::int64_t row = 0; row < shape.rows; ++row) {
    for (std::int64_t column = 0; column < shape.columns; ++column) {
      AppendFloat(grid.samples[static_cast<std::size_t>((shape.row + row) * grid.info.columns +
                                                        shape.column + column)],
                  &bytes);
    }
  }
  return Deflated(bytes);
}

// Where a place lies in a grid: the sample north-west of it, and how far the place is on the way to
// the next ones, 0 to 1.
struct HeightField::Spot {
  std::int64_t row = 0;
  std::int64_t column = 0;
  double to_south = 0.0;
  double to_east = 0.0;
};

HeightField::HeightField(std::vector<HeightGridInfo> grids, TileReader read)
    : grids_(std::move(grids)), read_(std::move(read)), tiles_(grids_.size()) {}

// A sample stands for half a step around it, so the edge of a grid reaches that far beyond its
// samples; two grids whose cells meet leave no gap.
bool HeightField::Locate(std::size_t grid, const LatLng& place, Spot* spot) const {
  const HeightGridInfo& info = grids_[grid];
  const double last_row = static_cast<double>(info.rows - 1);
  const double last_column = static_cast<double>(info.columns - 1);
  double row = (info.north_deg - place.lat_deg) / info.lat_step_deg;
  if (!(row >= -0.5 && row <= last_row + 0.5)) {
    return false;
  }
  const double turns = 360.0 / info.lng_step_deg;
  double column = (place.lng_deg - info.west_deg) / info.lng_step_deg;
  column -= std::floor(column / turns) * turns;
  const bool round = GoesRound(info);
  if (!round && column > last_column + 0.5) {
    column -= turns;
    if (column < -0.5) {
      return false;
    }
  }
  row = std::clamp(row, 0.0, last_row);
  column = std::clamp(column, 0.0, round ? last_column + 1.0 : last_column);
  spot->row = static_cast<std::int64_t>(row);
  spot->to_south = row - static_cast<double>(spot->row);
  spot->column = static_cast<std::int64_t>(column);
  spot->to_east = column - static_cast<double>(spot->column);
  return true;
}

Height HeightField::At(const LatLng& place, HeightInterpolation interpolation,
                       const std::vector<std::size_t>& wanted) {
  Height best;
  best.filled = true;
  for (const std::size_t grid : wanted) {
    Spot spot;
    if (!Locate(grid, place, &spot)) {
      continue;
    }
    const Height height = Interpolated(grid, spot, interpolation);
    if (!height.filled) {
      return height;
    }
    if (best.grid < 0) {
      best = height;
    }
  }
  return best;
}

Height HeightField::Interpolated(std::size_t grid, const Spot& spot,
                                 HeightInterpolation interpolation) {
  const HeightGridInfo& info = grids_[grid];
  const Weights down = WeightsOf(interpolation, spot.to_south);
  const Weights right = WeightsOf(interpolation, spot.to_east);
  Height height;
  for (std::int64_t i = 0; i < kTaps; ++i) {
    const std::int64_t row = std::clamp<std::int64_t>(spot.row - 1 + i, 0, info.rows - 1);
    for (std::int64_t k = 0; k < kTaps; ++k) {
      const double weight = down[static_cast<std::size_t>(i)] * right[static_cast<std::size_t>(k)];
      if (weight == 0.0) {
        continue;  // What does not count need not be known.
      }
      const Sample sample = SampleAt(grid, row, ColumnOf(info, spot.column - 1 + k));
      height.metres += weight * sample.metres;
      height.filled = height.filled || sample.filled;
      if (sample.known) {
        height.grid = static_cast<int>(grid);
      }
    }
  }
  return height;
}

HeightField::Sample HeightField::SampleAt(std::size_t grid, std::int64_t row, std::int64_t column) {
  const float metres = Raw(grid, row, column);
  return std::isfinite(metres) ? Sample{metres, false, true} : Filled(grid, row, column);
}

// The nearest known samples along eight directions, each by the inverse square of its distance.
HeightField::Sample HeightField::Filled(std::size_t grid, std::int64_t row, std::int64_t column) {
  const HeightGridInfo& info = grids_[grid];
  double sum = 0.0;
  double weights = 0.0;
  for (std::int64_t down = -1; down <= 1; ++down) {
    for (std::int64_t right = -1; right <= 1; ++right) {
      for (std::int64_t step = 1; (down != 0 || right != 0) && step <= kFillReach; ++step) {
        const std::int64_t y = row + down * step;
        const std::int64_t x = column + right * step;
        if (y < 0 || y >= info.rows || x < 0 || x >= info.columns) {
          break;
        }
        const float metres = Raw(grid, y, x);
        if (std::isfinite(metres)) {
          const double weight =
              1.0 / static_cast<double>((down * down + right * right) * step * step);
          sum += weight * static_cast<double>(metres);
          weights += weight;
          break;
        }
      }
    }
  }
  return weights > 0.0 ? Sample{sum / weights, true, true} : Sample{0.0, true, false};
}

float HeightField::Raw(std::size_t grid, std::int64_t row, std::int64_t column) {
  const HeightGridInfo& info = grids_[grid];
  const std::int64_t number =
      row / kHeightTileSide * HeightTileColumns(info) + column / kHeightTileSide;
  const std::int64_t width =
      std::min(kHeightTileSide, info.columns - column / kHeightTileSide * kHeightTileSide);
  return Tile(
      grid,
      number)[static_cast<std::size_t>(row % kHeightTileSide * width + column % kHeightTileSide)];
}

const std::vector<float>& HeightField::Tile(std::size_t grid, std::int64_t tile) {
  if (last_tile_ != nullptr && last_grid_ == grid && last_number_ == tile) {
    return *last_tile_;
  }
  const auto kept = tiles_[grid].find(tile);
  const std::vector<float>* found = kept == tiles_[grid].end() ? nullptr : &kept->second;
  if (found == nullptr) {
    const TileShape shape = ShapeOf(grids_[grid], tile);
    const std::size_t count = static_cast<std::size_t>(shape.rows * shape.columns);
    std::string bytes;
    if (!Inflate(read_(grid, tile), count * 4, &bytes) || bytes.size() != count * 4) {
      throw std::runtime_error("damaged: a tile of the heights " + grids_[grid].name);
    }
    if (kept_samples_ + count > kMaxKeptSamples) {
      for (auto& tiles : tiles_) {
        tiles.clear();
      }
      kept_samples_ = 0;
    }
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
      samples[i] = FloatAt(bytes, 4 * i);
    }
    kept_samples_ += count;
    found = &(tiles_[grid][tile] = std::move(samples));
  }
  last_grid_ = grid;
  last_number_ = tile;
  last_tile_ = found;
  return *found;
}

}  // namespace pelorin
