// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_summary.h"

#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

#include "apps/command/session.h"

namespace pelorin {
namespace command {
namespace {

/// Divided and not multiplied at the end: only that gives the number with the fewest digits.
double Rounded(double value, double parts) {
  return std::round(value * parts) / parts;
}

class Lines {
 public:
  explicit Lines(bool colour) : colour_(colour) {
    text_.imbue(std::locale::classic());
    text_ << std::fixed;
  }
  void Heading(const std::string& heading) { text_ << Bold(heading, colour_) << "\n"; }
  template <typename Value>
  void Row(const std::string& name, const Value& value, const std::string& unit = "",
           int decimals = 0) {
    text_ << "  " << std::left << std::setw(26) << name << std::setprecision(decimals) << value
          << (unit.empty() ? "" : " ") << unit << "\n";
  }
  std::string str() const { return text_.str(); }

 private:
  bool colour_;
  std::ostringstream text_;
};

std::uint64_t RequestCount(const TourFigures& figures) {
  return figures.id_requests + figures.position_requests + figures.tile_requests +
         figures.depth_requests + figures.image_requests;
}

nlohmann::ordered_json CameraJson(const TourStreets& streets) {
  return {{"steps", streets.camera.size()},
          {"seconds", streets.camera.empty() ? 0.0 : Rounded(streets.camera.back().seconds, 100.0)},
          {"pushed_back", streets.pushed_back_count()},
          {"farthest_outside_m", Rounded(streets.farthest_outside_m(), 100.0)},
          {"placed", streets.placed}};
}

nlohmann::ordered_json ImagesJson(const TourStreets& streets) {
  nlohmann::ordered_json dates = nlohmann::ordered_json::object();
  for (const auto& [date, tiles] : streets.dates()) {
    dates[date] = tiles;
  }
  return {{"tiles", streets.tiles.size()},
          {"dates", std::move(dates)},
          {"undated", streets.tile_count(TourTile::State::kUndated)},
          {"unreadable", streets.tile_count(TourTile::State::kUnreadable)},
          {"missing", streets.tile_count(TourTile::State::kMissing)}};
}

nlohmann::ordered_json UsageJson(const TourUsage& usage) {
  return {{"panoramas", usage.panoramas},
          {"viewpoints", usage.viewpoints},
          {"fields_of_view", usage.fields_of_view},
          {"reports", usage.reports},
          {"answered", usage.answered},
          {"received", usage.received}};
}

void AddStreets(const TourStreets& streets, Lines* lines) {
  lines->Heading("The streets along it");
  lines->Row("roads drawn", streets.roads.size());
  lines->Row("street names", streets.labels.size());
  lines->Row("photo overlays", streets.overlays.size());
  lines->Row("  with a depth surface", streets.surface_count());
  lines->Row("corridors", streets.corridors.size());
  lines->Row("  rounded corners", streets.fillets.size());
  lines->Row("steps of the camera", streets.camera.size());
  lines->Row("  pushed back", streets.pushed_back_count());
  lines->Row("  farthest outside", streets.farthest_outside_m(), "m", 1);
  lines->Row("usage reports", streets.usage.reports);
  lines->Row("  received", streets.usage.received);
}

void AddImages(const TourStreets& streets, Lines* lines) {
  lines->Heading("The images along it");
  lines->Row("image tiles", streets.tiles.size());
  for (const auto& [date, tiles] : streets.dates()) {
    lines->Row("  taken " + date, tiles);
  }
  lines->Row("  without a date", streets.tile_count(TourTile::State::kUndated));
  lines->Row("  unreadable", streets.tile_count(TourTile::State::kUnreadable));
  lines->Row("  missing", streets.tile_count(TourTile::State::kMissing));
}

}  // namespace

nlohmann::ordered_json SummaryJson(const TourReport& report) {
  const TourFigures& figures = report.figures;
  nlohmann::ordered_json ids = nlohmann::ordered_json::array();
  for (const int stop : report.path) {
    ids.push_back(report.panoramas[static_cast<std::size_t>(stop)].id);
  }
  nlohmann::ordered_json json;
  json["panoramas"] = report.fetched_count();
  json["placeholders"] = report.placeholder_count();
  json["edges"] = report.edges.size();
  json["inferred_links"] = report.inferred_count();
  json["requests"] = {{"id", figures.id_requests},
                      {"position", figures.position_requests},
                      {"tile", figures.tile_requests},
                      {"depth", figures.depth_requests},
                      {"image", figures.image_requests}};
  json["refused"] = figures.refused;
  json["failed"] = figures.failed;
  json["retried"] = figures.retried;
  json["path"] = {{"panoramas", report.path.size()},
                  {"hops", report.path.empty() ? 0 : report.path.size() - 1},
                  {"metres", Rounded(report.path_metres(), 100.0)},
                  {"turns", report.turns.size()},
                  {"ids", std::move(ids)}};
  const TourStreets& streets = report.streets;
  json["roads"] = streets.roads.size();
  json["labels"] = streets.labels.size();
  json["overlays"] = streets.overlays.size();
  json["surfaces"] = streets.surface_count();
  json["images"] = ImagesJson(streets);
  json["corridors"] = streets.corridors.size();
  json["fillets"] = streets.fillets.size();
  json["camera"] = CameraJson(streets);
  json["usage"] = UsageJson(streets.usage);
  json["seconds"] = Rounded(figures.seconds, 10000.0);
  json["panoramas_per_second"] = Rounded(report.panoramas_per_second(), 10.0);
  json["peak_memory_bytes"] = figures.peak_memory_bytes;
  return json;
}

std::string SummaryText(const TourReport& report, bool colour) {
  const TourFigures& figures = report.figures;
  Lines lines(colour);
  lines.Heading(report.title);
  lines.Row("panoramas known", report.panoramas.size());
  lines.Row("  fetched", report.fetched_count());
  lines.Row("  placeholders", report.placeholder_count());
  lines.Row("edges", report.edges.size());
  lines.Row("  inferred links", report.inferred_count());
  lines.Row("requests", RequestCount(figures));
  lines.Row("  by id", figures.id_requests);
  lines.Row("  by position", figures.position_requests);
  lines.Row("  by tile", figures.tile_requests);
  lines.Row("  for depth maps", figures.depth_requests);
  lines.Row("  for images", figures.image_requests);
  lines.Row("repeats refused", figures.refused);
  lines.Row("requests failed", figures.failed);
  lines.Row("attempts made again", figures.retried);
  lines.Heading("The walk");
  lines.Row("length", report.path_metres(), "m");
  lines.Row("hops", report.path.empty() ? 0 : report.path.size() - 1);
  lines.Row("turns", report.turns.size());
  for (const TourStep& step : report.steps) {
    std::ostringstream at;
    at.imbue(std::locale::classic());
    at << std::fixed << std::setprecision(0) << "  " << step.metres << " m";
    lines.Row(at.str(), step.text);
  }
  if (!report.streets.camera.empty()) {
    AddStreets(report.streets, &lines);
  }
  if (!report.streets.tiles.empty()) {
    AddImages(report.streets, &lines);
  }
  lines.Heading("Effort");
  lines.Row("time", figures.seconds, "s", 2);
  lines.Row("panoramas a second", report.panoramas_per_second());
  lines.Row("most memory", static_cast<double>(figures.peak_memory_bytes) / 1048576.0, "MiB", 1);
  return lines.str();
}

}  // namespace command
}  // namespace pelorin
