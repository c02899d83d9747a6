// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace pelorin {
namespace command {

/// Lets a program without an event loop sleep until answers come. `Raise` is for the thread that
/// delivers them, `WaitUntil` for the one that asked. `lock_` guards `answers_` and is held only to
/// count; it comes after every other lock.
class AnswerSignal {
 public:
  /// Wakes the waiting thread. Safe from any thread, with any lock held.
  void Raise();

  /// Sleeps until `is_done` holds. It is looked at after each answer, and from time to time
  /// besides, since a request that fails tells nobody. `is_done` runs on the calling thread with no
  /// lock held and has to become true in the end; every request ends, by the network layer's time
  /// limit.
  void WaitUntil(const std::function<bool()>& is_done);

 private:
  std::mutex lock_;
  std::condition_variable answered_;
  std::uint64_t answers_ = 0;
};

}  // namespace command
}  // namespace pelorin
