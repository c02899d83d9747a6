// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/dataset/height_grid.h"

namespace pelorin {

/// The ground of the harbour town, a sample about every 10 m over the whole plan: the sea at 0,
/// quays and moles 2 m above it, land that rises behind the shore, two hills and the islet. A patch
/// under the Mill Pond is missing, as it would be in measured data. Internal to this room.
HeightGrid HarbourHeights();

}  // namespace pelorin
