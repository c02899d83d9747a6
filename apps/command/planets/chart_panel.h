// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/planets/chart_bodies.h"

namespace pelorin {
namespace command {

/// A round window on the plane of the ecliptic, the body in the centre of `bodies` in its middle.
struct ChartPanel {
  std::string title;
  double left_px = 0.0;
  double top_px = 0.0;
  double size_px = 0.0;
  double radius_au = 0.0;         ///< From the middle to the rim.
  std::string centre;             ///< Name of the body in the middle.
  std::vector<ChartBody> bodies;  ///< Those whose names are shown are `inner_au` away or more.
  double inner_au = 0.0;          ///< What reaches less far has a panel of its own.
};

/// The panel as one SVG group: rings with their distances, directions, orbits, ways and bodies.
std::string PanelSvg(const ChartPanel& panel);

}  // namespace command
}  // namespace pelorin
