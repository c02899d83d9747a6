// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// Reads a date: "2024-02-29", "2024-02-29T18:30", with seconds ("18:30:05.25") and an offset ("Z",
/// "+02:00") if wanted, a blank in the place of the T, an expanded year ("-000043-03-15", year 0
/// being 1 BC) on the proleptic Gregorian calendar; "now"; a Julian date of seven digits before the
/// point
/// ("2460370.25"), or any other one behind "JD" ("JD625332.5"). Years from -99999 to 99999. Without
/// an offset it is UTC.
///
/// Fails (wrong usage) for everything else, with `*julian_date` untouched. `where` is named in the
/// failure.
Outcome ParseDate(std::string_view text, std::string_view where, double* julian_date);

/// "2024-02-29T18:30:05Z", rounded to the second; years outside of 0 to 9999 with a sign and six
/// digits. For dates that `ParseDate` can give.
std::string DateText(double julian_date);

/// A row of dates: `from`, and on in steps of `step_days` as long as they are not behind `to`,
/// which may be missed by a thousandth of a step. Empty if `to` is before `from`. `step_days` is
/// above 0, and the row shorter than 10 million dates.
std::vector<double> DateRow(double from, double to, double step_days);

}  // namespace command
}  // namespace pelorin
