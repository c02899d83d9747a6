// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace spatial {

/// A 4 by 4 matrix. Row r and column c is `m[4 * r + c]`. A point is a row vector that multiplies
/// from the left, so a translation stands in `m[12]`, `m[13]` and `m[14]`, and of a product the
/// left factor acts first. A plain value; the default one is all zero.
struct Mat4 {
  double m[16] = {};

  static Mat4 Identity() { return Mat4{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}; }

  /// The elements swapped across the diagonal.
  Mat4 Transposed() const {
    Mat4 result;
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) {
        result.m[4 * row + column] = m[4 * column + row];
      }
    }
    return result;
  }

  friend Mat4 operator*(const Mat4& a, const Mat4& b) {
    Mat4 result;
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) {
        double sum = a.m[4 * row] * b.m[column];
        for (int k = 1; k < 4; ++k) {
          sum += a.m[4 * row + k] * b.m[4 * k + column];
        }
        result.m[4 * row + column] = sum;
      }
    }
    return result;
  }
};

}  // namespace spatial
}  // namespace nimbara
