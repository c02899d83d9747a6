// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>
#include <poll.h>

#include <cstddef>
#include <vector>

#include "host/reference/network/pacing.h"

namespace nimbara {
namespace net {

/// The sockets that curl wants watched, and one more that ends a wait from another thread. A plain
/// array for `poll`: the number of connections is bounded, and unlike a kernel set it changes
/// without a system call, which curl asks for twice in each request. Used on the network thread
/// only.
class SocketPoller {
 public:
  struct Ready {
    curl_socket_t socket;
    int events;  ///< CURL_CSELECT_ bits.
  };

  /// `wake_fd` is watched but never reported; it is the caller's.
  explicit SocketPoller(int wake_fd);

  /// Watches `socket` for what `curl_events` (a CURL_POLL_ value) says, in place of what it was
  /// watched for before.
  void Watch(curl_socket_t socket, int curl_events);

  /// Waits until `deadline`, or until a socket is ready or the wake descriptor readable; an
  /// interrupting signal ends the wait too.
  void Wait(Clock::time_point deadline);

  /// The sockets that the last wait found ready.
  const std::vector<Ready>& ready() const { return ready_; }

  /// Whether the last wait saw the wake descriptor readable.
  bool woken() const { return sockets_.front().revents != 0; }

 private:
  std::vector<pollfd> sockets_;  // The wake descriptor first.
  std::vector<Ready> ready_;
};

}  // namespace net
}  // namespace nimbara
