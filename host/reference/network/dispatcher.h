// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

#include "curl_fetcher.h"
#include "host/reference/network/pacing.h"
#include "socket_poller.h"
#include "transfer.h"

namespace nimbara {
namespace net {

struct MultiDeleter {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// Carries requests out on the network thread: lets them wait for their turn, attempts them,
/// decides on further attempts and completes them. Completions run out of its operations; what they
/// start or cancel comes back through `Admit` and `Drop` in a later round.
class Dispatcher {
 public:
  /// `wake_fd` ends a wait when it becomes readable; it is the caller's.
  explicit Dispatcher(int wake_fd);
  /// Abandons every request, without a completion.
  ~Dispatcher();
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  /// Takes over a new request.
  void Admit(RefPtr<CurlFetcher> fetcher);

  /// Forgets a request that has been cancelled; nothing happens if it is not here any more.
  void Drop(CurlFetcher* fetcher);

  /// Starts what may start, and runs what curl wants to do now.
  void Begin();

  /// Waits for sockets, for the wake descriptor, or until `deadline` or the next thing that is due.
  void Await(Clock::time_point deadline);

  /// Reads and writes what the last wait found, and completes what has ended.
  void Perform();

  /// Whether the last wait was ended through the wake descriptor.
  bool woken() const { return poller_.woken(); }

  /// True if no request is here.
  bool IsIdle() const { return requests_ == 0; }

  /// The time from which on no pacing interval is running any more.
  Clock::time_point PacingEnd() const;

 private:
  struct Server {
    PacingGate gate;
    FetcherList unpaced;
    FetcherList paced;  // In order of arrival: the first one holds the gate.
    int attempts = 0;   // Under way.

    bool HasWaiting() const { return !unpaced.empty() || !paced.empty(); }
  };
  using Servers = std::map<QByteArray, Server>;

  static int OnSocket(CURL*, curl_socket_t socket, int events, void* self, void*);
  static int OnTimer(CURLM*, long milliseconds, void* self);

  void Queue(RefPtr<CurlFetcher> fetcher);
  void QueueDueRetries(Clock::time_point now);
  void StartWaiting(Clock::time_point now);
  void StartWaitingAt(Server* server, Clock::time_point now);
  FetcherList* NextList(Server* server, Clock::time_point now);
  bool GateIsOpen(const Server& server, Clock::time_point now);
  void Start(RefPtr<CurlFetcher> fetcher);
  std::unique_ptr<Transfer> TakeTransfer();
  void RunTimer();
  void RunSocket(curl_socket_t socket, int events);
  bool CompleteEnded();
  void Ended(Transfer* transfer, CURLcode code);
  bool RetryLater(const RefPtr<CurlFetcher>& fetcher, int status, double retry_after_s);
  RefPtr<CurlFetcher> Release(Transfer* transfer);
  void Complete(const RefPtr<CurlFetcher>& fetcher, int status, const QByteArray& body);
  void AbandonAll();

  SocketPoller poller_;
  std::unique_ptr<CURLM, MultiDeleter> multi_;  // Null if curl had no memory: nothing can start.
  Clock::time_point curl_deadline_ = Clock::time_point::max();
  std::size_t requests_ = 0;  // All of them, wherever they are.
  std::size_t waiting_ = 0;   // Those in the lists of servers.
  int attempts_ = 0;          // Under way, at all servers.
  Servers servers_;           // Those with something waiting or under way, or a gate still closed.
  std::multimap<Clock::time_point, RefPtr<CurlFetcher>> retries_;  // By the time that they are due.
  Clock::time_point next_start_ =
      Clock::time_point::max();  // When a gate lets a waiting one start.
  std::vector<std::unique_ptr<Transfer>> active_;
  std::vector<std::unique_ptr<Transfer>> spare_;
  std::minstd_rand draw_{std::random_device{}()};
};

}  // namespace net
}  // namespace nimbara
