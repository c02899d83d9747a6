// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "apps/command/outcome.h"
#include "apps/command/utm_point.h"

namespace pelorin {
namespace command {

enum class UtmFormat { kText, kJson, kCsv };

/// Zone, band, easting and northing to the centimetre, such as
/// "33 T  292948.96 m E  4652799.81 m N".
std::string UtmText(const UtmPoint& point);

/// Everything about one point: in words, as one JSON object, or as CSV with its head.
/// `to_place` puts what was asked for first.
std::string UtmAnswer(const UtmPoint& point, UtmFormat format, bool to_place);

/// What stands ahead of the first row: the head of a CSV file, otherwise nothing.
std::string UtmHead(UtmFormat format);

/// The answer to input line `line` as one row with its end: in text only what was asked for, to the
/// millimetre ("33T 292948.962 4652799.807", or "lat,lng" if `to_place`).
std::string UtmRow(std::size_t line, const UtmPoint& point, UtmFormat format, bool to_place);

/// The row of a line that failed: "?" in text, otherwise the reason.
std::string UtmBadRow(std::size_t line, const Outcome& reason, UtmFormat format);

}  // namespace command
}  // namespace pelorin
