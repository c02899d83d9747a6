// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace pelorin {
namespace command {

/// The files tour_page.html and tour_page.js, as the build packed them into the program.
extern const std::string_view kTourPageTemplate;
extern const std::string_view kTourPageScript;

}  // namespace command
}  // namespace pelorin
