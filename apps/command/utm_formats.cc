// SPDX-License-Identifier: Apache-2.0
#include "apps/command/utm_formats.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/command/coordinates.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kDegreeDecimals = 9;
constexpr int kMetreDecimals = 3;
constexpr int kScaleDecimals = 8;
constexpr int kConvergenceDecimals = 6;

double Rounded(double value, int decimals) {
  const double parts = std::pow(10.0, decimals);
  return std::round(value * parts) / parts;
}

const char* Hemisphere(const UtmPoint& point) {
  return point.is_south ? "southern" : "northern";
}

Json PointJson(const UtmPoint& point) {
  return {{"lat", Rounded(point.place.lat_deg, kDegreeDecimals)},
          {"lng", Rounded(point.place.lng_deg, kDegreeDecimals)},
          {"zone", point.zone},
          {"band", std::string(1, point.band)},
          {"hemisphere", Hemisphere(point)},
          {"easting_m", Rounded(point.easting_m, kMetreDecimals)},
          {"northing_m", Rounded(point.northing_m, kMetreDecimals)},
          {"scale", Rounded(point.scale, kScaleDecimals)},
          {"convergence_deg", Rounded(point.convergence_deg, kConvergenceDecimals)}};
}

std::string Line(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// In quotes, with the quotes inside doubled.
std::string CsvText(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c == '"' ? "\"\"" : std::string(1, c);
  }
  return quoted + "\"";
}

std::string CsvRow(std::size_t line, const UtmPoint& point) {
  return std::to_string(line) + "," + FixedText(point.place.lat_deg, kDegreeDecimals) + "," +
         FixedText(point.place.lng_deg, kDegreeDecimals) + "," + std::to_string(point.zone) + "," +
         point.band + "," + Hemisphere(point) + "," + FixedText(point.easting_m, kMetreDecimals) +
         "," + FixedText(point.northing_m, kMetreDecimals) + "," +
         FixedText(point.scale, kScaleDecimals) + "," +
         FixedText(point.convergence_deg, kConvergenceDecimals) + ",\n";
}

std::string Words(const UtmPoint& point, bool to_place) {
  const std::string place = LatLngText(point.place);
  const std::string utm = UtmText(point);
  std::string text = to_place ? place + "\nutm          " + utm : utm + "\nplace        " + place;
  text += "\nzone         " + std::to_string(point.zone) + ", " +
          ZoneExtentWords(point.zone, point.band);
  if (point.zone != point.own_zone) {
    text += "; the point belongs to zone " + std::to_string(point.own_zone);
  }
  text += "\nband         " + std::string(1, point.band) + ", " + BandExtentWords(point.band);
  text += std::string("\nhemisphere   ") + Hemisphere(point);
  text += "\nscale        " + FixedText(point.scale, kScaleDecimals);
  text += "\nconvergence  " + FixedText(point.convergence_deg, kConvergenceDecimals) + " degrees";
  return text + "\n";
}

}  // namespace

std::string UtmText(const UtmPoint& point) {
  return std::to_string(point.zone) + " " + point.band + "  " + FixedText(point.easting_m, 2) +
         " m E  " + FixedText(point.northing_m, 2) + (point.is_south ? " m S" : " m N");
}

std::string UtmAnswer(const UtmPoint& point, UtmFormat format, bool to_place) {
  switch (format) {
  case UtmFormat::kJson:
    return PointJson(point).dump(2) + "\n";
  case UtmFormat::kCsv:
    return UtmHead(format) + CsvRow(1, point);
  case UtmFormat::kText:
    break;
  }
  return Words(point, to_place);
}

std::string UtmHead(UtmFormat format) {
  return format == UtmFormat::kCsv ? "line,lat,lng,zone,band,hemisphere,easting_m,northing_m,scale,"
                                     "convergence_deg,error\n"
                                   : "";
}

std::string UtmRow(std::size_t line, const UtmPoint& point, UtmFormat format, bool to_place) {
  switch (format) {
  case UtmFormat::kJson: {
    Json json{{"line", line}};
    json.update(PointJson(point));
    return Line(json);
  }
  case UtmFormat::kCsv:
    return CsvRow(line, point);
  case UtmFormat::kText:
    break;
  }
  if (to_place) {
    return FixedText(point.place.lat_deg, kDegreeDecimals) + "," +
           FixedText(point.place.lng_deg, kDegreeDecimals) + "\n";
  }
  return std::to_string(point.zone) + point.band + " " +
         FixedText(point.easting_m, kMetreDecimals) + " " +
         FixedText(point.northing_m, kMetreDecimals) + "\n";
}

std::string UtmBadRow(std::size_t line, const Outcome& reason, UtmFormat format) {
  switch (format) {
  case UtmFormat::kJson:
    return Line({{"line", line}, {"error", reason.Line()}});
  case UtmFormat::kCsv:
    return std::to_string(line) + ",,,,,,,,,," + CsvText(reason.Line()) + "\n";
  case UtmFormat::kText:
    break;
  }
  return "?\n";
}

}  // namespace command
}  // namespace pelorin
