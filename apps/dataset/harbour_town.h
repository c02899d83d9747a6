// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "apps/dataset/dataset.h"

namespace pelorin {

/// The dataset that is always there: a small harbour town that does not exist, drawn by this
/// program. It has curved streets with names and house numbers around a bay, a market square, a
/// quay and a mole, lanes up a hill, dead ends whose continuation is not linked, a second scene on
/// an island that no street reaches, a station with two levels, one above the other, depth and pano
/// maps, labels, shapes to draw beneath, and the heights of the ground. Some hundreds of panoramas,
/// about 10 m apart.
///
/// The same town, to the last byte of every record, at every call and on every machine.
///
/// Returns a dataset in memory, owned by the caller; null, with `error`, only if memory runs out.
/// Safe from any thread.
std::unique_ptr<Dataset> MakeHarbourTown(std::string* error);

}  // namespace pelorin
