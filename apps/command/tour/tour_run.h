// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/command/pano_source.h"
#include "apps/command/session.h"
#include "apps/command/tour/tour_report.h"
#include "apps/command/tour/track_file.h"

namespace pelorin {
namespace command {

/// What `tour` and `route` are asked for.
struct TourRequest {
  std::optional<LatLng> from;  ///< Absent: the dataset's own choice.
  std::optional<LatLng> to;    ///< Likewise.
  int max_hops = 1000;         ///< Most panoramas in the walk; 1 or more.
  bool go_along = true;        ///< False: the way is found, but not gone.
  double half_width_m = 3.0;   ///< Of the corridors that hold the camera; above 0.
  /// A track to send through the corridors; the ends are then its own. Empty: a way is found.
  std::vector<TrackPoint> track;
};

/// Reads the ends from their flags; an empty one stays absent. Fails (wrong usage) for a text that
/// is no place.
Outcome ParseEnds(const std::string& from, const std::string& to, TourRequest* request);

/// Opens the source and runs the whole pipeline over it: fetch manager, fetcher, parser, graph,
/// planner, the walk, and the camera that goes it. On success `*report` is complete; on failure it
/// is as it was. Progress goes to standard error under the session's flags.
Outcome RunTour(const PanoSourceFlags& flags, const TourRequest& request, const Session& session,
                TourReport* report);

}  // namespace command
}  // namespace pelorin
