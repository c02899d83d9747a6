// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace ostrand {

/// A point in the plane. A plain value; each use states its unit.
template <typename T>
struct Point2 {
  T x{};
  T y{};

  friend bool operator==(const Point2& a, const Point2& b) { return a.x == b.x && a.y == b.y; }
  friend bool operator!=(const Point2& a, const Point2& b) { return !(a == b); }
};

}  // namespace ostrand
