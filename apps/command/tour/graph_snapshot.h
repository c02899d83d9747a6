// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/tour/tour_report.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// Copies what the graph knows into `report`: panoramas, edges, the walk with its turns and
/// directions. Everything else in `report` stays as it is. Takes the graph's lock for the whole
/// copy, so it shows one state; the fetcher may still run.
///
/// Records without a finite position within the ranges of a place are taken as placeholders, since
/// no map can show them. A placeholder stands 10 metres from a panorama that names it, in the
/// direction of the link; one that no record names any more stands where its first neighbour does.
void CopyGraph(const nimbara::spatial::PanoGraph& graph,
               const nimbara::spatial::PathPlanner::Path& path, TourReport* report);

}  // namespace command
}  // namespace pelorin
