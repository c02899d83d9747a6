// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The figures of a tour as `--json` prints them. The names are a promise:
///
///     panoramas             fetched, with a record
///     placeholders          known by a link only
///     edges                 of the graph, inferred ones included
///     inferred_links        edges that no record declares
///     requests              {id, position, tile, depth, image}: started, by kind
///     refused               repeats of what was under way
///     failed                requests that brought no answer
///     retried               attempts made again
///     path                  {panoramas, hops, metres, turns, ids}
///     roads                 lines of streets, each showing a link that none before it showed
///     labels                street names, one a street in 100 metres
///     overlays              photo overlays, one for each panorama at which the walk stopped
///     surfaces              those of them with a surface made of the panorama's depth map
///     images                {tiles: looked at, one a panorama of the walk; dates: {"2024-05":
///     tiles};
///                           undated, unreadable, missing: tiles}
///     corridors, fillets    that held the camera, and their rounded corners
///     camera                {steps, seconds (on the walk's own clock), pushed_back (steps that
///                           ended outside), farthest_outside_m, placed (put at the next stop)}
///     usage                 {panoramas, viewpoints, fields_of_view: counted events; reports,
///                           answered, received: see `TourUsage`}
///     seconds, panoramas_per_second, peak_memory_bytes
nlohmann::ordered_json SummaryJson(const TourReport& report);

/// The same for people, some lines with a line end each; headings in bold if `colour`.
std::string SummaryText(const TourReport& report, bool colour);

}  // namespace command
}  // namespace pelorin
