// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace pelorin {
namespace command {

/// How what belongs to the stops of a walk is asked for, once the walk is known.
namespace stop_requests {

/// Requests under way at a time.
constexpr std::size_t kAtATime = 6;
/// As many tries as for a panorama: with one answer in three lost, one thing in 6561 is missed.
constexpr int kTries = 8;
/// Between two looks at what is under way.
constexpr std::chrono::milliseconds kLook{1};

}  // namespace stop_requests
}  // namespace command
}  // namespace pelorin
