// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace nimbara {
namespace net {

/// The counters behind `NetworkStatistics`, one for the process.
struct Counters {
  std::atomic<std::uint64_t> started{0};
  std::atomic<std::uint64_t> succeeded{0};
  std::atomic<std::uint64_t> failed{0};
  std::atomic<std::uint64_t> cancelled{0};
  std::atomic<std::uint64_t> retried{0};
  std::atomic<std::uint64_t> bytes_received{0};
  std::atomic<std::uint64_t> connections_opened{0};
};

// Constant-initialised and trivially destroyed: it serves every static initialiser and destructor.
extern Counters g_counters;

inline void Count(std::atomic<std::uint64_t>& counter, std::uint64_t amount = 1) {
  counter.fetch_add(amount, std::memory_order_relaxed);
}

}  // namespace net
}  // namespace nimbara
