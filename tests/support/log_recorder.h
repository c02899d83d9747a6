// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "base/log_sink.h"

namespace test_support {

/// Keeps the entries of the log path for the main thread to assert on, from its making to its end;
/// then the sink before it is installed again. Recorders nest like scopes.
class LogRecorder : public LogSink {
 public:
  LogRecorder() : before_(SetLogSink(this)) {}
  ~LogRecorder() override { SetLogSink(before_); }

  void OnLogEntry(const LogEntry& entry) noexcept override {
    const std::lock_guard<std::mutex> guard(lock_);
    entries_.push_back(entry);
  }

  /// The entries so far, in order of their ends.
  std::vector<LogEntry> entries() const {
    const std::lock_guard<std::mutex> guard(lock_);
    return entries_;
  }

  /// The same, each as "SEVERITY TEXT", such as "3 Check failed: avail() >= N".
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (const LogEntry& entry : entries()) {
      lines.push_back(std::to_string(entry.severity) + " " + entry.text);
    }
    return lines;
  }

 private:
  mutable std::mutex lock_;
  // Guarded by `lock_`.
  std::vector<LogEntry> entries_;
  LogSink* before_;
};

}  // namespace test_support
