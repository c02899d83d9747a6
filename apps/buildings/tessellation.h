// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/geometry3d/mesh/vector.h"

namespace pelorin {

using PlanePoint = geometry3d::Vector2<double>;
using PlaneRing = std::vector<PlanePoint>;

/// A polygon that is cut into triangles. Contours run counter-clockwise, holes clockwise, without a
/// repeated point at the end.
struct TessellatedPolygon {
  std::vector<PlanePoint> points;  ///< Of all contours, the outer ring first.
  std::vector<int> contour_sizes;  ///< 3 or more each.
  std::vector<int> triangles;      ///< Three positions in `points` each, counter-clockwise.
};

/// A polygon that could not be cut, and why.
class TessellationFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Cuts polygons with holes into triangles, by the constrained Delaunay triangulation of GEOS, and
/// compares them.
///
///     Tessellator tessellator(1.0 / 256.0);
///     for (const TessellatedPolygon& part : tessellator.Cut({outer, hole})) ...
///
/// An object belongs to one thread; several may work side by side.
class Tessellator {
 public:
  /// Coordinates are moved to multiples of `step`, a power of two above 0, in such a way that the
  /// result is a valid polygon there: a tessellation of rounded coordinates stays one, which that
  /// of the given ones does not when they are rounded afterwards.
  explicit Tessellator(double step);
  ~Tessellator();
  Tessellator(const Tessellator&) = delete;
  Tessellator& operator=(const Tessellator&) = delete;

  /// The polygon of an outer ring and its holes, in either direction, all coordinates finite. Rings
  /// that cross themselves or each other are repaired, and `*repaired` says so; that may make
  /// several polygons of one, and none of one that is thinner than a step. Throws
  /// `TessellationFault`.
  std::vector<TessellatedPolygon> Cut(const std::vector<PlaneRing>& rings, bool* repaired);

  /// How much of a polygon others cover together, from 0 to 1. All are given as for `Cut`, and it
  /// throws as that does.
  double CoveredShare(const std::vector<PlaneRing>& rings,
                      const std::vector<const std::vector<PlaneRing>*>& others);

 private:
  class Geos;
  std::unique_ptr<Geos> geos_;
  double step_;
};

}  // namespace pelorin
