// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "apps/service/socket_stream.h"

namespace pelorin {

/// The HTTP library's server with what a service needs beyond it: every connection is known, so
/// that a stop can end it at any moment; requests are bounded in size and time; idle connections
/// give way when new ones wait; no answer is given in ranges or compressed.
///
/// Owned by its maker, who calls `Start` at most once and then `Stop` before the destructor.
class HttpServer : private httplib::Server {
 public:
  struct Settings {
    std::string host;
    int port = 0;  ///< 0 picks one.
    int max_connections = 0;
    int keep_alive_s = 0;
    std::chrono::milliseconds transfer_timeout{0};
  };
  /// Makes the answer to one request of any method and path. Runs on the connection's thread, on
  /// many threads at a time. Its target is the address as it came. A request's body is read only
  /// for a POST to a path that takes one.
  using Answerer = std::function<void(const httplib::Request& request, httplib::Response& answer)>;
  using BodyTaker = bool (*)(const std::string& path);

  HttpServer(Settings settings, Answerer answerer, BodyTaker takes_body);
  ~HttpServer() override = default;

  /// False, with one line in `error` (can be null), if the address cannot be listened on.
  bool Start(std::string* error);
  /// Lets the answers under way leave, for at most half a second, then closes every connection and
  /// returns when all threads have ended. Once, after a successful `Start`.
  void Stop();

  int port() const { return port_; }
  std::size_t CountConnections() const;
  /// Waits out `time`, or for `Stop`. True if the server is stopping.
  bool SleepUnlessStopped(std::chrono::milliseconds time) const;

 private:
  void MakeTables();
  bool Refuse(const char* reason, std::string* error);
  bool StartThreads();
  bool process_and_close_socket(socket_t socket) override;
  void Serve(SocketStream* stream);
  bool AwaitRequest(SocketStream* stream) const;
  bool IsStopping() const;

  const Settings settings_;
  const Answerer answerer_;
  int port_ = 0;
  std::thread accepting_;
  std::atomic<int> waiting_connections_{0};

  mutable std::mutex mutex_;  // Guards everything below; a leaf.
  mutable std::condition_variable changed_;
  std::set<socket_t> connections_;
  bool listening_ = false;
  bool stopping_ = false;
};

}  // namespace pelorin
