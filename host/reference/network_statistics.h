// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"

namespace nimbara {
namespace net {

/// What the reference host's network layer has done since it was loaded. Counters only grow; use
/// the difference of two readings. While nothing runs, `started` = `succeeded` + `failed` +
/// `cancelled`.
struct NetworkStatistics {
  std::uint64_t started = 0;         ///< Requests for which `fetch` gave a result.
  std::uint64_t succeeded = 0;       ///< Ended with `Fetcher::kSucceeded`.
  std::uint64_t failed = 0;          ///< Ended with any other status but `Fetcher::kCancelled`.
  std::uint64_t cancelled = 0;       ///< Given up before they ended, by `cancel` or by a shut-down.
  std::uint64_t retried = 0;         ///< Further attempts after a 429 or 503.
  std::uint64_t bytes_received = 0;  ///< Bytes of bodies after decompression, of all attempts.
  std::uint64_t connections_opened = 0;  ///< New connections made by attempts that ended.
};

/// A reading of the counters. Each is a value that it had; they are read one after the other. A
/// request is counted as ended before its completion runs. Safe from any thread.
PELORIN_HOST_EXPORT NetworkStatistics GetNetworkStatistics();

}  // namespace net
}  // namespace nimbara
