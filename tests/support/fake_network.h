// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "host/network.h"

namespace nimbara {
namespace test_support {

class FakeRequest;

/// How a request ends.
struct FakeAnswer {
  int status = net::Fetcher::kSucceeded;
  QByteArray body;
};

/// The network of a test. A test program that links `fake_network.cc` defines `net::Fetcher::fetch`
/// itself, which takes the place of the host's for the whole process; every request then comes to
/// the one `FakeNetwork` that exists, and ends when and as the test says. Completions run on the
/// fake's own network thread, one after the other, under the rules of `net::Fetcher`.
///
/// ```
/// FakeNetwork network;                       // Requests are held open.
/// PanoramaFetcher fetcher;
/// fetcher.FetchMetaData("abc", &observer);
/// network.Complete(0, {404, {}});            // The completion has run when this returns.
/// ```
///
/// Operations are safe from any thread. Requests are numbered from 0 in order of starting, null
/// starts not counted.
class FakeNetwork {
 public:
  FakeNetwork();
  /// Lets the completions that are queued run, and forgets all requests.
  ~FakeNetwork();
  FakeNetwork(const FakeNetwork&) = delete;
  FakeNetwork& operator=(const FakeNetwork&) = delete;

  // What becomes of requests that start from now on; `Hold` at first.

  /// They stay open until `Complete`.
  void Hold();
  /// They end as soon as the network thread gets to it, side by side with their starter.
  void AnswerAtOnce(const FakeAnswer& answer);
  /// The same, the answer depending on the URL. `answer` runs on the starting thread.
  void AnswerAtOnce(std::function<FakeAnswer(const QString& url)> answer);
  /// Their completion has run before the starter even gets them: harder than any host may be.
  void AnswerBeforeReturning(const FakeAnswer& answer);
  /// They cannot be started at all: `fetch` gives null.
  void RefuseStarts();
  /// A cancelled request stays open until `Complete` ends it: a host that tells of every end.
  void TellCancelledOnes();

  /// Ends a held request and returns when its completion has run. Not from the network thread. A
  /// request that has ended is left alone.
  void Complete(std::size_t number, const FakeAnswer& answer);
  /// The same on the calling thread: a host with several network threads.
  void CompleteHere(std::size_t number, const FakeAnswer& answer);
  /// The same as `Complete` without waiting.
  void CompleteLater(std::size_t number, const FakeAnswer& answer);

  std::size_t Count() const;
  /// Requests that `fetch` refused to start.
  std::size_t RefusedStarts() const;
  net::Fetcher::FetchParams Params(std::size_t number) const;
  std::vector<QString> Urls() const;
  /// True if the request was cancelled while it was open.
  bool WasCancelled(std::size_t number) const;
  /// A reference of its own to the request.
  RefPtr<net::Fetcher> Request(std::size_t number) const;

  /// For `net::Fetcher::fetch`.
  RefPtr<net::Fetcher> Start(const net::Fetcher::FetchParams& params);

 private:
  using Task = std::function<void()>;

  void Post(Task task);
  void Loop();
  RefPtr<FakeRequest> At(std::size_t number) const;

  enum class Mode { kHold, kAtOnce, kBeforeReturning, kRefuse };

  mutable std::mutex mutex_;  // Guards everything below but the thread.
  std::condition_variable changed_;
  Mode mode_ = Mode::kHold;
  std::function<FakeAnswer(const QString& url)> answer_;
  std::vector<RefPtr<FakeRequest>> requests_;
  std::size_t refused_starts_ = 0;
  bool tells_cancelled_ = false;
  std::deque<Task> tasks_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace test_support
}  // namespace nimbara
