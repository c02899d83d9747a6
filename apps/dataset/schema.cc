// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/schema.h"

#include <SQLiteCpp/Statement.h>
#include <zlib.h>

#include <map>

#include "apps/dataset/dataset.h"

namespace pelorin {

namespace {

// Columns of metadata values have no type: numbers are kept as numbers, whatever the locale.
const char* const kTables[] = {
    "CREATE TABLE metadata(key TEXT PRIMARY KEY, value) WITHOUT ROWID",
    "CREATE TABLE pano(number INTEGER PRIMARY KEY, id TEXT NOT NULL, lat REAL NOT NULL,"
    " lng REAL NOT NULL, scene INTEGER NOT NULL, level_id TEXT NOT NULL, street TEXT NOT NULL,"
    " street_range TEXT NOT NULL, copyright TEXT NOT NULL, image_width INTEGER NOT NULL,"
    " image_height INTEGER NOT NULL, tile_width INTEGER NOT NULL, tile_height INTEGER NOT NULL,"
    " pano_yaw REAL NOT NULL, tilt_yaw REAL NOT NULL, tilt_pitch REAL NOT NULL,"
    " info_level INTEGER NOT NULL, info_value INTEGER NOT NULL, image_date TEXT NOT NULL)",
    "CREATE UNIQUE INDEX pano_by_id ON pano(id)",
    "CREATE VIRTUAL TABLE pano_box USING rtree(number, south, north, west, east)",
    "CREATE TABLE link(pano INTEGER NOT NULL, place INTEGER NOT NULL, target TEXT NOT NULL,"
    " yaw REAL NOT NULL, argb INTEGER NOT NULL, PRIMARY KEY(pano, place)) WITHOUT ROWID",
    "CREATE TABLE level(pano INTEGER NOT NULL, place INTEGER NOT NULL, level_id TEXT NOT NULL,"
    " target TEXT NOT NULL, ordinal INTEGER NOT NULL, name TEXT NOT NULL,"
    " abbreviation TEXT NOT NULL, PRIMARY KEY(pano, place)) WITHOUT ROWID",
    "CREATE TABLE annotation(pano INTEGER NOT NULL, place INTEGER NOT NULL, id TEXT NOT NULL,"
    " title TEXT NOT NULL, yaw REAL NOT NULL, pitch REAL NOT NULL, d REAL NOT NULL,"
    " PRIMARY KEY(pano, place)) WITHOUT ROWID",
    "CREATE TABLE map(pano INTEGER PRIMARY KEY, depth BLOB, neighbours BLOB)",
    "CREATE TABLE backdrop(number INTEGER PRIMARY KEY, kind TEXT NOT NULL, name TEXT NOT NULL,"
    " closed INTEGER NOT NULL, points BLOB NOT NULL)",
    "CREATE TABLE height_grid(number INTEGER PRIMARY KEY, name TEXT NOT NULL, north REAL NOT NULL,"
    " west REAL NOT NULL, lat_step REAL NOT NULL, lng_step REAL NOT NULL, rows INTEGER NOT NULL,"
    " columns INTEGER NOT NULL)",
    "CREATE TABLE height_tile(grid INTEGER NOT NULL, tile INTEGER NOT NULL, samples BLOB NOT NULL,"
    " PRIMARY KEY(grid, tile))",
};

// Name to type and text of every object; of the tables that the R-tree keeps for itself only the
// type, since their text is up to the SQLite that made them.
std::map<std::string, std::string> ReadObjects(SQLite::Database* db) {
  std::map<std::string, std::string> objects;
  SQLite::Statement query(*db, "SELECT name, type, sql FROM sqlite_schema");
  while (query.executeStep()) {
    const std::string name = query.getColumn(0).getString();
    const std::string type = query.getColumn(1).getString();
    const bool own_of_rtree = name.rfind("pano_box_", 0) == 0;
    const std::string sql = own_of_rtree ? "" : query.getColumn(2).getString();
    if (name.rfind("sqlite_autoindex_", 0) != 0 && name.rfind("sqlite_stat", 0) != 0) {
      objects[name] = type + " " + sql;
    }
  }
  return objects;
}

}  // namespace

void CreateSchema(SQLite::Database* db) {
  for (const char* table : kTables) {
    db->exec(table);
  }
  db->exec("PRAGMA application_id = " + std::to_string(kDatasetApplicationId));
  db->exec("PRAGMA user_version = " + std::to_string(Dataset::kSchemaVersion));
}

std::optional<std::string> FindSchemaFault(SQLite::Database* db) {
  if (db->execAndGet("PRAGMA application_id").getInt() != kDatasetApplicationId) {
    return "an SQLite file, but no dataset";
  }
  const int version = db->execAndGet("PRAGMA user_version").getInt();
  if (version != Dataset::kSchemaVersion) {
    return "a dataset of layout " + std::to_string(version) + "; this program reads layout " +
           std::to_string(Dataset::kSchemaVersion) + ": import it again";
  }
  SQLite::Database model(":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  CreateSchema(&model);
  if (ReadObjects(db) != ReadObjects(&model)) {
    return "a dataset with foreign or missing tables";
  }
  return std::nullopt;
}

std::string Deflated(const std::string& payload) {
  if (payload.empty()) {
    return {};
  }
  uLongf size = compressBound(payload.size());
  std::string stream(size, '\0');
  compress2(reinterpret_cast<Bytef*>(&stream[0]), &size,
            reinterpret_cast<const Bytef*>(payload.data()), payload.size(), Z_DEFAULT_COMPRESSION);
  stream.resize(size);
  return stream;
}

bool Inflate(const std::string& stream, std::size_t max_bytes, std::string* payload) {
  std::string inflated(max_bytes, '\0');
  uLongf size = max_bytes;
  if (uncompress(reinterpret_cast<Bytef*>(&inflated[0]), &size,
                 reinterpret_cast<const Bytef*>(stream.data()), stream.size()) != Z_OK) {
    return false;
  }
  inflated.resize(size);
  inflated.shrink_to_fit();
  *payload = std::move(inflated);
  return true;
}

bool Fail(std::string* error, const std::string& message) {
  if (error != nullptr) {
    *error = message;
  }
  return false;
}

}  // namespace pelorin
