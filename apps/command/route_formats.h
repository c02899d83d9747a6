// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The walk of a report in the formats of `pelorin route`. Each ends with a line end. KML comes
/// from `RouteKml`.

/// The directions, one line each: metres from the start, a tab, the text.
std::string RouteText(const TourReport& report);

/// {"path": {as in a tour's summary}, "from": {lat, lng}, "to": ..., "turns": [{stop, direction,
/// angle_deg, lat, lng}], "steps": [{stop, metres, text}]}.
std::string RouteJson(const TourReport& report);

/// A GPX 1.1 route: a point for each panorama, turns named and described.
std::string RouteGpx(const TourReport& report);

/// A GeoJSON feature collection, longitude first: the walk as a line, then the turns as points.
std::string RouteGeoJson(const TourReport& report);

}  // namespace command
}  // namespace pelorin
