// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "apps/command/outcome.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// Reads all of `text`, blanks around it aside, as a finite decimal number with a dot, whatever the
/// locale. False for anything else, with `*number` untouched.
bool ParseNumber(std::string_view text, double* number);

/// Reads `lat,lng` in degrees, such as "43.7339,7.4219". `where` is named in the failure, usually
/// the option. Fails (wrong usage) for any other form, for numbers that are not finite and for
/// angles out of range, with `*place` untouched.
Outcome ParseLatLng(std::string_view text, std::string_view where, LatLng* place);

/// The tile of a pyramid as `x,y,z`: column from west, row from north, zoom.
struct TileAddress {
  int x = 0;
  int y = 0;
  int zoom = 0;
};

/// Reads `x,y,z`: whole numbers, zoom 0 to 30, column and row 0 up to 2^zoom - 1. Fails (wrong
/// usage) otherwise, with `*tile` untouched.
Outcome ParseTile(std::string_view text, std::string_view where, TileAddress* tile);

/// `degrees` with 7 decimals (a centimetre on the ground) and a dot, in every locale; not-a-number
/// and infinities as "?".
std::string DegreesText(double degrees);
/// "lat,lng" as `ParseLatLng` reads it.
std::string LatLngText(const LatLng& place);

}  // namespace command
}  // namespace pelorin
