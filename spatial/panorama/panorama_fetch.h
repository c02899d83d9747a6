// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QUrl>
#include <atomic>

#include "base/export.h"
#include "host/memory.h"
#include "host/network.h"
#include "host/referent.h"
#include "host/threads.h"

namespace nimbara {
namespace spatial {

class IPanoramaFetchObserver;
class PanoramaFetcher;

/// One metadata request, from its start until its answer has been delivered.
///
/// | stage      | owned by                        | thread                              |
/// |------------|---------------------------------|-------------------------------------|
/// | started    | nobody; in the fetcher's list   | the caller of `FetchMetaData`       |
/// | answered   | a queued job, and in the list   | the network layer's, or the caller's|
/// | delivering | the same                        | the worker                          |
/// | ended      | gone, and out of the list       | the worker; the completing thread   |
/// |            |                                 | where the request failed            |
///
/// Two parties meet at its birth: the caller that starts the request and, on a thread of the
/// network layer, the request's completion, which can come before the constructor has returned.
/// Each marks its arrival; whoever comes second carries the completion on. So a completion never
/// acts on an object whose construction has not ended, and nobody waits.
class PELORIN_EXPORT PanoramaFetch : public MemoryObject {
 public:
  class FetchProcessor;

  /// Enters the fetcher's list, starts the request for `url` and keeps the reference to it, which
  /// is null if the network layer could not start it. The maker calls `StartEnded` next.
  PanoramaFetch(PanoramaFetcher* fetch_owner, const QUrl& request_url,
                IPanoramaFetchObserver* fetch_observer);

  /// Leaves the fetcher's list and releases the request without cancelling it. Called by the job
  /// that delivered the answer, after a failed request, or by the fetcher's destructor, which
  /// cancels first; nobody else deletes a fetch.
  virtual ~PanoramaFetch();

  PanoramaFetch(const PanoramaFetch&) = delete;
  PanoramaFetch& operator=(const PanoramaFetch&) = delete;

  /// Queues the job that delivers the answer. Called once at most, when an answer is there.
  virtual void StartProcessJob(net::Fetcher& request);

  /// The completion function of all metadata requests. A failed status (see `RequestFailed`) ends
  /// the fetch, and its observer hears nothing; any other goes on to `StartProcessJob`. Without
  /// user data it does nothing.
  static void PanoramaFinished(net::Fetcher& request);

  /// The starter's arrival: the object, derived part included, is complete, and the starter is done
  /// with it. Called once, with no lock held that a completion takes; the object may be gone when
  /// it returns.
  void StartEnded();

 protected:
  friend class PanoramaFetcher;

  /// True for the second of the two parties.
  bool ArriveSecond() { return other_arrived.exchange(true, std::memory_order_acq_rel); }
  void Conclude(net::Fetcher& request);

  PanoramaFetcher* const owner;            // Not owned; outlives this.
  const QUrl url;                          // What makes two requests the same.
  IPanoramaFetchObserver* const observer;  // Not owned; can be null.
  // The request. Written once, under the owner's lock; null if it could not be started.
  RefPtr<net::Fetcher> fetcher;
  std::atomic<bool> other_arrived{false};
};

/// The worker's job for one answer. Owns its fetch and ends it as it dies, whether it ran or not.
class PELORIN_EXPORT PanoramaFetch::FetchProcessor : public WorkerThread::Job {
 public:
  ~FetchProcessor() override;

  /// Queues a job, which takes `fetch` over. With a null `worker` the answer is delivered at once,
  /// on this thread, and `fetch` is left alive: it stays in its fetcher's list, and its URL under
  /// way, until the fetcher ends.
  static void CreateAndQueue(WorkerThread* worker, PanoramaFetch* fetch);

  /// Reads the answer of `fetch` and tells `observer`; a null `observer` skips both. A request that
  /// was never started counts as an empty answer.
  static void ProcessImmediately(PanoramaFetch* fetch, IPanoramaFetchObserver* observer);

  void Run() override;

 protected:
  FetchProcessor(WorkerThread* worker, PanoramaFetch* job_fetch);

  /// Hands the job, with one reference, to the worker it was made for. It may be gone on return.
  void Queue();

  PanoramaFetch* const fetch;  // Owned.
};

}  // namespace spatial
}  // namespace nimbara
