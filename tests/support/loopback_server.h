// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace nimbara {
namespace testing_support {

/// A small HTTP/1.1 server on a free port of 127.0.0.1 that a test scripts down to the byte, so
/// that it can also truncate, stall, reset and lie. One thread for each connection; connections are
/// kept open until the handler or the client closes them. Bodies of requests are not read.
class LoopbackServer {
 public:
  struct Request {
    std::string method;
    std::string target;  ///< Path and query.
    std::string head;    ///< Request line and all header lines, as they came.
    int connection = 0;  ///< Number of the connection, from 1.
    std::chrono::steady_clock::time_point arrived;

    /// The value of the header `name` (lower case), or "" without it.
    std::string Header(const std::string& name) const;
  };

  /// The way back to the client, on the connection's thread.
  class Answer {
   public:
    /// A complete answer. `headers` are lines with their line ends.
    void Reply(int status, const std::string& body, const std::string& headers = "");
    /// Bytes as they are.
    void Send(const std::string& bytes);
    /// Ends the connection in order behind what was sent.
    void Close();
    /// Breaks the connection, so that the client sees a reset.
    void Reset();
    /// Sends nothing more until the client goes away or the server stops.
    void Stall();

   private:
    friend class LoopbackServer;
    explicit Answer(int socket) : socket_(socket) {}
    int socket_;
    bool closed_ = false;
  };

  /// Called for each request, on the thread of its connection.
  using Handler = std::function<void(const Request& request, Answer& answer)>;

  explicit LoopbackServer(Handler handler);
  /// Breaks all connections and waits for the handlers that run.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  /// "http://127.0.0.1:port" and `target`.
  std::string Url(const std::string& target) const;

  /// What came so far, in order of arrival.
  std::vector<Request> requests() const;
  int connections() const;
  /// Waits until at least `count` requests have come; false after 20 s.
  bool AwaitRequests(std::size_t count) const;

 private:
  void Accept();
  void Serve(int socket, int number);
  bool ReadHead(int socket, std::string* pending, std::string* head);
  void CloseSocket(int socket);

  const Handler handler_;
  int listener_ = -1;
  int port_ = 0;
  std::thread acceptor_;

  mutable std::mutex mutex_;  // Guards the members below.
  mutable std::condition_variable changed_;
  std::vector<Request> requests_;
  std::list<std::thread> servers_;
  std::vector<int> sockets_;  // Open ones.
  int connections_ = 0;
  bool stopping_ = false;
};

/// A port of 127.0.0.1 on which nobody listens at the moment.
int FreePort();

}  // namespace testing_support
}  // namespace nimbara
