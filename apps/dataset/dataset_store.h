// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "apps/dataset/dataset.h"
#include "apps/dataset/height_tiles.h"

namespace pelorin {

/// Points as little-endian pairs of doubles, latitude first. Internal to this room.
std::string PackedPoints(const std::vector<LatLng>& points);
/// The reverse; false, with `points` as they were, if the bytes are not whole pairs of valid
/// places.
bool UnpackPoints(const std::string& bytes, std::vector<LatLng>* points);

/// A dataset's connection with its statements. Internal to this room. Every operation needs `mutex`
/// held and throws on damage.
struct Dataset::Store {
  /// Takes a complete dataset. `file_bytes` bounds the work of a query, so that no damaged file can
  /// keep one going for ever; 0 sets no bound.
  Store(SQLite::Database database, std::int64_t file_bytes);

  /// Where one panorama stands.
  struct Candidate {
    std::int64_t number = 0;
    LatLng place;
    std::string id;
    std::string level_id;
  };

  /// Starts the bound anew; each query begins with it.
  void BeginQueryLocked();
  /// All panoramas in a box that may cross longitude 180.
  std::vector<Candidate> CandidatesLocked(const BoundingBox& box);
  /// The record with this number, which must exist.
  PanoRecord ReadRecordLocked(std::int64_t number, bool with_maps);
  /// All grids of heights, with their numbers, the finest first.
  std::vector<std::pair<std::int64_t, HeightGridInfo>> ReadHeightGridsLocked();
  /// One tile of the grid with this number, packed.
  std::string ReadHeightTileLocked(std::int64_t grid, std::int64_t tile);
  /// The number of the record with this id, or 0.
  std::int64_t FindNumberLocked(const std::string& id);

  /// Guards the connection and every statement. Nothing else is locked while it is held.
  std::mutex mutex;
  SQLite::Database db;
  SQLite::Statement by_id;
  SQLite::Statement pano;
  SQLite::Statement link;
  SQLite::Statement level;
  SQLite::Statement annotation;
  SQLite::Statement map;
  SQLite::Statement box;
  SQLite::Statement backdrop;
  SQLite::Statement height_tile;
  /// Null until the grids are loaded.
  std::unique_ptr<HeightField> heights;

 private:
  void AppendCandidatesLocked(double south, double west, double north, double east,
                              std::vector<Candidate>* candidates);
  void ReadPartsLocked(std::int64_t number, PanoRecord* record);
  void ReadMapsLocked(std::int64_t number, bool with_maps, PanoRecord* record);

  std::int64_t max_steps_ = 0;
  std::int64_t steps_ = 0;
};

}  // namespace pelorin
