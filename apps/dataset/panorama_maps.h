// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace pelorin {

/// Payloads of the two maps over the sphere of view, in the inflated form that the service's
/// readers take. Columns run from half a turn left of the image's centre to half a turn right of
/// it, rows from the zenith to the nadir.

/// What a depth map shows: the ground, and up to two facades along the street. Lengths in metres.
struct DepthScene {
  double camera_height_m = 2.5;   ///< Above 0.
  double left_m = 0.0;            ///< To the facade on the left; 0 or less: there is none.
  double right_m = 0.0;           ///< Likewise on the right.
  double facade_height_m = 12.0;  ///< From the ground.
};

/// A map of 64 by 32 cells. Plane 0 is the sky (all zero), plane 1 the ground, then the facades
/// that there are, left first. A plane is all p with normal . p + d = 0, with x to the right of the
/// image's centre, y towards it, z up, the camera in the origin.
std::string MakeDepthMap(const DepthScene& scene);

/// A neighbour to show in a pano map.
struct PanoMapEntry {
  std::string pano_id;   ///< 22 characters.
  double yaw_deg = 0.0;  ///< Its direction, clockwise from the image's centre.
  double east_m = 0.0;   ///< Where it lies, from this panorama.
  double north_m = 0.0;
};

/// A map of 64 by 32 cells, in which each neighbour holds a patch around its direction, the nearest
/// direction winning. At most 255 entries; later ones are left out.
std::string MakePanoMap(const std::vector<PanoMapEntry>& entries);

}  // namespace pelorin
