// SPDX-License-Identifier: Apache-2.0
#include "apps/command/route_formats.h"

#include <QByteArray>
#include <QXmlStreamWriter>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "apps/command/coordinates.h"
#include "apps/command/tour/tour_summary.h"
#include "apps/command/versions.h"

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

/// Longitude first, as GeoJSON wants it.
Json PositionJson(const LatLng& place) {
  return Json::array({Rounded(place.lng_deg, 1e7), Rounded(place.lat_deg, 1e7)});
}

std::string Dump(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

const char* DirectionOf(const TourTurn& turn) {
  return turn.left ? "left" : "right";
}

std::map<int, std::string> StepTexts(const TourReport& report) {
  std::map<int, std::string> texts;
  for (const TourStep& step : report.steps) {
    texts[step.stop] = step.text;
  }
  return texts;
}

QString Text(const std::string& text) {
  return QString::fromStdString(text);
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
  return Dump(json);
}

std::string RouteGpx(const TourReport& report) {
  QByteArray bytes;
  QXmlStreamWriter xml(&bytes);
  xml.setAutoFormatting(true);
  xml.writeStartDocument();
  xml.writeStartElement("gpx");
  xml.writeAttribute("version", "1.1");
  xml.writeAttribute("creator", Text(VersionLine()));
  xml.writeDefaultNamespace("http://www.topografix.com/GPX/1/1");
  xml.writeStartElement("rte");
  xml.writeTextElement("name", Text(report.title));
  const std::map<int, std::string> texts = StepTexts(report);
  for (int stop = 0; stop < static_cast<int>(report.path.size()); ++stop) {
    const TourPanorama& panorama = At(report, stop);
    xml.writeStartElement("rtept");
    xml.writeAttribute("lat", Text(DegreesText(panorama.place.lat_deg)));
    xml.writeAttribute("lon", Text(DegreesText(panorama.place.lng_deg)));
    xml.writeTextElement("name", Text(panorama.address.empty() ? panorama.id : panorama.address));
    const auto text = texts.find(stop);
    if (text != texts.end()) {
      xml.writeTextElement("desc", Text(text->second));
    }
    xml.writeEndElement();
  }
  xml.writeEndDocument();
  return bytes.toStdString();
}

std::string RouteGeoJson(const TourReport& report) {
  Json line = Json::array();
  for (int stop = 0; stop < static_cast<int>(report.path.size()); ++stop) {
    line.push_back(PositionJson(At(report, stop).place));
  }
  // A line has two ends, also where the walk begins at its goal.
  if (line.size() == 1) {
    line.push_back(line.front());
  }
  Json features = Json::array();
  features.push_back(
      {{"type", "Feature"},
       {"properties",
        {{"metres", Rounded(report.path_metres(), 100.0)}, {"panoramas", report.path.size()}}},
       {"geometry", {{"type", "LineString"}, {"coordinates", std::move(line)}}}});
  const std::map<int, std::string> texts = StepTexts(report);
  for (const TourTurn& turn : report.turns) {
    features.push_back(
        {{"type", "Feature"},
         {"properties",
          {{"stop", turn.stop}, {"direction", DirectionOf(turn)}, {"text", texts.at(turn.stop)}}},
         {"geometry",
          {{"type", "Point"}, {"coordinates", PositionJson(At(report, turn.stop).place)}}}});
  }
  return Dump({{"type", "FeatureCollection"}, {"features", std::move(features)}});
}

}  // namespace command
}  // namespace pelorin
