// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/dates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace pelorin {
namespace command {
namespace {

double Read(const std::string& text) {
  double date = std::nan("");
  EXPECT_TRUE(ParseDate(text, "--at", &date).ok()) << text;
  return date;
}

TEST(Dates, AreReadAsDaysOfTheCalendar) {
  EXPECT_EQ(Read("2000-01-01"), 2451544.5);
  EXPECT_EQ(Read("1858-11-17"), 2400000.5);
  EXPECT_EQ(Read("2024-02-29"), 2460369.5);
  EXPECT_EQ(Read("-004713-11-24T12:00"), 0.0);
  EXPECT_EQ(Read("+010000-01-01"), Read("9999-12-31") + 1.0);
}

TEST(Dates, AreReadWithATimeAndAnOffset) {
  EXPECT_EQ(Read("2000-01-01T12:00"), 2451545.0);
  EXPECT_EQ(Read("2000-01-01 12:00:00Z"), 2451545.0);
  EXPECT_EQ(Read("2000-01-01T14:00+02:00"), 2451545.0);
  EXPECT_EQ(Read("2000-01-01T06:30:00-05:30"), 2451545.0);
  EXPECT_NEAR(Read("2000-01-01T12:00:43.2"), 2451545.0005, 1e-9);
}

TEST(Dates, AreReadAsJulianDates) {
  EXPECT_EQ(Read("2451545"), 2451545.0);
  EXPECT_EQ(Read("2451545.25"), 2451545.25);
  EXPECT_EQ(Read("JD0"), 0.0);
  EXPECT_EQ(Read("JD -1000.5"), -1000.5);
  EXPECT_EQ(Read("jd625332.5"), 625332.5);
}

TEST(Dates, CanBeNow) {
  EXPECT_GT(Read("now"), 2460000.0);
  EXPECT_LT(Read("now"), 2600000.0);
}

TEST(Dates, AreRefusedIfTheyAreNone) {
  for (const char* text : {"",
                           "2024",
                           "2024-02",
                           "2023-02-29",
                           "2024-13-01",
                           "2024-00-10",
                           "2024-01-00",
                           "2024-04-31",
                           "24-01-01",
                           "2024-1-1",
                           "2024-01-01T",
                           "2024-01-01T24:00",
                           "2024-01-01T12:60",
                           "2024-01-01T12:00:61",
                           "2024-01-01T12",
                           "2024-01-01T12:00+24:00",
                           "2024-01-01T12:00+2",
                           "2024-01-01Z",
                           "20240101",
                           "123456.5",
                           "JD",
                           "JDnan",
                           "JD1e9",
                           "JD99999999999",
                           "inf",
                           "now ",
                           "yesterday",
                           "+100000-01-01",
                           "-123456-01-01",
                           "2024-01-01T12:00:00.1234567890"}) {
    double date = -1.0;
    const Outcome outcome = ParseDate(text, "--at", &date);
    EXPECT_EQ(outcome.code(), ExitCode::kWrongUsage) << text;
    EXPECT_EQ(date, -1.0) << text;
  }
  double date = -1.0;
  EXPECT_FALSE(ParseDate(std::string(100000, '1'), "--at", &date).ok());
  EXPECT_LT(ParseDate(std::string(100000, '1'), "--at", &date).Line().size(), 300u);
  EXPECT_FALSE(ParseDate(std::string("2024-01-01\0", 11), "--at", &date).ok());
}

TEST(Dates, AreWrittenToTheSecond) {
  EXPECT_EQ(DateText(2451545.0), "2000-01-01T12:00:00Z");
  EXPECT_EQ(DateText(2460369.5), "2024-02-29T00:00:00Z");
  EXPECT_EQ(DateText(2451545.0 + 0.6 / 86400.0), "2000-01-01T12:00:01Z");
  EXPECT_EQ(DateText(2451544.5 - 0.4 / 86400.0), "2000-01-01T00:00:00Z");
  EXPECT_EQ(DateText(0.0), "-004713-11-24T12:00:00Z");
  EXPECT_EQ(DateText(Read("+012345-06-07")), "+012345-06-07T00:00:00Z");
}

TEST(Dates, AreReadAgainAsTheyWereWritten) {
  for (double date = Read("-099999-01-01"); date < Read("+099999-12-31"); date += 99999.875) {
    ASSERT_NEAR(Read(DateText(date)), date, 0.6 / 86400.0) << DateText(date);
  }
}

TEST(Dates, MakeARowWithBothEnds) {
  EXPECT_EQ(DateRow(10.0, 12.0, 1.0), (std::vector<double>{10.0, 11.0, 12.0}));
  EXPECT_EQ(DateRow(10.0, 11.9, 1.0), (std::vector<double>{10.0, 11.0}));
  EXPECT_EQ(DateRow(10.0, 10.0, 5.0), (std::vector<double>{10.0}));
  EXPECT_EQ(DateRow(0.0, 1.0, 0.1).size(), 11u);
  EXPECT_TRUE(DateRow(10.0, 9.0, 1.0).empty());
}

}  // namespace
}  // namespace command
}  // namespace pelorin
