// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "vortan/common/internal/jpeg_comments_dates.h"
#include "vortan/common/internal/month.h"

namespace vortan {
namespace {

using test_support::LogRecorder;
using Lines = std::vector<std::string>;
using Ints = std::array<int, 3>;

constexpr char kUnparsed[] = "2 Unable to parse a JpegCommentDate: setting it to Unknown.";

unsigned int KeyOf(int year, int month, int day) {
  unsigned int date = 77;
  EXPECT_TRUE(JpegCommentDate::YearMonthDayKeyFromInts(year, month, day, &date));
  return date;
}

unsigned int RawKey(unsigned int year, unsigned int month, unsigned int day) {
  return year << 9 | month << 5 | day;
}

Ints IntsOf(unsigned int date) {
  Ints ints = {-1, -1, -1};
  JpegCommentDate::YearMonthDayKeyAsInts(date, &ints[0], &ints[1], &ints[2]);
  return ints;
}

Ints Parsed(const std::string& text) {
  const JpegCommentDate date(text);
  return {date.year(), date.month(), date.day()};
}

std::string TextOf(const JpegCommentDate& date) {
  std::string text;
  date.AppendToString(&text);
  return text;
}

std::string EndOf(unsigned int date) {
  JpegCommentDate::AdjustUnknownDatePeriodsToEnd(&date);
  return TextOf(JpegCommentDate(date));
}

TEST(JpegCommentFamilies, AreTheSameTextsAtEveryCall) {
  EXPECT_EQ(JpegCommentFamilyAggregatedTileAcquisitionDate(), "AD");
  EXPECT_EQ(JpegCommentFamilyAggregatedTileAcquisitionEndDate(), "AE");
  EXPECT_EQ(&JpegCommentFamilyAggregatedTileAcquisitionDate(),
            &JpegCommentFamilyAggregatedTileAcquisitionDate());
}

TEST(JpegCommentDate, HasItsConstants) {
  EXPECT_EQ(JpegCommentDate::kYearUnknown, 0);
  EXPECT_EQ(JpegCommentDate::kMonthUnknown, 0);
  EXPECT_EQ(JpegCommentDate::kDayUnknown, 0);
  EXPECT_EQ(JpegCommentDate::kMinimumYear, 1);
  EXPECT_EQ(JpegCommentDate::kMaximumYear, 4095);
}

TEST(JpegCommentDate, IsValidUpToItsLastYearMonthAndDay) {
  EXPECT_TRUE(JpegCommentDate::AreYearMonthDayValid(0, 0, 0));
  EXPECT_TRUE(JpegCommentDate::AreYearMonthDayValid(4095, 12, 31));
  EXPECT_TRUE(JpegCommentDate::AreYearMonthDayValid(2010, 2, 31));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(4096, 1, 1));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(2010, 13, 1));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(2010, 1, 32));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(-1, 1, 1));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(2010, -1, 1));
  EXPECT_FALSE(JpegCommentDate::AreYearMonthDayValid(2010, 1, -1));
}

TEST(JpegCommentDate, HasNoMonthWithoutAYearAndNoDayWithoutAMonth) {
  const struct {
    int year;
    Ints month_day;
    Ints expected;
  } cases[] = {{0, {5, 6}, {0, 0}}, {2010, {0, 6}, {0, 0}}, {2010, {5, 6}, {5, 6}}};
  for (const auto& entry : cases) {
    int month = entry.month_day[0];
    int day = entry.month_day[1];
    JpegCommentDate::PropagateUnknowns(entry.year, &month, &day);
    EXPECT_EQ(month, entry.expected[0]);
    EXPECT_EQ(day, entry.expected[1]);
  }
}

TEST(JpegCommentDate, PropagatesPastNulls) {
  int day = 5;
  JpegCommentDate::PropagateUnknowns(2010, nullptr, &day);
  EXPECT_EQ(day, 0);
  int month = 5;
  JpegCommentDate::PropagateUnknowns(0, &month, nullptr);
  EXPECT_EQ(month, 0);
}

TEST(JpegCommentDateKey, PacksDayMonthAndYearInto21Bits) {
  EXPECT_EQ(KeyOf(2017, 12, 31), 2017u * 512 + 12 * 32 + 31);
  EXPECT_EQ(KeyOf(4095, 12, 31), 0x1FFF9Fu);
  EXPECT_EQ(KeyOf(0, 0, 0), 0u);
}

TEST(JpegCommentDateKey, PropagatesUnknowns) {
  EXPECT_EQ(KeyOf(2012, 0, 15), KeyOf(2012, 0, 0));
  EXPECT_EQ(KeyOf(0, 3, 15), 0u);
}

TEST(JpegCommentDateKey, IsZeroForAnInvalidDate) {
  const LogRecorder log;
  for (const Ints& ints : {Ints{2010, 13, 1}, Ints{4096, 1, 1}, Ints{2010, 1, 32}}) {
    unsigned int date = 77;
    EXPECT_FALSE(JpegCommentDate::YearMonthDayKeyFromInts(ints[0], ints[1], ints[2], &date));
    EXPECT_EQ(date, 0u);
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentDateKey, OrdersAsDatesDo) {
  EXPECT_LT(KeyOf(2016, 12, 31), KeyOf(2017, 0, 0));
  EXPECT_LT(KeyOf(2017, 0, 0), KeyOf(2017, 1, 0));
  EXPECT_LT(KeyOf(2017, 1, 31), KeyOf(2017, 2, 1));
}

TEST(JpegCommentDateKey, UnpacksEveryValidDateToWhatItWasPackedFrom) {
  for (int year = 1; year <= 4095; year += 7) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 0; day <= 31; ++day) {
        ASSERT_EQ(IntsOf(KeyOf(year, month, day)), (Ints{year, month, day}));
      }
    }
  }
}

TEST(JpegCommentDateKey, UnpacksAnyNumber) {
  EXPECT_EQ(IntsOf(0xFFFFFFFFu), (Ints{8388607, 15, 31}));
  EXPECT_EQ(IntsOf(RawKey(5000, 14, 0)), (Ints{5000, 14, 0}));
}

TEST(JpegCommentDateKey, LogsNulls) {
  const LogRecorder log;
  EXPECT_FALSE(JpegCommentDate::YearMonthDayKeyFromInts(2010, 1, 1, nullptr));
  JpegCommentDate::AdjustUnknownDatePeriodsToEnd(nullptr);
  EXPECT_EQ(log.lines(), Lines(2, "3 Check failed: date"));
}

TEST(JpegCommentDateKey, LogsEachNullOfItsPartsAndStoresNothing) {
  Ints ints = {-1, -1, -1};
  const LogRecorder log;
  JpegCommentDate::YearMonthDayKeyAsInts(1, nullptr, &ints[1], &ints[2]);
  JpegCommentDate::YearMonthDayKeyAsInts(1, &ints[0], nullptr, &ints[2]);
  JpegCommentDate::YearMonthDayKeyAsInts(1, &ints[0], &ints[1], nullptr);
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: year", "3 Check failed: month", "3 Check failed: day"}));
  EXPECT_EQ(ints, (Ints{-1, -1, -1}));
}

TEST(JpegCommentDateEnd, IsTheLastDayOfAMonthOrYear) {
  const LogRecorder log;
  EXPECT_EQ(EndOf(KeyOf(2012, 2, 0)), "2012:02:29");
  EXPECT_EQ(EndOf(KeyOf(2011, 2, 0)), "2011:02:28");
  EXPECT_EQ(EndOf(KeyOf(1900, 2, 0)), "1900:02:28");
  EXPECT_EQ(EndOf(KeyOf(2000, 2, 0)), "2000:02:29");
  EXPECT_EQ(EndOf(KeyOf(2011, 4, 0)), "2011:04:30");
  EXPECT_EQ(EndOf(KeyOf(2011, 12, 0)), "2011:12:31");
  EXPECT_EQ(EndOf(KeyOf(2011, 0, 0)), "2011:12:31");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentDateEnd, LeavesACompleteDate) {
  EXPECT_EQ(EndOf(KeyOf(2010, 2, 31)), "2010:02:31");
  unsigned int date = RawKey(5000, 14, 31);
  JpegCommentDate::AdjustUnknownDatePeriodsToEnd(&date);
  EXPECT_EQ(date, RawKey(5000, 14, 31));
}

TEST(JpegCommentDateEnd, IsTheFirstDayOfAllForAKeyWithoutYear) {
  const LogRecorder log;
  EXPECT_EQ(EndOf(RawKey(0, 7, 0)), "0001:01:01");
  EXPECT_EQ(EndOf(RawKey(0, 7, 9)), "0001:01:01");
  EXPECT_EQ(EndOf(RawKey(0, 0, 9)), "0001:01:01");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentDateEnd, IsTheLastDayOfTheYearForADayWithoutMonth) {
  EXPECT_EQ(EndOf(RawKey(2011, 0, 9)), "2011:12:31");
}

TEST(JpegCommentDateEnd, LogsTheUnknownDateAndMakesItTheFirstDayOfAll) {
  const LogRecorder log;
  EXPECT_EQ(EndOf(0), "0001:01:01");
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: *date"});
}

TEST(JpegCommentDateEnd, TakesMonthsBeyondTheTwelfthForThoseOfTheNextYear) {
  EXPECT_EQ(EndOf(RawKey(2011, 13, 0)), "2011:13:31");
  EXPECT_EQ(EndOf(RawKey(2011, 14, 0)), "2011:14:29");
  EXPECT_EQ(EndOf(RawKey(2012, 14, 0)), "2012:14:28");
  EXPECT_EQ(EndOf(RawKey(2011, 15, 0)), "2011:15:31");
}

TEST(JpegCommentDateEnd, KeepsYearsThatNoValidDateHas) {
  unsigned int date = RawKey(8388607, 14, 0);
  JpegCommentDate::AdjustUnknownDatePeriodsToEnd(&date);
  EXPECT_EQ(date, RawKey(8388607, 14, 29));
}

TEST(Month, RunsOnIntoTheNextYears) {
  Month month(14);
  EXPECT_EQ(month.Normalize(), 1);
  EXPECT_EQ(month.number(), 2);
  EXPECT_EQ(Month(12).Normalize(), 0);
  EXPECT_EQ(Month(25).Normalize(), 2);
}

TEST(Month, HasItsLengthInEachYear) {
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int number = 1; number <= 12; ++number) {
    EXPECT_EQ(Month(number).Size(2011), lengths[number - 1]) << number;
  }
  EXPECT_EQ(Month(2).Size(2012), 29);
  EXPECT_EQ(Month(2).Size(2100), 28);
}

TEST(JpegCommentDateText, HasTenCharacters) {
  EXPECT_EQ(TextOf(JpegCommentDate(KeyOf(2017, 12, 31))), "2017:12:31");
  EXPECT_EQ(TextOf(JpegCommentDate(KeyOf(7, 3, 0))), "0007:03:00");
  EXPECT_EQ(TextOf(JpegCommentDate()), "0000:00:00");
}

TEST(JpegCommentDateText, IsAppended) {
  std::string text = "at ";
  JpegCommentDate(KeyOf(2017, 12, 31)).AppendToString(&text);
  EXPECT_EQ(text, "at 2017:12:31");
  JpegCommentDate().AppendToString(nullptr);
}

TEST(JpegCommentDateText, IsCutToTenCharacters) {
  EXPECT_EQ(TextOf(JpegCommentDate(RawKey(12345, 12, 31))), "12345:12:3");
  EXPECT_EQ(TextOf(JpegCommentDate(RawKey(8388607, 12, 31))), "8388607:12");
}

TEST(JpegCommentDateText, ReadsBackWhatWasWritten) {
  const LogRecorder log;
  for (const Ints& ints : {Ints{2017, 12, 31}, Ints{1, 1, 1}, Ints{4095, 12, 0}, Ints{3, 0, 0},
                           Ints{0, 0, 0}, Ints{2010, 2, 31}}) {
    const JpegCommentDate date(KeyOf(ints[0], ints[1], ints[2]));
    EXPECT_EQ(Parsed(TextOf(date)), ints);
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentDateText, PropagatesUnknowns) {
  EXPECT_EQ(Parsed("2012:00:15"), (Ints{2012, 0, 0}));
  EXPECT_EQ(Parsed("2015:00:17"), (Ints{2015, 0, 0}));
  EXPECT_EQ(Parsed("0000:05:15"), (Ints{0, 0, 0}));
}

TEST(JpegCommentDateText, IsReadWithBlanksAndSigns) {
  EXPECT_EQ(Parsed("2017: 1: 2"), (Ints{2017, 1, 2}));
  EXPECT_EQ(Parsed("+017:+1:+2"), (Ints{17, 1, 2}));
  EXPECT_EQ(Parsed("2017:-0:-0"), (Ints{2017, 0, 0}));
}

TEST(JpegCommentDateText, IsReadPastItsEnd) {
  EXPECT_EQ(Parsed("2017:12:3x"), (Ints{2017, 12, 3}));
  EXPECT_EQ(Parsed("2017:12:31 at noon"), (Ints{2017, 12, 31}));
  EXPECT_EQ(Parsed("2017:12: 7"), (Ints{2017, 12, 7}));
}

TEST(JpegCommentDateText, HasItsNumbersEndedByAZeroByteButNotItsLength) {
  EXPECT_EQ(Parsed(std::string("2017:12:3\0", 10)), (Ints{2017, 12, 3}));
  EXPECT_EQ(Parsed(std::string("2017:1\0:31", 10)), (Ints{2017, 1, 31}));
}

TEST(JpegCommentDateText, IsUnknownAndLoggedWhereItCannotBeRead) {
  for (const std::string& text :
       {std::string(), std::string("2013:9:05"), std::string("2017:12:3"),
        std::string("2013:9:005"), std::string("2017-12-31"), std::string("2017:12-31"),
        std::string("2017:13:01"), std::string("2017:12:32"), std::string("2017:12:311"),
        std::string("    :01:01"), std::string("2017:  :01"), std::string("2017:01:xx"),
        std::string("-001:01:01"), std::string("2017:12:\0001", 10), std::string("2017:-1:01")}) {
    const LogRecorder log;
    EXPECT_EQ(Parsed(text), (Ints{0, 0, 0})) << text;
    EXPECT_EQ(log.lines(), Lines{kUnparsed}) << text;
  }
}

TEST(JpegCommentDateText, GivesAValidDateWhateverItIs) {
  std::mt19937 random(20260602);
  for (int i = 0; i < 20000; ++i) {
    std::string text = "2017:12:31";
    for (int flips = 0; flips < 3; ++flips) {
      text[random() % text.size()] = static_cast<char>(random() % 256);
    }
    text.resize(random() % 13, '0');
    const Ints date = Parsed(text);
    ASSERT_TRUE(JpegCommentDate::AreYearMonthDayValid(date[0], date[1], date[2]));
    ASSERT_EQ(IntsOf(JpegCommentDate(text).Key()), date);
  }
}

TEST(JpegCommentDate, IsTakenFromAKeyAsItUnpacks) {
  const LogRecorder log;
  const JpegCommentDate date(RawKey(0, 13, 5));
  EXPECT_EQ(date.year(), 0);
  EXPECT_EQ(date.month(), 13);
  EXPECT_EQ(date.day(), 5);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(date.Key(), 0u);
  EXPECT_EQ(log.lines(),
            Lines{"3 Check failed: YearMonthDayKeyFromInts(year_, month_, day_, &date)"});
}

}  // namespace
}  // namespace vortan
