// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <atomic>
#include <cstdint>
#include <memory>

#include "base/export.h"
#include "host/memory.h"
#include "host/network.h"
#include "host/referent.h"
#include "host/threads.h"

namespace nimbara {

/// The host's own panorama object, handed back untouched.
class Panorama;

namespace spatial {

class PanoramaData;

/// Fetches the depth map and the pano map of a record that came without them. The host derives from
/// it, starts a request, looks at `finished` now and then, and takes the answer in:
///
/// ```
/// class Maps : public DepthMapFetcher {
///   void OnDepthMapReady(Panorama* panorama, bool has_depthmap) override { ... }
/// };
/// maps.FetchDepthMap(panorama, record);
/// ...
/// if (maps.finished) maps.ProcessDepthMap();
/// ```
///
/// One request counts at a time: a new one, or `Clear`, supersedes the one before, which is not
/// cancelled but whose answer is ignored. A request that fails leaves `finished` false for good;
/// nobody is told. Requests are not compared with those of `PanoramaFetcher`.
///
/// Threads: all operations are for one thread, the host's. Only the completion runs on a thread of
/// the network layer, and it touches nothing but `finished`, from which any thread may read.
class PELORIN_EXPORT DepthMapFetcher {
 public:
  DepthMapFetcher();
  /// Cancels what is under way. With a host that keeps the contract of `net::Fetcher::cancel` no
  /// completion touches the object afterwards.
  virtual ~DepthMapFetcher();
  DepthMapFetcher(const DepthMapFetcher&) = delete;
  DepthMapFetcher& operator=(const DepthMapFetcher&) = delete;

  /// Called once by each `ProcessDepthMap` that has a record, on its thread, with the object given
  /// to `FetchDepthMap` and whether the record now has a depth map. It may start the next fetch,
  /// which then stays, and it may delete this object.
  virtual void OnDepthMapReady(Panorama* panorama, bool has_depthmap) = 0;

  /// Reads both maps from a document into `data`, as far as it lacks them; a map that is there is
  /// neither read again nor replaced. A map that cannot be read stays null. Null `data` does
  /// nothing.
  static void ParseDepthAndPano(const QByteArray& xml, PanoramaData* data);

  /// Starts a request for the maps of `record`, superseding any earlier one. A record with a depth
  /// map needs none: `finished` is true at once. A record without an id gets none, and `finished`
  /// stays false. Null `record` changes nothing at all.
  ///
  /// `record` is not counted: the caller keeps it alive until `ProcessDepthMap`, `Clear`, the next
  /// `FetchDepthMap` or the destructor. `panorama` can be null.
  void FetchDepthMap(Panorama* panorama, PanoramaData* record);

  /// The URL of a request, on the server that the setting "metaDataFetchServer" names now.
  QUrl CreateUrl(const QString& pano_id) const;

  /// The completion function. Sets `finished` if `request` is the one that counts: to true for an
  /// answer, that is a status above 1 that does not count as failed (see `RequestFailed`).
  static void DepthMapFinished(net::Fetcher& request);

  /// Takes the answer into the record, tells `OnDepthMapReady`, and clears unless that has started
  /// the next fetch. For the host to call once `finished` is true; called earlier it reports what
  /// the record has by then and gives the request up. Without a record it does nothing.
  ///
  /// It writes to a record that may already be in the graph and takes no lock: nobody may read the
  /// record's maps on another thread meanwhile.
  void ProcessDepthMap();

  /// Gives up request and record; `finished` becomes false. The request is not cancelled.
  void Clear();

 private:
  RefPtr<net::Fetcher> fetcher;  // The request that counts; written on the host's thread alone.
  Panorama* panorama = nullptr;  // Not owned.
  PanoramaData* data = nullptr;  // Not owned, not counted.

 public:
  /// True while an answer waits for `ProcessDepthMap`.
  std::atomic<bool> finished{false};
  /// False makes `ProcessDepthMap` report without reading the answer. Nothing here changes it.
  bool parse_answer = true;

 private:
  void RequestEnded(net::Fetcher& request);

  // Guards `fetcher` against the completion, `fetcher_ended` and `superseded`. No other lock is
  // taken and nobody is cancelled with it held.
  SpinLock lock;
  bool fetcher_ended = false;  // The completion of `fetcher` has run.
  // Requests whose completion is still to come: they point here, so they are kept to be cancelled.
  mmvector<RefPtr<net::Fetcher>> superseded{HeapManager::GetDynamicHeap()};
  std::uint64_t fetch_number = 0;   // Tells one fetch from the next.
  std::shared_ptr<const int> life;  // Gone with this object.
};

}  // namespace spatial
}  // namespace nimbara
