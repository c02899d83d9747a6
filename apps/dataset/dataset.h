// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/dataset/height_grid.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {

/// What a dataset says about itself.
struct DatasetInfo {
  std::string name;         ///< For display, such as the town's name.
  std::string attribution;  ///< The credit to show wherever the data is shown; can be empty.
  /// Where a tour of this dataset likes to start and to end; both absent if the maker had no
  /// opinion.
  std::optional<LatLng> tour_from;
  std::optional<LatLng> tour_to;
};

/// How many of everything a dataset holds.
struct DatasetCounts {
  std::int64_t panoramas = 0;
  std::int64_t links = 0;  ///< Directed: a link that leads both ways counts twice.
  std::int64_t scenes = 0;
  std::int64_t levels =
      0;  ///< Different level ids that panoramas lie on, the empty one not counted.
  std::int64_t annotations = 0;
  std::int64_t depth_maps = 0;
  std::int64_t pano_maps = 0;
  std::int64_t streets = 0;  ///< Different street names, the empty one not counted.
  std::int64_t height_grids = 0;
};

/// The outcome of a query.
enum class Answer {
  kFound,    ///< The output holds the result.
  kNothing,  ///< Nothing matches; the output is as it was (a list: empty).
  kFailed,   ///< The dataset could not be read; the output likewise, `error` says why.
};

/// A query by position.
struct NearestQuery {
  LatLng place;
  /// Metres, edge included. Negative and not-a-number find nothing; infinity is the whole planet.
  double radius_m = 50.0;
  /// Only panoramas whose level id is exactly this one, if given; the empty text means those
  /// without a level.
  std::optional<std::string> level_id;
};

/// A set of panoramas to serve from, found by id and by place, and the heights of the ground: one
/// SQLite file with an index of positions, or the same in memory. Read-only; `DatasetWriter` makes
/// one.
///
/// Owned by whoever opened it. Every operation is const and safe from any thread; queries take
/// turns behind one lock. A file that is replaced while it is open goes on being read as it was.
/// Nothing throws. Any file can be opened without harm: what is no dataset, or is damaged, is
/// refused with a message that names the file, at opening or at the query that meets the damage.
/// Where an `error` is taken it can be null; it is written only on failure.
class Dataset {
 public:
  /// The layout that this program writes and reads.
  static constexpr int kSchemaVersion = 2;

  /// Opens a file. Null, with `error`, if it is not there, is not a dataset, or is of another
  /// schema version.
  static std::unique_ptr<Dataset> Open(const std::string& path, std::string* error);
  ~Dataset();
  Dataset(const Dataset&) = delete;
  Dataset& operator=(const Dataset&) = delete;

  /// The file, or "" for a dataset in memory.
  const std::string& path() const { return path_; }
  const DatasetInfo& info() const { return info_; }
  const DatasetCounts& counts() const { return counts_; }
  /// The box of all panoramas; all zero for an empty dataset. Never crosses longitude 180.
  const BoundingBox& bounds() const { return bounds_; }

  /// The panorama with this id, its maps loaded if `with_maps`. Any text can be asked for.
  Answer FindPano(const std::string& id, bool with_maps, PanoRecord* record,
                  std::string* error) const;

  /// The panorama nearest to a place, by great-circle distance; of several at one distance the one
  /// with the lowest id. An invalid place finds nothing.
  Answer FindNearest(const NearestQuery& query, bool with_maps, PanoRecord* record,
                     std::string* error) const;

  /// All panoramas of one Web Mercator tile, in the order in which they were written, without maps,
  /// at most `limit`. Tile membership is that of `nimbara::spatial::MapTile`, so that each panorama
  /// lies in exactly one tile of each zoom (none for longitude 180). A tile that does not exist
  /// holds nothing. `records` is emptied first.
  Answer FindInTile(int x, int y, int zoom, std::size_t limit, std::vector<PanoRecord>* records,
                    std::string* error) const;

  /// All panoramas in a box, likewise. A box with a number that is none holds nothing.
  Answer FindInBox(const BoundingBox& box, std::size_t limit, std::vector<PanoRecord>* records,
                   std::string* error) const;

  /// All shapes to draw beneath the streets, in the order in which they were written, which is the
  /// order to draw them in.
  Answer ReadBackdrop(std::vector<BackdropShape>* shapes, std::string* error) const;

  /// The grids of heights, the finest first.
  const std::vector<HeightGridInfo>& height_grids() const { return height_grids_; }

  /// The heights of places, one for each and never none: what is missing is filled. An invalid
  /// place has the height of one that no grid knows. Nothing if the dataset has none of the grids
  /// that are asked for.
  Answer FindHeights(const std::vector<LatLng>& places, const HeightQuery& query,
                     std::vector<Height>* heights, std::string* error) const;

  /// Writes the whole dataset into a file, beside it first and renamed in the end, so that a
  /// failure leaves an older file whole. An existing file is replaced. False, with `error`, on
  /// failure.
  bool SaveAs(const std::string& file, std::string* error) const;

 private:
  friend class DatasetWriter;
  struct Store;  // The connection with its prepared statements, and the lock that guards them.

  Dataset(std::string path, std::unique_ptr<Store> store);
  static std::unique_ptr<Dataset> FromStore(const std::string& path, std::unique_ptr<Store> store,
                                            std::string* error);
  void LoadLocked();
  void LoadHeightGridsLocked();
  template <typename Filter>
  Answer ReadBox(const BoundingBox& box, std::size_t limit, std::vector<PanoRecord>* records,
                 std::string* error, Filter filter) const;

  std::string path_;
  DatasetInfo info_;
  DatasetCounts counts_;
  BoundingBox bounds_;
  std::vector<HeightGridInfo> height_grids_;
  std::unique_ptr<Store> store_;
};

}  // namespace pelorin
