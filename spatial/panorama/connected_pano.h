// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>

namespace nimbara {
namespace spatial {

/// One link of a panorama to another, as the service gave it. A plain value.
struct ConnectedPano {
  QString pano_id;  ///< Never empty in a parsed record.
  /// Colour of the road along the link, in the byte order of `loculus::Color32`: alpha highest,
  /// then blue, green, red. Opaque white where the service gave none.
  std::uint32_t road_color = 0xFFFFFFFFu;
  /// Heading of the link in degrees, clockwise from north. Not brought into a range; not-a-number
  /// and infinities can occur.
  float yaw_deg = 0.0f;
};

}  // namespace spatial
}  // namespace nimbara
