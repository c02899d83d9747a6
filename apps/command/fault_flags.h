// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/service/fault_plan.h"

namespace CLI {
class App;
}

namespace pelorin {
namespace command {

/// The flags by which a service is told to misbehave, as they stand on the command line. All off by
/// default.
struct FaultFlags {
  std::string latency;
  std::vector<std::string> fail;
  std::string truncate;
  std::string stall;
  std::string corrupt;
  bool reorder = false;
  std::uint64_t seed = 0;
};

/// Describes the flags to the parser under a heading of their own. `flags` outlives the parsing.
void AddFaultFlags(CLI::App& verb, FaultFlags* flags);

/// Turns the flags into a plan. Fails (wrong usage) at the first that is malformed, with `*plan` as
/// far as it had come.
Outcome MakeFaultPlan(const FaultFlags& flags, FaultPlan* plan);

}  // namespace command
}  // namespace pelorin
