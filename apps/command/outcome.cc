// SPDX-License-Identifier: Apache-2.0
#include "apps/command/outcome.h"

#include <utility>

namespace pelorin {
namespace command {
namespace {

std::string InOneLine(std::string text) {
  for (char& c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      c = ' ';
    }
  }
  return text;
}

}  // namespace

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
