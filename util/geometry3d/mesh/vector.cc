// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/vector.h"

#include <cmath>

namespace geometry3d {

template <>
Vector3<float> Vector3<float>::Normalize() const {
  const float length = std::sqrt(x * x + y * y + z * z);
  return length == 0 ? Vector3() : *this * (1 / length);
}

}  // namespace geometry3d
