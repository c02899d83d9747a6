// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// Fetches the depth maps of the panoramas at which a walk stops, as far as their records came
/// without: answers by map tile carry none. Some at a time; a request that fails is made again, a
/// few times. Returns how many requests it made.
///
/// For the thread that starts all requests, without the graph's lock, while no other request of
/// that thread is under way. Writes to the records under the lock.
std::uint64_t FetchDepthMaps(const nimbara::spatial::PanoGraph& graph,
                             const nimbara::spatial::PathPlanner::Path& path);

}  // namespace command
}  // namespace pelorin
