// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "spatial/geodesy/elevation_query.h"

namespace pelorin {
namespace test_support {

/// An elevation query whose end a thread can wait for.
class AwaitedQuery final : public nimbara::spatial::ElevationQuery {
 public:
  ~AwaitedQuery() override { DoCancelFetch(kCancelled); }

  void FetchDone() override {
    const std::lock_guard<std::mutex> hold(mutex_);
    done_ = true;
    changed_.notify_all();
  }
  /// False if the query has not ended within a minute.
  bool Await() {
    std::unique_lock<std::mutex> hold(mutex_);
    return changed_.wait_for(hold, std::chrono::seconds(60), [this] { return done_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
};

}  // namespace test_support
}  // namespace pelorin
