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
///     requests              {id, position, tile}: started, by kind
///     refused               repeats of what was under way
///     failed                requests that brought no answer
///     retried               attempts made again
///     path                  {panoramas, hops, metres, turns, ids}
///     seconds, panoramas_per_second, peak_memory_bytes
nlohmann::ordered_json SummaryJson(const TourReport& report);

/// The same for people, some lines with a line end each; headings in bold if `colour`.
std::string SummaryText(const TourReport& report, bool colour);

}  // namespace command
}  // namespace pelorin
