// SPDX-License-Identifier: Apache-2.0
// Loopback requests per second: the host's Fetcher beside bare libcurl, against one server in one
// run. The server answers each request with the same 600 bytes on a connection that it keeps; it
// runs in a process of its own, so that all clients meet the same one.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "host/network.h"
#include "host/reference/network_options.h"

namespace {

using nimbara::RefPtr;
using nimbara::net::Fetcher;

constexpr std::size_t kBodyBytes = 600;

std::string AnswerText() {
  return "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: " +
         std::to_string(kBodyBytes) + "\r\n\r\n" + std::string(kBodyBytes, 'x');
}

// One request at a time on each connection, as clients without pipelining send them.
[[noreturn]] void Serve(int listener) {
  const std::string answer = AnswerText();
  const int poll_set = epoll_create1(0);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = listener;
  epoll_ctl(poll_set, EPOLL_CTL_ADD, listener, &event);
  for (;;) {
    epoll_event ready[64];
    const int count = epoll_wait(poll_set, ready, 64, -1);
    for (int i = 0; i < count; ++i) {
      const int socket_fd = ready[i].data.fd;
      if (socket_fd == listener) {
        event.data.fd = accept(listener, nullptr, nullptr);
        const int no_delay = 1;
        setsockopt(event.data.fd, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
        epoll_ctl(poll_set, EPOLL_CTL_ADD, event.data.fd, &event);
        continue;
      }
      char bytes[4096];
      if (recv(socket_fd, bytes, sizeof bytes, 0) <= 0) {
        close(socket_fd);
      } else {
        send(socket_fd, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
    }
  }
}

// Forked before any thread is made; dies with this process.
std::string StartServer() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(listener, reinterpret_cast<sockaddr*>(&address), size);
  listen(listener, 128);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  if (fork() == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    Serve(listener);
  }
  close(listener);
  return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) +
         "/plk?output=xml&panoid=abc";
}

const std::string g_url = StartServer();

std::size_t AppendBody(char* bytes, std::size_t, std::size_t size, void* body) {
  static_cast<std::string*>(body)->append(bytes, size);
  return size;
}

struct Slot {
  CURL* easy = curl_easy_init();
  std::string body;
};

void Prepare(Slot* slot) {
  curl_easy_setopt(slot->easy, CURLOPT_URL, g_url.c_str());
  curl_easy_setopt(slot->easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(slot->easy, CURLOPT_WRITEFUNCTION, &AppendBody);
  curl_easy_setopt(slot->easy, CURLOPT_WRITEDATA, &slot->body);
  curl_easy_setopt(slot->easy, CURLOPT_PRIVATE, slot);
  curl_easy_setopt(slot->easy, CURLOPT_NOSIGNAL, 1L);
}

// One handle, one request after the other.
void BareEasy(benchmark::State& state) {
  Slot slot;
  Prepare(&slot);
  for (auto _ : state) {
    slot.body.clear();
    if (curl_easy_perform(slot.easy) != CURLE_OK || slot.body.size() != kBodyBytes) {
      state.SkipWithError("request failed");
      break;
    }
  }
  curl_easy_cleanup(slot.easy);
  state.SetItemsProcessed(state.iterations());
}

constexpr int kBatch = 1000;

// `kBatch` requests, at most `width` at one time, each over a handle that is used again.
bool RunBareMulti(CURLM* multi, std::vector<Slot>* slots) {
  int left_to_start = kBatch;
  int left_to_end = kBatch;
  for (Slot& slot : *slots) {
    curl_multi_add_handle(multi, slot.easy);
    --left_to_start;
  }
  while (left_to_end > 0) {
    int running = 0;
    curl_multi_perform(multi, &running);
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &queued)) {
      Slot* slot = nullptr;
      curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &slot);
      if (message->data.result != CURLE_OK || slot->body.size() != kBodyBytes) {
        return false;
      }
      slot->body.clear();
      curl_multi_remove_handle(multi, slot->easy);
      --left_to_end;
      if (left_to_start > 0) {
        curl_multi_add_handle(multi, slot->easy);
        --left_to_start;
      }
    }
    if (left_to_end > 0) {
      curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
  }
  return true;
}

void BareMulti(benchmark::State& state) {
  CURLM* multi = curl_multi_init();
  std::vector<Slot> slots(static_cast<std::size_t>(state.range(0)));
  for (Slot& slot : slots) {
    Prepare(&slot);
  }
  for (auto _ : state) {
    if (!RunBareMulti(multi, &slots)) {
      state.SkipWithError("request failed");
      break;
    }
  }
  for (Slot& slot : slots) {
    curl_easy_cleanup(slot.easy);
  }
  curl_multi_cleanup(multi);
  state.SetItemsProcessed(state.iterations() * kBatch);
}

struct Waiter {
  std::mutex mutex;
  std::condition_variable changed;
  int left_to_start = 0;  // Guarded by `mutex`, as the next two.
  int left_to_end = 0;
  bool failed = false;

  static Fetcher::FetchParams Params(Waiter* self) {
    Fetcher::FetchParams params;
    params.url = QString::fromStdString(g_url);
    params.completion = &Waiter::Finished;
    params.user_data = self;
    return params;
  }

  static void Finished(Fetcher& fetcher) {
    auto* self = static_cast<Waiter*>(fetcher.user_data());
    const bool good = fetcher.status() == Fetcher::kSucceeded &&
                      fetcher.body().size() == static_cast<int>(kBodyBytes);
    bool start = false;
    {
      std::lock_guard<std::mutex> hold(self->mutex);
      self->failed |= !good;
      start = self->left_to_start > 0;
      self->left_to_start -= start ? 1 : 0;
      if (--self->left_to_end == 0) {
        self->changed.notify_all();
      }
    }
    if (start) {
      Fetcher::fetch(Params(self), nullptr);
    }
  }

  bool Await() {
    std::unique_lock<std::mutex> hold(mutex);
    changed.wait(hold, [this] { return left_to_end == 0; });
    return !failed;
  }
};

void AllowConnections(int count) {
  nimbara::net::NetworkOptions options;
  options.max_connections = count;
  options.max_connections_per_server = count;
  nimbara::net::SetNetworkOptions(options);
}

// A caller that waits for each answer before it asks again: two hand-overs between threads each.
void FetcherOneByOne(benchmark::State& state) {
  AllowConnections(1);
  Waiter waiter;
  for (auto _ : state) {
    waiter.left_to_end = 1;
    Fetcher::fetch(Waiter::Params(&waiter), nullptr);
    if (!waiter.Await()) {
      state.SkipWithError("request failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// Completions start the next requests, as a walk with prefetch does.
void FetcherChained(benchmark::State& state) {
  const int width = static_cast<int>(state.range(0));
  AllowConnections(width);
  Waiter waiter;
  for (auto _ : state) {
    waiter.left_to_start = kBatch - width;
    waiter.left_to_end = kBatch;
    for (int i = 0; i < width; ++i) {
      Fetcher::fetch(Waiter::Params(&waiter), nullptr);
    }
    if (!waiter.Await()) {
      state.SkipWithError("request failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

// All requests are started at once by another thread and wait for their turn.
void FetcherQueued(benchmark::State& state) {
  AllowConnections(static_cast<int>(state.range(0)));
  Waiter waiter;
  for (auto _ : state) {
    waiter.left_to_end = kBatch;
    for (int i = 0; i < kBatch; ++i) {
      Fetcher::fetch(Waiter::Params(&waiter), nullptr);
    }
    if (!waiter.Await()) {
      state.SkipWithError("request failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

BENCHMARK(BareEasy)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(FetcherOneByOne)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BareMulti)->Arg(1)->Arg(6)->Arg(32)->MeasureProcessCPUTime()->UseRealTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(FetcherChained)
    ->Arg(1)
    ->Arg(6)
    ->Arg(32)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(FetcherQueued)
    ->Arg(1)
    ->Arg(6)
    ->Arg(32)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
