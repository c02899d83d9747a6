// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset_store.h"

#include <SQLiteCpp/VariadicBind.h>
#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "apps/dataset/schema.h"

namespace pelorin {

namespace {

// How many steps of SQLite's machine pass between two looks at the bound.
constexpr int kStepsPerLook = 1000;

double ReadDouble(const std::string& bytes, std::size_t at) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
  }
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

void AppendDouble(double value, std::string* bytes) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  for (int i = 0; i < 8; ++i) {
    bytes->push_back(static_cast<char>(bits >> (8 * i)));
  }
}

std::string Text(SQLite::Statement* query, int column) {
  return XmlSafeText(query->getColumn(column).getString());
}

double Finite(SQLite::Statement* query, int column) {
  const double value = query->getColumn(column).getDouble();
  if (!std::isfinite(value)) {
    throw std::runtime_error("damaged: a number is none");
  }
  return value;
}

LatLng Place(SQLite::Statement* query, int column) {
  const LatLng place{query->getColumn(column).getDouble(),
                     query->getColumn(column + 1).getDouble()};
  if (!IsValidLatLng(place)) {
    throw std::runtime_error("damaged: a place outside the planet's degrees");
  }
  return place;
}

// A statement is reset when its reader leaves, also by an exception, so that none keeps the
// database busy.
class Run {
 public:
  explicit Run(SQLite::Statement* query) : query_(query) { query_->tryReset(); }
  ~Run() { query_->tryReset(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  bool Step() { return query_->executeStep(); }

 private:
  SQLite::Statement* query_;
};

}  // namespace

std::string PackedPoints(const std::vector<LatLng>& points) {
  std::string bytes;
  bytes.reserve(points.size() * 16);
  for (const LatLng& point : points) {
    AppendDouble(point.lat_deg, &bytes);
    AppendDouble(point.lng_deg, &bytes);
  }
  return bytes;
}

bool UnpackPoints(const std::string& bytes, std::vector<LatLng>* points) {
  if (bytes.size() % 16 != 0) {
    return false;
  }
  std::vector<LatLng> unpacked;
  for (std::size_t at = 0; at < bytes.size(); at += 16) {
    unpacked.push_back({ReadDouble(bytes, at), ReadDouble(bytes, at + 8)});
    if (!IsValidLatLng(unpacked.back())) {
      return false;
    }
  }
  *points = std::move(unpacked);
  return true;
}

Dataset::Store::Store(SQLite::Database database, std::int64_t file_bytes)
    : db(std::move(database)), by_id(db, "SELECT number FROM pano WHERE id = ?"),
      pano(db, "SELECT id, lat, lng, scene, level_id, street, street_range, copyright, image_width,"
               " image_height, tile_width, tile_height, pano_yaw, tilt_yaw, tilt_pitch, info_level,"
               " info_value, image_date FROM pano WHERE number = ?"),
      link(db, "SELECT target, yaw, argb FROM link WHERE pano = ? ORDER BY place"),
      level(db, "SELECT level_id, target, ordinal, name, abbreviation FROM level WHERE pano = ?"
                " ORDER BY place"),
      annotation(db, "SELECT id, title, yaw, pitch, d FROM annotation WHERE pano = ?"
                     " ORDER BY place"),
      map(db, "SELECT depth, neighbours FROM map WHERE pano = ?"),
      box(db, "SELECT p.number, p.lat, p.lng, p.id, p.level_id FROM pano_box AS b"
              " JOIN pano AS p ON p.number = b.number"
              " WHERE b.north >= ? AND b.south <= ? AND b.east >= ? AND b.west <= ?"),
      backdrop(db, "SELECT kind, name, closed, points FROM backdrop ORDER BY number"),
      height_tile(db, "SELECT samples FROM height_tile WHERE grid = ? AND tile = ?"),
      // A row takes some 100 bytes of file and some 50 steps to pass over.
      max_steps_(file_bytes == 0 ? 0 : 1000000 + 4 * file_bytes) {
  if (max_steps_ > 0) {
    sqlite3_progress_handler(
        db.getHandle(), kStepsPerLook,
        [](void* data) {
          Store* store = static_cast<Store*>(data);
          store->steps_ += kStepsPerLook;
          return store->steps_ > store->max_steps_ ? 1 : 0;
        },
        this);
  }
}

void Dataset::Store::BeginQueryLocked() {
  steps_ = 0;
}

std::int64_t Dataset::Store::FindNumberLocked(const std::string& id) {
  by_id.bind(1, id);
  Run run(&by_id);
  return run.Step() ? by_id.getColumn(0).getInt64() : 0;
}

void Dataset::Store::AppendCandidatesLocked(double south, double west, double north, double east,
                                            std::vector<Candidate>* candidates) {
  SQLite::bind(box, south, north, west, east);
  Run run(&box);
  while (run.Step()) {
    const LatLng place = Place(&box, 1);
    // The index keeps single precision, rounded outwards; the record itself decides.
    if (place.lat_deg >= south && place.lat_deg <= north && place.lng_deg >= west &&
        place.lng_deg <= east) {
      candidates->push_back({box.getColumn(0).getInt64(), place, Text(&box, 3), Text(&box, 4)});
    }
  }
}

std::vector<Dataset::Store::Candidate> Dataset::Store::CandidatesLocked(const BoundingBox& bounds) {
  std::vector<Candidate> candidates;
  if (bounds.west_deg <= bounds.east_deg) {
    AppendCandidatesLocked(bounds.south_deg, bounds.west_deg, bounds.north_deg, bounds.east_deg,
                           &candidates);
  } else {
    AppendCandidatesLocked(bounds.south_deg, bounds.west_deg, bounds.north_deg, 180.0, &candidates);
    AppendCandidatesLocked(bounds.south_deg, -180.0, bounds.north_deg, bounds.east_deg,
                           &candidates);
  }
  return candidates;
}

PanoRecord Dataset::Store::ReadRecordLocked(std::int64_t number, bool with_maps) {
  pano.bind(1, number);
  PanoRecord record;
  {
    Run run(&pano);
    if (!run.Step()) {
      throw std::runtime_error("damaged: a panorama of the index is missing");
    }
    record.id = pano.getColumn(0).getString();
    if (!IsPanoId(record.id)) {
      throw std::runtime_error("damaged: a panorama's id is none");
    }
    record.place = Place(&pano, 1);
    record.scene = pano.getColumn(3).getInt();
    record.level_id = Text(&pano, 4);
    record.text = Text(&pano, 5);
    record.street_range = Text(&pano, 6);
    record.copyright = Text(&pano, 7);
    record.image_width = pano.getColumn(8).getInt();
    record.image_height = pano.getColumn(9).getInt();
    record.tile_width = pano.getColumn(10).getInt();
    record.tile_height = pano.getColumn(11).getInt();
    record.pano_yaw_deg = Finite(&pano, 12);
    record.tilt_yaw_deg = Finite(&pano, 13);
    record.tilt_pitch_deg = Finite(&pano, 14);
    record.info_level = static_cast<std::uint64_t>(pano.getColumn(15).getInt64());
    record.info_value = pano.getColumn(16).getInt();
    record.image_date = Text(&pano, 17);
  }
  ReadPartsLocked(number, &record);
  ReadMapsLocked(number, with_maps, &record);
  return record;
}

void Dataset::Store::ReadPartsLocked(std::int64_t number, PanoRecord* record) {
  link.bind(1, number);
  for (Run run(&link); run.Step();) {
    record->links.push_back({Text(&link, 0), Finite(&link, 1),
                             static_cast<std::uint32_t>(link.getColumn(2).getInt64())});
  }
  level.bind(1, number);
  for (Run run(&level); run.Step();) {
    record->levels.push_back({Text(&level, 0), Text(&level, 1), level.getColumn(2).getInt(),
                              Text(&level, 3), Text(&level, 4)});
  }
  annotation.bind(1, number);
  for (Run run(&annotation); run.Step();) {
    record->annotations.push_back({Text(&annotation, 0), Text(&annotation, 1),
                                   Finite(&annotation, 2), Finite(&annotation, 3),
                                   Finite(&annotation, 4)});
  }
}

void Dataset::Store::ReadMapsLocked(std::int64_t number, bool with_maps, PanoRecord* record) {
  map.bind(1, number);
  Run run(&map);
  if (!run.Step()) {
    return;
  }
  record->has_depth_map = map.getColumn(0).getBytes() > 0;
  record->has_pano_map = map.getColumn(1).getBytes() > 0;
  if (!with_maps) {
    return;
  }
  if (record->has_depth_map &&
      !Inflate(map.getColumn(0).getString(), kMaxDepthMapBytes, &record->depth_map)) {
    throw std::runtime_error("damaged: the depth map of panorama " + record->id);
  }
  if (record->has_pano_map &&
      !Inflate(map.getColumn(1).getString(), kMaxPanoMapBytes, &record->pano_map)) {
    throw std::runtime_error("damaged: the pano map of panorama " + record->id);
  }
}

std::vector<std::pair<std::int64_t, HeightGridInfo>> Dataset::Store::ReadHeightGridsLocked() {
  SQLite::Statement query(db, "SELECT number, name, north, west, lat_step, lng_step, rows, columns"
                              " FROM height_grid ORDER BY number");
  std::vector<std::pair<std::int64_t, HeightGridInfo>> grids;
  while (query.executeStep()) {
    HeightGridInfo info;
    info.name = query.getColumn(1).getString();
    info.north_deg = query.getColumn(2).getDouble();
    info.west_deg = query.getColumn(3).getDouble();
    info.lat_step_deg = query.getColumn(4).getDouble();
    info.lng_step_deg = query.getColumn(5).getDouble();
    info.rows = query.getColumn(6).getInt64();
    info.columns = query.getColumn(7).getInt64();
    const std::string fault = FaultOf(info);
    if (!fault.empty()) {
      throw std::runtime_error(fault);
    }
    grids.emplace_back(query.getColumn(0).getInt64(), std::move(info));
  }
  std::stable_sort(grids.begin(), grids.end(), [](const auto& a, const auto& b) {
    return a.second.lat_step_deg < b.second.lat_step_deg;
  });
  return grids;
}

std::string Dataset::Store::ReadHeightTileLocked(std::int64_t grid, std::int64_t tile) {
  height_tile.bind(1, grid);
  height_tile.bind(2, tile);
  Run run(&height_tile);
  if (!run.Step()) {
    throw std::runtime_error("damaged: a tile of heights is missing");
  }
  return height_tile.getColumn(0).getString();
}

}  // namespace pelorin
