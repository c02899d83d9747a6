// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "base/export.h"

/// The severity of an entry about data that could not be used.
constexpr int kLogError = 2;
/// The severity of a failed check: a mistake of a caller. It stops nothing.
constexpr int kLogFatal = 3;

/// One finished entry of the log path.
struct LogEntry {
  /// `kLogFatal`, `kLogError`, or whatever number the entry was made with.
  int severity = 0;
  /// The source file from the root of the sources, such as "base/logging.cc"; empty below
  /// `kLogFatal`.
  std::string file;
  /// The line in `file`, from 1; 0 below `kLogFatal`.
  int line = 0;
  /// What was written, without a line end.
  std::string text;
};

/// Receives the entries of the log path. By default there is none and entries are dropped; a host,
/// a test or a command installs one to see them.
class PELORIN_EXPORT LogSink {
 public:
  LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;
  virtual ~LogSink() = default;

  /// Called once for each entry, when the entry ends, on the thread that made it, and never twice
  /// at a time: calls are serialised over all threads. Entries that are made inside this call are
  /// dropped, so a sink may use anything of this library. It must not wait for another thread that
  /// could itself be making an entry. It is not called while no sink or another one is installed,
  /// and not after the `SetLogSink` that replaced it has returned.
  virtual void OnLogEntry(const LogEntry& entry) noexcept = 0;
};

/// Installs `sink` for the whole process, or none for null, and returns the one before, or null.
/// The sink is not owned and must live until it is replaced; once this returns, no call into the
/// earlier sink is under way or will come. Safe from any thread. From inside `OnLogEntry` it
/// changes nothing and returns null, since it would wait for itself.
PELORIN_EXPORT LogSink* SetLogSink(LogSink* sink);
