// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The tour in the formats that stand beside its KML. Each ends with a line end.

/// GPX 1.1: the turns as waypoints, the walk as a route, and two tracks, where the camera was
/// pushed to and where the corridors held it, with the corridors' depth in the descriptions of
/// their points. GPX has neither areas nor images.
std::string TourGpx(const TourReport& report);

/// A GeoJSON feature collection. Every feature says what it is in its property "kind": "path" and
/// "turn" as `RouteGeoJson` has them without it, "road", "label", "corridor" (polygon), "fillet",
/// "pushed" and "held" (the camera's ways), and "overlay" (a point, with tile template and whether
/// there is a depth surface). As many of a kind as the summary says.
std::string TourGeoJson(const TourReport& report);

}  // namespace command
}  // namespace pelorin
