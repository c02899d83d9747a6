// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_page_streets.h"

#include <cmath>
#include <utility>
#include <vector>

#include "apps/command/stored_place.h"
#include "apps/command/tour/tour_report.h"
#include "host/loculus/line_string.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;
using nimbara::loculus::LineString;

// More than a chart has pixels.
constexpr std::size_t kMostSteps = 6000;

double Rounded(double value, double parts) {
  return std::round(value * parts) / parts;
}

void AppendPlace(const LatLng& place, Json* row) {
  row->push_back(Rounded(place.lat_deg, 1e7));
  row->push_back(Rounded(place.lng_deg, 1e7));
}

Json RoadsJson(const TourStreets& streets) {
  Json rows = Json::array();
  for (const TourRoad& road : streets.roads) {
    Json points = Json::array();
    if (const auto* const line = nimbara::loculus::As<LineString>(road.line->geometry())) {
      for (int i = 0; i < line->GetCoordinateCount(); ++i) {
        AppendPlace(PlaceFromStored(line->GetCoordinate(i)), &points);
      }
    }
    rows.push_back(Json::array({HexColour(road.rgb), road.stop, road.street, std::move(points)}));
  }
  return rows;
}

Json CorridorsJson(const TourStreets& streets) {
  Json rows = Json::array();
  for (const TourCorridor& corridor : streets.corridors) {
    Json row = Json::array();
    AppendPlace(corridor.a, &row);
    AppendPlace(corridor.b, &row);
    row.push_back(Rounded(corridor.half_width_a_m, 1000.0));
    row.push_back(Rounded(corridor.half_width_b_m, 1000.0));
    rows.push_back(std::move(row));
  }
  return rows;
}

Json FilletsJson(const TourStreets& streets) {
  Json rows = Json::array();
  for (const TourFillet& fillet : streets.fillets) {
    Json arc = Json::array();
    for (const LatLng& point : fillet.arc) {
      AppendPlace(point, &arc);
    }
    Json row = Json::array();
    AppendPlace(fillet.corner, &row);
    row.push_back(std::move(arc));
    rows.push_back(std::move(row));
  }
  return rows;
}

/// A step without a depth has null for it.
Json StepJson(const CameraStep& step) {
  Json row = Json::array({Rounded(step.seconds, 100.0), step.stop});
  AppendPlace(step.pushed, &row);
  AppendPlace(step.held, &row);
  row.push_back(step.has_depth ? Json(Rounded(step.depth_m, 1000.0)) : Json());
  row.push_back(Rounded(step.heading_deg, 10.0));
  row.push_back(Rounded(step.turn_deg_per_s, 10.0));
  return row;
}

Json CameraJson(const TourStreets& streets) {
  const std::size_t stride = 1 + streets.camera.size() / kMostSteps;
  Json rows = Json::array();
  for (std::size_t i = 0; i < streets.camera.size(); ++i) {
    const bool begins_leg = i == 0 || streets.camera[i].stop != streets.camera[i - 1].stop;
    if (i % stride == 0 || begins_leg || streets.camera[i].was_outside()) {
      rows.push_back(StepJson(streets.camera[i]));
    }
  }
  return rows;
}

/// The date that each tile names; null where there is none to be read.
Json ImagesJson(const TourStreets& streets) {
  Json rows = Json::array();
  for (const TourTile& tile : streets.tiles) {
    rows.push_back(Json::array({tile.stop, tile.date.empty() ? Json() : Json(tile.date)}));
  }
  return rows;
}

}  // namespace

Json StreetsJson(const TourStreets& streets) {
  Json labels = Json::array();
  for (const TourLabel& label : streets.labels) {
    Json row = Json::array();
    AppendPlace(label.place, &row);
    row.push_back(label.street);
    labels.push_back(std::move(row));
  }
  Json json;
  json["roads"] = RoadsJson(streets);
  json["labels"] = std::move(labels);
  json["corridors"] = CorridorsJson(streets);
  json["fillets"] = FilletsJson(streets);
  json["camera"] = CameraJson(streets);
  json["images"] = ImagesJson(streets);
  return json;
}

}  // namespace command
}  // namespace pelorin
