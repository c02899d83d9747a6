// SPDX-License-Identifier: Apache-2.0
#include "strings/stringprintf.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"

namespace {

using Lines = std::vector<std::string>;

TEST(StringPrintf, FormatsIntoANewString) {
  EXPECT_EQ(StringPrintf("%04d:%02d:%02d", 2017, 12, 31), "2017:12:31");
  EXPECT_EQ(StringPrintf("%u%c", 32u, 'T'), "32T");
  EXPECT_EQ(StringPrintf("%s", ""), "");
}

TEST(StringPrintf, WritesTextOfAnyLengthAroundItsStackBuffer) {
  for (const std::size_t length : {1022u, 1023u, 1024u, 1025u, 5000u}) {
    const std::string text = std::string(length - 1, 'x') + "y";
    EXPECT_EQ(StringPrintf("%s", text.c_str()), text) << length;
    EXPECT_EQ(StringPrintf("%d%s", 12, text.c_str()), "12" + text) << length;
  }
}

TEST(StringPrintf, UsesFreshArgumentsInTheSecondAttempt) {
  const std::string text(1024, 'x');
  EXPECT_EQ(StringPrintf("%d %s %d %.1f", 1, text.c_str(), 2, 0.5), "1 " + text + " 2 0.5");
}

TEST(StringPrintf, KeepsNulsThatTheFormatMakes) {
  EXPECT_EQ(StringPrintf("a%cb", '\0'), std::string("a\0b", 3));
}

// No byte form in the C locale, which the tests run in.
constexpr wchar_t kNoByteForm[] = {0x4e00, 0};

TEST(StringPrintf, GivesNothingForAFormatThatFails) {
  EXPECT_EQ(StringPrintf("text %ls", kNoByteForm), "");
}

TEST(StringAppendF, Appends) {
  std::string text = "a";
  StringAppendF(&text, "%d", 1);
  StringAppendF(&text, "%s", std::string(2000, 'x').c_str());
  EXPECT_EQ(text, "a1" + std::string(2000, 'x'));
}

TEST(StringAppendF, LeavesTheStringAsItWasWhenTheFormatFails) {
  std::string text = "a";
  StringAppendF(&text, "%ls", kNoByteForm);
  EXPECT_EQ(text, "a");
}

TEST(StringAppendF, MayTakeItsArgumentFromTheStringItself) {
  std::string text(1500, 'x');
  StringAppendF(&text, "%s!", text.c_str());
  EXPECT_EQ(text, std::string(3000, 'x') + "!");
}

TEST(SStringPrintf, ReplacesAlsoFromItsOwnText) {
  std::string text = "old";
  EXPECT_EQ(&SStringPrintf(&text, "%s new", text.c_str()), &text);
  EXPECT_EQ(text, "old new");
  SStringPrintf(&text, "%ls", kNoByteForm);
  EXPECT_EQ(text, "");
}

void AppendTwice(std::string* text, const char* format, ...) {
  std::va_list ap;
  va_start(ap, format);
  StringAppendV(text, format, ap);
  StringAppendV(text, format, ap);
  va_end(ap);
}

TEST(StringAppendV, LeavesTheArgumentListAsItWas) {
  std::string text;
  AppendTwice(&text, "%d,%d;", 1, 2);
  EXPECT_EQ(text, "1,2;1,2;");
}

TEST(StringPrintfVector, PassesItsStringsAsArguments) {
  EXPECT_EQ(StringPrintfVector("%s-%3s-%s%%", {"a", "b", "c"}), "a-  b-c%");
  EXPECT_EQ(StringPrintfVector("none", {}), "none");
}

TEST(StringPrintfVector, FillsMissingArgumentsWithEmptyText) {
  EXPECT_EQ(StringPrintfVector("%s|%s|%s", {"a"}), "a||");
}

std::string Conversions(int count) {
  std::string format;
  for (int i = 0; i < count; ++i) {
    format += "%s";
  }
  return format;
}

TEST(StringPrintfVector, TakesThirtyTwoStrings) {
  const test_support::LogRecorder recorder;
  const std::vector<std::string> texts(32, "x");
  EXPECT_EQ(StringPrintfVector(Conversions(32).c_str(), texts), std::string(32, 'x'));
  EXPECT_EQ(recorder.lines(), Lines{});
}

TEST(StringPrintfVector, ReportsMoreAndPassesTheFirstThirtyTwo) {
  const test_support::LogRecorder recorder;
  std::vector<std::string> texts(33, "x");
  texts.back() = "y";
  EXPECT_EQ(StringPrintfVector(Conversions(32).c_str(), texts), std::string(32, 'x'));
  EXPECT_EQ(recorder.lines(),
            Lines{"3 Check failed: v.size()<=kStringPrintfVectorMaxArgs 33<=32"
                  "StringPrintfVector currently only supports up to 32 arguments. "
                  "Feel free to add support for more if you need it."});
}

}  // namespace
