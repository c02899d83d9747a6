// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace pelorin {
namespace command {

/// The files building_page.html and building_page.js, as the build packed them into the program.
extern const std::string_view kBuildingPageTemplate;
extern const std::string_view kBuildingPageScript;

}  // namespace command
}  // namespace pelorin
