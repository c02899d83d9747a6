// SPDX-License-Identifier: Apache-2.0
#include "apps/service/socket_stream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace pelorin {
namespace {

constexpr std::size_t kHeldBackBytes = 16 * 1024;
constexpr std::size_t kLingerBytes = 1 << 20;
constexpr std::chrono::milliseconds kLingerTime{300};

// True if `events` or the end of the connection came before the deadline.
bool Await(socket_t socket, short events, std::chrono::steady_clock::time_point deadline) {
  while (true) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const auto wait = std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 1 << 30);
    pollfd entry{socket, events, 0};
    const int ready = ::poll(&entry, 1, static_cast<int>(wait));
    if (ready > 0)
      return true;
    if (ready == 0 || errno != EINTR)
      return false;
  }
}

bool MustWait(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

SocketStream::SocketStream(socket_t socket, std::chrono::milliseconds timeout)
    : socket_(socket), timeout_(timeout) {}

bool SocketStream::WaitForRequest(std::chrono::milliseconds time) {
  return input_begin_ < input_end_ || Fill(Clock::now() + time);
}

void SocketStream::BeginRequest() {
  request_deadline_ = Clock::now() + timeout_;
  request_bytes_left_ = kMaxRequestBytes;
  request_line_.clear();
  in_request_line_ = true;
  has_query_ = false;
  escape_ = "";
}

std::string SocketStream::target() const {
  const std::size_t from = request_line_.find(' ');
  const std::size_t to = request_line_.find(' ', from + 1);
  return from == std::string::npos || to == std::string::npos
             ? std::string()
             : request_line_.substr(from + 1, to - from - 1);
}

// Only called with an empty input buffer.
bool SocketStream::Fill(Clock::time_point deadline) {
  if (ended_)
    return false;
  while (true) {
    const ssize_t got = ::recv(socket_, input_, sizeof input_, MSG_DONTWAIT);
    if (got > 0) {
      input_begin_ = 0;
      input_end_ = static_cast<std::size_t>(got);
      return true;
    }
    if (got < 0 && errno == EINTR)
      continue;
    if (got < 0 && MustWait(errno)) {
      if (!Await(socket_, POLLIN, deadline))
        return false;
      continue;
    }
    ended_ = true;
    return false;
  }
}

// One byte, as the library asks for them while it looks for the end of a line.
std::size_t SocketStream::ReadRequestLine(char* data) {
  const char c = input_[input_begin_++];
  --request_bytes_left_;
  request_line_.push_back(c);
  in_request_line_ = c != '\n';
  const bool escape = c == '?' && has_query_;
  has_query_ = has_query_ || c == '?';
  escape_ = escape ? "3F" : "";
  *data = escape ? '%' : c;
  return 1;
}

ssize_t SocketStream::read(char* data, size_t size) {
  if (*escape_ != '\0' && size > 0) {
    *data = *escape_++;
    return 1;
  }
  if (request_bytes_left_ == 0)
    return -1;
  if (input_begin_ == input_end_ && !Fill(request_deadline_))
    return ended_ ? 0 : -1;
  if (in_request_line_ && size > 0)
    return static_cast<ssize_t>(ReadRequestLine(data));
  const std::size_t count = std::min({size, input_end_ - input_begin_, request_bytes_left_});
  std::memcpy(data, input_ + input_begin_, count);
  input_begin_ += count;
  request_bytes_left_ -= count;
  return static_cast<ssize_t>(count);
}

bool SocketStream::SendAll(const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = ::send(socket_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent > 0) {
      data += sent;
      size -= static_cast<std::size_t>(sent);
    } else if (sent < 0 && MustWait(errno)) {
      if (!Await(socket_, POLLOUT, Clock::now() + timeout_))
        return false;
    } else if (sent == 0 || errno != EINTR) {
      ended_ = true;
      return false;
    }
  }
  return true;
}

bool SocketStream::Flush() {
  const bool sent = SendAll(output_.data(), output_.size());
  output_.clear();
  return sent;
}

ssize_t SocketStream::write(const char* data, size_t size) {
  if (output_.size() + size > kHeldBackBytes) {
    if (!Flush() || !SendAll(data, size))
      return -1;
  } else {
    output_.append(data, size);
  }
  return static_cast<ssize_t>(size);
}

bool SocketStream::is_readable() const {
  return !ended_;
}

bool SocketStream::is_writable() const {
  // The library asks this of a const stream before it waits for content, which is when all that is
  // held back has to be on its way.
  if (!const_cast<SocketStream*>(this)->Flush())
    return false;
  pollfd entry{socket_, POLLRDHUP, 0};
  return !ended_ && ::poll(&entry, 1, 0) == 0;
}

void SocketStream::Linger() {
  ::shutdown(socket_, SHUT_WR);
  const Clock::time_point deadline = Clock::now() + kLingerTime;
  for (std::size_t count = 0; count < kLingerBytes && Fill(deadline);) {
    count += input_end_ - input_begin_;
    input_begin_ = input_end_ = 0;
  }
}

void SocketStream::get_remote_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = 0;
}

void SocketStream::get_local_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = 0;
}

}  // namespace pelorin
