// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/memory.h"
#include "host/values.h"

namespace nimbara {

/// What a panorama sees: a grid over its sphere of view whose cells each name one plane of the
/// scene. The library fills the members one by one and hands the object over; only the host reads
/// them. `width * height` cells stand row after row from the top; a cell is below `plane_count`
/// only if the service sent sound data, so a reader tests it.
class PELORIN_HOST_EXPORT DepthMap : public MemoryObject {
 public:
  DepthMap() = default;
  DepthMap(const DepthMap&) = delete;
  DepthMap& operator=(const DepthMap&) = delete;
  /// Releases both arrays.
  ~DepthMap();

  std::uint8_t* indices = nullptr;  ///< Owned, from `new[]`: one plane index for each cell.
  std::int32_t width = 0;           ///< Cells in a row.
  std::int32_t height = 0;          ///< Rows.
  Plane<double>* planes = nullptr;  ///< Owned, from `new[]`.
  std::int32_t plane_count = 0;     ///< Length of `planes`, 0 to 256.
  bool flag = false;                ///< The host's own; false in a map that the library made.
};

}  // namespace nimbara
