// SPDX-License-Identifier: Apache-2.0
// A library as a viewer would load and unload it: it starts requests and takes the reference host
// with it when it goes. Its functions are found by name.
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "host/network.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"

#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using nimbara::RefPtr;
using nimbara::net::Fetcher;

// Requests with a completion in this library; they are cancelled before its code goes.
class Requests {
 public:
  Requests() {
    if (const char* url = std::getenv("NETWORK_PLUGIN_START_AT_LOAD")) {
      Start(url, true);
    }
  }
  ~Requests() {
    for (const RefPtr<Fetcher>& fetcher : fetchers_) {
      fetcher->cancel();
    }
  }

  void Start(const char* url, bool awaited) {
    Fetcher::FetchParams params;
    params.url = url;
    params.user_data = this;
    params.completion = awaited ? &Requests::Finished : nullptr;
    RefPtr<Fetcher> fetcher = Fetcher::fetch(params, nullptr);
    if (fetcher && awaited) {
      fetchers_.push_back(std::move(fetcher));
    }
  }

  int completed() const { return completed_; }

 private:
  static void Finished(Fetcher& fetcher) {
    ++static_cast<Requests*>(fetcher.user_data())->completed_;
  }

  std::vector<RefPtr<Fetcher>> fetchers_;
  std::atomic<int> completed_{0};
};

Requests g_requests;

}  // namespace

/// Starts `count` requests; those that are not awaited have no completion and are never cancelled.
PLUGIN_EXPORT void PluginStart(const char* url, int count, int awaited) {
  for (int i = 0; i < count; ++i) {
    g_requests.Start(url, awaited != 0);
  }
}

PLUGIN_EXPORT int PluginCompleted() {
  return g_requests.completed();
}

PLUGIN_EXPORT void PluginShutDown() {
  nimbara::net::ShutDownNetwork();
}

PLUGIN_EXPORT void PluginSetLinger(double seconds) {
  nimbara::net::NetworkOptions options;
  options.idle_linger_s = seconds;
  nimbara::net::SetNetworkOptions(options);
}

/// A request whose completion ends the process with `code`.
PLUGIN_EXPORT void PluginExitFromCompletion(const char* url, long code) {
  Fetcher::FetchParams params;
  params.url = url;
  params.user_data = reinterpret_cast<void*>(code);
  params.completion = [](Fetcher& fetcher) {
    std::exit(static_cast<int>(reinterpret_cast<long>(fetcher.user_data())));
  };
  Fetcher::fetch(params, nullptr);
}

/// A request whose completion never returns; comes back when it has begun.
PLUGIN_EXPORT void PluginHangInCompletion(const char* url) {
  static std::atomic<bool> begun{false};
  Fetcher::FetchParams params;
  params.url = url;
  params.completion = [](Fetcher&) {
    begun = true;
    for (;;) {
      std::this_thread::sleep_for(std::chrono::hours(1));
    }
  };
  Fetcher::fetch(params, nullptr);
  while (!begun) {
    std::this_thread::yield();
  }
}
