// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "spatial/panorama/map_tile.h"
#include "spatial/panorama/panorama_fetch.h"

namespace nimbara {
namespace spatial {

/// A metadata request by map tile: reports its tile once the answer has been delivered.
class PELORIN_EXPORT PanoramaTileFetch : public PanoramaFetch {
 public:
  class TileFetchProcessor;

  PanoramaTileFetch(PanoramaFetcher* fetch_owner, const QUrl& request_url,
                    IPanoramaFetchObserver* fetch_observer, const MapTile& request_tile);

  void StartProcessJob(net::Fetcher& request) override;

 private:
  const MapTile tile;
};

/// The worker's job for one answer to a request by tile.
class PELORIN_EXPORT PanoramaTileFetch::TileFetchProcessor : public PanoramaFetch::FetchProcessor {
 public:
  /// As in the base class, the tile included.
  static void CreateAndQueue(WorkerThread* worker, PanoramaTileFetch* fetch);

  /// Does what the base class does and then calls `OnMapTileFetched`, whatever the answer held.
  static void ProcessImmediately(PanoramaTileFetch* fetch, IPanoramaFetchObserver* observer);

  void Run() override;

 private:
  TileFetchProcessor(WorkerThread* worker, PanoramaTileFetch* job_fetch);

  PanoramaTileFetch* const tile_fetch;  // The base's `fetch`.
};

}  // namespace spatial
}  // namespace nimbara
