// SPDX-License-Identifier: Apache-2.0
#include "apps/command/building/building_report.h"

#include <algorithm>
#include <iomanip>
#include <limits>
#include <locale>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/command/coordinates.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

double BytesPerTriangle(const BuildingReport& report) {
  return static_cast<double>(report.stream_bytes) / static_cast<double>(report.triangles);
}

}  // namespace

void Measure(const geometry3d::BuildingZ& building, BuildingReport* report) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  report->min_x = report->min_y = report->lowest = kFar;
  report->max_x = report->max_y = report->highest = -kFar;
  report->polygons = building.polygons().size();
  for (const geometry3d::PolygonZ* const polygon : building.polygons()) {
    report->contours += polygon->contour_sizes().size();
    report->points += polygon->points().size();
    report->triangles += polygon->triangle_indices().size() / 3;
    report->lowest = std::min(report->lowest, polygon->z());
    report->highest = std::max(report->highest, polygon->z());
    for (const auto& point : polygon->points()) {
      report->min_x = std::min(report->min_x, point.x);
      report->min_y = std::min(report->min_y, point.y);
      report->max_x = std::max(report->max_x, point.x);
      report->max_y = std::max(report->max_y, point.y);
    }
  }
}

std::string BuildingText(const BuildingReport& report) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << std::fixed << std::setprecision(1);
  if (report.source) {
    const BuildingReport::Source& source = *report.source;
    text << source.footprints << " footprints: " << source.from_height << " by height, "
         << source.from_levels << " by storeys, " << source.from_default << " by default\n";
    if (source.repaired + source.left_out + source.above_ground > 0) {
      text << source.repaired << " repaired, " << source.left_out << " left out, "
           << source.above_ground << " begin above the ground and stand on it here\n";
    }
    if (source.replaced > 0) {
      text << source.replaced << " outlines give way to their building:part\n";
    }
    text << "origin " << LatLngText(source.origin) << '\n';
  }
  text << report.polygons << " polygons, " << report.contours << " contours, " << report.points
       << " points, " << report.triangles << " roof triangles\n"
       << report.max_x - report.min_x << " m by " << report.max_y - report.min_y
       << " m, roofs from " << report.lowest << " m to " << report.highest << " m\n"
       << report.stream_bytes << " bytes as a stream at " << report.point_bits << " bits, "
       << BytesPerTriangle(report) << " a roof triangle\n";
  return text.str();
}

std::string BuildingJson(const BuildingReport& report) {
  Json json;
  json["input"] = report.input;
  json["polygons"] = report.polygons;
  json["contours"] = report.contours;
  json["points"] = report.points;
  json["triangles"] = report.triangles;
  json["extent_m"] = {{"west", report.min_x},
                      {"south", report.min_y},
                      {"east", report.max_x},
                      {"north", report.max_y}};
  json["roofs_m"] = {{"lowest", report.lowest}, {"highest", report.highest}};
  json["point_bits"] = report.point_bits;
  json["stream_bytes"] = report.stream_bytes;
  json["bytes_per_triangle"] = BytesPerTriangle(report);
  if (report.source) {
    const BuildingReport::Source& source = *report.source;
    json["origin"] = {{"lat", source.origin.lat_deg}, {"lng", source.origin.lng_deg}};
    json["footprints"] = source.footprints;
    json["heights"] = {{"height", source.from_height},
                       {"levels", source.from_levels},
                       {"default", source.from_default}};
    json["above_ground"] = source.above_ground;
    json["repaired"] = source.repaired;
    json["left_out"] = source.left_out;
    json["replaced_by_parts"] = source.replaced;
    json["attribution"] = report.attribution;
  }
  json["warnings"] = report.warnings;
  json["warning_count"] = report.warning_count;
  // Whatever bytes a file holds in its texts, the answer is valid.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace command
}  // namespace pelorin
