// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace nimbara {
namespace net {

using Clock = std::chrono::steady_clock;

/// `seconds` as a duration of the clock, rounded up; not-a-number and negative values give zero,
/// anything above `limit_s` gives `limit_s`.
Clock::duration ToDuration(double seconds, double limit_s);

/// The longest pacing interval that is kept, in seconds.
constexpr double kMaxPacingIntervalS = 3600.0;

/// When the next paced request to one server may start. Only paced requests count: those without an
/// interval neither wait nor make others wait, so they cannot starve them. Not synchronised.
class PacingGate {
 public:
  /// The earliest start of a request that carries `interval`, which is above zero.
  Clock::time_point Earliest(Clock::duration interval) const;

  /// Notes that a request that carries `interval` has started at `now`.
  void Started(Clock::time_point now, Clock::duration interval);

  /// The time from which on the gate has no more to say to requests of the interval seen last.
  Clock::time_point OpenFrom() const { return open_from_; }

 private:
  bool used_ = false;
  Clock::time_point last_start_{};
  Clock::time_point open_from_{};
};

}  // namespace net
}  // namespace nimbara
