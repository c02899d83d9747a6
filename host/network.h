// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

#include "host/export.h"
#include "host/memory.h"
#include "host/referent.h"

namespace nimbara {
namespace net {

/// One request over the network, counted atomically: started by `fetch`, completed once on a thread
/// of the network layer, readable for as long as somebody holds a reference.
///
/// ```
/// Fetcher::FetchParams params;
/// params.url = "http://service.example/plk?output=xml&panoid=abc";
/// params.completion = &Finished;  // void Finished(Fetcher& fetcher)
/// params.user_data = this;
/// RefPtr<Fetcher> request = Fetcher::fetch(params, nullptr);
/// ```
class PELORIN_HOST_EXPORT Fetcher : public AtomicReferent {
 public:
  /// Runs once for each request that ended, well or not, on a thread of the network layer, with no
  /// lock of that layer held, so it may start and cancel requests. It can run at any moment after
  /// `fetch` has returned, even before the caller has stored the result, but never inside `fetch`
  /// and never inside `cancel`.
  using Completion = void (*)(Fetcher& fetcher);

  /// The description of one request.
  struct FetchParams {
    QString url;                                                 ///< Absolute, http or https.
    QString user_agent;                                          ///< Empty: the host's own.
    QString referrer;                                            ///< Null: none is sent.
    mmvector<QString> headers{HeapManager::GetTransientHeap()};  ///< Lines "Name: value".
    Completion completion = nullptr;                             ///< Null: nobody waits.
    void* user_data = nullptr;                                   ///< Handed back by `user_data()`.
    double pacing_interval_s = 0.0;  ///< Least seconds between requests to one server; 0 for none.
    std::int32_t priority = 0;       ///< The host's own.
    bool bypass_caches = false;      ///< Asks caches on the way for a fresh answer.
    bool low_priority = false;       ///< The host's own.
    std::uint64_t max_body_bytes = 0;  ///< 0: the host's limit.
  };

  /// Status values with a meaning of their own; any other is the protocol's, such as 404 or 503.
  enum Status {
    kRunning = 0,            ///< Not ended yet.
    kSucceeded = 2,          ///< The answer is complete.
    kCancelled = 4,          ///< Given up by `cancel`.
    kTooLarge = 5,           ///< The answer passed a size limit.
    kTimedOut = 6,           ///< The answer took too long.
    kBadUrl = 7,             ///< Not an absolute http or https address.
    kBrokenAnswer = 8,       ///< The answer ended early or broke the protocol.
    kConnectionFailed = 10,  ///< No connection to the server.
  };

  /// Starts a request and returns it. `heap` is where the host keeps the request, null for its
  /// choice. Null if the request could not be started at all; then no completion follows. Safe from
  /// any thread.
  static RefPtr<Fetcher> fetch(const FetchParams& params, MemoryManager* heap);

  /// Safe from any thread; the value is final when the completion runs.
  virtual int status() const = 0;
  /// The bytes of the answer; empty until the request has ended.
  virtual QByteArray body() const = 0;
  virtual void* user_data() const = 0;

  /// Abandons the request. When it returns no completion of this request is running on another
  /// thread and none will run: a completion that has already begun is waited for, unless the caller
  /// is inside it. So the caller must hold no lock that the completion takes. Without effect on a
  /// request that has ended. Safe from any thread, any number of times.
  virtual void cancel() = 0;
};

/// 0 means that there is no connection; any other value that there may be one.
PELORIN_HOST_EXPORT int GetInternetConnectionStatus();

}  // namespace net
}  // namespace nimbara
