// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace geometry3d {
namespace mesh_internal {

/// Adds `from` at the end of `*to`, which may be the same vector.
template <typename T>
void Append(const std::vector<T>& from, std::vector<T>* to) {
  const std::size_t count = from.size();
  const std::size_t start = to->size();
  to->resize(start + count);
  std::copy_n(from.begin(), count, to->begin() + static_cast<std::ptrdiff_t>(start));
}

}  // namespace mesh_internal
}  // namespace geometry3d
