// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "host/referent.h"
#include "spatial/panorama/map_tile.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// Hears of the answers to metadata requests. Implemented by whoever asks; given to
/// `IPanoramaFetcher::FetchMetaData`, which neither owns nor counts it: it must outlive the fetcher
/// or every request that it was given to.
///
/// All calls of one fetcher come from the fetcher's one worker thread, one after the other, in the
/// order in which the answers arrived. No lock is held. A call may start further requests; it must
/// not destroy the fetcher. A request that fails makes no call at all, and none begins once the
/// destructor of the fetcher has returned.
class PELORIN_EXPORT IPanoramaFetchObserver {
 public:
  /// Once for each record of an answer, in the order of the answer. `data` is the only reference to
  /// the record and is never null; its count is plain, so an observer that hands the record to
  /// other threads gives up this reference under the lock that covers the record from then on.
  /// `pano_id` is the record's own id, which can be empty and can differ from the one asked for; it
  /// stays valid for the length of the call whatever becomes of the record.
  virtual void OnMetaDataFetched(const QString& pano_id, RefPtr<PanoramaData> data) = 0;

  /// Once for an answer without any record: an empty one, or one that could not be read.
  virtual void OnEmptyResponse() {}

  /// Once for each answer to a request by tile, after all other calls for that answer; also for an
  /// empty or unreadable one.
  virtual void OnMapTileFetched(const MapTile& tile) = 0;

 protected:
  /// Nobody destroys an observer through this interface.
  ~IPanoramaFetchObserver() = default;
};

}  // namespace spatial
}  // namespace nimbara
