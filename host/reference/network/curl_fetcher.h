// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <list>
#include <mutex>

#include "host/network.h"
#include "host/threads.h"
#include "request.h"

namespace nimbara {
namespace net {

class CurlFetcher;
class Transfer;

using FetcherList = std::list<RefPtr<CurlFetcher>>;

/// The request as its starter holds it: open, then completing (its completion runs), then ended.
/// `cancel` takes it from open to ended at once; whoever takes it out of open decides its status,
/// so a request is either completed or cancelled and never both.
class CurlFetcher final : public Fetcher {
 public:
  explicit CurlFetcher(const FetchParams& params);

  int status() const override;
  QByteArray body() const override;
  void* user_data() const override { return user_data_; }
  void cancel() override;

  const Request& request() const { return request_; }

  /// Publishes the outcome and runs the completion, unless the request was cancelled before; then
  /// nothing happens. Called once, on the network thread, with no lock held.
  void Finish(int status, const QByteArray& body);

  /// Ends an open request as cancelled, without a completion. False if it was not open.
  bool Abandon();

  /// Where the dispatcher keeps the request; all null while it waits for a further attempt. Used on
  /// the network thread only.
  struct Place {
    FetcherList* list = nullptr;   ///< The waiting list that it stands in,
    FetcherList::iterator entry;   ///< and where there.
    Transfer* transfer = nullptr;  ///< The attempt under way.
    int retries = 0;
  };
  Place place;

 private:
  enum class Phase { kOpen, kCompleting, kEnded };

  const Request request_;
  const Completion completion_;
  void* const user_data_;

  // Guards the members below. Last in the order of locks: nothing is called with it held.
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  Phase phase_ = Phase::kOpen;
  ThreadId completing_thread_ = System::kInvalidThreadId;
  int status_ = kRunning;
  QByteArray body_;
};

}  // namespace net
}  // namespace nimbara
