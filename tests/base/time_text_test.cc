// SPDX-License-Identifier: Apache-2.0
#include "base/time_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

std::string TimeText(std::time_t t) {
  char buffer[kTimeTextCapacity];
  std::memset(buffer, '#', sizeof(buffer));
  FastTimeToBuffer(t, buffer);
  return buffer;
}

TEST(FastTimeToBuffer, WritesTheFirstSecondOf1970) {
  EXPECT_EQ(TimeText(1), "Thu, 01 Jan 1970 00:00:01 GMT");
}

TEST(FastTimeToBuffer, WritesDatesThatAreKnown) {
  EXPECT_EQ(TimeText(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(TimeText(951782400), "Tue, 29 Feb 2000 00:00:00 GMT");
  EXPECT_EQ(TimeText(-1), "Wed, 31 Dec 1969 23:59:59 GMT");
}

TEST(FastTimeToBuffer, TakesZeroAsNow) {
  const std::time_t before = std::time(nullptr);
  const std::string now = TimeText(0);
  const std::time_t after = std::time(nullptr);
  bool found = false;
  for (std::time_t t = before; t <= after; ++t) {
    found = found || now == TimeText(t);
  }
  EXPECT_TRUE(found) << now;
}

TEST(FastTimeToBuffer, WritesNothingBehindThirtyBytesUpToTheYear9999) {
  char buffer[kTimeTextCapacity];
  std::memset(buffer, '#', sizeof(buffer));
  FastTimeToBuffer(253402300799, buffer);
  EXPECT_STREQ(buffer, "Fri, 31 Dec 9999 23:59:59 GMT");
  EXPECT_EQ(buffer[30], '#');
}

TEST(FastTimeToBuffer, WritesYearsOfOtherLengthsWithAllTheirDigits) {
  EXPECT_EQ(TimeText(253402300800), "Sat, 01 Jan 10000 00:00:00 GMT");
  EXPECT_EQ(TimeText(-62167219200), "Sat, 01 Jan 0000 00:00:00 GMT");
  EXPECT_EQ(TimeText(-62167219201), "Fri, 31 Dec -001 23:59:59 GMT");
}

TEST(FastTimeToBuffer, SaysInvalidBeyondTheCalendar) {
  EXPECT_EQ(TimeText(std::numeric_limits<std::time_t>::max()), "Invalid:9223372036854775807");
  EXPECT_EQ(TimeText(std::numeric_limits<std::time_t>::min()), "Invalid:-9223372036854775808");
}

TEST(FastTimeToBuffer, KeepsInsideItsCapacityAtTheLastYears) {
  // The year 2147485547, the last one of the calendar.
  EXPECT_EQ(TimeText(67768036191676799), "Wed, 31 Dec 2147485547 23:59:59 GMT");
  EXPECT_EQ(TimeText(67768036191676800), "Invalid:67768036191676800");
}

TEST(FastTimeToBuffer, SpeaksEnglishInEveryLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "");
  EXPECT_EQ(TimeText(1), "Thu, 01 Jan 1970 00:00:01 GMT");
  std::setlocale(LC_ALL, before.c_str());
}

TEST(FastTimeToBuffer, AgreesWithTheSystemsFormatAtRandomTimes) {
  std::mt19937_64 random(20261121);
  std::uniform_int_distribution<std::time_t> times(1, 253402300799);
  for (int i = 0; i < 2000; ++i) {
    const std::time_t t = times(random);
    std::tm utc{};
    ASSERT_NE(gmtime_r(&t, &utc), nullptr);
    char expected[64];
    // The seed is 20261121; the C locale is in force.
    std::strftime(expected, sizeof(expected), "%a, %d %b %Y %H:%M:%S GMT", &utc);
    ASSERT_EQ(TimeText(t), expected) << t;
  }
}

}  // namespace
