// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <string>
#include <vector>

#include "apps/command/tour/tour_streets.h"
#include "apps/command/tour/track_file.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// How a camera takes the streets.
struct StreetTourPlan {
  double half_width_m = 3.0;      ///< Of the corridors, from north to south; above 0.
  std::string service;            ///< Base address that usage is reported to; empty: to none.
  std::vector<TrackPoint> track;  ///< To replay; empty: the path is walked.
  std::vector<QString> along;     ///< The active panorama for each point of the track.
};

/// Sends the camera along `path`, or the track through the corridors, and gathers everything that a
/// viewer would have shown and reported on the way. Nothing is fetched: what is not in the graph
/// yet is not shown. `path` of a replay holds the panoramas of `along` where they change.
///
/// For the thread that starts the requests, while the network is up. Stores overlays in the records
/// of the graph. Returns when all usage reports have their answers.
TourStreets TakeStreets(const nimbara::spatial::PanoGraph& graph,
                        const nimbara::spatial::PathPlanner::Path& path,
                        const StreetTourPlan& plan);

}  // namespace command
}  // namespace pelorin
