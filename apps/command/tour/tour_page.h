// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The tour as one HTML page that needs nothing else: map, walk, panoramas, figures, and a player
/// that goes the way. No text of the data can leave its place in the page, whatever it holds.
/// `made` names the program.
std::string TourPage(const TourReport& report, const std::string& made);

}  // namespace command
}  // namespace pelorin
