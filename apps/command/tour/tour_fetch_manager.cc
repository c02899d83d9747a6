// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_fetch_manager.h"

#include <utility>

namespace pelorin {
namespace command {

TourFetchManager::TourFetchManager(nimbara::spatial::PanoGraph* filled_graph)
    : PanoramaFetchManager(filled_graph) {}

TourFetchManager::~TourFetchManager() {
  StopFetching();
}

void TourFetchManager::OnMetaDataFetched(const QString& pano_id,
                                         nimbara::RefPtr<nimbara::spatial::PanoramaData> data) {
  PanoramaFetchManager::OnMetaDataFetched(pano_id, std::move(data));
  answered_.Raise();
}

void TourFetchManager::OnEmptyResponse() {
  answered_.Raise();
}

void TourFetchManager::OnMapTileFetched(const nimbara::spatial::MapTile& tile) {
  PanoramaFetchManager::OnMapTileFetched(tile);
  answered_.Raise();
}

}  // namespace command
}  // namespace pelorin
