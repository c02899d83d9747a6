// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_tile_fetch.h"

#include "spatial/panorama/panorama_fetch_observer.h"
#include "spatial/panorama/panorama_fetcher.h"

namespace nimbara {
namespace spatial {

PanoramaTileFetch::PanoramaTileFetch(PanoramaFetcher* fetch_owner, const QUrl& request_url,
                                     IPanoramaFetchObserver* fetch_observer,
                                     const MapTile& request_tile)
    : PanoramaFetch(fetch_owner, request_url, fetch_observer), tile(request_tile) {}

void PanoramaTileFetch::StartProcessJob(net::Fetcher&) {
  TileFetchProcessor::CreateAndQueue(owner->worker, this);
}

PanoramaTileFetch::TileFetchProcessor::TileFetchProcessor(WorkerThread* worker,
                                                          PanoramaTileFetch* job_fetch)
    : FetchProcessor(worker, job_fetch), tile_fetch(job_fetch) {}

void PanoramaTileFetch::TileFetchProcessor::CreateAndQueue(WorkerThread* worker,
                                                           PanoramaTileFetch* fetch) {
  if (worker == nullptr) {
    ProcessImmediately(fetch, fetch->observer);
    return;
  }
  (new (HeapManager::GetTransientHeap()) TileFetchProcessor(worker, fetch))->Queue();
}

void PanoramaTileFetch::TileFetchProcessor::ProcessImmediately(PanoramaTileFetch* fetch,
                                                               IPanoramaFetchObserver* observer) {
  if (observer == nullptr) {
    return;
  }
  FetchProcessor::ProcessImmediately(fetch, observer);
  observer->OnMapTileFetched(fetch->tile);
}

void PanoramaTileFetch::TileFetchProcessor::Run() {
  ProcessImmediately(tile_fetch, tile_fetch->observer);
  unref();
}

}  // namespace spatial
}  // namespace nimbara
