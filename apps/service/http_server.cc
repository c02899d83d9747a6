// SPDX-License-Identifier: Apache-2.0
#include "apps/service/http_server.h"

#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "apps/service/connection_threads.h"

namespace pelorin {
namespace {

// The library's own backlog of 5 makes a burst of connections wait for a second.
constexpr int kBacklog = 512;
constexpr std::chrono::milliseconds kStopGrace{500};
// How soon an idle connection notices that others wait.
constexpr std::chrono::milliseconds kIdleSlice{100};

// Blocks all signals for the threads made during its life: they belong to the program around.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

// Unlike the library's choice, a second service on the same port is an error.
void SetListenerOptions(socket_t socket) {
  const int yes = 1;
  ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

bool HasBody(const httplib::Request& request) {
  return request.has_header("Transfer-Encoding") ||
         (request.has_header("Content-Length") &&
          request.get_header_value("Content-Length") != "0");
}

// Why an address could not be bound, by the system's number of the last failure.
const char* BindFault(int code) {
  switch (code) {
  case EADDRINUSE:
    return "the port is taken";
  case EACCES:
    return "the system does not give this port to this user";
  default:
    return "the address is not one of this machine";
  }
}

// What the library itself answers to input that is no request has no text of its own.
void ExplainError(const httplib::Request&, httplib::Response& answer) {
  if (!answer.body.empty() || answer.content_length_ > 0)
    return;
  const char* const text = answer.status == 414   ? "the address is too long\n"
                           : answer.status == 416 ? "the header Range makes no sense\n"
                                                  : "this is no request\n";
  answer.set_content(text, "text/plain");
}

}  // namespace

HttpServer::HttpServer(Settings settings, Answerer answerer, BodyTaker takes_body)
    : settings_(std::move(settings)), answerer_(std::move(answerer)) {
  MakeTables();
  set_tcp_nodelay(true);
  set_socket_options(&SetListenerOptions);
  set_keep_alive_timeout(settings_.keep_alive_s);
  // Every answer names this number as those still to come; there is no such limit.
  set_keep_alive_max_count(1000000);
  set_expect_100_continue_handler([](const httplib::Request&, httplib::Response&) { return 417; });
  set_error_handler(Handler(&ExplainError));
  set_pre_routing_handler([this, takes_body](const httplib::Request& request,
                                             httplib::Response& answer) {
    if (request.method == "POST" && takes_body(request.path)) {
      return HandlerResponse::Unhandled;  // The library reads the body, then calls what follows.
    }
    answerer_(request, answer);
    return HandlerResponse::Handled;
  });
  Post(".*", Handler(answerer_));
}

// The library makes its tables at the first request. Here they are made ahead of all threads, so
// that no two connections meet in the making, which a thread sanitizer would take for a race: it
// does not see into the library.
void HttpServer::MakeTables() {
  constexpr std::string_view kRequest = "GET / HTTP/1.1\r\n\r\n";
  httplib::detail::BufferStream stream;
  stream.write(kRequest.data(), kRequest.size());
  bool closed = false;
  process_request(stream, true, closed, [](httplib::Request&) {});
}

bool HttpServer::Start(std::string* error) {
  errno = 0;
  if (settings_.port == 0) {
    port_ = bind_to_any_port(settings_.host);
  } else {
    port_ = bind_to_port(settings_.host, settings_.port) ? settings_.port : -1;
  }
  if (port_ <= 0) {
    return Refuse(BindFault(errno), error);
  }
  if (::listen(svr_sock_, kBacklog) != 0)
    return Refuse("the port is taken", error);
  if (!StartThreads())
    return Refuse("the system has no thread left", error);
  return true;
}

bool HttpServer::Refuse(const char* reason, std::string* error) {
  const socket_t listener = svr_sock_.exchange(INVALID_SOCKET);
  if (listener != INVALID_SOCKET)
    ::close(listener);
  if (error != nullptr) {
    *error = "cannot listen on " + settings_.host + " port " + std::to_string(settings_.port) +
             ": " + reason;
  }
  return false;
}

bool HttpServer::StartThreads() {
  const SignalsBlocked blocked;
  std::unique_ptr<ConnectionThreads> threads;
  try {
    threads = std::make_unique<ConnectionThreads>(
        static_cast<std::size_t>(settings_.max_connections), &waiting_connections_);
    new_task_queue = [this, queue = threads.get()]() -> httplib::TaskQueue* {
      // From here on the library obeys its stop.
      const std::lock_guard<std::mutex> hold(mutex_);
      listening_ = true;
      changed_.notify_all();
      return queue;
    };
    accepting_ = std::thread([this] { listen_after_bind(); });
  } catch (const std::system_error&) {
    if (threads != nullptr)
      threads->shutdown();
    return false;
  }
  // The library deletes it when its loop has ended.
  static_cast<void>(threads.release());
  std::unique_lock<std::mutex> hold(mutex_);
  changed_.wait(hold, [this] { return listening_; });
  return true;
}

void HttpServer::Stop() {
  {
    std::unique_lock<std::mutex> hold(mutex_);
    stopping_ = true;
    changed_.notify_all();
    // Whoever waits for a request sees the end of its input; whoever writes goes on.
    for (const socket_t socket : connections_)
      ::shutdown(socket, SHUT_RD);
  }
  // Wakes the accept loop, which closes the listener itself: closed from here, its number could be
  // another file's by the time the loop looks at it again.
  ::shutdown(svr_sock_, SHUT_RDWR);
  {
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait_for(hold, kStopGrace, [this] { return connections_.empty(); });
    for (const socket_t socket : connections_)
      ::shutdown(socket, SHUT_RDWR);
  }
  accepting_.join();
}

std::size_t HttpServer::CountConnections() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return connections_.size();
}

bool HttpServer::SleepUnlessStopped(std::chrono::milliseconds time) const {
  std::unique_lock<std::mutex> hold(mutex_);
  return changed_.wait_for(hold, time, [this] { return stopping_; });
}

bool HttpServer::IsStopping() const {
  const std::lock_guard<std::mutex> hold(mutex_);
  return stopping_;
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  bool admitted;
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    admitted = !stopping_;
    if (admitted)
      connections_.insert(socket);
  }
  if (admitted) {
    SocketStream stream(socket, settings_.transfer_timeout);
    Serve(&stream);
    // Out of the list before the number can belong to another connection.
    const std::lock_guard<std::mutex> hold(mutex_);
    connections_.erase(socket);
    changed_.notify_all();
  }
  ::close(socket);
  return admitted;
}

void HttpServer::Serve(SocketStream* stream) {
  bool keep = true;
  while (keep && AwaitRequest(stream)) {
    stream->BeginRequest();
    bool understood = false;
    const auto prepare = [&](httplib::Request& request) {
      understood = true;
      request.target = stream->target();
      // An answer is given whole and as it is: cut into thousands of ranges it would grow without
      // bound, and packing costs more than a loopback saves.
      request.ranges.clear();
      request.headers.erase("Accept-Encoding");
      // A packed body could unpack to any size.
      request.headers.erase("Content-Encoding");
      if (HasBody(request)) {
        keep = false;
        request.headers.erase("Connection");
        request.set_header("Connection", "close");
      }
    };
    bool closed = false;
    const bool answered = process_request(*stream, false, closed, prepare);
    keep = stream->Flush() && answered && understood && keep && !closed && !IsStopping();
  }
  if (!stream->ended() && !IsStopping())
    stream->Linger();
}

bool HttpServer::AwaitRequest(SocketStream* stream) const {
  const auto give_up =
      std::chrono::steady_clock::now() + std::chrono::seconds(settings_.keep_alive_s);
  while (!stream->WaitForRequest(kIdleSlice)) {
    if (stream->ended() || waiting_connections_ > 0)
      return false;
    if (std::chrono::steady_clock::now() >= give_up)
      return false;
  }
  return true;
}

}  // namespace pelorin
