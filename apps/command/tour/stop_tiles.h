// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <cstdint>
#include <functional>
#include <vector>

#include "apps/command/tour/tour_streets.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// The images of the panoramas at which a walk stopped, and when they say that they were taken.
struct StopTiles {
  std::vector<TourTile> tiles;  ///< One for each panorama of the walk, by its first stop.
  std::uint64_t requests = 0;   ///< Made for them.
};

/// Fetches, for each panorama of `path`, the one tile that shows the whole of its image, from where
/// the setting "panoTileTemplateURL" leads, and reads the date in its comment. Some at a time; a
/// request that fails is made again, a few times, but not where the service says that there is no
/// such tile. No tile fails the walk. `on_progress` hears how many are done; it can be empty.
///
/// For the thread that starts all requests, while the network is up. Returns when all have ended.
StopTiles FetchStopTiles(const nimbara::spatial::PathPlanner::Path& path,
                         const std::function<void(std::int64_t, std::int64_t)>& on_progress);

/// Reads what a tile's file says into `tile`: its state, and the date if it names one. Any bytes
/// are read without harm.
void ReadTile(const QByteArray& file, TourTile* tile);

}  // namespace command
}  // namespace pelorin
