// SPDX-License-Identifier: Apache-2.0
#include "network_thread.h"

#include <curl/curl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <utility>

#include "counters.h"
#include "dispatcher.h"
#include "host/reference/network_shutdown.h"

namespace nimbara {
namespace net {
namespace {

// The layer's lock and state. Constant-initialised and trivially destroyed, so that they serve
// static initialisers and destructors of every library. The lock guards the three variables and the
// mail of the thread; nothing is called with it held that takes another lock or runs foreign code.
std::mutex g_mutex;
NetworkThread* g_thread = nullptr;  // Null while there is none.
bool g_closed = false;              // No thread is started any more.

// Held by whoever shuts down, so that a second caller returns no earlier than the first. Before
// `g_mutex` in the order of locks.
std::mutex g_shutdown_mutex;

thread_local bool t_is_network_thread = false;

// How long the end of the process waits for a completion that does not return.
constexpr int kExitPatienceS = 2;

struct StopAtExit {
  ~StopAtExit() { NetworkThread::AtExit(); }
};

// curl's global state stays for the process, like the library itself. The stop is entered behind
// the exit handlers of curl's own libraries, hence runs before them, while TLS still works. Called
// on the thread that asks first, not on the network's: a process that ended right behind its first
// request ran those handlers while the network thread was still setting TLS up, and crashed.
void PrepareCurlOnce() {
  static const CURLcode curl_state = curl_global_init(CURL_GLOBAL_DEFAULT);
  static const StopAtExit stop_at_exit;
  (void)curl_state;
  (void)stop_at_exit;
}

timespec PatienceEnd() {
  timespec end{};
  clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += kExitPatienceS;
  return end;
}

}  // namespace

void ShutDownNetwork() {
  NetworkThread::ShutDown();
}

bool NetworkThread::Submit(CurlFetcher* fetcher) {
  std::unique_ptr<NetworkThread> fresh;  // Outlives the lock: giving it up takes the loader's.
  for (;;) {
    {
      std::lock_guard<std::mutex> hold(g_mutex);
      if (g_closed) {
        return false;
      }
      if (g_thread == nullptr && fresh != nullptr) {
        if (!fresh->StartLocked()) {
          return false;
        }
        g_thread = fresh.release();
      }
      if (g_thread != nullptr) {
        Count(g_counters.started);
        g_thread->mail_.started.emplace_back(fetcher);
        g_thread->WakeLocked();
        return true;
      }
    }
    fresh = Make();
    if (fresh == nullptr) {
      return false;
    }
  }
}

void NetworkThread::Drop(CurlFetcher* fetcher) {
  std::lock_guard<std::mutex> hold(g_mutex);
  if (g_thread != nullptr) {
    g_thread->mail_.dropped.emplace_back(fetcher);
    g_thread->WakeLocked();
  }
}

NetworkThread* NetworkThread::ClaimForStop(bool for_good) {
  std::lock_guard<std::mutex> hold(g_mutex);
  g_closed |= for_good;
  if (g_thread == nullptr) {
    return nullptr;
  }
  g_thread->stop_ = true;
  g_thread->WakeLocked();
  // A second claimant does not wait, and neither does the thread itself.
  const bool claimed = !t_is_network_thread && !std::exchange(g_thread->awaited_, true);
  return claimed ? g_thread : nullptr;
}

void NetworkThread::ShutDown() {
  std::unique_lock<std::mutex> hold(g_shutdown_mutex, std::defer_lock);
  if (!t_is_network_thread) {
    hold.lock();
  }
  if (NetworkThread* thread = ClaimForStop(false)) {
    pthread_join(thread->handle_, nullptr);
    delete thread;
  }
}

void NetworkThread::AtExit() {
  if (NetworkThread* thread = ClaimForStop(true)) {
    const timespec end = PatienceEnd();
    if (pthread_timedjoin_np(thread->handle_, nullptr, &end) == 0) {
      // This may be the last reference to the library: giving it up would unmap this very code.
      thread->hold_.Keep();
      delete thread;
    }
  }
}

std::unique_ptr<NetworkThread> NetworkThread::Make() {
  KeepCurlMapped();
  PrepareCurlOnce();
  const int wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  return std::unique_ptr<NetworkThread>(wake_fd < 0 ? nullptr : new NetworkThread(wake_fd));
}

NetworkThread::~NetworkThread() {
  close(wake_fd_);
}

// No signal of the host's is handled on this thread, but for those that a fault of its own raises.
bool NetworkThread::StartLocked() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) {
    sigdelset(&all, fault);
  }
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const bool started = pthread_create(&handle_, nullptr, &NetworkThread::Main, this) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started;
}

// Under the lock, though the write could follow it: the thread must not get ahead of `fetch`.
void NetworkThread::WakeLocked() {
  if (asleep_.exchange(false)) {
    const std::uint64_t one = 1;
    (void)!write(wake_fd_, &one, sizeof one);  // Fails only where it is readable already.
  }
}

void* NetworkThread::Main(void* self) {
  pthread_setname_np(pthread_self(), "PelorinNetwork");
  t_is_network_thread = true;
  static_cast<NetworkThread*>(self)->Run();
  return nullptr;
}

void NetworkThread::Run() {
  {
    Dispatcher dispatcher(wake_fd_);
    Loop(&dispatcher);
  }
  Leave();
}

void NetworkThread::Loop(Dispatcher* dispatcher) {
  Clock::time_point busy_until = Clock::now();
  Mail mail;
  while (TakeMail(&mail)) {
    Deliver(&mail, dispatcher);
    dispatcher->Begin();
    Clock::time_point deadline = Clock::time_point::max();
    if (dispatcher->IsIdle()) {
      const Clock::duration linger = ToDuration(CurrentOptions()->idle_linger_s, 3600.0);
      deadline = std::max(busy_until + linger, dispatcher->PacingEnd());
      if (deadline <= Clock::now() && EndIfUnneeded()) {
        return;
      }
    }
    if (!GoToSleep()) {
      continue;
    }
    dispatcher->Await(deadline);
    asleep_ = false;
    if (dispatcher->woken()) {
      DrainWake();
    }
    if (!dispatcher->IsIdle()) {
      busy_until = Clock::now();
    }
    dispatcher->Perform();
  }
}

// False once the thread is to stop; the mail stays where it is then.
bool NetworkThread::TakeMail(Mail* mail) {
  std::lock_guard<std::mutex> hold(g_mutex);
  if (stop_) {
    return false;
  }
  mail->started.swap(mail_.started);
  mail->dropped.swap(mail_.dropped);
  return true;
}

// A request is told of before it is dropped, so it is known by then.
void NetworkThread::Deliver(Mail* mail, Dispatcher* dispatcher) {
  for (RefPtr<CurlFetcher>& fetcher : mail->started) {
    dispatcher->Admit(std::move(fetcher));
  }
  for (const RefPtr<CurlFetcher>& fetcher : mail->dropped) {
    dispatcher->Drop(fetcher.get());
  }
  mail->started.clear();
  mail->dropped.clear();
}

// False if there is something to do first. From here on mail wakes the thread.
bool NetworkThread::GoToSleep() {
  std::lock_guard<std::mutex> hold(g_mutex);
  asleep_ = !stop_ && mail_.IsEmpty();
  return asleep_;
}

bool NetworkThread::EndIfUnneeded() {
  std::lock_guard<std::mutex> hold(g_mutex);
  if (stop_ || !mail_.IsEmpty()) {
    return false;
  }
  g_thread = nullptr;
  return true;
}

void NetworkThread::DrainWake() {
  std::uint64_t count = 0;
  (void)!read(wake_fd_, &count, sizeof count);  // Fails only where there is nothing to read.
}

void NetworkThread::Leave() {
  Mail rest;
  bool awaited = false;
  {
    std::lock_guard<std::mutex> hold(g_mutex);
    if (g_thread == this) {
      g_thread = nullptr;
    }
    std::swap(rest, mail_);
    awaited = awaited_;
  }
  for (const RefPtr<CurlFetcher>& fetcher : rest.started) {
    fetcher->Abandon();
  }
  rest = Mail();
  if (!awaited) {
    pthread_detach(pthread_self());
    hold_.EndWithThread();
    delete this;
  }
}

}  // namespace net
}  // namespace nimbara
