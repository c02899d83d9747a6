// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// What can be seen from a panorama, as far as its record tells. Lengths in metres, the camera in
/// the origin, x to the right of the image's centre, y towards it, z up. A plain value.
struct ViewScene {
  /// An upright wall: all p with `x * p.x + y * p.y + d = 0`, from the ground up to `top_m`.
  struct Wall {
    double x = 0.0;  ///< The normal, of length 1.
    double y = 0.0;
    double d = 0.0;
    double top_m = 0.0;     ///< Above the camera; can be negative.
    std::uint32_t rgb = 0;  ///< Its paint.
  };
  /// A street that leaves from below the camera.
  struct Road {
    double azimuth_deg = 0.0;  ///< Clockwise from the image's centre.
    std::uint32_t rgb = 0;
  };
  /// Something with a name.
  struct Label {
    std::string text;
    double azimuth_deg = 0.0;  ///< Clockwise from the image's centre.
    double pitch_deg = 0.0;    ///< Above the horizon.
  };

  double camera_height_m = 2.5;  ///< Above the ground; above 0.
  double heading_deg = 0.0;      ///< Of the image's centre, clockwise from north.
  std::string street;
  std::string caption;  ///< What to say of the image as a whole; can be empty.
  std::vector<Wall> walls;
  std::vector<Road> roads;
  std::vector<Label> labels;
};

/// The scene of a record with its maps loaded. The walls come from the depth map; without one, or
/// with a damaged one, there are none. Any record gives a scene without harm.
ViewScene SceneOf(const PanoRecord& record);

}  // namespace pelorin
