// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pano_map.h"

#include <cstddef>

namespace nimbara {
namespace spatial {

namespace {

// The cell, 0 to `count - 1`, at `scaled` = count * position. Only values that an `int` holds are
// converted, since any other conversion is undefined.
std::int32_t CellAt(float scaled, std::int32_t count) {
  if (!(scaled > 0.0f)) {
    return 0;
  }
  if (scaled >= static_cast<float>(count)) {
    return count - 1;
  }
  return static_cast<std::int32_t>(scaled);
}

}  // namespace

PanoMap::~PanoMap() {
  delete[] indices;
}

bool PanoMap::GetPano(float x, float y, QString* pano_id, Vec2<float>* position) const {
  if (pano_ids.empty() || indices == nullptr || width <= 0 || height <= 0) {
    return false;
  }
  const std::int32_t col = CellAt(static_cast<float>(width) * x, width);
  const std::int32_t row = CellAt((1.0f - y) * static_cast<float>(height), height);
  const std::size_t cell = static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                           static_cast<std::size_t>(col);
  const std::size_t named = indices[cell];
  const std::size_t entry = named < pano_ids.size() ? named : 0;
  if (pano_id != nullptr) {
    *pano_id = pano_ids[entry];
  }
  if (position != nullptr) {
    *position = entry < positions.size() ? positions[entry] : Vec2<float>::Zero();
  }
  return true;
}

}  // namespace spatial
}  // namespace nimbara
