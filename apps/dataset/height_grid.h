// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// Where a regular grid of heights lies: rows from north to south, samples in a row from west to
/// east, each standing for the very place that it is at. A grid may cross longitude 180.
struct HeightGridInfo {
  /// 1 to 64 of a-z, 0-9, '-' and '_'; under this name it can be asked for.
  std::string name;
  double north_deg = 0.0;     ///< Of the first row, -90 to 90.
  double west_deg = 0.0;      ///< Of the first sample of each row, -180 to 180.
  double lat_step_deg = 0.0;  ///< From one row to the next one south, 1e-9 to 360.
  double lng_step_deg = 0.0;  ///< From one sample to the next one east, 1e-9 to 360.
  std::int64_t rows = 0;      ///< 1 to 1000000; the last one lies at -90 or north of it.
  std::int64_t columns = 0;   ///< Likewise; together at most once round.
};

/// A grid with its heights.
struct HeightGrid {
  HeightGridInfo info;
  /// Metres, row by row; not-a-number where nothing is known. `rows` times `columns` of them.
  std::vector<float> samples;
};

/// What is wrong with `info`; empty if nothing.
std::string FaultOf(const HeightGridInfo& info);

/// `text` as the name of a grid: in lower case, what a name cannot hold replaced by '-'; "heights"
/// if nothing is left.
std::string HeightGridName(const std::string& text);

/// How a height between samples is found.
enum class HeightInterpolation {
  kNearest,   ///< That of the nearest sample.
  kBilinear,  ///< From the four around it, each by how near it is.
  /// From the sixteen around it, by cubic convolution (Keys, "Cubic Convolution Interpolation for
  /// Digital Image Processing", 1981, with a = -1/2): without edges at the samples, and so now and
  /// then a little above or below all of them. Beyond the edge of a grid its last samples go on.
  kCubic,
};

/// Which heights are wanted.
struct HeightQuery {
  HeightInterpolation interpolation = HeightInterpolation::kBilinear;
  /// Names of grids, the first that knows the place answering; empty: all, the finest first.
  std::vector<std::string> grids;
};

/// The height of one place. There is always one.
struct Height {
  double metres = 0.0;
  /// True if samples were missing there: the height is put together from those around, or is sea
  /// level, 0, where none are near.
  bool filled = false;
  /// The grid that it comes from, as its place in `Dataset::height_grids()`; -1 for sea level.
  int grid = -1;
};

}  // namespace pelorin
