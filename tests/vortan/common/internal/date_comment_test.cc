// SPDX-License-Identifier: Apache-2.0
// Dates on their way through a comment.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/common/internal/comment_fixture.h"

namespace vortan {
namespace {

using test_support::LogRecorder;
using test_support::UseClosedFactory;
using DateMap = std::map<unsigned int, float>;
using Lines = std::vector<std::string>;

unsigned int Key(int year, int month, int day) {
  unsigned int date = 0;
  JpegCommentDate::YearMonthDayKeyFromInts(year, month, day, &date);
  return date;
}

std::string Written(DateMap map) {
  UseClosedFactory();
  const std::unique_ptr<JpegCommentOutputBuffer> block(
      JpegCommentTileAcquisitionDatesOut(new DateMap(std::move(map))));
  return block == nullptr ? "(null)" : block->buffer();
}

std::string ReadBack(const std::string& text) {
  UseClosedFactory();
  const std::unique_ptr<JpegCommentDate> date(JpegCommentAggregatedTileDateIn(text.c_str()));
  if (date == nullptr) {
    return "(null)";
  }
  std::string result;
  date->AppendToString(&result);
  return result;
}

TEST(TileDateComment, IsWrittenFromAMapOfDates) {
  const LogRecorder log;
  EXPECT_EQ(Written({{Key(2017, 12, 31), 0.8f}}), "*#Q0#*0*AD*2017:12:31*#0Q#*");
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileDateComment, HasTheEarlierOfTwoDatesThatCoverTheSame) {
  EXPECT_EQ(Written({{Key(2010, 5, 1), 2.0f}, {Key(2012, 1, 1), 2.0f}}),
            "*#Q0#*0*AD*2010:05:01*#0Q#*");
}

TEST(TileDateComment, IsNotWrittenForAnUnknownDate) {
  const LogRecorder log;
  EXPECT_EQ(Written({{Key(2010, 5, 1), 0.3f}, {Key(2012, 0, 0), 0.3f}}), "(null)");
  EXPECT_EQ(Written({}), "(null)");
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileDateComment, IsNotWrittenForNull) {
  UseClosedFactory();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentTileAcquisitionDatesOut(nullptr), nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: date_map"});
}

TEST(TileDateComment, IsReadBack) {
  const LogRecorder log;
  EXPECT_EQ(ReadBack("*#Q0#*0*AD*2017:12:31*#0Q#*"), "2017:12:31");
  EXPECT_EQ(ReadBack("by hand*#Q0#*0*AE*x*AD*2015:00:17*#0Q#*"), "2015:00:00");
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileDateComment, GivesNothingWithoutABlockOrWithoutADateInIt) {
  const LogRecorder log;
  EXPECT_EQ(ReadBack(""), "(null)");
  EXPECT_EQ(ReadBack("Created with care"), "(null)");
  EXPECT_EQ(ReadBack("*#Q0#*0*AE*2017:12:31*#0Q#*"), "(null)");
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileDateComment, GivesTheUnknownDateForABodyThatIsNone) {
  const LogRecorder log;
  EXPECT_EQ(ReadBack("*#Q0#*0*AD*2013:9:05*#0Q#*"), "0000:00:00");
  EXPECT_EQ(log.lines(), Lines{"2 Unable to parse a JpegCommentDate: setting it to Unknown."});
}

TEST(TileDateComment, IsNotReadFromNull) {
  UseClosedFactory();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentAggregatedTileDateIn(nullptr), nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: encoded_sequence"});
}

TEST(TileDateComment, ReadsBackEveryDateThatIsWritten) {
  std::mt19937 random(20260603);
  for (int i = 0; i < 5000; ++i) {
    const int year = 1 + static_cast<int>(random() % 4095);
    const unsigned int key =
        Key(year, static_cast<int>(random() % 13), static_cast<int>(random() % 32));
    std::string expected;
    JpegCommentDate(key).AppendToString(&expected);
    ASSERT_EQ(ReadBack(Written({{key, 1.0f}})), expected);
  }
}

TEST(TileDateComment, IsReadFromADamagedOneWithoutHarm) {
  const std::string comment = "*#Q0#*0*AD*2017:12:31*#0Q#*";
  for (std::size_t size = 0; size < comment.size(); ++size) {
    // The block is whole from its end marker on.
    EXPECT_EQ(ReadBack(comment.substr(0, size)), size < 26 ? "(null)" : "2017:12:31") << size;
  }
  for (std::size_t at = 0; at < comment.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = comment;
      damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
      const std::string date = ReadBack(damaged);
      EXPECT_TRUE(date == "(null)" || date.size() == 10) << damaged;
      EXPECT_TRUE((at >= 11 && at <= 20) || at == 0 || at == 26 || date == "(null)") << damaged;
    }
  }
}

TEST(TileDateCommentThreads, AreWrittenAndReadOnManyThreadsAtOnce) {
  UseClosedFactory();
  std::vector<int> failures(4, 0);
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < failures.size(); ++number) {
    threads.emplace_back([number, &failures] {
      for (int year = 1; year <= 500; ++year) {
        const int month = static_cast<int>(number) + 1;
        std::string expected;
        JpegCommentDate(Key(year, month, 1)).AppendToString(&expected);
        failures[number] += ReadBack(Written({{Key(year, month, 1), 1.0f}})) == expected ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace vortan
