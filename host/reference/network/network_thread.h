// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <vector>

#include "curl_fetcher.h"
#include "library_hold.h"

namespace nimbara {
namespace net {

class Dispatcher;

/// The one thread of the network layer and its mail. It lives while there are requests and a while
/// longer, then ends by itself, so that an idle process has no thread and an unloaded library none
/// that it would have to wait for under the loader's lock. While it lives it holds a reference to
/// the library (`LibraryHold`). It needs the loader's lock neither to begin nor to work, so static
/// initialisers may start requests.
///
/// The object owns the mail and ends with its thread: deleted by the thread itself, or by the one
/// that stops it and waits.
class NetworkThread {
 public:
  /// Gives a new request to the thread, starting one if there is none. False if no thread can be
  /// started any more. Takes a reference. Nothing of the layer runs on behalf of the request on the
  /// calling thread after this.
  static bool Submit(CurlFetcher* fetcher);

  /// Tells the thread that a request has been cancelled, so that it gives up what it has of it.
  static void Drop(CurlFetcher* fetcher);

  /// Ends the thread, abandoning its requests, and waits for that.
  static void ShutDown();

  /// The same for good, at the end of the process or of the library.
  static void AtExit();

 private:
  struct Mail {
    std::vector<RefPtr<CurlFetcher>> started;
    std::vector<RefPtr<CurlFetcher>> dropped;
    bool IsEmpty() const { return started.empty() && dropped.empty(); }
  };

  static std::unique_ptr<NetworkThread> Make();
  static NetworkThread* ClaimForStop(bool for_good);
  static void* Main(void* self);

  explicit NetworkThread(int wake_fd) : wake_fd_(wake_fd) {}
  ~NetworkThread();
  friend std::default_delete<NetworkThread>;

  bool StartLocked();
  void WakeLocked();
  void Run();
  void Loop(Dispatcher* dispatcher);
  bool TakeMail(Mail* mail);
  static void Deliver(Mail* mail, Dispatcher* dispatcher);
  bool GoToSleep();
  bool EndIfUnneeded();
  void DrainWake();
  void Leave();

  const int wake_fd_;  // Owned.
  LibraryHold hold_;
  pthread_t handle_{};
  std::atomic<bool> asleep_{false};  // Set under the layer's lock, cleared on either side.

  // Guarded by the layer's lock.
  Mail mail_;
  bool stop_ = false;
  bool awaited_ = false;  // Somebody joins the thread and deletes the object.
};

}  // namespace net
}  // namespace nimbara
