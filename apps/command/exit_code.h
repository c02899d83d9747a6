// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace pelorin {
namespace command {

/// What the process returns. Scripts depend on these numbers.
enum class ExitCode : int {
  kDone = 0,           ///< All that was asked for was done.
  kDataError = 1,      ///< The data is at fault, or some of many inputs failed.
  kWrongUsage = 2,     ///< The command line is at fault; nothing was begun.
  kNothingFound = 3,   ///< Sound input, no result: no panorama near, no path.
  kUnavailable = 4,    ///< A service could not be reached, or refused to answer.
  kInterrupted = 130,  ///< Stopped by a signal; partial files are gone.
};

}  // namespace command
}  // namespace pelorin
