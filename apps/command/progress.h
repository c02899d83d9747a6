// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace pelorin {
namespace command {

/// Tells how far a long piece of work has come. For one thread.
///
/// On a terminal: one line that is renewed at most ten times a second, from the second second on,
/// and that goes away when the work is done. Elsewhere, if forced: one line for each full 10 %,
/// which stays. The numbers are a count, a rate and, where the total is known, the time left.
///
/// ```
/// Progress progress(session.NewProgress("panoramas"));
/// for (...) progress.Update(++done, total);
/// ```
class Progress {
 public:
  enum class Mode {
    kSilent,
    kTerminal,  ///< A line that is renewed in place.
    kLines,     ///< One line for each 10 %.
  };
  /// Where the text goes, and a clock in seconds that never falls.
  using Sink = std::function<void(std::string_view)>;
  using Clock = std::function<double()>;

  /// `what` is counted, in the plural: "panoramas". The clock starts now.
  Progress(Mode mode, std::string what, Sink sink, Clock clock);
  /// Clears the line, if one stands.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// `done` of `total`, which is 0 or less if nobody knows it; then no line for 10 % can appear.
  /// More than the total counts as the total. Cheap enough for every item.
  void Update(std::int64_t done, std::int64_t total);
  /// Clears the line. Nothing more appears.
  void Finish();

 private:
  void RenewLine(std::int64_t done, std::int64_t total, double elapsed_s);
  void AddLines(std::int64_t done, std::int64_t total, double elapsed_s);
  std::string Text(std::int64_t done, std::int64_t total, double elapsed_s) const;

  Mode mode_;
  std::string what_;
  Sink sink_;
  Clock clock_;
  double start_s_;
  double last_renewal_s_;
  bool line_stands_ = false;
  int tenths_told_ = 0;
};

/// How progress is shown: `forced` and `suppressed` are the flags, suppression wins; without either
/// it is shown on a terminal only.
Progress::Mode ProgressMode(bool is_terminal, bool forced, bool suppressed);

/// Seconds as people read them: "8 s", "3 min 20 s", "2 h 05 min". Below 0 or not finite: "?".
std::string DurationText(double seconds);

}  // namespace command
}  // namespace pelorin
