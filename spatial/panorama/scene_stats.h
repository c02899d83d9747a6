// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>

#include "base/export.h"

namespace nimbara {
namespace spatial {

/// Counts what a viewer does with panoramas since the last report, and decides which views count as
/// new. Where the user looked is kept only to compare the next view with; it is never reported.
///
/// A plain value of one thread. Angles are in radians: headings clockwise from north and tilts
/// above the horizon, any number of turns; fields of view are meant to lie above 0 and up to pi.
/// What is not a number is never new, and what is not new is not kept.
class PELORIN_EXPORT SceneStats {
 public:
  SceneStats() = default;

  /// One more panorama was entered.
  void NewPanoramaEvent();

  /// True if this direction lies more than half of `fov` away from the last that counted, on the
  /// sphere. With a `fov` of 0 or below the slightest turn, or none at all, is enough.
  bool IsNewViewpoint(double heading, double tilt, double fov) const;

  /// True if `fov` is at least twice the last that counted, or at most half of it.
  bool IsNewFov(double fov) const;

  /// Counts a view by both tests, which makes none, one or two events of it. The direction and the
  /// field of view are each kept only if they counted, so that a slow drift adds up.
  void NewViewEvent(double heading, double tilt, double fov);

  /// The counts that are above 0 as pairs of a code (0 viewpoints, 1 fields of view, 2 panoramas)
  /// and a number, all joined by ";". Empty without any.
  QString FormatEvents() const;

  std::int32_t num_viewpoints = 0;
  std::int32_t num_panoramas = 0;
  std::int32_t num_fovs = 0;
  double last_tilt = 0.0;
  double last_heading = 0.0;
  double last_fov = 1.0471975511965976;  ///< 60 degrees until a field of view counts.
};

}  // namespace spatial
}  // namespace nimbara
