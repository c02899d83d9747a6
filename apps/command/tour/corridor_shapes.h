// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <vector>

#include "apps/command/tour/street_camera.h"
#include "apps/command/tour/tour_streets.h"
#include "spatial/graph/pano_graph.h"

namespace pelorin {
namespace command {

/// Corridors and fillets as shapes to draw. Everything reads the graph under its lock.

/// The corridors and fillets that a camera had around it, ascending by the ids of their panoramas.
/// What has lost its record meanwhile is left out.
void CopyCorridors(const nimbara::spatial::PanoGraph& graph, const StreetCamera& camera,
                   TourStreets* streets);

/// The fillets at one panorama: one for each wedge between two neighbouring links in which the
/// circle has room, clockwise from the link with the least bearing. `width_scale` is that of
/// `StreetCamera`.
std::vector<TourFillet> FilletsAt(const nimbara::spatial::PanoGraph& graph, const QString& id,
                                  double width_scale);

/// The outline of a corridor, a closed line with its first point repeated: two edges and a half
/// circle around each end. A corridor of no length is a circle.
std::vector<LatLng> OutlineOf(const TourCorridor& corridor);

}  // namespace command
}  // namespace pelorin
