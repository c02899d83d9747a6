// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <locale>
#include <optional>
#include <sstream>
#include <string>

#include "base/export.h"
#include "base/log_sink.h"

/// One entry of the log path: it collects text through `stream()` and ends with its destructor,
/// which hands it to the installed `LogSink`, or drops it where there is none (the default). An
/// entry of any severity stops nothing; control goes on behind it, also behind a failed check, so
/// code that is guarded by a check must be safe without it.
///
///     PELORIN_CHECK(material) << " for face " << face;
///     PELORIN_CHECK_LT(level, 32);            // "Check failed: level<32 40<32"
///     PELORIN_LOG_ERROR() << "Unknown Format.";
///
/// An object belongs to one thread; entries of different threads are independent. Numbers are
/// written as in the C locale.
class PELORIN_EXPORT LogMessage {
 public:
  /// `file` (not null) and `line` go with the entry from `kLogFatal` upwards; below it the entry
  /// has an empty file and line 0. Of a file below the root of the sources only the path from that
  /// root is kept. `severity` may be any number.
  LogMessage(const char* file, int line, int severity);
  ~LogMessage();
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;

  /// The text so far; valid as long as this object.
  std::ostream& stream() { return stream_; }

  /// Deliberately does nothing: an entry is complete by its constructor.
  void Init(const char* file, int line, int severity);

 private:
  const char* file_;
  int line_;
  int severity_;
  std::ostringstream stream_;
};

/// Formatted entries, which this system does not keep: both operators do nothing.
class PELORIN_EXPORT LogPrintf {
 public:
  void operator()(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void operator()(int severity, const char* format, ...) __attribute__((format(printf, 3, 4)));
};

/// Does nothing: no log is written here. Entries are to be had from a `LogSink`.
PELORIN_EXPORT void WriteLog(int severity, const char* text);

/// Does nothing: there are no log files.
PELORIN_EXPORT void InitLogFiles(const char* program_name);

namespace base_internal {

template <typename Left, typename Right>
std::string ComparisonText(const char* condition, const Left& left, const char* operation,
                           const Right& right) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "Check failed: " << condition << ' ' << left << operation << right;
  return text.str();
}

}  // namespace base_internal

/// An entry at `kLogError`; a stream to write its text to.
#define PELORIN_LOG_ERROR() LogMessage("", 0, kLogError).stream()

/// An entry at `kLogFatal` from this line; a stream to write its text to.
#define PELORIN_LOG_FATAL() LogMessage(__FILE__, __LINE__, kLogFatal).stream()

// A label-less switch makes one statement of each macro, so that an `else` behind it belongs to the
// `if` before it.
#define PELORIN_INTERNAL_ONE_STATEMENT                                                             \
  switch (0)                                                                                       \
  case 0:                                                                                          \
  default:

/// Makes the fatal entry "Check failed: " with the text of `condition` unless it holds. Further
/// text can be written behind it. `condition` is evaluated once; control goes on either way.
#define PELORIN_CHECK(condition)                                                                   \
  PELORIN_INTERNAL_ONE_STATEMENT                                                                   \
  if (condition) {                                                                                 \
  } else                                                                                           \
    PELORIN_LOG_FATAL() << "Check failed: " #condition

#define PELORIN_INTERNAL_CHECK_OP(left, operation, right, condition)                               \
  PELORIN_INTERNAL_ONE_STATEMENT                                                                   \
  if (const auto pelorin_failure = [](const auto& pelorin_left,                                    \
                                      const auto& pelorin_right) -> std::optional<std::string> {   \
        if (pelorin_left operation pelorin_right)                                                  \
          return std::nullopt;                                                                     \
        return base_internal::ComparisonText(condition, pelorin_left, #operation, pelorin_right);  \
      }(left, right);                                                                              \
      !pelorin_failure) {                                                                          \
  } else                                                                                           \
    PELORIN_LOG_FATAL() << *pelorin_failure

/// The same for a comparison: behind the text, which is the two operands as written here with the
/// operator between them and no blanks of its own, come a blank, the left value, the operator and
/// the right value. Each operand is evaluated once and must be printable.
#define PELORIN_CHECK_EQ(left, right) PELORIN_INTERNAL_CHECK_OP(left, ==, right, #left "==" #right)
#define PELORIN_CHECK_NE(left, right) PELORIN_INTERNAL_CHECK_OP(left, !=, right, #left "!=" #right)
#define PELORIN_CHECK_LT(left, right) PELORIN_INTERNAL_CHECK_OP(left, <, right, #left "<" #right)
#define PELORIN_CHECK_LE(left, right) PELORIN_INTERNAL_CHECK_OP(left, <=, right, #left "<=" #right)
#define PELORIN_CHECK_GT(left, right) PELORIN_INTERNAL_CHECK_OP(left, >, right, #left ">" #right)
#define PELORIN_CHECK_GE(left, right) PELORIN_INTERNAL_CHECK_OP(left, >=, right, #left ">=" #right)
