// SPDX-License-Identifier: Apache-2.0
#include "host/reference/network/pacing.h"

#include <cmath>

namespace nimbara {
namespace net {

Clock::duration ToDuration(double seconds, double limit_s) {
  if (!(seconds > 0.0)) {
    return Clock::duration::zero();
  }
  const std::chrono::duration<double> exact(std::fmin(seconds, limit_s));
  return std::chrono::ceil<Clock::duration>(exact);
}

Clock::time_point PacingGate::Earliest(Clock::duration interval) const {
  return used_ ? last_start_ + interval : Clock::time_point::min();
}

void PacingGate::Started(Clock::time_point now, Clock::duration interval) {
  used_ = true;
  last_start_ = now;
  open_from_ = now + interval;
}

}  // namespace net
}  // namespace nimbara
