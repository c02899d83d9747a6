// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace nimbara {
namespace loculus {

/// What an altitude is counted from.
enum class AltitudeMode : std::int32_t {
  kClampToGround = 0,     ///< The altitude is ignored: the object lies on the ground.
  kRelativeToGround = 1,  ///< The ground below.
  kAbsolute = 2,          ///< Sea level.
};

}  // namespace loculus
}  // namespace nimbara
