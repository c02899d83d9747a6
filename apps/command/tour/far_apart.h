// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/outcome.h"
#include "apps/dataset/dataset.h"

namespace pelorin {
namespace command {

/// Chooses the ends of a walk for a dataset that has no opinion: two panoramas of its largest
/// connected piece without levels, far from each other along the links, but not more than
/// `max_hops` panoramas. The same two for the same dataset, always.
///
/// Fails with "nothing found" for a dataset without panoramas, and with a data error if it cannot
/// be read; then the outputs are as they were.
Outcome ChooseFarApart(const Dataset& dataset, int max_hops, LatLng* from, LatLng* to);

}  // namespace command
}  // namespace pelorin
