// SPDX-License-Identifier: Apache-2.0
#include "apps/command/route_parts.h"

#include <cmath>
#include <map>
#include <utility>

#include "apps/command/coordinates.h"
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

Json PositionJson(const LatLng& place) {
  return Json::array({Rounded(place.lng_deg, 1e7), Rounded(place.lat_deg, 1e7)});
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

std::string DumpedJson(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json GeoFeature(Json geometry, Json properties) {
  return {{"type", "Feature"},
          {"properties", std::move(properties)},
          {"geometry", std::move(geometry)}};
}

Json GeoPoint(const LatLng& place) {
  return {{"type", "Point"}, {"coordinates", PositionJson(place)}};
}

Json GeoLine(const std::vector<LatLng>& places) {
  Json line = Json::array();
  for (const LatLng& place : places) {
    line.push_back(PositionJson(place));
  }
  // A line has two ends, also where the walk begins at its goal.
  if (line.size() == 1) {
    line.push_back(line.front());
  }
  return {{"type", "LineString"}, {"coordinates", std::move(line)}};
}

std::vector<LatLng> PlacesOfPath(const TourReport& report) {
  std::vector<LatLng> places;
  for (const int stop : report.path) {
    places.push_back(report.panoramas[static_cast<std::size_t>(stop)].place);
  }
  return places;
}

Json RouteFeatures(const TourReport& report) {
  Json features = Json::array();
  features.push_back(
      GeoFeature(GeoLine(PlacesOfPath(report)), {{"metres", Rounded(report.path_metres(), 100.0)},
                                                 {"panoramas", report.path.size()}}));
  const std::map<int, std::string> texts = StepTexts(report);
  for (const TourTurn& turn : report.turns) {
    features.push_back(GeoFeature(GeoPoint(At(report, turn.stop).place),
                                  {{"stop", turn.stop},
                                   {"direction", turn.left ? "left" : "right"},
                                   {"text", texts.at(turn.stop)}}));
  }
  return features;
}

void BeginGpx(QXmlStreamWriter* xml) {
  xml->setAutoFormatting(true);
  xml->writeStartDocument();
  xml->writeStartElement("gpx");
  xml->writeAttribute("version", "1.1");
  xml->writeAttribute("creator", Text(VersionLine()));
  xml->writeDefaultNamespace("http://www.topografix.com/GPX/1/1");
}

void BeginGpxPoint(const char* element, const LatLng& place, QXmlStreamWriter* xml) {
  xml->writeStartElement(element);
  xml->writeAttribute("lat", Text(DegreesText(place.lat_deg)));
  xml->writeAttribute("lon", Text(DegreesText(place.lng_deg)));
}

void WriteGpxRoute(const TourReport& report, QXmlStreamWriter* xml) {
  xml->writeStartElement("rte");
  xml->writeTextElement("name", Text(report.title));
  const std::map<int, std::string> texts = StepTexts(report);
  for (int stop = 0; stop < static_cast<int>(report.path.size()); ++stop) {
    const TourPanorama& panorama = At(report, stop);
    BeginGpxPoint("rtept", panorama.place, xml);
    xml->writeTextElement("name", Text(panorama.address.empty() ? panorama.id : panorama.address));
    const auto text = texts.find(stop);
    if (text != texts.end()) {
      xml->writeTextElement("desc", Text(text->second));
    }
    xml->writeEndElement();
  }
  xml->writeEndElement();
}

}  // namespace command
}  // namespace pelorin
