// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/interruption.h"

namespace pelorin {
namespace command {

/// Runs one command line from parsing to the last message and returns the exit code. `interruption`
/// can be null.
int RunCommandLine(int argc, char** argv, Interruption* interruption);

}  // namespace command
}  // namespace pelorin
