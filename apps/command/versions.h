// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace command {

/// "pelorin 0.1.0", as the build file has it.
std::string VersionLine();

/// That line, and one more for each library that the command runs on: where a library tells it,
/// with the version that is loaded now and not the one of the build. Ends without a line end.
std::string VersionText();

}  // namespace command
}  // namespace pelorin
