// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "apps/dataset/harbour_plan.h"

namespace pelorin {

/// Footprints of houses along the harbour town's streets, one rectangle each: on land, beside a
/// street that has houses on that side, clear of every street, of the parks, waters and squares and
/// of each other. Internal to this room. The same houses at every call.
std::vector<PlanShape> HarbourHouses();

}  // namespace pelorin
