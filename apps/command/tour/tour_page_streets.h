// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "apps/command/tour/tour_streets.h"

namespace pelorin {
namespace command {

/// The streets of a walk as the script of the page reads them: rows of numbers, places as latitude
/// and longitude. Of a long walk the page gets every few steps of the camera, but all that ended
/// outside.
nlohmann::ordered_json StreetsJson(const TourStreets& streets);

}  // namespace command
}  // namespace pelorin
