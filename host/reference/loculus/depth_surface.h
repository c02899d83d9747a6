// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/depth_map.h"
#include "host/export.h"
#include "host/loculus/overlay_surface.h"
#include "host/memory.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// A surface made of the planes of a depth map.
///
/// ```
/// overlay->SetSurface(new DepthSurface(*record->depthmap, overlay->point()->position(),
///                                      record->pano_yaw_deg));
/// ```
///
/// The planes lie in the panorama's own frame, in metres: the eye is the origin, z points up, y
/// level along the image's centre, x to the right of it. On the planet y has the heading that the
/// constructor is given. A panorama's slant plays no part: maps are level.
///
/// A plane reaches as far as the map sees it. Columns of cells run from half a turn left of the
/// image's centre to half a turn right of it, rows from the zenith to the nadir; the direction from
/// the eye to a point falls into one cell, and the point is on the surface only if that cell names
/// its plane.
class PELORIN_HOST_EXPORT DepthSurface final : public OverlaySurface {
 public:
  /// Copies what it needs of `map`. `position` is the eye in the stored scale: x is the longitude
  /// and y the latitude in degrees, each divided by 180, z the altitude in planet radii.
  /// `heading_deg` is that of the image's centre, clockwise from north, of any size.
  ///
  /// A map without cells, a cell that names no plane, a plane without a normal, and a position or
  /// heading that is not finite make a surface, or a part of one, that no ray meets.
  DepthSurface(const DepthMap& map, const Vec3<double>& position, double heading_deg);

  Vec3<double> GetOrigin() const override { return origin_; }
  Vec3<double> GetUpVector() const override { return up_; }
  /// A ray that runs within a plane, to a part in 10^12, does not meet it.
  bool TestRay(const Vec3<double>& start, const Vec3<double>& direction,
               Vec3<double>* hit) const override;

 private:
  Vec3<double> ToLocal(const Vec3<double>& vector) const;
  bool SeesPlaneAt(const Vec3<double>& local, std::size_t plane) const;

  // The frame: where it stands, and its axes in Cartesian space.
  Vec3<double> origin_;
  Vec3<double> right_;
  Vec3<double> ahead_;
  Vec3<double> up_;

  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  mmvector<std::uint8_t> cells_;
  mmvector<Plane<double>> planes_;
};

}  // namespace loculus
}  // namespace nimbara
