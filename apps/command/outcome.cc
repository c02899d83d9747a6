// SPDX-License-Identifier: Apache-2.0
#include "apps/command/outcome.h"

#include <utility>

#include "apps/command/one_line.h"

namespace pelorin {
namespace command {

Outcome Outcome::Fail(ExitCode code, std::string what, std::string where, std::string to_do) {
  Outcome outcome;
  outcome.code_ = code;
  outcome.what_ = std::move(what);
  outcome.where_ = std::move(where);
  outcome.to_do_ = std::move(to_do);
  return outcome;
}

Outcome Outcome::Ended(ExitCode code) {
  Outcome outcome;
  outcome.code_ = code;
  return outcome;
}

std::string Outcome::Line() const {
  const std::string between = where_.empty() || what_.empty() ? "" : ": ";
  return InOneLine(where_) + between + Reason();
}

std::string Outcome::Reason() const {
  return InOneLine(to_do_.empty() ? what_ : what_ + "; " + to_do_);
}

}  // namespace command
}  // namespace pelorin
