// SPDX-License-Identifier: Apache-2.0
#include "apps/command/route_formats.h"

#include <QByteArray>
#include <QXmlStreamWriter>
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/command/route_parts.h"
#include "apps/command/tour/tour_summary.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

double Rounded(double value, double parts) {
  return std::round(value * parts) / parts;
}

const TourPanorama& At(const TourReport& report, int stop) {
  return report.panoramas[static_cast<std::size_t>(report.path[static_cast<std::size_t>(stop)])];
}

Json PlaceJson(const LatLng& place) {
  return {{"lat", Rounded(place.lat_deg, 1e7)}, {"lng", Rounded(place.lng_deg, 1e7)}};
}

const char* DirectionOf(const TourTurn& turn) {
  return turn.left ? "left" : "right";
}

}  // namespace

std::string RouteText(const TourReport& report) {
  std::string text;
  for (const TourStep& step : report.steps) {
    text += std::to_string(std::llround(step.metres)) + " m\t" + step.text + "\n";
  }
  return text;
}

std::string RouteJson(const TourReport& report) {
  Json json;
  json["path"] = SummaryJson(report)["path"];
  json["from"] = PlaceJson(report.from);
  json["to"] = PlaceJson(report.to);
  json["turns"] = Json::array();
  for (const TourTurn& turn : report.turns) {
    Json row{{"stop", turn.stop},
             {"direction", DirectionOf(turn)},
             {"angle_deg", Rounded(turn.angle_deg, 10.0)}};
    row.update(PlaceJson(At(report, turn.stop).place));
    json["turns"].push_back(std::move(row));
  }
  json["steps"] = Json::array();
  for (const TourStep& step : report.steps) {
    json["steps"].push_back(
        {{"stop", step.stop}, {"metres", Rounded(step.metres, 10.0)}, {"text", step.text}});
  }
  return DumpedJson(json);
}

std::string RouteGpx(const TourReport& report) {
  QByteArray bytes;
  QXmlStreamWriter xml(&bytes);
  BeginGpx(&xml);
  WriteGpxRoute(report, &xml);
  xml.writeEndDocument();
  return bytes.toStdString();
}

std::string RouteGeoJson(const TourReport& report) {
  return DumpedJson({{"type", "FeatureCollection"}, {"features", RouteFeatures(report)}});
}

}  // namespace command
}  // namespace pelorin
