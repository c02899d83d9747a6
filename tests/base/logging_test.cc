// SPDX-License-Identifier: Apache-2.0
#include "base/logging.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"

namespace {

using test_support::LogRecorder;
using Lines = std::vector<std::string>;

TEST(LogPath, HasNoSinkByDefaultAndDropsEntries) {
  LogSink* const before = SetLogSink(nullptr);
  EXPECT_EQ(before, nullptr);
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  PELORIN_CHECK(1 > 2);
  PELORIN_LOG_ERROR() << "lost";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(LogPath, GoesOnBehindAFailedCheck) {
  int steps = 0;
  PELORIN_CHECK(steps == 1);
  ++steps;
  PELORIN_CHECK_EQ(steps, 7);
  ++steps;
  EXPECT_EQ(steps, 2);
}

TEST(LogPath, HandsAnEntryOverWhenItEnds) {
  const LogRecorder recorder;
  {
    LogMessage message("file.cc", 12, kLogFatal);
    message.stream() << "first ";
    EXPECT_TRUE(recorder.entries().empty());
    message.stream() << "second";
  }
  ASSERT_EQ(recorder.entries().size(), 1u);
  const LogEntry entry = recorder.entries()[0];
  EXPECT_EQ(entry.severity, 3);
  EXPECT_EQ(entry.file, "file.cc");
  EXPECT_EQ(entry.line, 12);
  EXPECT_EQ(entry.text, "first second");
}

TEST(LogPath, GivesNoFileWithErrors) {
  const LogRecorder recorder;
  PELORIN_LOG_ERROR() << "Unknown Format.";
  { LogMessage("file.cc", 12, kLogError).stream() << "other"; }
  EXPECT_EQ(recorder.lines(), (Lines{"2 Unknown Format.", "2 other"}));
  for (const LogEntry& entry : recorder.entries()) {
    EXPECT_EQ(entry.file, "");
    EXPECT_EQ(entry.line, 0);
  }
}

TEST(LogPath, NamesTheSourceOfAFailedCheckFromTheRoot) {
  const LogRecorder recorder;
  PELORIN_CHECK(recorder.entries().size() == 1);
  const int line = __LINE__ - 1;
  ASSERT_EQ(recorder.entries().size(), 1u);
  EXPECT_EQ(recorder.entries()[0].file, "tests/base/logging_test.cc");
  EXPECT_EQ(recorder.entries()[0].line, line);
}

// Where a build lies is nobody's business, and differs from one machine to the next.
TEST(LogPath, NamesAPublishedHeaderFromTheRoot) {
  const LogRecorder recorder;
  for (const char* file : {"rooms/strings/strings/text.h", "../b/rooms/strings/strings/text.h",
                           "/home/rooms/me/build/rooms/strings/strings/text.h"}) {
    LogMessage(file, 1, kLogFatal).stream() << "x";
    EXPECT_EQ(recorder.entries().back().file, "strings/text.h");
  }
  for (const char* file : {"rooms/text.h", "mushrooms/strings/text.h"}) {
    LogMessage(file, 1, kLogFatal).stream() << "x";
    EXPECT_EQ(recorder.entries().back().file, file);
  }
}

TEST(LogPath, KeepsTheSeverityItIsGiven) {
  const LogRecorder recorder;
  for (const int severity : {-1, 0, 1, 2, 3, 4}) {
    LogMessage("", 1, severity).stream() << "x";
  }
  EXPECT_EQ(recorder.lines(), (Lines{"-1 x", "0 x", "1 x", "2 x", "3 x", "4 x"}));
}

TEST(LogPath, RestoresTheSinkBefore) {
  LogRecorder outer;
  {
    const LogRecorder inner;
    PELORIN_LOG_ERROR() << "inner";
    EXPECT_EQ(inner.lines(), Lines{"2 inner"});
  }
  PELORIN_LOG_ERROR() << "outer";
  EXPECT_EQ(outer.lines(), Lines{"2 outer"});
}

TEST(LogPath, WritesNumbersAsTheCLocaleDoes) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    char do_decimal_point() const override { return ','; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  const LogRecorder recorder;
  PELORIN_LOG_ERROR() << 1234567 << " " << 1.5;
  PELORIN_CHECK_EQ(1234567, 7654321);
  std::locale::global(before);
  EXPECT_EQ(recorder.lines(),
            (Lines{"2 1234567 1.5", "3 Check failed: 1234567==7654321 1234567==7654321"}));
}

TEST(Check, MakesNoEntryWhileItHolds) {
  const LogRecorder recorder;
  PELORIN_CHECK(true) << "unseen";
  PELORIN_CHECK_EQ(1, 1);
  PELORIN_CHECK_NE(1, 2);
  PELORIN_CHECK_LT(1, 2);
  PELORIN_CHECK_LE(2, 2);
  PELORIN_CHECK_GT(2, 1);
  PELORIN_CHECK_GE(2, 2) << "unseen";
  EXPECT_EQ(recorder.lines(), Lines{});
}

TEST(Check, WritesTheTextOfItsCondition) {
  const LogRecorder recorder;
  const std::vector<int> list;
  PELORIN_CHECK(list.size() >= 3);
  PELORIN_CHECK(!list.empty()) << " at the start";
  EXPECT_EQ(recorder.lines(), (Lines{"3 Check failed: list.size() >= 3",
                                     "3 Check failed: !list.empty() at the start"}));
}

TEST(Check, WritesBothValuesOfAComparison) {
  const LogRecorder recorder;
  const int level = 40;
  const double altitude = 5.25;
  PELORIN_CHECK_LT(level, 32);
  PELORIN_CHECK_GE(altitude - 7.0, -1.0) << "for this level";
  PELORIN_CHECK_EQ(level, 39);
  PELORIN_CHECK_NE(level, 40);
  PELORIN_CHECK_LE(level, 39);
  PELORIN_CHECK_GT(level, 40);
  EXPECT_EQ(recorder.lines(), (Lines{
                                  "3 Check failed: level<32 40<32",
                                  "3 Check failed: altitude - 7.0>=-1.0 -1.75>=-1for this level",
                                  "3 Check failed: level==39 40==39",
                                  "3 Check failed: level!=40 40!=40",
                                  "3 Check failed: level<=39 40<=39",
                                  "3 Check failed: level>40 40>40",
                              }));
}

TEST(Check, WritesTextsAndCharactersOfAComparisonRaw) {
  const LogRecorder recorder;
  const unsigned char zone = '\x01';
  const std::string marker = "#0Q#";
  PELORIN_CHECK_GE(zone, 'A');
  PELORIN_CHECK_EQ(marker, std::string("*"));
  EXPECT_EQ(recorder.lines(), (Lines{"3 Check failed: zone>='A' \x01>=A",
                                     "3 Check failed: marker==std::string(\"*\") #0Q#==*"}));
}

TEST(Check, EvaluatesEachOperandOnce) {
  int calls = 0;
  const auto count = [&calls] { return ++calls; };
  PELORIN_CHECK(count() > 10);
  EXPECT_EQ(calls, 1);
  PELORIN_CHECK_EQ(count(), count() + 100);
  EXPECT_EQ(calls, 3);
  PELORIN_CHECK_LE(count(), 100);
  EXPECT_EQ(calls, 4);
}

TEST(Check, DoesNotEvaluateFurtherTextWhileItHolds) {
  int calls = 0;
  const auto count = [&calls] { return ++calls; };
  PELORIN_CHECK(true) << count();
  PELORIN_CHECK_EQ(1, 1) << count();
  EXPECT_EQ(calls, 0);
}

TEST(Check, LeavesAnElseToTheIfBeforeIt) {
  int branch = 0;
  if (branch == 1)
    PELORIN_CHECK(true);
  else
    branch = 2;
  EXPECT_EQ(branch, 2);
  if (branch == 1)
    PELORIN_CHECK_EQ(1, 1);
  else
    branch = 3;
  EXPECT_EQ(branch, 3);
}

TEST(Check, FailsOnNaNWhateverTheOrder) {
  const LogRecorder recorder;
  const double altitude = std::numeric_limits<double>::quiet_NaN();
  PELORIN_CHECK_GE(altitude, -1.0);
  PELORIN_CHECK_LT(altitude, 5.0);
  EXPECT_EQ(recorder.entries().size(), 2u);
}

TEST(EmptyLogOperations, MakeNoEntryAndPrintNothing) {
  const LogRecorder recorder;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  WriteLog(kLogFatal, "text");
  InitLogFiles("program");
  LogPrintf print;
  print("%d", 1);
  print(kLogFatal, "%d", 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(recorder.lines(), Lines{});
}

TEST(EmptyLogOperations, InitChangesNothingOfAnEntry) {
  const LogRecorder recorder;
  { LogMessage("a.cc", 1, kLogFatal).Init("b.cc", 2, kLogError); }
  ASSERT_EQ(recorder.entries().size(), 1u);
  EXPECT_EQ(recorder.entries()[0].file, "a.cc");
  EXPECT_EQ(recorder.entries()[0].severity, kLogFatal);
}

// A sink that uses the library it listens to.
class TalkativeSink : public LogSink {
 public:
  void OnLogEntry(const LogEntry& /*entry*/) noexcept override {
    ++calls;
    PELORIN_LOG_ERROR() << "from the sink";
    PELORIN_CHECK_EQ(1, 2);
    replaced = SetLogSink(nullptr);
  }
  int calls = 0;
  LogSink* replaced = this;
};

TEST(LogSink, LosesEntriesThatItMakesItselfAndCannotReplaceItself) {
  TalkativeSink sink;
  SetLogSink(&sink);
  PELORIN_LOG_ERROR() << "one";
  PELORIN_LOG_ERROR() << "two";
  EXPECT_EQ(sink.calls, 2);
  EXPECT_EQ(sink.replaced, nullptr);
  EXPECT_EQ(SetLogSink(nullptr), &sink);
}

}  // namespace
