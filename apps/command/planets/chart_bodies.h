// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/planets/planets_report.h"

namespace pelorin {
namespace command {

/// One body of a chart; lengths in astronomical units from the centre of the chart.
struct ChartBody {
  std::string name;
  std::string colour;
  double dot_px = 3.0;                       ///< Radius of its dot.
  BodyPlace place;                           ///< At the last date.
  std::vector<nimbara::Vec3<double>> track;  ///< At every date; the last one is its place.
  std::vector<nimbara::Vec3<double>> way;    ///< Through all of the track, with points between.
  std::vector<nimbara::Vec3<double>> orbit;  ///< Closed, at the last date; empty if not drawn.
  double reach_au = 0.0;                     ///< Largest distance of its track and orbit.
};

/// The bodies of a request, and the body in its centre if it was not asked for.
std::vector<ChartBody> ChartBodies(const PlanetsRequest& request, const Sky& sky);

/// The same seen from one of them.
std::vector<ChartBody> SeenFrom(std::vector<ChartBody> bodies, const std::string& name);

}  // namespace command
}  // namespace pelorin
