// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace ostrand {

/// A matrix of two rows and two columns. A plain value of four numbers, row after row.
template <typename T>
struct Matrix2x2 {
  T m[4] = {};

  /// The element at `row` and `column`, each 0 or 1.
  T operator()(std::size_t row, std::size_t column) const { return m[2 * row + column]; }
};

}  // namespace ostrand
