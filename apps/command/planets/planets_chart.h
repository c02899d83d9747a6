// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/planets/planets_report.h"

namespace pelorin {
namespace command {

/// The bodies as an SVG page of 1600 by 1000: the system from the north pole of the ecliptic in up
/// to four panels, each at the scale of what lies in it, and below it every body with its axis. A
/// body stands where it is at the last date; more than one date draws its way there. The unit of
/// the request is not used: charts are in astronomical units.
///
/// Orbits are drawn around the body in the centre, and at a single date around all others too; the
/// part of an orbit that is south of the ecliptic is fainter.
std::string PlanetsChart(const PlanetsRequest& request, const Sky& sky);

}  // namespace command
}  // namespace pelorin
