// SPDX-License-Identifier: Apache-2.0
#include "apps/service/connection_threads.h"

#include <system_error>
#include <utility>

namespace pelorin {

ConnectionThreads::ConnectionThreads(std::size_t limit, std::atomic<int>* waiting)
    : limit_(limit), waiting_(waiting) {
  const std::lock_guard<std::mutex> hold(mutex_);
  AddThreadLocked();
}

void ConnectionThreads::AddThreadLocked() {
  threads_.emplace_back([this] { Work(); });
  ++free_;
}

void ConnectionThreads::CountWaitingLocked() {
  *waiting_ = jobs_.size() > free_ ? static_cast<int>(jobs_.size() - free_) : 0;
}

void ConnectionThreads::enqueue(std::function<void()> job) {
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    jobs_.push_back(std::move(job));
    if (jobs_.size() > free_ && threads_.size() < limit_) {
      try {
        AddThreadLocked();
      } catch (const std::system_error&) {
        // The system has no thread left: the job waits for one of those that are there.
      }
    }
    CountWaitingLocked();
  }
  changed_.notify_one();
}

void ConnectionThreads::Work() {
  std::unique_lock<std::mutex> hold(mutex_);
  while (true) {
    changed_.wait(hold, [this] { return !jobs_.empty() || closed_; });
    if (jobs_.empty())
      return;
    std::function<void()> job = std::move(jobs_.front());
    jobs_.pop_front();
    --free_;
    CountWaitingLocked();
    hold.unlock();
    job();
    hold.lock();
    ++free_;
    CountWaitingLocked();
  }
}

void ConnectionThreads::shutdown() {
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    closed_ = true;
  }
  changed_.notify_all();
  // Nobody but the caller adds threads, and it is here.
  for (std::thread& thread : threads_)
    thread.join();
}

}  // namespace pelorin
