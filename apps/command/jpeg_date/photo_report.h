// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/jpeg_date/photo_list.h"

namespace pelorin {
namespace command {

/// Photographs and their dates in the formats of `pelorin jpeg-date`. Each ends with a line end.

/// One line for each file that could be read: its date or "-", a tab, its path. With one file the
/// date alone, nothing if it has none.
std::string PhotoDatesText(const std::vector<Photo>& photos);

/// The same for every file with its place, then how many files there are of each date.
std::string PhotoListText(const std::vector<Photo>& photos);

/// {"files": [{file, date, lat, lng, taken, comments, error}], "dates": {date: files}, "dated",
/// "undated", "failed"}. What is not known is null; `taken` is the camera's own date, `comments`
/// the texts of the comment segments.
std::string PhotoJson(const std::vector<Photo>& photos);

/// file,date,lat_deg,lng_deg,taken,comments,error, with a header line; `comments` is their number.
std::string PhotoCsv(const std::vector<Photo>& photos);

/// Where there is imagery of which date: a folder for each date, "undated" last, with a placemark
/// for each file of known place and, around two or more of them, the box that they cover. Newer
/// dates are drawn in warmer colours.
std::string PhotoKml(const std::vector<Photo>& photos);

}  // namespace command
}  // namespace pelorin
