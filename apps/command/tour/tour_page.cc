// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_page.h"

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "apps/command/html_page.h"
#include "apps/command/tour/tour_page_streets.h"
#include "apps/command/tour/tour_page_template.h"
#include "apps/command/tour/tour_summary.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

/// Values that occur again and again, by number.
template <typename Key>
class Table {
 public:
  int NumberOf(const Key& key) {
    const auto [entry, is_new] = numbers_.try_emplace(key, static_cast<int>(keys_.size()));
    if (is_new) {
      keys_.push_back(key);
    }
    return entry->second;
  }
  const std::vector<Key>& keys() const { return keys_; }

 private:
  std::map<Key, int> numbers_;
  std::vector<Key> keys_;
};

struct Level {
  std::string id;
  std::string name;
  std::int32_t ordinal = 0;

  friend bool operator<(const Level& a, const Level& b) {
    return std::tie(a.id, a.name, a.ordinal) < std::tie(b.id, b.name, b.ordinal);
  }
};

/// A centimetre on the ground; more digits would only make the page longer.
double Rounded(double degrees) {
  return std::round(degrees * 1e7) / 1e7;
}

Json PlaceJson(const LatLng& place) {
  return Json::array({Rounded(place.lat_deg), Rounded(place.lng_deg)});
}

void AddPanoramas(const TourReport& report, Json* data) {
  Table<Level> levels;
  Table<std::string> streets;
  levels.NumberOf(Level{});
  streets.NumberOf("");
  Json rows = Json::array();
  for (const TourPanorama& one : report.panoramas) {
    const int level = levels.NumberOf(Level{one.level_id, one.level_name, one.level_ordinal});
    rows.push_back(Json::array({Rounded(one.place.lat_deg), Rounded(one.place.lng_deg),
                                std::round(one.heading_deg * 10.0) / 10.0, one.scene, level,
                                streets.NumberOf(one.street), one.street_range, one.fetched ? 1 : 0,
                                one.id, one.date}));
  }
  (*data)["panos"] = std::move(rows);
  (*data)["streets"] = streets.keys();
  Json level_rows = Json::array();
  for (const Level& level : levels.keys()) {
    level_rows.push_back({{"id", level.id}, {"name", level.name}, {"ordinal", level.ordinal}});
  }
  (*data)["levels"] = std::move(level_rows);
}

void AddEdges(const TourReport& report, Json* data) {
  Table<std::uint32_t> colours;
  Json rows = Json::array();
  for (const TourEdge& edge : report.edges) {
    rows.push_back(
        Json::array({edge.a, edge.b, colours.NumberOf(edge.road_rgb), edge.inferred ? 1 : 0}));
  }
  (*data)["edges"] = std::move(rows);
  Json texts = Json::array();
  Json widths = Json::array();
  Json classes = Json::array();
  for (const std::uint32_t colour : colours.keys()) {
    texts.push_back(HexColour(colour));
    widths.push_back(RoadWidthMetres(colour));
    classes.push_back(RoadClass(colour));
  }
  (*data)["colors"] = std::move(texts);
  (*data)["widths"] = std::move(widths);
  (*data)["classes"] = std::move(classes);
}

const char* KindName(TourStep::Kind kind) {
  switch (kind) {
  case TourStep::Kind::kStart:
    return "start";
  case TourStep::Kind::kLeft:
    return "left";
  case TourStep::Kind::kRight:
    return "right";
  case TourStep::Kind::kAlong:
    return "along";
  case TourStep::Kind::kArrive:
    break;
  }
  return "arrive";
}

void AddWalk(const TourReport& report, Json* data) {
  (*data)["path"] = report.path;
  Json turns = Json::array();
  for (const TourTurn& turn : report.turns) {
    turns.push_back(
        Json::array({turn.stop, turn.left ? "left" : "right", std::round(turn.angle_deg),
                     Rounded(turn.aim.lat_deg), Rounded(turn.aim.lng_deg)}));
  }
  (*data)["turns"] = std::move(turns);
  Json steps = Json::array();
  for (const TourStep& step : report.steps) {
    steps.push_back(
        Json::array({KindName(step.kind), step.stop, std::round(step.metres), step.text}));
  }
  (*data)["steps"] = std::move(steps);
}

void AddBackdrop(const TourReport& report, Json* data) {
  Json shapes = Json::array();
  for (const BackdropShape& shape : report.backdrop) {
    Json points = Json::array();
    for (const LatLng& point : shape.points) {
      points.push_back(Rounded(point.lat_deg));
      points.push_back(Rounded(point.lng_deg));
    }
    shapes.push_back(Json::array({shape.kind, shape.name, shape.closed ? 1 : 0, points}));
  }
  (*data)["backdrop"] = std::move(shapes);
}

}  // namespace

std::string TourPage(const TourReport& report, const std::string& made) {
  Json data;
  data["title"] = report.title;
  data["attribution"] = report.attribution;
  data["made"] = made;
  data["from"] = PlaceJson(report.from);
  data["to"] = PlaceJson(report.to);
  AddPanoramas(report, &data);
  AddEdges(report, &data);
  AddWalk(report, &data);
  AddBackdrop(report, &data);
  data["scene"] = StreetsJson(report.streets);
  data["figures"] = SummaryJson(report);
  std::string script;
  for (const std::string_view part :
       {kTourPageScript, kTourPageStreets, kTourPageChart, kTourPageBegin}) {
    script += part;
  }
  return FillMarks(
      kTourPageTemplate,
      {{"@TITLE@", HtmlSafe(report.title)}, {"@DATA@", ScriptSafe(data)}, {"@SCRIPT@", script}});
}

}  // namespace command
}  // namespace pelorin
