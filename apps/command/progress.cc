// SPDX-License-Identifier: Apache-2.0
#include "apps/command/progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace pelorin {
namespace command {
namespace {

constexpr double kQuietSeconds = 1.0;
constexpr double kRenewalSeconds = 0.1;
// Return to the start of the line and erase to its end.
constexpr std::string_view kClearLine = "\r\x1b[K";

std::string TwoDigits(std::int64_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

Progress::Progress(Mode mode, std::string what, Sink sink, Clock clock)
    : mode_(mode), what_(std::move(what)), sink_(std::move(sink)), clock_(std::move(clock)),
      start_s_(clock_()), last_renewal_s_(start_s_ - kRenewalSeconds) {}

Progress::~Progress() {
  Finish();
}

void Progress::Update(std::int64_t done, std::int64_t total) {
  if (mode_ == Mode::kSilent) {
    return;
  }
  const double elapsed_s = clock_() - start_s_;
  const std::int64_t counted = total > 0 ? std::min(done, total) : done;
  if (mode_ == Mode::kTerminal) {
    RenewLine(counted, total, elapsed_s);
  } else {
    AddLines(counted, total, elapsed_s);
  }
}

void Progress::Finish() {
  if (line_stands_) {
    sink_(kClearLine);
    line_stands_ = false;
  }
  mode_ = Mode::kSilent;
}

void Progress::RenewLine(std::int64_t done, std::int64_t total, double elapsed_s) {
  const double now_s = start_s_ + elapsed_s;
  if (elapsed_s < kQuietSeconds || now_s - last_renewal_s_ < kRenewalSeconds) {
    return;
  }
  last_renewal_s_ = now_s;
  line_stands_ = true;
  sink_(std::string(kClearLine) + Text(done, total, elapsed_s));
}

void Progress::AddLines(std::int64_t done, std::int64_t total, double elapsed_s) {
  if (total <= 0) {
    return;
  }
  const int tenths = static_cast<int>(10.0 * static_cast<double>(std::max<std::int64_t>(done, 0)) /
                                      static_cast<double>(total));
  if (tenths > tenths_told_) {
    tenths_told_ = tenths;
    sink_(std::to_string(tenths * 10) + " %: " + Text(done, total, elapsed_s) + "\n");
  }
}

std::string Progress::Text(std::int64_t done, std::int64_t total, double elapsed_s) const {
  std::string text = std::to_string(done);
  if (total > 0) {
    text += " of " + std::to_string(total);
  }
  text += " " + what_;
  const double rate = elapsed_s > 0.0 ? static_cast<double>(done) / elapsed_s : 0.0;
  if (rate > 0.0) {
    text += rate >= 10.0 ? ", " + std::to_string(std::llround(rate)) + "/s"
                         : ", " + std::to_string(std::llround(rate * 60.0)) + "/min";
    if (total > done) {
      text += ", " + DurationText(static_cast<double>(total - done) / rate) + " left";
    }
  }
  return text;
}

Progress::Mode ProgressMode(bool is_terminal, bool forced, bool suppressed) {
  if (suppressed) {
    return Progress::Mode::kSilent;
  }
  if (is_terminal) {
    return Progress::Mode::kTerminal;
  }
  return forced ? Progress::Mode::kLines : Progress::Mode::kSilent;
}

std::string DurationText(double seconds) {
  // Above a million hours the number says nothing, and the cast below would overflow one day.
  if (!(seconds >= 0.0) || seconds > 3.6e9) {
    return "?";
  }
  const std::int64_t whole = std::llround(seconds);
  if (whole < 60) {
    return std::to_string(whole) + " s";
  }
  if (whole < 3600) {
    return std::to_string(whole / 60) + " min " + TwoDigits(whole % 60) + " s";
  }
  return std::to_string(whole / 3600) + " h " + TwoDigits(whole / 60 % 60) + " min";
}

}  // namespace command
}  // namespace pelorin
