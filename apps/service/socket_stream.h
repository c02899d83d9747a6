// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace pelorin {

/// One accepted connection as the HTTP library reads and writes it, with the bounds that the
/// library lacks: a request has a time in which to arrive and a size, and output that is small goes
/// out in one piece.
///
/// Owned by the thread that serves the connection and used by it alone. The socket is the caller's,
/// who can end every wait at any moment by shutting the socket down from another thread.
class SocketStream : public httplib::Stream {
 public:
  /// Bytes of request line, headers and body together.
  static constexpr std::size_t kMaxRequestBytes = 64 * 1024;

  /// `timeout` is the time for a request to arrive and for the peer to take further bytes.
  SocketStream(socket_t socket, std::chrono::milliseconds timeout);

  /// Waits for the first byte of a request, at most for `time`. False if none came: see `ended`.
  bool WaitForRequest(std::chrono::milliseconds time);
  /// True once the peer has closed its side or the connection has failed.
  bool ended() const { return ended_; }
  /// Starts the clock and the count of one request.
  void BeginRequest();
  /// Sends what is held back. False if the peer cannot be reached or takes nothing.
  bool Flush();
  /// Announces the end to the peer and reads off, for a short while, what it has still sent:
  /// closing at once would let the system discard the last answer.
  void Linger();

  /// The address in the first line of the request, as it came.
  std::string target() const;

  /// 1 or more bytes, 0 at the end, -1 on failure, timeout and excess. In the address of a request
  /// every question mark behind the first one is given as "%3F": both mean the same there, and the
  /// library takes no bare one.
  ssize_t read(char* data, size_t size) override;
  /// `size`, or -1 on failure and timeout.
  ssize_t write(const char* data, size_t size) override;
  bool is_readable() const override;
  /// Sends what is held back; false if that fails or the peer has gone.
  bool is_writable() const override;
  /// Empty and 0: nobody asks, and it would cost two system calls for each request.
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool Fill(Clock::time_point deadline);
  std::size_t ReadRequestLine(char* data);
  bool SendAll(const char* data, std::size_t size);

  const socket_t socket_;
  const std::chrono::milliseconds timeout_;
  char input_[8192];
  std::size_t input_begin_ = 0;
  std::size_t input_end_ = 0;
  std::size_t request_bytes_left_ = kMaxRequestBytes;
  Clock::time_point request_deadline_;
  std::string request_line_;  // What has come of it.
  bool in_request_line_ = false;
  bool has_query_ = false;
  const char* escape_ = "";  // What is left to give of a "%3F".
  std::string output_;       // Held back, to leave together with what follows.
  bool ended_ = false;
};

}  // namespace pelorin
