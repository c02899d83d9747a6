// SPDX-License-Identifier: Apache-2.0
#include "host/reference/network_options.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "network/shared_options.h"

namespace nimbara {
namespace net {
namespace {

using Options = std::shared_ptr<const NetworkOptions>;

// Trivially destroyed, so that static destructors which run behind this library's may still ask.
std::mutex g_options_mutex;  // Guards `g_options_gone` and what `CurrentLocked` returns.
bool g_options_gone = false;

struct OptionsHolder {
  Options options = std::make_shared<NetworkOptions>();
  ~OptionsHolder() {
    std::lock_guard<std::mutex> hold(g_options_mutex);
    g_options_gone = true;
  }
};

// Null once the library is being left.
Options* CurrentLocked() {
  static OptionsHolder holder;
  return g_options_gone ? nullptr : &holder.options;
}

double Ranged(double value, double low, double high, double standard) {
  return std::isnan(value) ? standard : std::clamp(value, low, high);
}

NetworkOptions Ranged(const NetworkOptions& wanted) {
  constexpr double kDay = 86400.0;
  constexpr double kHour = 3600.0;
  const NetworkOptions standard;
  NetworkOptions options = wanted;
  options.connect_timeout_s =
      Ranged(wanted.connect_timeout_s, 0.001, kDay, standard.connect_timeout_s);
  options.total_timeout_s = Ranged(wanted.total_timeout_s, 0.001, kDay, standard.total_timeout_s);
  options.stall_timeout_s = std::clamp(wanted.stall_timeout_s, 1, 86400);
  options.max_body_bytes = std::clamp(wanted.max_body_bytes, std::uint64_t{1}, kLargestBodyBytes);
  options.max_header_bytes =
      std::clamp(wanted.max_header_bytes, std::uint64_t{1} << 10, std::uint64_t{16} << 20);
  options.max_redirects = std::clamp(wanted.max_redirects, 0, 50);
  options.max_connections = std::clamp(wanted.max_connections, 1, 1024);
  options.max_connections_per_server = std::clamp(wanted.max_connections_per_server, 1, 1024);
  options.max_retries = std::clamp(wanted.max_retries, 0, 100);
  options.retry_base_delay_s =
      Ranged(wanted.retry_base_delay_s, 0.0, kHour, standard.retry_base_delay_s);
  options.retry_max_delay_s =
      Ranged(wanted.retry_max_delay_s, 0.0, kHour, standard.retry_max_delay_s);
  options.retry_after_limit_s =
      Ranged(wanted.retry_after_limit_s, 0.0, kHour, standard.retry_after_limit_s);
  options.idle_linger_s = Ranged(wanted.idle_linger_s, 0.0, kHour, standard.idle_linger_s);
  return options;
}

}  // namespace

void SetNetworkOptions(const NetworkOptions& options) {
  Options fresh = std::make_shared<const NetworkOptions>(Ranged(options));
  std::lock_guard<std::mutex> hold(g_options_mutex);
  if (Options* current = CurrentLocked()) {
    current->swap(fresh);
  }
}

NetworkOptions GetNetworkOptions() {
  return *CurrentOptions();
}

Options CurrentOptions() {
  std::lock_guard<std::mutex> hold(g_options_mutex);
  const Options* current = CurrentLocked();
  return current != nullptr ? *current : std::make_shared<const NetworkOptions>();
}

}  // namespace net
}  // namespace nimbara
