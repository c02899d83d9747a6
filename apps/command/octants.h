// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// A cell of the quadtree: the globe as a square of 360 by 360 degrees, longitude -180 to 180 and
/// latitude likewise, of which only -90 to 90 holds anything. Columns count from the west, rows
/// from the north, both from 0.
struct TreeCell {
  int row = 0;
  int column = 0;
  std::string path;  ///< Traversal path of the octant.
  double west_deg = 0.0;
  double east_deg = 0.0;
  double south_deg = 0.0;  ///< Cut off at the poles.
  double north_deg = 0.0;
  bool is_on_globe = true;  ///< False for cells beyond the poles; the angles are then 0.
};

/// A stratum of one level, or, with its cell, an octant.
struct Octant {
  int level = 0;
  int stratum = 0;   ///< 0 at about sea level.
  int absolute = 0;  ///< From 0 at the bottom of the range.
  double base_m = 0.0;
  double top_m = 0.0;
  std::optional<int> parent;  ///< Not at level 0.
  int lower_child = 0;
  int upper_child = 0;
  std::optional<TreeCell> cell;
};

/// Deepest level at which octants have paths.
constexpr int kDeepestOctant = 30;

/// The stratum without a cell. Fails (wrong usage) if it does not exist. `level` 0 to
/// `kDeepestOctant`, here and below.
Outcome StratumAt(int level, int stratum, Octant* octant);

/// The stratum that holds an altitude in metres. Fails (wrong usage) for one out of the range.
Outcome StratumOfAltitude(int level, double altitude_m, int* stratum);

/// The octant of a cell. Fails (wrong usage) if it does not exist.
Outcome OctantAt(int level, int row, int column, int stratum, Octant* octant);

/// The octant that a traversal path names. Fails (wrong usage) for other texts.
Outcome OctantOfPath(const std::string& path, Octant* octant);

/// The octants over a place whose strata reach into the altitudes from `from_m` to `to_m`, both
/// included, from the lowest up. Fails (wrong usage) for altitudes out of range or in the wrong
/// order and for more than `most` octants.
Outcome OctantsOver(const LatLng& place, int level, double from_m, double to_m, int most,
                    std::vector<Octant>* octants);

/// How they are told: in words, as a JSON object, as boxes in KML. Of the last, octants without a
/// cell on the globe are left out.
std::string OctantsText(const std::vector<Octant>& octants);
std::string OctantsJson(const std::vector<Octant>& octants);
std::string OctantsKml(const std::vector<Octant>& octants);

}  // namespace command
}  // namespace pelorin
