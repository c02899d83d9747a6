// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "apps/command/answer_signal.h"
#include "spatial/panorama/panorama_fetch_manager.h"

namespace pelorin {
namespace command {

/// The fetch manager of a program without an event loop: answers wake whoever waits for them.
///
/// Threads: as the base class; `WaitUntil` and `Stop` are for the driving thread.
class TourFetchManager : public nimbara::spatial::PanoramaFetchManager {
 public:
  explicit TourFetchManager(nimbara::spatial::PanoGraph* filled_graph);
  ~TourFetchManager() override;

  void OnMetaDataFetched(const QString& pano_id,
                         nimbara::RefPtr<nimbara::spatial::PanoramaData> data) override;
  void OnEmptyResponse() override;
  void OnMapTileFetched(const nimbara::spatial::MapTile& tile) override;

  /// See `AnswerSignal::WaitUntil`.
  void WaitUntil(const std::function<bool()>& is_done) { answered_.WaitUntil(is_done); }

  /// Ends fetching for good: no answer arrives any more. Without the graph's lock.
  void Stop() { StopFetching(); }

 private:
  AnswerSignal answered_;
};

}  // namespace command
}  // namespace pelorin
