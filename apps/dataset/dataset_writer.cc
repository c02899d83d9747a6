// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset_writer.h"

#include <SQLiteCpp/Backup.h>
#include <SQLiteCpp/VariadicBind.h>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <unordered_set>
#include <utility>

#include "apps/dataset/dataset_file.h"
#include "apps/dataset/dataset_store.h"
#include "apps/dataset/schema.h"

namespace pelorin {

namespace {

// A step that has to happen; SQLite's own message says what stood in its way.
void Insert(SQLite::Statement* statement) {
  statement->exec();
  statement->reset();
}

bool AllFinite(const PanoRecord& record) {
  const bool links = std::all_of(record.links.begin(), record.links.end(),
                                 [](const PanoLink& link) { return std::isfinite(link.yaw_deg); });
  const bool annotations = std::all_of(
      record.annotations.begin(), record.annotations.end(), [](const PanoAnnotation& label) {
        return std::isfinite(label.yaw) && std::isfinite(label.pitch) && std::isfinite(label.d);
      });
  return links && annotations && std::isfinite(record.pano_yaw_deg) &&
         std::isfinite(record.tilt_yaw_deg) && std::isfinite(record.tilt_pitch_deg);
}

std::string FaultOf(const PanoRecord& record) {
  if (!IsPanoId(record.id)) {
    return "not a panorama id: \"" + XmlSafeText(record.id) + "\"";
  }
  if (!IsValidLatLng(record.place)) {
    return "panorama " + record.id + " lies outside the planet's degrees";
  }
  if (!AllFinite(record)) {
    return "panorama " + record.id + " has an angle that is no number";
  }
  if (record.image_width < 0 || record.image_height < 0 || record.tile_width < 0 ||
      record.tile_height < 0) {
    return "panorama " + record.id + " has a negative size";
  }
  if (record.depth_map.size() > kMaxDepthMapBytes || record.pano_map.size() > kMaxPanoMapBytes) {
    return "panorama " + record.id + " has a map larger than any reader takes";
  }
  return {};
}

// An open transaction on empty tables.
SQLite::Database EmptyDataset(const std::string& storage) {
  SQLite::Database db(storage, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  // The file is nobody's until it is renamed, so there is nothing to roll back to.
  db.exec("PRAGMA journal_mode = OFF");
  db.exec("PRAGMA synchronous = OFF");
  CreateSchema(&db);
  db.exec("BEGIN");
  return db;
}

}  // namespace

struct DatasetWriter::Store {
  Store(const std::string& storage, std::unique_ptr<ReplacedFile> replaced, std::string target_path)
      : file(std::move(replaced)), path(std::move(target_path)), db(EmptyDataset(storage)) {}

  void InsertPano(const PanoRecord& record);
  void InsertBox(const PanoRecord& record);
  void InsertParts(const PanoRecord& record);
  void InsertMaps(const PanoRecord& record);
  void InsertHeights(const HeightGrid& grid);
  void InsertInfo(const DatasetInfo& info);
  void InsertCount(const std::string& key, const std::string& query);
  void InsertMetadata(const std::string& key, const std::string& value);
  void InsertMetadata(const std::string& key, double value);
  void InsertPlace(const std::string& key, const std::optional<LatLng>& place);

  std::unique_ptr<ReplacedFile> file;  // Null in memory. Outlives the connection.
  std::string path;
  SQLite::Database db;
  SQLite::Statement pano{db, "INSERT INTO pano VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"};
  SQLite::Statement box{db, "INSERT INTO pano_box VALUES(?,?,?,?,?)"};
  SQLite::Statement link{db, "INSERT INTO link VALUES(?,?,?,?,?)"};
  SQLite::Statement level{db, "INSERT INTO level VALUES(?,?,?,?,?,?,?)"};
  SQLite::Statement annotation{db, "INSERT INTO annotation VALUES(?,?,?,?,?,?,?)"};
  SQLite::Statement map{db, "INSERT INTO map VALUES(?,?,?)"};
  SQLite::Statement backdrop{db,
                             "INSERT INTO backdrop(kind, name, closed, points) VALUES(?,?,?,?)"};
  SQLite::Statement height_grid{db, "INSERT INTO height_grid(name, north, west, lat_step, lng_step,"
                                    " rows, columns) VALUES(?,?,?,?,?,?,?)"};
  SQLite::Statement height_tile{db, "INSERT INTO height_tile VALUES(?,?,?)"};
  SQLite::Statement metadata{db, "INSERT INTO metadata VALUES(?,?)"};
  std::unordered_set<std::string> ids;
  std::int64_t number = 0;  // Of the latest panorama.
  std::string broken;       // Why nothing can be added any more; empty while all is well.
};

void DatasetWriter::Store::InsertPano(const PanoRecord& record) {
  int at = 0;
  pano.bind(++at, number);
  pano.bind(++at, record.id);
  pano.bind(++at, record.place.lat_deg);
  pano.bind(++at, record.place.lng_deg);
  pano.bind(++at, record.scene);
  pano.bind(++at, record.level_id);
  pano.bind(++at, record.text);
  pano.bind(++at, record.street_range);
  pano.bind(++at, record.copyright);
  for (const std::int32_t size :
       {record.image_width, record.image_height, record.tile_width, record.tile_height}) {
    pano.bind(++at, size);
  }
  for (const double angle : {record.pano_yaw_deg, record.tilt_yaw_deg, record.tilt_pitch_deg}) {
    pano.bind(++at, angle);
  }
  // SQLite knows signed numbers only; the reader turns the bits back.
  std::int64_t info_level = 0;
  std::memcpy(&info_level, &record.info_level, sizeof info_level);
  pano.bind(++at, info_level);
  pano.bind(++at, record.info_value);
  pano.bind(++at, record.image_date);
  Insert(&pano);
}

void DatasetWriter::Store::InsertBox(const PanoRecord& record) {
  box.bind(1, number);
  box.bind(2, record.place.lat_deg);
  box.bind(3, record.place.lat_deg);
  box.bind(4, record.place.lng_deg);
  box.bind(5, record.place.lng_deg);
  Insert(&box);
}

void DatasetWriter::Store::InsertParts(const PanoRecord& record) {
  std::int64_t place = 0;
  for (const PanoLink& one : record.links) {
    SQLite::bind(link, number, ++place, one.pano_id, one.yaw_deg,
                 static_cast<std::int64_t>(one.road_argb));
    Insert(&link);
  }
  place = 0;
  for (const PanoLevel& one : record.levels) {
    SQLite::bind(level, number, ++place, one.level_id, one.pano_id, one.ordinal, one.text,
                 one.abbreviation);
    Insert(&level);
  }
  place = 0;
  for (const PanoAnnotation& one : record.annotations) {
    SQLite::bind(annotation, number, ++place, one.id, one.title, one.yaw, one.pitch, one.d);
    Insert(&annotation);
  }
}

void DatasetWriter::Store::InsertMaps(const PanoRecord& record) {
  if (record.depth_map.empty() && record.pano_map.empty()) {
    return;
  }
  const std::string depth = Deflated(record.depth_map);
  const std::string neighbours = Deflated(record.pano_map);
  map.bind(1, number);
  map.bind(2, depth.data(), static_cast<int>(depth.size()));
  map.bind(3, neighbours.data(), static_cast<int>(neighbours.size()));
  Insert(&map);
}

void DatasetWriter::Store::InsertHeights(const HeightGrid& grid) {
  const HeightGridInfo& info = grid.info;
  SQLite::bind(height_grid, info.name, info.north_deg, info.west_deg, info.lat_step_deg,
               info.lng_step_deg, info.rows, info.columns);
  Insert(&height_grid);
  const std::int64_t grid_number = db.getLastInsertRowid();
  for (std::int64_t tile = 0; tile < HeightTileCount(info); ++tile) {
    const std::string packed = PackedHeightTile(grid, tile);
    height_tile.bind(1, grid_number);
    height_tile.bind(2, tile);
    height_tile.bind(3, packed.data(), static_cast<int>(packed.size()));
    Insert(&height_tile);
  }
}

void DatasetWriter::Store::InsertMetadata(const std::string& key, const std::string& value) {
  SQLite::bind(metadata, key, value);
  Insert(&metadata);
}

void DatasetWriter::Store::InsertMetadata(const std::string& key, double value) {
  SQLite::bind(metadata, key, value);
  Insert(&metadata);
}

void DatasetWriter::Store::InsertCount(const std::string& key, const std::string& query) {
  db.exec("INSERT INTO metadata SELECT '" + key + "', (SELECT " + query + ")");
}

void DatasetWriter::Store::InsertPlace(const std::string& key, const std::optional<LatLng>& place) {
  if (place && IsValidLatLng(*place)) {
    InsertMetadata(key + "_lat", place->lat_deg);
    InsertMetadata(key + "_lng", place->lng_deg);
  }
}

void DatasetWriter::Store::InsertInfo(const DatasetInfo& info) {
  InsertMetadata("name", info.name);
  InsertMetadata("attribution", info.attribution);
  InsertPlace("tour_from", info.tour_from);
  InsertPlace("tour_to", info.tour_to);
  // Counted once here, so that opening a large dataset reads none of it.
  InsertCount("panoramas", "count(*) FROM pano");
  InsertCount("links", "count(*) FROM link");
  InsertCount("scenes", "count(DISTINCT scene) FROM pano");
  InsertCount("levels", "count(DISTINCT level_id) FROM pano WHERE level_id <> ''");
  InsertCount("annotations", "count(*) FROM annotation");
  InsertCount("depth_maps", "count(*) FROM map WHERE length(depth) > 0");
  InsertCount("pano_maps", "count(*) FROM map WHERE length(neighbours) > 0");
  InsertCount("streets", "count(DISTINCT street) FROM pano WHERE street <> ''");
  InsertCount("height_grids", "count(*) FROM height_grid");
  InsertCount("south", "coalesce(min(lat), 0.0) FROM pano");
  InsertCount("west", "coalesce(min(lng), 0.0) FROM pano");
  InsertCount("north", "coalesce(max(lat), 0.0) FROM pano");
  InsertCount("east", "coalesce(max(lng), 0.0) FROM pano");
}

std::unique_ptr<DatasetWriter> DatasetWriter::ToFile(const std::string& path, std::string* error) {
  std::unique_ptr<ReplacedFile> file = BeginDatasetFile(path, error);
  if (file == nullptr) {
    return nullptr;
  }
  try {
    const std::string partial = file->partial_path();
    return std::unique_ptr<DatasetWriter>(
        new DatasetWriter(std::make_unique<Store>(partial, std::move(file), path)));
  } catch (const std::exception& fault) {
    Fail(error, path + ": cannot be written: " + fault.what());
    return nullptr;
  }
}

bool DatasetWriter::CanWrite(const std::string& path, std::string* error) {
  return BeginDatasetFile(path, error) != nullptr;
}

std::unique_ptr<DatasetWriter> DatasetWriter::InMemory(std::string* error) {
  try {
    return std::unique_ptr<DatasetWriter>(
        new DatasetWriter(std::make_unique<Store>(":memory:", nullptr, "")));
  } catch (const std::exception& fault) {
    Fail(error, std::string("no dataset in memory: ") + fault.what());
    return nullptr;
  }
}

DatasetWriter::DatasetWriter(std::unique_ptr<Store> store) : store_(std::move(store)) {}
DatasetWriter::~DatasetWriter() = default;

bool DatasetWriter::Add(const PanoRecord& record, std::string* error) {
  if (store_ == nullptr || !store_->broken.empty()) {
    return Fail(error, store_ == nullptr ? "the dataset is finished" : store_->broken);
  }
  const std::string fault = FaultOf(record);
  if (!fault.empty()) {
    return Fail(error, fault);
  }
  if (!store_->ids.insert(record.id).second) {
    return Fail(error, "panorama " + record.id + " is there already");
  }
  try {
    ++store_->number;
    store_->InsertPano(record);
    store_->InsertBox(record);
    store_->InsertParts(record);
    store_->InsertMaps(record);
  } catch (const std::exception& storage_fault) {
    store_->broken = store_->path + ": cannot be written: " + storage_fault.what();
    return Fail(error, store_->broken);
  }
  return true;
}

bool DatasetWriter::AddBackdrop(const BackdropShape& shape, std::string* error) {
  if (store_ == nullptr || !store_->broken.empty()) {
    return Fail(error, store_ == nullptr ? "the dataset is finished" : store_->broken);
  }
  if (!std::all_of(shape.points.begin(), shape.points.end(), IsValidLatLng)) {
    return Fail(error, "a shape lies outside the planet's degrees");
  }
  const std::string points = PackedPoints(shape.points);
  try {
    SQLite::Statement& insert = store_->backdrop;
    insert.bind(1, shape.kind);
    insert.bind(2, shape.name);
    insert.bind(3, shape.closed ? 1 : 0);
    insert.bind(4, points.data(), static_cast<int>(points.size()));
    Insert(&insert);
  } catch (const std::exception& storage_fault) {
    store_->broken = store_->path + ": cannot be written: " + storage_fault.what();
    return Fail(error, store_->broken);
  }
  return true;
}

bool DatasetWriter::AddHeightGrid(const HeightGrid& grid, std::string* error) {
  if (store_ == nullptr || !store_->broken.empty()) {
    return Fail(error, store_ == nullptr ? "the dataset is finished" : store_->broken);
  }
  const std::string fault = FaultOf(grid.info);
  if (!fault.empty()) {
    return Fail(error, fault);
  }
  if (grid.samples.size() != static_cast<std::size_t>(grid.info.rows * grid.info.columns)) {
    return Fail(error, "the heights " + grid.info.name + " have another number of samples");
  }
  try {
    store_->InsertHeights(grid);
  } catch (const std::exception& storage_fault) {
    store_->broken = store_->path + ": cannot be written: " + storage_fault.what();
    return Fail(error, store_->broken);
  }
  return true;
}

std::unique_ptr<Dataset> DatasetWriter::Finish(const DatasetInfo& info, std::string* error) {
  const std::unique_ptr<Store> store = std::move(store_);
  if (store == nullptr || !store->broken.empty()) {
    Fail(error, store == nullptr ? "the dataset is finished" : store->broken);
    return nullptr;
  }
  const std::string path = store->path;
  try {
    store->InsertInfo(info);
    store->db.exec("COMMIT");
    if (store->file == nullptr) {
      // Statements refer to the connection, so the finished pages move to one of their own.
      SQLite::Database memory(":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
      SQLite::Backup(memory, store->db).executeStep(-1);
      return Dataset::FromStore("", std::make_unique<Dataset::Store>(std::move(memory), 0), error);
    }
  } catch (const std::exception& fault) {
    Fail(error, path + ": cannot be written: " + fault.what());
    return nullptr;
  }
  if (!CommitDatasetFile(store->file.get(), error)) {
    return nullptr;
  }
  return Dataset::Open(path, error);
}

}  // namespace pelorin
