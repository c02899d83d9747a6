// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <QUrl>
#include <cmath>
#include <locale>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "apps/command/answer_signal.h"
#include "apps/command/coordinates.h"
#include "apps/command/number_check.h"
#include "apps/command/output_file.h"
#include "apps/command/pano_source.h"
#include "apps/command/service_fault.h"
#include "apps/command/verbs.h"
#include "host/reference/network_statistics.h"
#include "spatial/panorama/pano_map.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/panorama_fetch_observer.h"
#include "spatial/panorama/panorama_fetcher.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;
using nimbara::RefPtr;
using nimbara::spatial::MapTile;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoramaFetcher;

struct PanoFlags {
  PanoSourceFlags source;
  std::string id;
  std::string at;
  std::string tile;
  double radius_m = 50.0;
  std::string level;
  bool json = false;
  std::string output = "-";
  bool overwrite = false;
};

/// What is asked for, read from the flags.
struct PanoQuery {
  enum class Kind { kId, kPlace, kTile };
  Kind kind = Kind::kId;
  QString id;
  LatLng place;
  double radius_m = 0.0;
  QString level;
  MapTile tile;
};

/// Keeps the records of the answers. The worker fills it; it is read when the worker has gone.
class PanoCollector final : public nimbara::spatial::IPanoramaFetchObserver {
 public:
  void OnMetaDataFetched(const QString&, RefPtr<PanoramaData> data) override {
    records_.push_back(std::move(data));
    signal_.Raise();
  }
  void OnEmptyResponse() override { signal_.Raise(); }
  void OnMapTileFetched(const MapTile&) override { signal_.Raise(); }

  AnswerSignal& signal() { return signal_; }
  const std::vector<RefPtr<PanoramaData>>& records() const { return records_; }

 private:
  AnswerSignal signal_;
  std::vector<RefPtr<PanoramaData>> records_;
};

Outcome ReadQuery(const PanoFlags& flags, PanoQuery* query) {
  const int given =
      (flags.id.empty() ? 0 : 1) + (flags.at.empty() ? 0 : 1) + (flags.tile.empty() ? 0 : 1);
  if (given != 1) {
    return Outcome::Fail(ExitCode::kWrongUsage, "exactly one of --id, --at and --tile is needed",
                         "", "see 'pelorin pano --help'");
  }
  query->id = QString::fromStdString(flags.id);
  query->level = QString::fromStdString(flags.level);
  query->radius_m = flags.radius_m;
  if (!flags.at.empty()) {
    query->kind = PanoQuery::Kind::kPlace;
    return ParseLatLng(flags.at, "--at", &query->place);
  }
  if (!flags.tile.empty()) {
    query->kind = PanoQuery::Kind::kTile;
    TileAddress tile;
    Outcome outcome = ParseTile(flags.tile, "--tile", &tile);
    query->tile = MapTile::At(tile.x, tile.y, tile.zoom);
    return outcome;
  }
  return Outcome::Done();
}

QUrl UrlOf(const PanoQuery& query, const PanoramaFetcher& fetcher) {
  switch (query.kind) {
  case PanoQuery::Kind::kPlace:
    return fetcher.CreateUrl(query.place.lat_deg, query.place.lng_deg, query.radius_m, query.level);
  case PanoQuery::Kind::kTile:
    return fetcher.CreateUrl(query.tile);
  case PanoQuery::Kind::kId:
    break;
  }
  return fetcher.CreateUrl(query.id);
}

void Start(const PanoQuery& query, PanoramaFetcher* fetcher, PanoCollector* collector) {
  switch (query.kind) {
  case PanoQuery::Kind::kPlace:
    fetcher->FetchMetaData(query.place.lat_deg, query.place.lng_deg, query.radius_m, query.level,
                           collector);
    return;
  case PanoQuery::Kind::kTile:
    fetcher->FetchMetaData(query.tile, collector);
    return;
  case PanoQuery::Kind::kId:
    break;
  }
  fetcher->FetchMetaData(query.id, collector);
}

std::string MetresText(double metres) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << metres;
  return text.str();
}

/// What was asked for, as the user said it, and what may help where nothing is there.
Outcome NothingThere(const PanoQuery& query, const PanoFlags& flags) {
  const auto nothing = [](const std::string& what, const std::string& where,
                          const std::string& to_do) {
    return Outcome::Fail(ExitCode::kNothingFound, what, where, to_do);
  };
  switch (query.kind) {
  case PanoQuery::Kind::kPlace:
    return nothing("no panorama within " + MetresText(query.radius_m) + " m" +
                       (flags.level.empty() ? "" : " on level '" + flags.level + "'"),
                   "--at " + flags.at, "choose a place on a street, or a larger --radius");
  case PanoQuery::Kind::kTile:
    return nothing("no panorama in this tile", "--tile " + flags.tile,
                   "choose a tile with streets, or one of a lower zoom");
  case PanoQuery::Kind::kId:
    break;
  }
  return nothing("no panorama has this id", "--id " + flags.id, "find ids with --at or --tile");
}

Outcome Ask(const PanoQuery& query, const PanoFlags& flags, const PanoSource& source,
            PanoCollector* collector) {
  const std::uint64_t failed_before = nimbara::net::GetNetworkStatistics().failed;
  {
    PanoramaFetcher fetcher;
    Start(query, &fetcher, collector);
    const QUrl url = UrlOf(query, fetcher);
    collector->signal().WaitUntil([&fetcher, &url] { return !fetcher.IsFetching(url); });
  }
  if (!collector->records().empty()) {
    return Outcome::Done();
  }
  return nimbara::net::GetNetworkStatistics().failed != failed_before
             ? FailureOf(source.service(),
                         Outcome::Fail(ExitCode::kUnavailable, "the service does not answer",
                                       source.url(),
                                       "see that it runs and that the address is right"))
             : NothingThere(query, flags);
}

LatLng PlaceOf(const PanoramaData& record) {
  return LatLng{record.position.y * 180.0, record.position.x * 180.0};
}

/// The records by level, the ground first, each group in the order of the answer.
using Groups = std::map<std::pair<int, QString>, std::vector<const PanoramaData*>>;

const nimbara::spatial::ConnectedLevel* LevelOf(const PanoramaData& record) {
  for (const auto& level : record.levels) {
    if (level.level_id == record.level_id) {
      return &level;
    }
  }
  return nullptr;
}

Groups GroupByLevel(const std::vector<RefPtr<PanoramaData>>& records) {
  Groups groups;
  for (const RefPtr<PanoramaData>& record : records) {
    const auto* const level = LevelOf(*record);
    groups[{level != nullptr ? level->ordinal : 0, record->level_id}].push_back(record.get());
  }
  return groups;
}

/// JSON has no word for what is not finite; null says that it is not known.
Json Finite(double number) {
  return std::isfinite(number) ? Json(number) : Json(nullptr);
}

std::string RoadColour(std::uint32_t abgr) {
  std::ostringstream text;
  text << std::hex << std::uppercase;
  text.width(8);
  text.fill('0');
  text << ((abgr & 0xFF00FF00u) | (abgr & 0xFFu) << 16 | (abgr >> 16 & 0xFFu));
  return text.str();
}

Json MapsJson(const PanoramaData& record) {
  Json maps = Json::object();
  if (record.depthmap != nullptr) {
    maps["depth_map"] = {{"width", record.depthmap->width},
                         {"height", record.depthmap->height},
                         {"planes", record.depthmap->plane_count}};
  }
  if (record.panomap != nullptr) {
    maps["pano_map"] = {{"width", record.panomap->width},
                        {"height", record.panomap->height},
                        {"panoramas", record.panomap->pano_ids.size() - 1}};
  }
  return maps;
}

Json RecordJson(const PanoramaData& record) {
  const LatLng place = PlaceOf(record);
  Json json;
  json["id"] = record.pano_id.toStdString();
  json["lat"] = Finite(place.lat_deg);
  json["lng"] = Finite(place.lng_deg);
  json["heading_deg"] = Finite(record.pano_yaw_deg);
  json["tilt_yaw_deg"] = Finite(record.tilt_yaw_deg);
  json["tilt_pitch_deg"] = Finite(record.tilt_pitch_deg);
  json["address"] = record.address.toStdString();
  json["street"] = record.text.toStdString();
  json["street_range"] = record.street_range.toStdString();
  json["date"] = record.image_date.toStdString();
  json["copyright"] = record.copyright.toStdString();
  json["scene"] = record.scene;
  json["image"] = {{"width", record.image_width},
                   {"height", record.image_height},
                   {"tile_width", record.tile_width},
                   {"tile_height", record.tile_height}};
  json["links"] = Json::array();
  for (const auto& link : record.links) {
    json["links"].push_back({{"id", link.pano_id.toStdString()},
                             {"yaw_deg", Finite(static_cast<double>(link.yaw_deg))},
                             {"road_argb", RoadColour(link.road_color)}});
  }
  json["building"] = Json::array();
  for (const auto& level : record.levels) {
    json["building"].push_back({{"level_id", level.level_id.toStdString()},
                                {"ordinal", level.ordinal},
                                {"name", level.text.toStdString()},
                                {"id", level.pano_id.toStdString()}});
  }
  json.update(MapsJson(record));
  return json;
}

std::string ToJson(const Groups& groups) {
  Json levels = Json::array();
  std::size_t count = 0;
  for (const auto& [key, records] : groups) {
    Json rows = Json::array();
    for (const PanoramaData* record : records) {
      rows.push_back(RecordJson(*record));
    }
    count += rows.size();
    levels.push_back({{"level_id", key.second.toStdString()},
                      {"ordinal", key.first},
                      {"panoramas", std::move(rows)}});
  }
  const Json json{{"count", count}, {"levels", std::move(levels)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void AddLine(std::ostringstream* text, const char* name, const std::string& value) {
  if (!value.empty()) {
    *text << "  " << name << std::string(12 - std::string(name).size(), ' ') << value << "\n";
  }
}

std::string Whole(double degrees) {
  return std::isfinite(degrees) ? std::to_string(std::lround(NormalizedDegrees(degrees))) : "?";
}

void AddRecord(const PanoramaData& record, std::ostringstream* text) {
  *text << record.pano_id.toStdString() << "\n";
  AddLine(text, "place", LatLngText(PlaceOf(record)));
  AddLine(text, "address", record.address.toStdString());
  AddLine(text, "heading", Whole(record.pano_yaw_deg) + " deg");
  AddLine(text, "scene", std::to_string(record.scene));
  AddLine(text, "date", record.image_date.toStdString());
  AddLine(text, "copyright", record.copyright.toStdString());
  if (record.depthmap != nullptr) {
    AddLine(text, "depth map",
            std::to_string(record.depthmap->width) + " x " +
                std::to_string(record.depthmap->height) + ", " +
                std::to_string(record.depthmap->plane_count) + " planes");
  }
  for (const auto& link : record.links) {
    AddLine(text, "link",
            link.pano_id.toStdString() + " at " + Whole(static_cast<double>(link.yaw_deg)) +
                " deg");
  }
  for (const auto& level : record.levels) {
    AddLine(text, "level",
            level.text.toStdString() + " (" + level.level_id.toStdString() +
                "): " + level.pano_id.toStdString());
  }
}

std::string ToText(const Groups& groups) {
  std::ostringstream text;
  for (const auto& [key, records] : groups) {
    if (groups.size() > 1 || !key.second.isEmpty()) {
      const auto* const level = LevelOf(*records.front());
      text << "== "
           << (key.second.isEmpty()
                   ? "outside of buildings"
                   : "level " + (level != nullptr ? level->text : key.second).toStdString())
           << " ==\n";
    }
    for (const PanoramaData* record : records) {
      AddRecord(*record, &text);
    }
  }
  return text.str();
}

Outcome Pano(const PanoFlags& flags, const Session& session) {
  PanoQuery query;
  if (Outcome outcome = ReadQuery(flags, &query); !outcome.ok()) {
    return outcome;
  }
  if (Outcome outcome = CheckMayWrite(flags.output, flags.overwrite); !outcome.ok()) {
    return outcome;
  }
  PanoSource source;
  if (Outcome outcome = source.Open(flags.source, session); !outcome.ok()) {
    return outcome;
  }
  PanoCollector collector;
  if (Outcome outcome = Ask(query, flags, source, &collector); !outcome.ok()) {
    return outcome;
  }
  const Groups groups = GroupByLevel(collector.records());
  return WriteOutput(flags.output, flags.overwrite, flags.json ? ToJson(groups) : ToText(groups));
}

}  // namespace

void AddPanoVerb(CLI::App& app, Session& session) {
  const auto flags = std::make_shared<PanoFlags>();
  CLI::App* const verb =
      app.add_subcommand("pano", "Show panoramas by id, by position or by map tile");
  verb->add_option("--id", flags->id, "The panorama with this id")->type_name("ID");
  verb->add_option("--at", flags->at, "The panorama nearest to this place")->type_name("LAT,LNG");
  verb->add_option("--tile", flags->tile, "All panoramas of this map tile: column, row, zoom")
      ->type_name("X,Y,Z");
  verb->add_option("--radius", flags->radius_m,
                   "Reach of --at in metres, 1 to 100000; 50 unless given")
      ->type_name("METRES")
      ->check(NumberFrom(1.0, 100000.0));
  verb->add_option("--level", flags->level, "Only panoramas on this level, with --at")
      ->type_name("ID");
  AddPanoSourceFlags(*verb, &flags->source);
  verb->add_flag("--json", flags->json, "Answer in JSON");
  verb->add_option("-o,--output", flags->output,
                   "File to write; '-', the default, for the terminal")
      ->type_name("FILE");
  verb->add_flag("--overwrite", flags->overwrite, "Replace the file if it is there");
  verb->footer("Panoramas on different levels are kept apart.\n\n"
               "Example: pelorin pano --at 47.5004,-24.4994 --json");
  verb->callback([flags, &session] { session.outcome = Pano(*flags, session); });
}

}  // namespace command
}  // namespace pelorin
