// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace pelorin {

/// Runs one job for each connection on a thread of its own, up to a limit; further jobs wait their
/// turn. Threads are made when a job finds no idle one, and stay.
///
/// Owned by the HTTP library's accept loop, whose thread makes all calls but `waiting`.
class ConnectionThreads : public httplib::TaskQueue {
 public:
  /// `waiting` (owned by the caller, must outlive this) is kept at the number of jobs that wait
  /// because the limit is reached. `limit` is 1 or above. Throws `std::system_error` if not even
  /// one thread can be made.
  ConnectionThreads(std::size_t limit, std::atomic<int>* waiting);
  /// `shutdown` must have been called.
  ~ConnectionThreads() override = default;

  void enqueue(std::function<void()> job) override;
  /// Returns after all jobs, the waiting ones included, have run.
  void shutdown() override;

 private:
  void Work();
  void AddThreadLocked();
  void CountWaitingLocked();

  const std::size_t limit_;
  std::atomic<int>* const waiting_;

  std::mutex mutex_;  // Guards everything below; a leaf.
  std::condition_variable changed_;
  std::vector<std::thread> threads_;
  std::deque<std::function<void()>> jobs_;
  std::size_t free_ = 0;  // Threads that wait for a job or are about to.
  bool closed_ = false;
};

}  // namespace pelorin
