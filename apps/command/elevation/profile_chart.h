// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/elevation/profile.h"

namespace pelorin {
namespace command {

/// The profile of a measured track or path as a drawing of its own: height over distance, with what
/// the track itself says as a dashed line. `profile` has at least one point.
std::string ProfileSvg(const Profile& profile);

/// The same on a page that needs no network: the figures, the profile, which is read off under the
/// pointer, and the track from above, coloured by height.
std::string ProfileHtml(const Profile& profile);

}  // namespace command
}  // namespace pelorin
