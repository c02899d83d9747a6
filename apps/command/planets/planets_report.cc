// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/planets_report.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/command/planets/dates.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kKilometresPerAu = 149597870.7;

/// How many of the unit make an astronomical unit.
double PerAu(const std::string& unit) {
  return unit == "km" ? kKilometresPerAu : unit == "radii" ? 1.0 / SceneToAu(1.0) : 1.0;
}

/// `number` with so many decimals; what is not finite as `otherwise`.
std::string Fixed(double number, int decimals, const char* otherwise) {
  if (!std::isfinite(number)) {
    return otherwise;
  }
  char text[400];
  const auto end =
      std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals);
  return std::string(text, end.ptr);
}

std::string Right(const std::string& text, std::size_t width) {
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string Left(const std::string& text, std::size_t width) {
  return text + std::string(text.size() < width ? width - text.size() : 0, ' ');
}

/// A field that reads back as the same number; empty for what is not finite.
std::string Field(double number) {
  return std::isfinite(number) ? ShortestText(number) : "";
}

Json Finite(double number) {
  return std::isfinite(number) ? Json(number) : Json(nullptr);
}

}  // namespace

std::string PlanetsText::AtDate(double julian_date) {
  const double per_au = PerAu(request_.unit);
  const int decimals = request_.unit == "au" ? 7 : request_.unit == "km" ? 0 : 2;
  std::string text = DateText(julian_date) + "  JD " + Fixed(julian_date, 5, "?") +
                     "  relative to " + request_.relative_to + ", in " + request_.unit + "\n" +
                     Left("", 8);
  for (const char* name : {"x", "y", "z", "distance"}) {
    text += Right(name, 15);
  }
  for (const char* name : {"lon deg", "lat deg", "yaw deg", "spin deg", "roll deg"}) {
    text += Right(name, 10);
  }
  text += "\n";
  for (const std::string& body : request_.bodies) {
    const BodyPlace place = sky_.PlaceOf(body, request_.relative_to, julian_date);
    text += Left(body, 8);
    for (const double length : {place.at_au.x, place.at_au.y, place.at_au.z, place.distance_au}) {
      text += Right(Fixed(length * per_au, decimals, "?"), 15);
    }
    for (const double angle :
         {place.longitude_deg, place.latitude_deg, place.yaw_deg, place.spin_deg, place.roll_deg}) {
      text += Right(Fixed(angle, 3, "-"), 10);
    }
    text += "\n";
  }
  return text;
}

std::string PlanetsJson::Begin() {
  return "{\n  \"frame\": \"mean ecliptic and equinox of the date\",\n  \"relative_to\": " +
         Json(request_.relative_to).dump() + ",\n  \"dates\": [";
}

std::string PlanetsJson::AtDate(double julian_date) {
  const double per_au = PerAu(request_.unit);
  Json json;
  json["date"] = DateText(julian_date);
  json["julian_date"] = julian_date;
  json["in_useful_range"] = IsInUsefulRange(julian_date);
  json["bodies"] = Json::array();
  for (const std::string& body : request_.bodies) {
    const BodyPlace place = sky_.PlaceOf(body, request_.relative_to, julian_date);
    Json row;
    row["name"] = body;
    row["x_" + request_.unit] = Finite(place.at_au.x * per_au);
    row["y_" + request_.unit] = Finite(place.at_au.y * per_au);
    row["z_" + request_.unit] = Finite(place.at_au.z * per_au);
    row["distance_" + request_.unit] = Finite(place.distance_au * per_au);
    row["longitude_deg"] = Finite(place.longitude_deg);
    row["latitude_deg"] = Finite(place.latitude_deg);
    row["yaw_deg"] = Finite(place.yaw_deg);
    row["spin_deg"] = Finite(place.spin_deg);
    row["roll_deg"] = Finite(place.roll_deg);
    json["bodies"].push_back(std::move(row));
  }
  std::string text = json.dump(2);
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    text.insert(at + 1, "    ");
  }
  const std::string separator = is_first_ ? "\n    " : ",\n    ";
  is_first_ = false;
  return separator + text;
}

std::string PlanetsJson::End() {
  return "\n  ]\n}\n";
}

std::string PlanetsCsv::Begin() {
  const std::string& unit = request_.unit;
  return "date,julian_date,body,relative_to,x_" + unit + ",y_" + unit + ",z_" + unit +
         ",distance_" + unit + ",longitude_deg,latitude_deg,yaw_deg,spin_deg,roll_deg\n";
}

std::string PlanetsCsv::AtDate(double julian_date) {
  const double per_au = PerAu(request_.unit);
  std::string text;
  for (const std::string& body : request_.bodies) {
    const BodyPlace place = sky_.PlaceOf(body, request_.relative_to, julian_date);
    text +=
        DateText(julian_date) + "," + Field(julian_date) + "," + body + "," + request_.relative_to;
    for (const double length : {place.at_au.x, place.at_au.y, place.at_au.z, place.distance_au}) {
      text += "," + Field(length * per_au);
    }
    for (const double angle :
         {place.longitude_deg, place.latitude_deg, place.yaw_deg, place.spin_deg, place.roll_deg}) {
      text += "," + Field(angle);
    }
    text += "\n";
  }
  return text;
}

}  // namespace command
}  // namespace pelorin
