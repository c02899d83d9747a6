// SPDX-License-Identifier: Apache-2.0
#include "host/reference/network_statistics.h"

#include "network/counters.h"

namespace nimbara {
namespace net {

Counters g_counters;

NetworkStatistics GetNetworkStatistics() {
  const auto read = [](const std::atomic<std::uint64_t>& counter) {
    return counter.load(std::memory_order_relaxed);
  };
  NetworkStatistics statistics;
  statistics.started = read(g_counters.started);
  statistics.succeeded = read(g_counters.succeeded);
  statistics.failed = read(g_counters.failed);
  statistics.cancelled = read(g_counters.cancelled);
  statistics.retried = read(g_counters.retried);
  statistics.bytes_received = read(g_counters.bytes_received);
  statistics.connections_opened = read(g_counters.connections_opened);
  return statistics;
}

}  // namespace net
}  // namespace nimbara
