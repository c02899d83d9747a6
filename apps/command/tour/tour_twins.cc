// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_twins.h"

#include <QByteArray>
#include <QXmlStreamWriter>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "apps/command/route_parts.h"
#include "apps/command/stored_place.h"
#include "apps/command/tour/corridor_shapes.h"
#include "host/loculus/line_string.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;
using nimbara::loculus::LineString;

double Rounded(double value, double parts) {
  return std::round(value * parts) / parts;
}

std::vector<LatLng> CameraPlaces(const TourStreets& streets, LatLng CameraStep::*place) {
  std::vector<LatLng> places;
  for (const CameraStep& step : streets.camera) {
    places.push_back(step.*place);
  }
  return places;
}

void WriteTrack(const TourStreets& streets, LatLng CameraStep::*place, const char* name,
                QXmlStreamWriter* xml) {
  if (streets.camera.empty()) {
    return;
  }
  xml->writeStartElement("trk");
  xml->writeTextElement("name", name);
  xml->writeStartElement("trkseg");
  for (const CameraStep& step : streets.camera) {
    BeginGpxPoint("trkpt", step.*place, xml);
    if (step.has_depth) {
      xml->writeTextElement("desc", QString("depth %1 m").arg(step.depth_m, 0, 'f', 2));
    }
    xml->writeEndElement();
  }
  xml->writeEndElement();
  xml->writeEndElement();
}

std::vector<LatLng> PlacesOf(const LineString& line) {
  std::vector<LatLng> places;
  for (int i = 0; i < line.GetCoordinateCount(); ++i) {
    places.push_back(PlaceFromStored(line.GetCoordinate(i)));
  }
  return places;
}

Json AreaWithin(const std::vector<LatLng>& outline) {
  return {{"type", "Polygon"}, {"coordinates", Json::array({GeoLine(outline)["coordinates"]})}};
}

/// Collects the features of all kinds.
class Features {
 public:
  void Add(const char* kind, Json geometry, Json properties) {
    Json all{{"kind", kind}};
    all.update(properties);
    features_.push_back(GeoFeature(std::move(geometry), std::move(all)));
  }
  void AddRoute(const TourReport& report) {
    for (const Json& feature : RouteFeatures(report)) {
      const bool is_line = feature["geometry"]["type"] == "LineString";
      Add(is_line ? "path" : "turn", feature["geometry"], feature["properties"]);
    }
  }
  void AddStreets(const TourStreets& streets);
  void AddCamera(const TourStreets& streets);
  std::string Write() const {
    return DumpedJson({{"type", "FeatureCollection"}, {"features", features_}});
  }

 private:
  Json features_ = Json::array();
};

void Features::AddStreets(const TourStreets& streets) {
  for (const TourRoad& road : streets.roads) {
    const auto* const line = nimbara::loculus::As<LineString>(road.line->geometry());
    if (line != nullptr) {
      Add("road", GeoLine(PlacesOf(*line)),
          {{"street", road.street}, {"color", HexColour(road.rgb)}, {"stop", road.stop}});
    }
  }
  for (const TourLabel& label : streets.labels) {
    Add("label", GeoPoint(label.place), {{"street", label.street}, {"stop", label.stop}});
  }
  for (const TourCorridor& corridor : streets.corridors) {
    Add("corridor", AreaWithin(OutlineOf(corridor)),
        {{"street", corridor.street},
         {"half_width_a_m", Rounded(corridor.half_width_a_m, 100.0)},
         {"half_width_b_m", Rounded(corridor.half_width_b_m, 100.0)}});
  }
  for (const TourFillet& fillet : streets.fillets) {
    Add("fillet", GeoLine(fillet.arc),
        {{"name", fillet.name}, {"radius_m", Rounded(fillet.radius_m, 100.0)}});
  }
}

void Features::AddCamera(const TourStreets& streets) {
  if (!streets.camera.empty()) {
    Add("pushed", GeoLine(CameraPlaces(streets, &CameraStep::pushed)),
        {{"steps", streets.camera.size()}});
    Add("held", GeoLine(CameraPlaces(streets, &CameraStep::held)),
        {{"steps", streets.camera.size()}});
  }
  for (const TourOverlay& one : streets.overlays) {
    Add("overlay", GeoPoint(PlaceFromStored(one.overlay->point()->position())),
        {{"id", one.overlay->name().toStdString()},
         {"stop", one.stop},
         {"tiles", one.overlay->icon()->href().toStdString()},
         {"has_surface", one.has_surface}});
  }
}

}  // namespace

std::string TourGpx(const TourReport& report) {
  QByteArray bytes;
  QXmlStreamWriter xml(&bytes);
  BeginGpx(&xml);
  for (const TourTurn& turn : report.turns) {
    const int at = report.path[static_cast<std::size_t>(turn.stop)];
    BeginGpxPoint("wpt", report.panoramas[static_cast<std::size_t>(at)].place, &xml);
    xml.writeTextElement("name", turn.left ? "Turn left" : "Turn right");
    xml.writeEndElement();
  }
  WriteGpxRoute(report, &xml);
  WriteTrack(report.streets, &CameraStep::pushed, "Where the camera was pushed to", &xml);
  WriteTrack(report.streets, &CameraStep::held, "Where the corridors held the camera", &xml);
  xml.writeEndDocument();
  return bytes.toStdString();
}

std::string TourGeoJson(const TourReport& report) {
  Features features;
  features.AddRoute(report);
  features.AddStreets(report.streets);
  features.AddCamera(report.streets);
  return features.Write();
}

}  // namespace command
}  // namespace pelorin
