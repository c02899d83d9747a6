// SPDX-License-Identifier: Apache-2.0
#include "host/depth_map.h"

namespace nimbara {

DepthMap::~DepthMap() {
  delete[] indices;
  delete[] planes;
}

}  // namespace nimbara
