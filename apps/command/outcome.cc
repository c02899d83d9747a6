// SPDX-License-Identifier: Apache-2.0
#include "apps/command/outcome.h"

#include <utility>

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
  std::string line = where_;
  if (!line.empty() && !what_.empty()) {
    line += ": ";
  }
  line += what_;
  if (!to_do_.empty()) {
    line += "; " + to_do_;
  }
  for (char& c : line) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      c = ' ';
    }
  }
  return line;
}

}  // namespace command
}  // namespace pelorin
