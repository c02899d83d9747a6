// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/overlay_surface.h"

namespace nimbara {
namespace loculus {

OverlaySurface::~OverlaySurface() = default;

}  // namespace loculus
}  // namespace nimbara
