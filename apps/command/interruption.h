// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <csignal>
#include <thread>

namespace pelorin {
namespace command {

/// Waits for SIGINT and SIGTERM on a thread of its own, so that no code runs inside a signal
/// handler. Made once, by `main`, before any other thread, since all threads inherit the blocked
/// signals from it.
///
/// At first a signal ends the process at once with 130, after all partial files are deleted,
/// whatever the other threads do: no verb has to ask, none can hang. A verb whose work cleans up
/// after itself calls `Cooperate` and looks at `requested`; one that runs until a signal comes
/// calls `WaitForSignal`.
class Interruption {
 public:
  Interruption();
  /// Ends the thread. The signals stay blocked.
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// From now on the first signal only sets `requested`; a second one ends the process as before.
  /// Safe from any thread.
  void Cooperate() { cooperative_ = true; }
  /// True once a signal has come after `Cooperate`. Safe from any thread.
  bool requested() const { return requested_; }

  /// From now on signals no longer end the process but wait for `WaitForSignal`. A verb calls it
  /// before it tells anybody that it may be signalled. For the thread that made this.
  void TakeOver() { StopWatching(); }
  /// Takes over, blocks until SIGINT or SIGTERM comes, and returns its number. For the same thread.
  int WaitForSignal();

 private:
  void Watch(sigset_t signals);
  void StopWatching();

  std::atomic<bool> cooperative_{false};
  std::atomic<bool> requested_{false};
  sigset_t watched_;
  std::thread watcher_;
};

}  // namespace command
}  // namespace pelorin
