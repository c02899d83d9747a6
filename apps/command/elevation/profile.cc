// SPDX-License-Identifier: Apache-2.0
#include "apps/command/elevation/profile.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/command/coordinates.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

// A height model wavers by some metres from one place to the next.
constexpr double kNoiseMetres = 3.0;

double Rounded(double value, double parts) {
  return std::round(value * parts) / parts + 0.0;
}

void MeasureClimb(Profile* profile) {
  const std::vector<ProfilePoint>& points = profile->points;
  double turning_m = points.front().height_m;
  for (std::size_t i = 1; i < points.size(); ++i) {
    if (points[i].line != points[i - 1].line) {
      turning_m = points[i].height_m;
    }
    const double rise = points[i].height_m - turning_m;
    if (std::fabs(rise) >= kNoiseMetres) {
      (rise > 0.0 ? profile->climb_m : profile->descent_m) += std::fabs(rise);
      turning_m = points[i].height_m;
    }
  }
}

std::string Metres(double metres) {
  return ShortestText(Rounded(metres, 10.0)) + " m";
}

}  // namespace

void Measure(Profile* profile) {
  std::vector<ProfilePoint>& points = profile->points;
  if (points.empty()) {
    return;
  }
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i > 0 && points[i].line == points[i - 1].line) {
      profile->length_m += DistanceMetres(points[i - 1].place, points[i].place);
    }
    points[i].distance_m = profile->length_m;
    profile->lowest = points[i].height_m < points[profile->lowest].height_m ? i : profile->lowest;
    profile->highest =
        points[i].height_m > points[profile->highest].height_m ? i : profile->highest;
  }
  MeasureClimb(profile);
}

std::string ProfileText(const Profile& profile) {
  const ProfilePoint& lowest = profile.points[profile.lowest];
  const ProfilePoint& highest = profile.points[profile.highest];
  return profile.title + "\npoints\t" + std::to_string(profile.points.size()) + "\nlength\t" +
         ShortestText(Rounded(profile.length_m / 1000.0, 1000.0)) + " km\nclimb\t" +
         Metres(profile.climb_m) + "\ndescent\t" + Metres(profile.descent_m) + "\nlowest\t" +
         Metres(lowest.height_m) + " at " + LatLngText(lowest.place) + "\nhighest\t" +
         Metres(highest.height_m) + " at " + LatLngText(highest.place) + "\n";
}

std::string ProfileJson(const Profile& profile, bool is_track) {
  Json json;
  if (is_track) {
    json["title"] = profile.title;
    json["length_m"] = Rounded(profile.length_m, 10.0);
    json["climb_m"] = Rounded(profile.climb_m, 10.0);
    json["descent_m"] = Rounded(profile.descent_m, 10.0);
    json["lowest_m"] = Rounded(profile.points[profile.lowest].height_m, 100.0);
    json["highest_m"] = Rounded(profile.points[profile.highest].height_m, 100.0);
  }
  json["points"] = Json::array();
  for (const ProfilePoint& point : profile.points) {
    Json row = {{"lat", Rounded(point.place.lat_deg, 1e7)},
                {"lng", Rounded(point.place.lng_deg, 1e7)},
                {"height_m", Rounded(point.height_m, 100.0)}};
    if (is_track) {
      row["distance_m"] = Rounded(point.distance_m, 10.0);
      row["segment"] = point.line;
    }
    if (point.recorded_m) {
      row["recorded_m"] = Rounded(*point.recorded_m, 100.0);
    }
    json["points"].push_back(std::move(row));
  }
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string ProfileCsv(const Profile& profile, bool is_track) {
  std::string text =
      is_track ? "lat,lng,height_m,distance_m,segment,recorded_m\n" : "lat,lng,height_m\n";
  for (const ProfilePoint& point : profile.points) {
    text += LatLngText(point.place) + "," + ShortestText(Rounded(point.height_m, 100.0));
    if (is_track) {
      text += "," + ShortestText(Rounded(point.distance_m, 10.0)) + "," +
              std::to_string(point.line) + "," +
              (point.recorded_m ? ShortestText(Rounded(*point.recorded_m, 100.0)) : "");
    }
    text += "\n";
  }
  return text;
}

}  // namespace command
}  // namespace pelorin
