// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace pelorin {
namespace command {

/// The page and its scripts, as the build packed them into the program: tour_page.html, then, in
/// the order in which the page needs them, tour_page.js, tour_streets.js, tour_chart.js,
/// tour_begin.js.
extern const std::string_view kTourPageTemplate;
extern const std::string_view kTourPageScript;
extern const std::string_view kTourPageStreets;
extern const std::string_view kTourPageChart;
extern const std::string_view kTourPageBegin;

}  // namespace command
}  // namespace pelorin
