// SPDX-License-Identifier: Apache-2.0
#include "apps/command/octants.h"

#include <algorithm>
#include <cmath>

#include "apps/command/utm_point.h"
#include "apps/service/number_text.h"
#include "vortan/common/internal/stratum_tools.h"

namespace pelorin {
namespace command {
namespace {

using vortan::StratumTools;

// Width and height of the square that the root of the tree covers.
constexpr double kRootDegrees = 360.0;
constexpr double kPole = 90.0;

Outcome WrongUsage(std::string what, std::string to_do = "") {
  return Outcome::Fail(ExitCode::kWrongUsage, std::move(what), "", std::move(to_do));
}

// Column or flipped row of an angle; 180 itself belongs to the last.
int IndexOf(double degrees, int level) {
  const int count = 1 << level;
  const double index = std::floor((degrees + kRootDegrees / 2.0) / kRootDegrees * count);
  return std::clamp(static_cast<int>(index), 0, count - 1);
}

TreeCell CellAt(int level, int row, int column) {
  const int count = 1 << level;
  const double size = kRootDegrees / count;
  TreeCell cell;
  cell.row = row;
  cell.column = column;
  const double south = -kRootDegrees / 2.0 + (count - 1 - row) * size;
  cell.is_on_globe = south < kPole && south + size > -kPole;
  if (cell.is_on_globe) {
    cell.west_deg = -kRootDegrees / 2.0 + column * size;
    cell.east_deg = cell.west_deg + size;
    cell.south_deg = std::max(south, -kPole);
    cell.north_deg = std::min(south + size, kPole);
  }
  return cell;
}

}  // namespace

Outcome StratumAt(int level, int stratum, Octant* octant) {
  if (!StratumTools::ValidStratum(stratum, level)) {
    const int zero = StratumTools::ZeroStratumForLevel(level);
    return WrongUsage("stratum " + std::to_string(stratum) + " does not exist at level " +
                      std::to_string(level) + ", which has " + std::to_string(-zero) + " to " +
                      std::to_string((1 << level) - 1 - zero));
  }
  Octant made;
  made.level = level;
  made.stratum = stratum;
  made.absolute = stratum + StratumTools::ZeroStratumForLevel(level);
  made.base_m = StratumTools::BaseKmlAltitudeOfStratum(stratum, level);
  made.top_m = StratumTools::BaseKmlAltitudeOfStratum(stratum + 1, level);
  if (level > 0) {
    made.parent = StratumTools::ParentStratumForStratum(stratum, level);
  }
  const auto [lower, upper] = StratumTools::ChildStrataForStratum(stratum, level);
  made.lower_child = lower;
  made.upper_child = upper;
  *octant = std::move(made);
  return Outcome::Done();
}

Outcome StratumOfAltitude(int level, double altitude_m, int* stratum) {
  const double native = StratumTools::KmlAltitudeToNativeAltitude(altitude_m);
  if (!(native >= -1.0 && native < 5.0)) {
    return WrongUsage("altitude " + ShortestText(altitude_m) + " m is not in the range of strata",
                      "give -6371010 up to, but not including, 31855050 metres");
  }
  *stratum = StratumTools::StratumContainingAltitude(native, level);
  return Outcome::Done();
}

Outcome OctantAt(int level, int row, int column, int stratum, Octant* octant) {
  const int last = (1 << level) - 1;
  if (row < 0 || row > last || column < 0 || column > last) {
    return WrongUsage("row " + std::to_string(row) + ", column " + std::to_string(column) +
                      " do not exist at level " + std::to_string(level) + ", which has 0 to " +
                      std::to_string(last));
  }
  Octant made;
  if (Outcome outcome = StratumAt(level, stratum, &made); !outcome.ok()) {
    return outcome;
  }
  TreeCell cell = CellAt(level, row, column);
  vortan::LevelRowColumnStratumToTraversalPath(level, row, column, stratum, &cell.path);
  made.cell = std::move(cell);
  *octant = std::move(made);
  return Outcome::Done();
}

Outcome OctantOfPath(const std::string& path, Octant* octant) {
  int level = 0;
  int row = 0;
  int column = 0;
  int stratum = 0;
  if (path.size() > static_cast<std::size_t>(kDeepestOctant) ||
      !vortan::TraversalPathToLevelRowColumnStratum(path, &level, &row, &column, &stratum)) {
    return WrongUsage("'" + path + "' is not a traversal path",
                      "give up to 30 digits from 0 to 7, such as 034");
  }
  return OctantAt(level, row, column, stratum, octant);
}

Outcome OctantsOver(const LatLng& place, int level, double from_m, double to_m, int most,
                    std::vector<Octant>* octants) {
  int lowest = 0;
  int highest = 0;
  if (Outcome outcome = StratumOfAltitude(level, from_m, &lowest); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = StratumOfAltitude(level, to_m, &highest); !outcome.ok()) {
    return outcome;
  }
  if (from_m > to_m) {
    return WrongUsage("the altitudes are in the wrong order", "give the lower one first");
  }
  if (highest - lowest >= most) {
    return WrongUsage(std::to_string(highest - lowest + 1) + " octants are too many",
                      "give a lower level or fewer metres; " + std::to_string(most) +
                          " can be had");
  }
  const int row = (1 << level) - 1 - IndexOf(place.lat_deg, level);
  const int column = IndexOf(place.lng_deg, level);
  std::vector<Octant> made(static_cast<std::size_t>(highest - lowest) + 1);
  for (int stratum = lowest; stratum <= highest; ++stratum) {
    Outcome outcome =
        OctantAt(level, row, column, stratum, &made[static_cast<std::size_t>(stratum - lowest)]);
    if (!outcome.ok()) {
      return outcome;
    }
  }
  *octants = std::move(made);
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
