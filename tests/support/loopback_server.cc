// SPDX-License-Identifier: Apache-2.0
#include "tests/support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

namespace nimbara {
namespace testing_support {
namespace {

constexpr int kPatienceMs = 20000;

int ListenOnFreePort(int* port) {
  const int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (bind(socket_fd, plain, size) != 0 || listen(socket_fd, 128) != 0 ||
      getsockname(socket_fd, plain, &size) != 0) {
    std::abort();  // Without a port of its own the test can show nothing.
  }
  *port = ntohs(address.sin_port);
  return socket_fd;
}

}  // namespace

std::string LoopbackServer::Request::Header(const std::string& name) const {
  std::string lower = head;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const std::size_t at = lower.find("\r\n" + name + ":");
  if (at == std::string::npos) {
    return "";
  }
  const std::size_t colon = head.find(':', at);
  const std::size_t begin = head.find_first_not_of(' ', colon + 1);
  return head.substr(begin, head.find("\r\n", begin) - begin);
}

void LoopbackServer::Answer::Reply(int status, const std::string& body,
                                   const std::string& headers) {
  Send("HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Length: " +
       std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body);
}

void LoopbackServer::Answer::Send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size() && !closed_) {
    const ssize_t count = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    closed_ = count <= 0;
    sent += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

void LoopbackServer::Answer::Close() {
  shutdown(socket_, SHUT_WR);
  closed_ = true;
}

void LoopbackServer::Answer::Reset() {
  const linger at_once{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  closed_ = true;
}

void LoopbackServer::Answer::Stall() {
  char byte;
  // Ends with the client's going, or with the shut-down of the socket by the stopping server.
  while (recv(socket_, &byte, 1, 0) > 0) {
  }
  closed_ = true;
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
  listener_ = ListenOnFreePort(&port_);
  acceptor_ = std::thread([this] { Accept(); });
}

LoopbackServer::~LoopbackServer() {
  {
    std::lock_guard<std::mutex> hold(mutex_);
    stopping_ = true;
    for (const int socket_fd : sockets_) {
      shutdown(socket_fd, SHUT_RDWR);
    }
  }
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  close(listener_);
  for (std::thread& server : servers_) {  // Nobody adds to them any more.
    server.join();
  }
}

std::string LoopbackServer::Url(const std::string& target) const {
  return "http://127.0.0.1:" + std::to_string(port_) + target;
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return requests_;
}

int LoopbackServer::connections() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return connections_;
}

bool LoopbackServer::AwaitRequests(std::size_t count) const {
  std::unique_lock<std::mutex> hold(mutex_);
  return changed_.wait_for(hold, std::chrono::milliseconds(kPatienceMs),
                           [&] { return requests_.size() >= count; });
}

void LoopbackServer::Accept() {
  for (;;) {
    const int socket_fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    std::lock_guard<std::mutex> hold(mutex_);
    if (stopping_ || socket_fd < 0) {
      if (socket_fd >= 0) {
        close(socket_fd);
      }
      return;
    }
    const int no_delay = 1;
    setsockopt(socket_fd, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
    sockets_.push_back(socket_fd);
    const int number = ++connections_;
    servers_.emplace_back([this, socket_fd, number] { Serve(socket_fd, number); });
  }
}

void LoopbackServer::Serve(int socket_fd, int number) {
  Answer answer(socket_fd);
  std::string pending;
  Request request;
  while (!answer.closed_ && ReadHead(socket_fd, &pending, &request.head)) {
    const std::size_t first = request.head.find(' ');
    request.method = request.head.substr(0, first);
    request.target = request.head.substr(first + 1, request.head.find(' ', first + 1) - first - 1);
    request.connection = number;
    request.arrived = std::chrono::steady_clock::now();
    {
      std::lock_guard<std::mutex> hold(mutex_);
      requests_.push_back(request);
    }
    changed_.notify_all();
    handler_(request, answer);
  }
  CloseSocket(socket_fd);
}

bool LoopbackServer::ReadHead(int socket_fd, std::string* pending, std::string* head) {
  std::size_t end;
  while ((end = pending->find("\r\n\r\n")) == std::string::npos) {
    char bytes[4096];
    const ssize_t count = recv(socket_fd, bytes, sizeof bytes, 0);
    if (count <= 0) {
      return false;
    }
    pending->append(bytes, static_cast<std::size_t>(count));
  }
  *head = pending->substr(0, end + 4);
  pending->erase(0, end + 4);
  return true;
}

void LoopbackServer::CloseSocket(int socket_fd) {
  std::lock_guard<std::mutex> hold(mutex_);
  sockets_.erase(std::find(sockets_.begin(), sockets_.end(), socket_fd));
  close(socket_fd);
}

int FreePort() {
  int port = 0;
  close(ListenOnFreePort(&port));
  return port;
}

}  // namespace testing_support
}  // namespace nimbara
