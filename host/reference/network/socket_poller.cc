// SPDX-License-Identifier: Apache-2.0
#include "socket_poller.h"

#include <algorithm>

namespace nimbara {
namespace net {
namespace {

short PollEvents(int curl_events) {
  const bool in = (curl_events & CURL_POLL_IN) != 0;
  const bool out = (curl_events & CURL_POLL_OUT) != 0;
  return static_cast<short>((in ? POLLIN : 0) | (out ? POLLOUT : 0));
}

int CurlEvents(short poll_events) {
  int events = 0;
  if ((poll_events & (POLLIN | POLLHUP)) != 0) {
    events |= CURL_CSELECT_IN;
  }
  if ((poll_events & POLLOUT) != 0) {
    events |= CURL_CSELECT_OUT;
  }
  if ((poll_events & (POLLERR | POLLNVAL)) != 0) {
    events |= CURL_CSELECT_ERR;
  }
  return events;
}

// Rounded up, so that a wait never ends just before its deadline and is begun again.
int Milliseconds(Clock::time_point deadline) {
  constexpr Clock::duration kLongest = std::chrono::hours(1);
  const Clock::time_point now = Clock::now();
  if (deadline <= now) {
    return 0;
  }
  const Clock::duration left = deadline >= now + kLongest ? kLongest : deadline - now;
  return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count());
}

}  // namespace

SocketPoller::SocketPoller(int wake_fd) : sockets_{pollfd{wake_fd, POLLIN, 0}} {}

void SocketPoller::Watch(curl_socket_t socket, int curl_events) {
  const auto entry = std::find_if(sockets_.begin() + 1, sockets_.end(),
                                  [socket](const pollfd& other) { return other.fd == socket; });
  if (curl_events == CURL_POLL_REMOVE) {
    if (entry != sockets_.end()) {
      *entry = sockets_.back();
      sockets_.pop_back();
    }
  } else if (entry != sockets_.end()) {
    entry->events = PollEvents(curl_events);
  } else {
    sockets_.push_back(pollfd{socket, PollEvents(curl_events), 0});
  }
}

void SocketPoller::Wait(Clock::time_point deadline) {
  ready_.clear();
  const int count = poll(sockets_.data(), sockets_.size(), Milliseconds(deadline));
  if (count < 0) {
    sockets_.front().revents = 0;  // Interrupted: what the last wait saw no longer holds.
  }
  for (std::size_t i = 1; i < sockets_.size() && count > 0; ++i) {
    if (sockets_[i].revents != 0) {
      ready_.push_back(Ready{sockets_[i].fd, CurlEvents(sockets_[i].revents)});
    }
  }
}

}  // namespace net
}  // namespace nimbara
