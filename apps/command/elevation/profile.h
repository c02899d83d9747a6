// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// One point of a profile.
struct ProfilePoint {
  LatLng place;
  double height_m = 0.0;
  std::optional<double> recorded_m;  ///< What the track itself says.
  int line = 0;                      ///< Its stretch; between two of them is a gap.
  double distance_m = 0.0;           ///< Along the stretches from the start, gaps not counted.
};

/// The heights along a track or another path, and what they come to.
struct Profile {
  std::string title;
  std::vector<ProfilePoint> points;
  double length_m = 0.0;
  double climb_m = 0.0;    ///< Ups and downs of less than 3 m are noise and do not count.
  double descent_m = 0.0;  ///<
  std::size_t lowest = 0;  ///< Places in `points`.
  std::size_t highest = 0;
};

/// Fills in the distances and sums from places, heights and stretches.
void Measure(Profile* profile);

/// The forms of a profile and of plain points. Each ends with a line end. Points of a plain list
/// have no distances; JSON and CSV then leave them out.
std::string ProfileText(const Profile& profile);
std::string ProfileJson(const Profile& profile, bool is_track);
std::string ProfileCsv(const Profile& profile, bool is_track);

}  // namespace command
}  // namespace pelorin
