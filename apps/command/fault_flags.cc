// SPDX-License-Identifier: Apache-2.0
#include "apps/command/fault_flags.h"

#include <CLI/CLI.hpp>

namespace pelorin {
namespace command {
namespace {

Outcome Refused(const char* flag, const std::string& error) {
  return Outcome::Fail(ExitCode::kWrongUsage, error, flag);
}

}  // namespace

void AddFaultFlags(CLI::App& verb, FaultFlags* flags) {
  const std::string group = "Misbehaviour of the service, for tests";
  verb.add_option("--latency", flags->latency, "Delay of every answer in milliseconds, or a range")
      ->type_name("MS[-MS]")
      ->group(group);
  verb.add_option("--fail", flags->fail,
                  "Answer with a status instead, with a probability and perhaps a Retry-After")
      ->type_name("CODE:P[:S]")
      ->group(group)
      ->allow_extra_args(false);
  verb.add_option("--truncate", flags->truncate, "Cut answers short, with this probability")
      ->type_name("P")
      ->group(group);
  verb.add_option("--stall", flags->stall, "Stop in the middle of answers, with this probability")
      ->type_name("P")
      ->group(group);
  verb.add_option("--corrupt", flags->corrupt, "Change bytes of answers, with this probability")
      ->type_name("P")
      ->group(group);
  verb.add_flag("--reorder", flags->reorder, "Hold answers back so that others overtake them")
      ->group(group);
  verb.add_option("--seed", flags->seed, "Which answers are hit; 0 unless given")
      ->type_name("N")
      // The parser turns a minus round.
      ->check([](const std::string& text) {
        return text.rfind('-', 0) == 0 ? std::string("give a whole number, 0 or above")
                                       : std::string();
      })
      ->group(group);
}

Outcome MakeFaultPlan(const FaultFlags& flags, FaultPlan* plan) {
  std::string error;
  if (!flags.latency.empty() && !plan->SetLatency(flags.latency, &error)) {
    return Refused("--latency", error);
  }
  for (const std::string& fail : flags.fail) {
    if (!plan->AddFailures(fail, &error)) {
      return Refused("--fail", error);
    }
  }
  if (!flags.truncate.empty() && !plan->SetTruncate(flags.truncate, &error)) {
    return Refused("--truncate", error);
  }
  if (!flags.stall.empty() && !plan->SetStall(flags.stall, &error)) {
    return Refused("--stall", error);
  }
  if (!flags.corrupt.empty() && !plan->SetCorrupt(flags.corrupt, &error)) {
    return Refused("--corrupt", error);
  }
  plan->set_reorder(flags.reorder);
  plan->set_seed(flags.seed);
  return Outcome::Done();
}

}  // namespace command
}  // namespace pelorin
