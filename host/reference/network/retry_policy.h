// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace net {

/// When an answer is asked for again. Delays in seconds, none negative.
struct RetryPolicy {
  int max_retries = 0;
  double base_delay_s = 0.0;
  double max_delay_s = 0.0;
  double retry_after_limit_s = 0.0;

  /// Whether an attempt that ended with `status` is followed by another, `retries` having been made
  /// already.
  bool Retries(int status, int retries) const;

  /// Seconds to wait before the next attempt, `retries` having been made already. `retry_after_s`
  /// is the server's wish, 0 or less for none: it is honoured up to the limit. Otherwise the base
  /// delay doubled for each retry made, up to the maximum, of which `draw` in [0, 1) picks a point
  /// in the upper half.
  double DelaySeconds(int retries, double retry_after_s, double draw) const;
};

}  // namespace net
}  // namespace nimbara
