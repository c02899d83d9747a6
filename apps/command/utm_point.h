// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "apps/command/outcome.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// One point in both systems, with what the projection does to distances and directions there.
struct UtmPoint {
  LatLng place;           ///< Degrees; longitude -180 to 180.
  int zone = 0;           ///< 1 to 60.
  char band = '?';        ///< 'C' to 'X', by the latitude.
  bool is_south = false;  ///< Whether the northing counts from 10,000 km south of the equator.
  double easting_m = 0.0;
  double northing_m = 0.0;
  double scale = 0.0;            ///< Metres on the grid for a metre on the ellipsoid.
  double convergence_deg = 0.0;  ///< Bearing of grid north from true north, clockwise.
  int own_zone = 0;              ///< The zone that the point belongs to; another one if forced.
};

/// The point at `place` in its own zone, or in `forced_zone` if that is not 0. Fails (nothing
/// found) beyond 80 degrees south and 84 north, where UTM ends, and so far from the middle of the
/// zone that the series no longer return within a metre; `*point` is then untouched.
Outcome UtmFromPlace(const LatLng& place, int forced_zone, UtmPoint* point);

/// The point that a text names: a zone with its band, an easting and a northing in metres, with
/// fractions, apart by blanks or commas: "33T 292948.96 4652799.81", or as `UtmText` writes it. Any
/// band letter of the right hemisphere will do. Fails (wrong usage) for other texts, and as above;
/// `where` is named in the failure.
Outcome UtmFromText(std::string_view text, std::string_view where, UtmPoint* point);

/// Such as "12 to 18 degrees east", with the exceptions of Norway and Svalbard. `zone` 1 to 60,
/// `band` 'C' to 'X'.
std::string ZoneExtentWords(int zone, char band);
/// Such as "40 to 48 degrees north".
std::string BandExtentWords(char band);

/// `number` with so many decimals and a dot, in every locale. It must be finite.
std::string FixedText(double number, int decimals);

}  // namespace command
}  // namespace pelorin
