// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/exit_code.h"

namespace pelorin {
namespace command {

/// How a step of a verb ended: done, or failed with everything that the user has to know. A plain
/// value.
///
/// ```
/// if (Outcome outcome = ReadAll(path, &text); !outcome.ok()) return outcome;
/// return Outcome::Fail(ExitCode::kDataError, "the third column is empty", "tracks.csv, line 7",
///                      "give lat,lng,name in each line");
/// ```
class [[nodiscard]] Outcome {
 public:
  static Outcome Done() { return Outcome(); }
  /// `what` was wrong; `where` (file, line, byte, option; may be empty); what `to_do` about it (may
  /// be empty). UTF-8 texts without a full stop at the end.
  static Outcome Fail(ExitCode code, std::string what, std::string where = "",
                      std::string to_do = "");
  /// Nothing went wrong, but there is something to return beside 0, such as an interrupted service.
  static Outcome Ended(ExitCode code);

  bool ok() const { return code_ == ExitCode::kDone; }
  ExitCode code() const { return code_; }
  /// The one line for standard error, without its line end: "where: what; to_do". Line breaks and
  /// control characters of the parts are replaced by blanks. Empty if there is nothing to say.
  std::string Line() const;
  /// The same without `where`, for who has said that already.
  std::string Reason() const;

 private:
  ExitCode code_ = ExitCode::kDone;
  std::string what_;
  std::string where_;
  std::string to_do_;
};

}  // namespace command
}  // namespace pelorin
