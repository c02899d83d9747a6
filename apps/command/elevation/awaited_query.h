// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "spatial/geodesy/elevation_query.h"

namespace pelorin {
namespace command {

/// An elevation query whose end a thread can wait for. Only for one that has sent something: there
/// is no other end.
class AwaitedQuery final : public nimbara::spatial::ElevationQuery {
 public:
  ~AwaitedQuery() override { DoCancelFetch(kCancelled); }

  void FetchDone() override {
    const std::lock_guard<std::mutex> hold(mutex_);
    done_ = true;
    changed_.notify_all();
  }
  void Await() {
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait(hold, [this] { return done_; });
  }
  /// False if the query has not ended within `limit`.
  bool AwaitFor(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> hold(mutex_);
    return changed_.wait_for(hold, limit, [this] { return done_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
};

}  // namespace command
}  // namespace pelorin
