// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The tour as KML 2.2, for any viewer of KML. One folder for each figure of the summary, under its
/// name there, with as many placemarks as the figure says: `panoramas`, `placeholders`, `edges`,
/// `inferred_links` (those edges again, dashed by their colour), `turns`; then `path` with the
/// walked line alone, and `stops` with a camera for each panorama of the walk; then the folders of
/// `AddStreetFolders`. Folders that would be empty are left out.
///
/// A reader that counts features by their geometry finds none in `overlays`: GDAL takes a photo
/// overlay's place into the extent of the file, but makes no feature of it.
std::string TourKml(const TourReport& report);

/// The walk alone, for `pelorin route`: `path`, `turns` and `stops`.
std::string RouteKml(const TourReport& report);

}  // namespace command
}  // namespace pelorin
