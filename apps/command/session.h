// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "apps/command/interruption.h"
#include "apps/command/outcome.h"
#include "apps/command/progress.h"

namespace pelorin {
namespace command {

/// What all verbs of one run share: the common flags, standard error, and how the run ended. Owned
/// by the command line, for its one thread.
struct Session {
  /// `signals` can be null (tests) and outlives the session.
  explicit Session(Interruption* signals) : interruption(signals) {}

  bool quiet = false;           ///< -q: only errors.
  bool verbose = false;         ///< -v: what is being done, on standard error.
  bool force_progress = false;  ///< --progress.
  bool no_progress = false;     ///< --no-progress.
  Interruption* interruption;   ///< Not owned.
  Outcome outcome = Outcome::Done();

  /// A line on standard error for people: not with -q.
  void Tell(std::string_view line) const;
  /// A line on standard error with -v only.
  void TellDetail(std::string_view line) const;
  /// Progress on standard error under the flags.
  Progress NewProgress(const std::string& what) const;
};

/// True if a stream may carry colours: it is a terminal, and NO_COLOR is unset or empty.
bool MayColour(int descriptor);

/// `text` in bold where `colour` is true.
std::string Bold(const std::string& text, bool colour);

}  // namespace command
}  // namespace pelorin
