// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/unordered_map.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/export.h"
#include "host/threads.h"
#include "spatial/panorama/map_tile.h"
#include "spatial/panorama/panorama_fetch_manager_interface.h"
#include "spatial/panorama/panorama_fetch_observer.h"

namespace nimbara {
namespace spatial {

class PanoGraph;
class PelorinSpatialOptions;

/// The policy over the fetcher: decides what to ask the service for, given where the viewer is,
/// remembers which map tiles are done, and enters what arrives into the graph.
///
/// ```
/// PanoGraph graph;
/// PanoramaFetchManager manager(&graph);
/// manager.FetchNearestMetaData(lat, lng, 50.0);   // wherever the viewer is
/// manager.EnsureNeighborsFetched(pano_id);        // wherever it stands in a panorama
/// ```
///
/// A tile is unknown, under way (its URL is being fetched) or done. It becomes done when an answer
/// for it has been entered, be it empty, and stays so until `Reset`. A request that fails leaves it
/// unknown, so that the next call for the place asks again.
///
/// Threads: asking, `Reset` and the destructor are for the one thread that drives the viewer;
/// `IsMetaDataTileFetched` is safe from any. The observer operations run on the fetcher's worker.
/// A class that derives from this one calls `StopFetching` first thing in its destructor.
class PELORIN_EXPORT PanoramaFetchManager : public IPanoramaFetchManager,
                                            public IPanoramaFetchObserver {
 public:
  /// `graph` must not be null; it is not owned and outlives the manager.
  explicit PanoramaFetchManager(PanoGraph* pano_graph);
  /// Stops fetching, under the conditions of `StopFetching`, and forgets everything.
  ~PanoramaFetchManager() override;
  PanoramaFetchManager(const PanoramaFetchManager&) = delete;
  PanoramaFetchManager& operator=(const PanoramaFetchManager&) = delete;

  /// Forgets which tiles are done and how long the viewer has stayed in one. Requests under way go
  /// on, and their answers mark their tiles again; the graph stays as it is.
  void Reset() override;

  /// Asks for what lies near a point: nothing if its tile is done, otherwise one query by position
  /// and, from the seventh call in a row for one tile on, `FetchAllMetaData` before it. The setting
  /// "fetch metadata tiles" switches the latter off.
  ///
  /// `lat` and `lng` in degrees, positive north and east, `radius` in metres. Numbers outside the
  /// tile pyramid, not-a-number included, still send the query by position.
  void FetchNearestMetaData(double lat, double lng, double radius) override;

  /// Asks for the tile of a point and for those around it (`MapTile::CollectSurroundingTiles`), as
  /// far as they exist and are not done. Nothing for a point outside the pyramid, or if the setting
  /// "fetch metadata tiles" is off. Units as above.
  void FetchAllMetaData(double lat, double lng, double radius) override;

  /// Asks for everything within two links of a panorama, and for all levels of its building, as far
  /// as the graph has no record of it. Nothing for a panorama that has no record itself. Takes the
  /// graph's lock, and with it held the fetcher's.
  void EnsureNeighborsFetched(const QString& pano_id) override;

  /// Null after `StopFetching`.
  IPanoramaFetcher* fetcher() override;

  /// True if the tile is done.
  bool IsMetaDataTileFetched(const MapTile& tile) const;

  /// Enters a record under the graph's lock, and gives its reference up under it. A record for an
  /// id that has one already is dropped; null is ignored.
  void OnMetaDataFetched(const QString& pano_id, RefPtr<PanoramaData> data) override;

  /// Lets the graph look at the records that have come, and marks the tile as done.
  void OnMapTileFetched(const MapTile& tile) override;

 protected:
  /// Ends the fetcher: when it returns, no observer operation runs and none will. It waits for the
  /// one that is running, so the graph's lock must not be held. Asking afterwards does nothing. A
  /// second call does nothing.
  void StopFetching();

 private:
  struct TileHash {
    std::size_t operator()(const MapTile& tile) const;
  };

  void AskForTilesAtRest(const MapTile& tile, double lat, double lng, double radius);
  void AskIfUnknownLocked(const QString& pano_id);

  PanoGraph* const graph;                 // Not owned.
  PelorinSpatialOptions* const settings;  // The process's one instance.
  std::unique_ptr<IPanoramaFetcher> fetcher_;
  boost::unordered_map<MapTile, bool, TileHash> fetched_tiles;  // Done, whatever the flag.
  mutable SpinLock tiles_lock;  // Guards `fetched_tiles`. Nothing is called with it held.
  // The tile of the last query by position and how often it came again in a row; the driving
  // thread's own.
  std::unique_ptr<MapTile> nearest_tile;
  std::int32_t nearest_tile_repeats = 0;
};

}  // namespace spatial
}  // namespace nimbara
