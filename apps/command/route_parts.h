// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QXmlStreamWriter>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// What the formats of a route and those of a whole tour have in common.

/// A JSON document with a line end.
std::string DumpedJson(const nlohmann::ordered_json& json);

/// A feature of GeoJSON.
nlohmann::ordered_json GeoFeature(nlohmann::ordered_json geometry,
                                  nlohmann::ordered_json properties);
/// Geometries, longitude first, to 1e-7 degrees. A line through one place goes there and back.
nlohmann::ordered_json GeoPoint(const LatLng& place);
nlohmann::ordered_json GeoLine(const std::vector<LatLng>& places);

/// The walk as a line, then its turns as points.
nlohmann::ordered_json RouteFeatures(const TourReport& report);

/// The places of the walk, in its order.
std::vector<LatLng> PlacesOfPath(const TourReport& report);

/// A GPX 1.1 document up to its first child.
void BeginGpx(QXmlStreamWriter* xml);
/// A point element ("wpt", "rtept", "trkpt"), left open.
void BeginGpxPoint(const char* element, const LatLng& place, QXmlStreamWriter* xml);
/// The walk as a route: a point for each panorama, with a description where there is a direction.
void WriteGpxRoute(const TourReport& report, QXmlStreamWriter* xml);

}  // namespace command
}  // namespace pelorin
