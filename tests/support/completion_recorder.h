// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/network.h"
#include "host/threads.h"

namespace nimbara {
namespace testing_support {

/// Starts requests and writes down how they complete, for the main thread to judge. Must outlive
/// its requests.
class CompletionRecorder {
 public:
  struct Event {
    net::Fetcher* fetcher;
    int status;
    QByteArray body;
    ThreadId thread;
  };

  /// A recorder that also runs `on_completion` on the network thread, before it records.
  explicit CompletionRecorder(std::function<void(net::Fetcher&)> on_completion = nullptr)
      : on_completion_(std::move(on_completion)) {}

  /// Parameters of a request that this recorder will hear of.
  net::Fetcher::FetchParams Params(const std::string& url);
  RefPtr<net::Fetcher> Fetch(const std::string& url);

  /// Waits until `count` completions have come; false after 20 s.
  bool Await(std::size_t count) const;
  /// Fetches, waits, and gives the outcome; a status of -1 if nothing came in 20 s.
  Event FetchAndAwait(const net::Fetcher::FetchParams& params);
  Event FetchAndAwait(const std::string& url) { return FetchAndAwait(Params(url)); }

  std::vector<Event> events() const;

 private:
  static void Finished(net::Fetcher& fetcher);

  const std::function<void(net::Fetcher&)> on_completion_;
  mutable std::mutex mutex_;  // Guards `events_`.
  mutable std::condition_variable changed_;
  std::vector<Event> events_;
};

}  // namespace testing_support
}  // namespace nimbara
