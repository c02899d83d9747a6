// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QUrl>

#include "base/export.h"
#include "host/memory.h"
#include "host/threads.h"
#include "spatial/panorama/panorama_fetcher_interface.h"

namespace nimbara {
namespace spatial {

class PanoramaFetch;
class PelorinSpatialOptions;

/// Asks the panorama service over the network: builds the URLs, refuses what is already under way,
/// lists what is, and owns the worker thread on which answers are read.
///
/// ```
/// PanoramaFetcher fetcher;
/// fetcher.FetchMetaData("abc", &observer);  // observer hears of it on the worker thread
/// ```
///
/// A request is under way, under its URL, until its answer has been delivered or it has failed.
/// Two requests are the same if their URLs are, so radii that round to the same metre are. A
/// request that the network layer could not even start counts as started and stays under way until
/// the fetcher ends.
///
/// Threads: the operations are safe from any thread. Asking for the same thing on two threads at
/// the same moment starts one request by position, but may start two by id or by tile.
///
/// Lock order: the fetcher's lock comes after the graph's. With it held requests by position are
/// started at the network layer and jobs are queued on the worker; no observer and no `cancel` is
/// called with it held.
class PELORIN_EXPORT PanoramaFetcher : public IPanoramaFetcher {
 public:
  /// Value of the query key "pl_client".
  static constexpr char kPLClient[] = "nimbara";
  /// Value of the query key "v".
  static constexpr char kLoggingVersion[] = "4";

  /// Starts the worker thread.
  PanoramaFetcher();

  /// Ends the worker thread, after the job it is on, and cancels and forgets every request. No
  /// observer is called any more for requests that were not being delivered. It waits for a
  /// delivery that is running, so it must be called with no lock that an observer takes (the
  /// graph's, for one), not from an observer, and not while other threads still use the fetcher.
  ~PanoramaFetcher() override;

  PanoramaFetcher(const PanoramaFetcher&) = delete;
  PanoramaFetcher& operator=(const PanoramaFetcher&) = delete;

  bool FetchMetaData(const QString& pano_id, IPanoramaFetchObserver* observer) override;
  bool FetchMetaData(const MapTile& tile, IPanoramaFetchObserver* observer) override;
  bool FetchMetaData(double lat, double lng, double radius, const QString& level_id,
                     IPanoramaFetchObserver* observer) override;

  /// The URLs of the three requests, on the server that the setting "metaDataFetchServer" names
  /// now. Nothing is refused here: any id, number or tile gives a URL.
  QUrl CreateUrl(const QString& pano_id) const;
  QUrl CreateUrl(double lat, double lng, double radius, const QString& level_id) const;
  QUrl CreateUrl(const MapTile& tile) const;

  /// True if a request with an equal URL is under way.
  bool IsFetching(const QUrl& url);

  /// Lists a request that is about to start. For `PanoramaFetch` alone.
  void AddFetch(PanoramaFetch* fetch);
  /// Takes every mention of a request off the list; one that is not there changes nothing. For
  /// `PanoramaFetch` alone.
  void RemoveFetch(PanoramaFetch* fetch);

  /// Moves the setting "panoTileTemplateURL" to another server: scheme, authority and path come
  /// from `base`, everything from the template's first '?' on stays as it is, letter for letter. A
  /// template with nothing behind its '?', or without one, is left alone.
  static void UpdateTileTemplateBaseURL(const QUrl& base);

 private:
  friend class PanoramaFetch;
  friend class PanoramaTileFetch;

  void CancelRequests();

  SpinLock lock;  // Guards `fetches`, `ending`, and `PanoramaFetch::fetcher` of those in the list.
  mmvector<PanoramaFetch*> fetches;  // In order of starting. Each takes itself out as it dies.
  WorkerThread* worker;              // Owned.
  PelorinSpatialOptions* settings;   // The process's one instance.
  bool ending = false;               // Answers from now on are left for the destructor to end.
};

}  // namespace spatial
}  // namespace nimbara
