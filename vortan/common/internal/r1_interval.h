// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vortan {

/// A closed interval of the real line. A plain value; each use states its unit. An end that is
/// not-a-number makes no interval empty.
struct R1Interval {
  double low = 0.0;
  double high = 0.0;

  bool is_empty() const { return low > high; }

  friend bool operator==(const R1Interval& a, const R1Interval& b) {
    return a.low == b.low && a.high == b.high;
  }
  friend bool operator!=(const R1Interval& a, const R1Interval& b) { return !(a == b); }
};

}  // namespace vortan
