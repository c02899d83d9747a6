// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset.h"

#include <SQLiteCpp/Backup.h>
#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "apps/dataset/dataset_file.h"
#include "apps/dataset/dataset_store.h"
#include "apps/dataset/schema.h"
#include "spatial/panorama/map_tile.h"

namespace pelorin {

namespace {

// No two places are farther apart.
constexpr double kHalfRoundMetres = 180.0 * kMetresPerDegree;
// The first ring of a nearest search, and how much wider each next one is.
constexpr double kFirstRingMetres = 64.0;
constexpr double kRingGrowth = 4.0;

// SQLite takes a path with options only as a URI, in which these characters would mean something.
std::string FileUri(const std::string& path) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string uri = path[0] == '/' ? "file://" : "file:";
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      const unsigned code = static_cast<unsigned char>(c);
      uri += {'%', kHex[code >> 4], kHex[code & 15]};
    } else {
      uri += c;
    }
  }
  // Immutable: nothing is written, no lock is taken, a read-only folder will do.
  return uri + "?mode=ro&immutable=1";
}

std::string OpeningFault(const std::string& path, std::int64_t* file_bytes) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    return "no dataset file named";
  }
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) {
    return path + ": no such file";
  }
  // Opening a pipe would wait for its other end.
  if (!std::filesystem::is_regular_file(status)) {
    return path + ": not a file";
  }
  *file_bytes = static_cast<std::int64_t>(std::filesystem::file_size(path, code));
  return code ? path + ": " + code.message() : std::string();
}

// What of the planet lies within `radius_m` of `place`, and little else.
BoundingBox BoxAround(const LatLng& place, double radius_m) {
  // The slack covers the rounding of the distances that are compared afterwards.
  const double arc_deg = radius_m / kMetresPerDegree * (1.0 + 1e-9) + 1e-9;
  BoundingBox box{place.lat_deg - arc_deg, -180.0, place.lat_deg + arc_deg, 180.0};
  if (box.south_deg > -90.0 && box.north_deg < 90.0) {
    const double sine = std::sin(arc_deg * kPi / 180.0) / std::cos(place.lat_deg * kPi / 180.0);
    const double half_deg = std::asin(std::min(1.0, sine)) * 180.0 / kPi * (1.0 + 1e-9) + 1e-9;
    if (half_deg < 90.0) {
      box.west_deg = std::remainder(place.lng_deg - half_deg, 360.0);
      box.east_deg = std::remainder(place.lng_deg + half_deg, 360.0);
    }
  }
  return box;
}

double TileWestDegrees(int x, int zoom) {
  return std::ldexp(360.0 * x, -zoom) - 180.0;
}

double TileNorthDegrees(int y, int zoom) {
  const double mercator = kPi * (1.0 - 2.0 * std::ldexp(static_cast<double>(y), -zoom));
  return std::atan(std::sinh(mercator)) * 180.0 / kPi;
}

// A box that holds every point of the tile; the tile's own test then decides.
BoundingBox BoxOfTile(const nimbara::spatial::MapTile& tile) {
  const double slack = 1e-7;
  BoundingBox box{
      TileNorthDegrees(tile.y + 1, tile.zoom) - slack, TileWestDegrees(tile.x, tile.zoom) - slack,
      TileNorthDegrees(tile.y, tile.zoom) + slack, TileWestDegrees(tile.x + 1, tile.zoom) + slack};
  // The pyramid counts what lies beyond latitude 85 as 85.
  if (nimbara::spatial::MapTile(90.0, 0.0, tile.zoom).y == tile.y) {
    box.north_deg = 90.0;
  }
  if (nimbara::spatial::MapTile(-90.0, 0.0, tile.zoom).y == tile.y) {
    box.south_deg = -90.0;
  }
  return box;
}

bool AllNumbers(const BoundingBox& box) {
  return !std::isnan(box.south_deg) && !std::isnan(box.west_deg) && !std::isnan(box.north_deg) &&
         !std::isnan(box.east_deg);
}

// What a dataset says about itself, by key. Throws on what is missing or out of range.
class Metadata {
 public:
  explicit Metadata(SQLite::Database* db)
      : query_(*db, "SELECT value FROM metadata WHERE key = ?") {}

  std::string Text(const std::string& key) { return XmlSafeText(Require(key).getString()); }

  std::int64_t Count(const std::string& key) {
    const std::int64_t count = Require(key).getInt64();
    if (count < 0) {
      throw std::runtime_error("a negative count of its " + key);
    }
    return count;
  }

  // Nothing if nothing is said of the latitude.
  std::optional<LatLng> Place(const std::string& lat, const std::string& lng) {
    if (!Find(lat)) {
      return std::nullopt;
    }
    LatLng place;
    place.lat_deg = query_.getColumn(0).getDouble();
    place.lng_deg = Require(lng).getDouble();
    if (!IsValidLatLng(place)) {
      throw std::runtime_error(lat + " lies outside the planet's degrees");
    }
    return place;
  }

 private:
  bool Find(const std::string& key) {
    query_.reset();
    query_.bind(1, key);
    return query_.executeStep();
  }

  SQLite::Column Require(const std::string& key) {
    if (!Find(key)) {
      throw std::runtime_error("nothing is said of its " + key);
    }
    return query_.getColumn(0);
  }

  SQLite::Statement query_;
};

}  // namespace

Dataset::Dataset(std::string path, std::unique_ptr<Store> store)
    : path_(std::move(path)), store_(std::move(store)) {}
Dataset::~Dataset() = default;

std::unique_ptr<Dataset> Dataset::Open(const std::string& path, std::string* error) {
  std::int64_t file_bytes = 0;
  const std::string fault = OpeningFault(path, &file_bytes);
  if (!fault.empty()) {
    Fail(error, fault);
    return nullptr;
  }
  try {
    SQLite::Database db(FileUri(path), SQLite::OPEN_READONLY | SQLite::OPEN_URI);
    sqlite3_db_config(db.getHandle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    db.exec("PRAGMA trusted_schema = OFF");
    db.exec("PRAGMA cell_size_check = ON");
    if (const std::optional<std::string> schema_fault = FindSchemaFault(&db)) {
      Fail(error, path + ": " + *schema_fault);
      return nullptr;
    }
    return FromStore(path, std::make_unique<Store>(std::move(db), file_bytes), error);
  } catch (const std::exception& exception) {
    Fail(error, path + ": not a dataset, or damaged: " + exception.what());
    return nullptr;
  }
}

std::unique_ptr<Dataset> Dataset::FromStore(const std::string& path, std::unique_ptr<Store> store,
                                            std::string* error) {
  std::unique_ptr<Dataset> dataset(new Dataset(path, std::move(store)));
  try {
    // Nobody else can know the dataset yet; the lock is taken for the rule's sake.
    const std::lock_guard<std::mutex> lock(dataset->store_->mutex);
    dataset->LoadLocked();
  } catch (const std::exception& exception) {
    Fail(error, path + ": damaged: " + exception.what());
    return nullptr;
  }
  return dataset;
}

void Dataset::LoadLocked() {
  Metadata metadata(&store_->db);
  info_.name = metadata.Text("name");
  info_.attribution = metadata.Text("attribution");
  info_.tour_from = metadata.Place("tour_from_lat", "tour_from_lng");
  info_.tour_to = metadata.Place("tour_to_lat", "tour_to_lng");
  counts_.panoramas = metadata.Count("panoramas");
  counts_.links = metadata.Count("links");
  counts_.scenes = metadata.Count("scenes");
  counts_.levels = metadata.Count("levels");
  counts_.annotations = metadata.Count("annotations");
  counts_.depth_maps = metadata.Count("depth_maps");
  counts_.pano_maps = metadata.Count("pano_maps");
  counts_.streets = metadata.Count("streets");
  counts_.height_grids = metadata.Count("height_grids");
  const std::optional<LatLng> south_west = metadata.Place("south", "west");
  const std::optional<LatLng> north_east = metadata.Place("north", "east");
  if (!south_west || !north_east) {
    throw std::runtime_error("its bounds are missing");
  }
  bounds_ = {south_west->lat_deg, south_west->lng_deg, north_east->lat_deg, north_east->lng_deg};
  LoadHeightGridsLocked();
}

void Dataset::LoadHeightGridsLocked() {
  std::vector<std::int64_t> numbers;
  for (auto& [number, info] : store_->ReadHeightGridsLocked()) {
    numbers.push_back(number);
    height_grids_.push_back(std::move(info));
  }
  store_->heights = std::make_unique<HeightField>(
      height_grids_, [store = store_.get(), numbers](std::size_t grid, std::int64_t tile) {
        return store->ReadHeightTileLocked(numbers[grid], tile);
      });
}

Answer Dataset::FindPano(const std::string& id, bool with_maps, PanoRecord* record,
                         std::string* error) const {
  if (!IsPanoId(id)) {
    return Answer::kNothing;
  }
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    const std::int64_t number = store_->FindNumberLocked(id);
    if (number == 0) {
      return Answer::kNothing;
    }
    *record = store_->ReadRecordLocked(number, with_maps);
    return Answer::kFound;
  } catch (const std::exception& exception) {
    Fail(error, path_ + ": " + exception.what());
    return Answer::kFailed;
  }
}

Answer Dataset::FindNearest(const NearestQuery& query, bool with_maps, PanoRecord* record,
                            std::string* error) const {
  if (!IsValidLatLng(query.place) || !(query.radius_m >= 0.0)) {
    return Answer::kNothing;
  }
  const double radius = std::min(query.radius_m, kHalfRoundMetres * (1.0 + 1e-9));
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    for (double ring = std::min(radius, kFirstRingMetres);;
         ring = std::min(radius, ring * kRingGrowth)) {
      const Store::Candidate* best = nullptr;
      double best_metres = ring;
      const std::vector<Store::Candidate> candidates =
          store_->CandidatesLocked(BoxAround(query.place, ring));
      for (const Store::Candidate& candidate : candidates) {
        const double metres = DistanceMetres(query.place, candidate.place);
        const bool wanted = !query.level_id || candidate.level_id == *query.level_id;
        const bool nearer = metres < best_metres ||
                            (metres == best_metres && (best == nullptr || candidate.id < best->id));
        if (wanted && nearer) {
          best = &candidate;
          best_metres = metres;
        }
      }
      if (best != nullptr) {
        *record = store_->ReadRecordLocked(best->number, with_maps);
        return Answer::kFound;
      }
      if (ring >= radius) {
        return Answer::kNothing;
      }
    }
  } catch (const std::exception& exception) {
    Fail(error, path_ + ": " + exception.what());
    return Answer::kFailed;
  }
}

Answer Dataset::FindInTile(int x, int y, int zoom, std::size_t limit,
                           std::vector<PanoRecord>* records, std::string* error) const {
  records->clear();
  const nimbara::spatial::MapTile tile = nimbara::spatial::MapTile::At(x, y, zoom);
  if (zoom > nimbara::spatial::MapTile::kMaxZoom || !tile.IsValid()) {
    return Answer::kNothing;
  }
  return ReadBox(BoxOfTile(tile), limit, records, error, [&tile](const LatLng& place) {
    return tile.Contains(place.lat_deg, place.lng_deg);
  });
}

Answer Dataset::FindInBox(const BoundingBox& box, std::size_t limit,
                          std::vector<PanoRecord>* records, std::string* error) const {
  records->clear();
  if (!AllNumbers(box)) {
    return Answer::kNothing;
  }
  return ReadBox(box, limit, records, error, [](const LatLng&) { return true; });
}

template <typename Filter>
Answer Dataset::ReadBox(const BoundingBox& box, std::size_t limit, std::vector<PanoRecord>* records,
                        std::string* error, Filter filter) const {
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    std::vector<std::int64_t> numbers;
    for (const Store::Candidate& candidate : store_->CandidatesLocked(box)) {
      if (filter(candidate.place)) {
        numbers.push_back(candidate.number);
      }
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.resize(std::min(numbers.size(), limit));
    std::vector<PanoRecord> found;
    found.reserve(numbers.size());
    for (const std::int64_t number : numbers) {
      found.push_back(store_->ReadRecordLocked(number, false));
    }
    *records = std::move(found);
    return records->empty() ? Answer::kNothing : Answer::kFound;
  } catch (const std::exception& exception) {
    Fail(error, path_ + ": " + exception.what());
    return Answer::kFailed;
  }
}

Answer Dataset::ReadBackdrop(std::vector<BackdropShape>* shapes, std::string* error) const {
  shapes->clear();
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    SQLite::Statement& query = store_->backdrop;
    std::vector<BackdropShape> found;
    query.reset();
    while (query.executeStep()) {
      BackdropShape shape;
      shape.kind = XmlSafeText(query.getColumn(0).getString());
      shape.name = XmlSafeText(query.getColumn(1).getString());
      shape.closed = query.getColumn(2).getInt() != 0;
      if (!UnpackPoints(query.getColumn(3).getString(), &shape.points)) {
        throw std::runtime_error("damaged: the points of a backdrop shape");
      }
      found.push_back(std::move(shape));
    }
    *shapes = std::move(found);
    return shapes->empty() ? Answer::kNothing : Answer::kFound;
  } catch (const std::exception& exception) {
    store_->backdrop.tryReset();
    Fail(error, path_ + ": " + exception.what());
    return Answer::kFailed;
  }
}

Answer Dataset::FindHeights(const std::vector<LatLng>& places, const HeightQuery& query,
                            std::vector<Height>* heights, std::string* error) const {
  heights->clear();
  std::vector<std::size_t> wanted;
  for (std::size_t grid = 0; query.grids.empty() && grid < height_grids_.size(); ++grid) {
    wanted.push_back(grid);
  }
  for (const std::string& name : query.grids) {
    for (std::size_t grid = 0; grid < height_grids_.size(); ++grid) {
      if (height_grids_[grid].name == name) {
        wanted.push_back(grid);
      }
    }
  }
  if (wanted.empty()) {
    return Answer::kNothing;
  }
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    std::vector<Height> found;
    found.reserve(places.size());
    for (const LatLng& place : places) {
      found.push_back(IsValidLatLng(place) ? store_->heights->At(place, query.interpolation, wanted)
                                           : Height{0.0, true, -1});
    }
    *heights = std::move(found);
    return Answer::kFound;
  } catch (const std::exception& exception) {
    Fail(error, path_ + ": " + exception.what());
    return Answer::kFailed;
  }
}

bool Dataset::SaveAs(const std::string& file, std::string* error) const {
  const std::unique_ptr<ReplacedFile> replaced = BeginDatasetFile(file, error);
  if (replaced == nullptr) {
    return false;
  }
  const std::lock_guard<std::mutex> lock(store_->mutex);
  try {
    store_->BeginQueryLocked();
    SQLite::Database target(replaced->partial_path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    target.exec("PRAGMA journal_mode = OFF");
    SQLite::Backup(target, store_->db).executeStep(-1);
  } catch (const std::exception& exception) {
    return Fail(error, file + ": cannot be written: " + exception.what());
  }
  return CommitDatasetFile(replaced.get(), error);
}

}  // namespace pelorin
