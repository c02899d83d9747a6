// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetch_manager.h"

#include <boost/functional/hash.hpp>
#include <mutex>

#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

// So the seventh call in a row for one tile is the first that asks for tiles.
constexpr std::int32_t kRepeatsForTiles = 6;
// How many links ahead records are wanted, whatever the settings say.
constexpr int kNeighborDepth = 2;

}  // namespace

PanoramaFetchManager::PanoramaFetchManager(PanoGraph* pano_graph)
    : graph(pano_graph), settings(&PelorinSpatialOptions::s_settings_),
      fetcher_(std::make_unique<PanoramaFetcher>()) {
  fetched_tiles.max_load_factor(1.0f);
}

PanoramaFetchManager::~PanoramaFetchManager() {
  // Before anything that a running job can touch is gone.
  StopFetching();
}

void PanoramaFetchManager::Reset() {
  std::lock_guard<SpinLock> hold(tiles_lock);
  fetched_tiles.clear();
  nearest_tile_repeats = 0;
  nearest_tile.reset();
}

void PanoramaFetchManager::FetchNearestMetaData(double lat, double lng, double radius) {
  const MapTile tile(lat, lng, settings->meta_data_tile_zoom_level.Get());
  if (IsMetaDataTileFetched(tile)) {
    return;
  }
  if (settings->fetch_metadata_tiles.Get()) {
    AskForTilesAtRest(tile, lat, lng, radius);
  }
  if (fetcher_) {
    fetcher_->FetchMetaData(lat, lng, radius, QString(), this);
  }
}

// The viewer passes most tiles; only where it stays is asking for all of them worth while.
void PanoramaFetchManager::AskForTilesAtRest(const MapTile& tile, double lat, double lng,
                                             double radius) {
  if (!nearest_tile || *nearest_tile != tile) {
    nearest_tile = std::make_unique<MapTile>(tile);
    nearest_tile_repeats = 0;
    return;
  }
  if (nearest_tile_repeats < kRepeatsForTiles) {
    ++nearest_tile_repeats;
  }
  if (nearest_tile_repeats == kRepeatsForTiles) {
    FetchAllMetaData(lat, lng, radius);
  }
}

void PanoramaFetchManager::FetchAllMetaData(double lat, double lng, double radius) {
  if (!settings->fetch_metadata_tiles.Get() || !fetcher_) {
    return;
  }
  mmvector<MapTile> tiles(HeapManager::GetTransientHeap());
  MapTile::CollectSurroundingTiles(lat, lng, settings->meta_data_tile_zoom_level.Get(), radius,
                                   &tiles);
  for (const MapTile& tile : tiles) {
    if (!IsMetaDataTileFetched(tile)) {
      fetcher_->FetchMetaData(tile, this);
    }
  }
}

void PanoramaFetchManager::EnsureNeighborsFetched(const QString& pano_id) {
  std::lock_guard<SpinLock> hold(graph->lock);
  const PanoramaData* data = graph->GetPanoramaData(pano_id);
  if (data == nullptr) {
    return;
  }
  mmvector<PanoGraph::ConnectedPanoInfo> neighbors(HeapManager::GetTransientHeap());
  graph->GetConnectedPanos(pano_id, kNeighborDepth, false, &neighbors);
  for (const PanoGraph::ConnectedPanoInfo& neighbor : neighbors) {
    AskIfUnknownLocked(neighbor.pano_id);
  }
  for (const ConnectedLevel& level : data->levels) {
    AskIfUnknownLocked(level.pano_id);
  }
}

void PanoramaFetchManager::AskIfUnknownLocked(const QString& pano_id) {
  if (fetcher_ && graph->GetPanoramaData(pano_id) == nullptr) {
    fetcher_->FetchMetaData(pano_id, this);
  }
}

IPanoramaFetcher* PanoramaFetchManager::fetcher() {
  return fetcher_.get();
}

bool PanoramaFetchManager::IsMetaDataTileFetched(const MapTile& tile) const {
  std::lock_guard<SpinLock> hold(tiles_lock);
  return fetched_tiles.find(tile) != fetched_tiles.end();
}

void PanoramaFetchManager::OnMetaDataFetched(const QString& pano_id, RefPtr<PanoramaData> data) {
  std::lock_guard<SpinLock> hold(graph->lock);
  if (data && graph->GetPanoramaData(pano_id) == nullptr) {
    settings->num_meta_data_panos_processed.Increment();
    graph->AddPano(pano_id, data.get());
  }
  // The count is plain, and from here on other threads change it: this reference goes under the
  // lock, not with the argument.
  data.reset();
}

void PanoramaFetchManager::OnMapTileFetched(const MapTile& tile) {
  graph->PostProcessBatch();
  std::lock_guard<SpinLock> hold(tiles_lock);
  fetched_tiles[tile] = true;
}

void PanoramaFetchManager::StopFetching() {
  fetcher_.reset();
  PanoramaFetchManager::Reset();
}

std::size_t PanoramaFetchManager::TileHash::operator()(const MapTile& tile) const {
  std::size_t seed = 0;
  boost::hash_combine(seed, tile.x);
  boost::hash_combine(seed, tile.y);
  boost::hash_combine(seed, tile.zoom);
  return seed;
}

}  // namespace spatial
}  // namespace nimbara
