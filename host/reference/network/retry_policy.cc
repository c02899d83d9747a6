// SPDX-License-Identifier: Apache-2.0
#include "host/reference/network/retry_policy.h"

#include <cmath>

namespace nimbara {
namespace net {

bool RetryPolicy::Retries(int status, int retries) const {
  return (status == 429 || status == 503) && retries < max_retries;
}

double RetryPolicy::DelaySeconds(int retries, double retry_after_s, double draw) const {
  if (retry_after_s > 0.0) {
    return std::fmin(retry_after_s, retry_after_limit_s);
  }
  const double delay = std::fmin(std::ldexp(base_delay_s, retries), max_delay_s);
  return delay * (0.5 + 0.5 * draw);
}

}  // namespace net
}  // namespace nimbara
