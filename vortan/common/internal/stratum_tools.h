// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "base/export.h"
#include "vortan/common/internal/r1_interval.h"

namespace vortan {

/// The arithmetic of altitude strata, which make octants of the cells of a quadtree.
///
/// Native altitudes have the planet's mean radius of 6371010 m as their unit, kml altitudes are in
/// metres; both are 0 at the surface. The native range from -1.0, inclusive, to 5.0, exclusive, is
/// cut at level L, from 0 to 31, into 2^L equal strata:
///
///     thickness            t(L) = 6.0 / 2^L
///     zero stratum         z(L) = 2^L / 6, without its fraction
///     base of stratum 0    o(L) = z(L) t(L) - 1.0
///
/// The absolute number of a stratum counts from the bottom of the range, 0 to 2^L - 1. Its stratum
/// number, which everything here takes and gives, is the absolute number less z(L): 0 is at about
/// sea level, and what lies below is negative.
///
///     // At level 12 a stratum is 9.3 km thick.
///     int stratum = StratumTools::StratumContainingKmlAltitude(4424.0, 12);      // 1
///     double base = StratumTools::BaseKmlAltitudeOfStratum(stratum, 12);         // metres
///
/// A level outside 0 to 31 makes a fatal entry, and the result is 0, false, or a pair of 0. Sums
/// that leave the range of `int` wrap around. All functions are pure and safe from any thread.
class PELORIN_EXPORT StratumTools {
 public:
  StratumTools() = delete;

  /// The absolute number of the stratum that is numbered 0: 0 to 357913941.
  static int ZeroStratumForLevel(int level);

  /// The height of a stratum in planet radii, 6.0 at level 0.
  static double ThicknessOfStratumInNativeAltitude(int level);
  /// The same in metres.
  static double ThicknessOfStratumInMeters(int level);

  /// The lower bound of a stratum, in planet radii. Any number of a stratum has one.
  static double BaseAltitudeOfStratum(int stratum, int level);
  /// The same in metres.
  static double BaseKmlAltitudeOfStratum(int stratum, int level);

  /// The stratum that holds `altitude`, in planet radii. One outside -1.0 (inclusive) to 5.0
  /// (exclusive) makes a fatal entry and gets the number that the formula gives it, at most the
  /// limits of `int`; not-a-number gets 0.
  static int StratumContainingAltitude(double altitude, int level);
  /// The same for an altitude in metres; entries name it in planet radii.
  static int StratumContainingKmlAltitude(double altitude, int level);

  /// Whether the stratum lies in the range. Always false at level 31, where the number of strata is
  /// beyond the range of `int`.
  static bool ValidStratum(int stratum, int level);

  /// The stratum of the level above that holds this one. At level 0, which has none above it, a
  /// fatal entry, and half of `stratum`.
  static int ParentStratumForStratum(int stratum, int level);
  /// The two strata of the level below of which this one is made, the lower one first. At level 31,
  /// which has none below it, a fatal entry, and absolute numbers.
  static std::pair<int, int> ChildStrataForStratum(int stratum, int level);

  /// Planet radii to metres, times 6371010.0.
  static double NativeAltitudeToKmlAltitude(double altitude);
  /// Metres to planet radii, divided by 6371010.0.
  static double KmlAltitudeToNativeAltitude(double altitude);

  /// Both ends converted. An empty range stays as it is, since conversion would give its ends a new
  /// meaning.
  static R1Interval NativeAltitudeRangeToKmlAltitudeRange(const R1Interval& range);
  static R1Interval KmlAltitudeRangeToNativeAltitudeRange(const R1Interval& range);
};

/// A traversal path names an octant by the way down to it from the root of the tree: one digit a
/// level, the highest first.
///
///     digit = 4 * (bit of the absolute stratum) + 2 * (bit of the flipped row) + (bit of the
///     column)
///
/// The flipped row is 2^L - 1 - row. At level 3 row 5, column 2, stratum 0 (absolute 1) is "034":
///
///                       bit 2   bit 1   bit 0
///     stratum      1      0       0       1
///     flipped row  2      0       1       0
///     column       2      0       1       0
///     digit               0       3       4

/// Reads a path of up to 31 digits from "0" to "7"; the empty one is the root. False for any other
/// text, of any bytes. Over 31 characters then leave the length of the path in `*level` (the
/// largest `int` if it is beyond), 0 in the others, and, the first and every hundredth time, an
/// error entry. A character that is no such digit leaves the length in `*level` and in the others
/// the bits of the digits ahead of it: the row not flipped and the stratum absolute. No output may
/// be null. Safe from any thread.
PELORIN_EXPORT bool TraversalPathToLevelRowColumnStratum(const std::string& path, int* level,
                                                         int* row, int* column, int* stratum);

/// Writes the path of an octant; level 0 has the empty one. False, with `*path` as it was, for a
/// level outside 0 to 30 and for a row, column or stratum that does not exist at it; level 31 is
/// out because its rows are too many for an `int`. `path` must not be null. Safe from any thread.
PELORIN_EXPORT bool LevelRowColumnStratumToTraversalPath(int level, int row, int column,
                                                         int stratum, std::string* path);

}  // namespace vortan
