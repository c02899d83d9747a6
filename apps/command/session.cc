// SPDX-License-Identifier: Apache-2.0
#include "apps/command/session.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "apps/command/one_line.h"

namespace pelorin {
namespace command {
namespace {

void ToStandardError(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

double SteadySeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void Session::Tell(std::string_view line) const {
  if (!quiet) {
    ToStandardError(InOneLine(std::string(line)) + "\n");
  }
}

void Session::TellDetail(std::string_view line) const {
  if (verbose) {
    Tell(line);
  }
}

Progress Session::NewProgress(const std::string& what) const {
  return Progress(ProgressMode(isatty(STDERR_FILENO) == 1, force_progress, no_progress || quiet),
                  what, &ToStandardError, &SteadySeconds);
}

bool MayColour(int descriptor) {
  const char* const no_color = std::getenv("NO_COLOR");
  return (no_color == nullptr || *no_color == '\0') && isatty(descriptor) == 1;
}

std::string Bold(const std::string& text, bool colour) {
  return colour ? "\x1b[1m" + text + "\x1b[0m" : text;
}

}  // namespace command
}  // namespace pelorin
