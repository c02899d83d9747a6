// SPDX-License-Identifier: Apache-2.0
#include "apps/command/answer_signal.h"

#include <algorithm>
#include <chrono>

namespace pelorin {
namespace command {
namespace {

// A request leaves the list of those under way a moment after its last answer was told, hence the
// short first look; failures are rare, hence the long last one.
constexpr std::chrono::microseconds kFirstLook{200};
constexpr std::chrono::microseconds kLastLook{20000};

}  // namespace

void AnswerSignal::Raise() {
  {
    const std::lock_guard<std::mutex> hold(lock_);
    ++answers_;
  }
  answered_.notify_one();
}

void AnswerSignal::WaitUntil(const std::function<bool()>& is_done) {
  std::chrono::microseconds next_look = kFirstLook;
  for (;;) {
    std::uint64_t seen = 0;
    {
      const std::lock_guard<std::mutex> hold(lock_);
      seen = answers_;
    }
    if (is_done()) {
      return;
    }
    std::unique_lock<std::mutex> hold(lock_);
    const bool answered =
        answered_.wait_for(hold, next_look, [this, seen] { return answers_ != seen; });
    next_look = answered ? kFirstLook : std::min(next_look * 2, kLastLook);
  }
}

}  // namespace command
}  // namespace pelorin
