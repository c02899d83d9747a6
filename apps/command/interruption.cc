// SPDX-License-Identifier: Apache-2.0
#include "apps/command/interruption.h"

#include <pthread.h>
#include <unistd.h>

#include "apps/command/exit_code.h"
#include "apps/files/partial_files.h"

namespace pelorin {
namespace command {
namespace {

/// Takes the watcher out of its wait. Sent to that thread alone, so no other use of it is
/// disturbed.
constexpr int kStopSignal = SIGUSR2;

}  // namespace

Interruption::Interruption() {
  sigemptyset(&watched_);
  sigaddset(&watched_, SIGINT);
  sigaddset(&watched_, SIGTERM);
  sigset_t blocked = watched_;
  sigaddset(&blocked, kStopSignal);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  // A reader that goes away shows as a failed write, with a message, not as a silent death.
  std::signal(SIGPIPE, SIG_IGN);
  watcher_ = std::thread(&Interruption::Watch, this, blocked);
}

Interruption::~Interruption() {
  StopWatching();
}

int Interruption::WaitForSignal() {
  StopWatching();
  int number = 0;
  while (sigwait(&watched_, &number) != 0) {
  }
  return number;
}

void Interruption::Watch(sigset_t signals) {
  for (;;) {
    int number = 0;
    if (sigwait(&signals, &number) != 0) {
      continue;
    }
    if (number == kStopSignal) {
      return;
    }
    if (!cooperative_ || requested_.exchange(true)) {
      PartialFiles::Instance().DeleteAll();
      _exit(static_cast<int>(ExitCode::kInterrupted));
    }
  }
}

void Interruption::StopWatching() {
  if (watcher_.joinable()) {
    pthread_kill(watcher_.native_handle(), kStopSignal);
    watcher_.join();
  }
}

}  // namespace command
}  // namespace pelorin
