// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "vortan/common/internal/jpeg_comments_dates.h"

namespace vortan {
namespace {

using test_support::LogRecorder;
using DateMap = std::map<unsigned int, float>;
using Lines = std::vector<std::string>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr char kNotFinalized[] = "3 Check failed: finalized()";

unsigned int Year(int year, int month = 0, int day = 0) {
  unsigned int date = 0;
  JpegCommentDate::YearMonthDayKeyFromInts(year, month, day, &date);
  return date;
}

std::string TextOf(JpegCommentDate* owned) {
  const std::unique_ptr<JpegCommentDate> date(owned);
  std::string text;
  date->AppendToString(&text);
  return text;
}

// A message whose map a test can set before it is finalized.
template <typename Base>
class OpenMessage : public Base {
 public:
  explicit OpenMessage(float bound, DateMap map) : Base(bound) {
    // The map is owned by the base, which gives no other way in than a comment.
    const_cast<DateMap&>(this->date_map()) = std::move(map);
  }
};
using Dominant = OpenMessage<JpegCommentMessageDominantTileAcquisitionDate>;
using Percentile = OpenMessage<JpegCommentMessagePercentileTileAcquisitionDate>;

DateMap Finalized(DateMap map) {
  Dominant message(1.0f, std::move(map));
  message.Finalize();
  DateMap result;
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> entry(
      message.CreateIterator());
  for (; !entry->Done(); entry->Next()) {
    result[entry->key()] = entry->coverage();
  }
  return result;
}

std::string DominantOf(DateMap map, float bound) {
  Dominant message(bound, std::move(map));
  message.Finalize();
  return TextOf(message.AggregatedDate());
}

TEST(TileAcquisitionDates, GiveWhatIsMissingToTheUnknownDate) {
  const LogRecorder log;
  const DateMap map = Finalized({{Year(2010, 5, 1), 0.3f}, {Year(2012), 0.3f}});
  ASSERT_EQ(map.size(), 3u);
  EXPECT_EQ(map.at(0), 1.0f - (0.3f + 0.3f));
  EXPECT_EQ(map.at(Year(2012)), 0.3f);
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileAcquisitionDates, AddWhatIsMissingToAnUnknownDateThatIsThere) {
  const DateMap map = Finalized({{0, 0.25f}, {Year(2012), 0.5f}});
  EXPECT_EQ(map, (DateMap{{0, 0.5f}, {Year(2012), 0.5f}}));
}

TEST(TileAcquisitionDates, OfAnEmptyMapAreAllUnknown) {
  EXPECT_EQ(Finalized({}), (DateMap{{0, 1.0f}}));
  EXPECT_EQ(Finalized({{Year(2012), 0.0f}}), (DateMap{{0, 1.0f}, {Year(2012), 0.0f}}));
}

TEST(TileAcquisitionDates, AreScaledDownToFullCoverage) {
  const LogRecorder log;
  EXPECT_EQ(Finalized({{Year(2010, 5, 1), 2.0f}, {Year(2012, 1, 1), 2.0f}}),
            (DateMap{{Year(2010, 5, 1), 0.5f}, {Year(2012, 1, 1), 0.5f}}));
  EXPECT_TRUE(log.lines().empty());
}

TEST(TileAcquisitionDates, AreDividedByTheirSum) {
  // 5/7 by division and by the reciprocal differ in the last bit.
  const DateMap map = Finalized({{Year(2010), 2.0f}, {Year(2012), 5.0f}});
  EXPECT_EQ(map.at(Year(2012)), 5.0f / 7.0f);
  const DateMap hard = Finalized({{Year(2010), 44.0f}, {Year(2012), 5.0f}});
  EXPECT_NE(5.0f * (1.0f / 49.0f), 5.0f / 49.0f);
  EXPECT_EQ(hard.at(Year(2012)), 5.0f / 49.0f);
}

TEST(TileAcquisitionDates, AreAddedFromTheLatestToTheEarliest) {
  // Added the other way these come to 1.0000001 and would be scaled.
  const DateMap map = {{Year(2000), .05f},
                       {Year(2001), .34f},
                       {Year(2002), .31f},
                       {Year(2003), .1f},
                       {Year(2004), .2f}};
  float forwards = 0.0f;
  for (const auto& entry : map) {
    forwards += entry.second;
  }
  ASSERT_GT(forwards, 1.0f);
  EXPECT_EQ(Finalized(map), map);
}

TEST(TileAcquisitionDates, ThatComeToExactlyOneGetNoUnknownEntry) {
  const DateMap map = {{Year(2010), 0.5f}, {Year(2012), 0.5f}};
  EXPECT_EQ(Finalized(map), map);
}

TEST(TileAcquisitionDates, BecomeNanByANanWithAFatalEntry) {
  const LogRecorder log;
  const DateMap map = Finalized({{Year(2010), 0.5f}, {Year(2012), kNan}});
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: factor>0.0 nan>0"});
  EXPECT_EQ(map.size(), 2u);
  EXPECT_TRUE(std::isnan(map.at(Year(2010))));
}

TEST(TileAcquisitionDates, AreTakenWithTheirSigns) {
  const DateMap map = Finalized({{Year(2010), -0.5f}, {Year(2012), 0.5f}});
  EXPECT_EQ(map, (DateMap{{0, 1.0f}, {Year(2010), -0.5f}, {Year(2012), 0.5f}}));
}

TEST(TileAcquisitionDates, CanGainASliverOfUnknownByASecondEnd) {
  DateMap map;
  for (int i = 0; i < 10; ++i) {
    map[Year(2000 + i)] = static_cast<float>(i + 2) * 0.7f;
  }
  Dominant message(1.0f, map);
  const LogRecorder log;
  message.Finalize();
  message.Finalize();
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: !finalized_"});
  float sum = 0.0f;
  for (auto entry = map.rbegin(); entry != map.rend(); ++entry) {
    sum += entry->second;
  }
  float scaled = 0.0f;
  for (auto entry = map.rbegin(); entry != map.rend(); ++entry) {
    scaled += entry->second / sum;
  }
  ASSERT_LT(scaled, 1.0f);
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> first(
      message.CreateIterator());
  EXPECT_EQ(first->key(), 0u);
  EXPECT_EQ(first->coverage(), 1.0f - scaled);
}

TEST(TileAcquisitionDates, AreWalkedInTheOrderOfTheirKeys) {
  Dominant message(1.0f, {{Year(2012), 0.5f}, {Year(2010, 3), 0.25f}, {Year(2010), 0.25f}});
  message.Finalize();
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> entry(
      message.CreateIterator());
  std::vector<unsigned int> keys;
  for (; !entry->Done(); entry->Next()) {
    keys.push_back(entry->key());
  }
  EXPECT_EQ(keys, (std::vector<unsigned int>{Year(2010), Year(2010, 3), Year(2012)}));
}

TEST(TileAcquisitionDates, LogReadingBeforeTheirEndAndAreRead) {
  Dominant message(0.5f, {{Year(2012, 3, 4), 0.5f}});
  const LogRecorder log;
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> entry(
      message.CreateIterator());
  EXPECT_EQ(entry->key(), Year(2012, 3, 4));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: finalized_"});
  std::string text;
  message.AppendToString(&text);
  EXPECT_EQ(text, "2012:03:04");
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: finalized_", "3 Check failed: finalized_", kNotFinalized}));
}

TEST(TileAcquisitionDates, WriteTheirOneDate) {
  Dominant message(0.5f, {{Year(2012, 3, 4), 1.0f}});
  message.Finalize();
  std::string text = "on ";
  message.AppendToString(&text);
  EXPECT_EQ(text, "on 2012:03:04");
  EXPECT_EQ(message.BodyLengthInChars(), 10u);
  message.AppendToString(nullptr);
}

TEST(TileAcquisitionDates, ReadADateWithFullCoverage) {
  Dominant message(1.0f, {{Year(1999), 0.5f}});
  const LogRecorder log;
  EXPECT_TRUE(message.FromString("2012:03:04"));
  EXPECT_TRUE(message.finalized());
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(TextOf(message.AggregatedDate()), "2012:03:04");
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> entry(
      message.CreateIterator());
  EXPECT_EQ(entry->coverage(), 1.0f);
  entry->Next();
  EXPECT_TRUE(entry->Done());
}

TEST(TileAcquisitionDates, ReadTextThatIsNoDateAsTheUnknownOne) {
  Dominant message(1.0f, {});
  const LogRecorder log;
  EXPECT_TRUE(message.FromString("2013:9:05"));
  EXPECT_EQ(log.lines(), Lines{"2 Unable to parse a JpegCommentDate: setting it to Unknown."});
  EXPECT_EQ(TextOf(message.AggregatedDate()), "0000:00:00");
}

TEST(TileAcquisitionDates, LogReadingAfterTheirEndAndAreReplaced) {
  Dominant message(1.0f, {});
  message.Finalize();
  const LogRecorder log;
  EXPECT_TRUE(message.FromString("2012:03:04"));
  EXPECT_EQ(log.lines(), Lines(2, "3 Check failed: !finalized_"));
  EXPECT_EQ(TextOf(message.AggregatedDate()), "2012:03:04");
}

TEST(DominantDate, IsUnknownWhereTheUnknownCoversTheMost) {
  const DateMap map = {{Year(2010, 5, 1), 0.3f}, {Year(2012), 0.3f}};
  for (const float bound : {0.01f, 0.3f, 0.4f, 1.0f}) {
    EXPECT_EQ(DominantOf(map, bound), "0000:00:00") << bound;
  }
}

TEST(DominantDate, IsTheEarlierOfTwoThatCoverTheSame) {
  const DateMap map = {{Year(2010, 5, 1), 2.0f}, {Year(2012, 1, 1), 2.0f}};
  EXPECT_EQ(DominantOf(map, 0.5f), "2010:05:01");
  EXPECT_EQ(DominantOf(map, std::nextafter(0.5f, 1.0f)), "0000:00:00");
}

TEST(DominantDate, PassesWithExactlyTheBound) {
  EXPECT_EQ(DominantOf({{Year(2010), 0.625f}, {Year(2012), 0.375f}}, 0.625f), "2010:00:00");
}

TEST(DominantDate, IsComparedInFloatAfterScaling) {
  const DateMap map = {
      {Year(2010), 3.0f}, {Year(2011), 2.9f}, {Year(2012), 2.1f}, {Year(2013), 2.0f}};
  const float sum = 2.0f + 2.1f + 2.9f + 3.0f;
  const float scaled = 3.0f / sum;
  EXPECT_EQ(DominantOf(map, scaled), "2010:00:00");
  EXPECT_EQ(DominantOf(map, std::nextafter(scaled, 1.0f)), "0000:00:00");
}

TEST(DominantDate, LogsABoundThatIsNotAboveZero) {
  const struct {
    float bound;
    const char* line;
  } cases[] = {{0.0f, "3 Check failed: coverage_lower_bound>0.0 0>0"},
               {-0.5f, "3 Check failed: coverage_lower_bound>0.0 -0.5>0"},
               {kNan, "3 Check failed: coverage_lower_bound>0.0 nan>0"}};
  for (const auto& entry : cases) {
    const LogRecorder log;
    const JpegCommentMessageDominantTileAcquisitionDate message(entry.bound);
    EXPECT_EQ(log.lines(), Lines{entry.line});
    EXPECT_FALSE(message.finalized());
  }
}

TEST(DominantDate, IsUnknownWithABoundAboveOne) {
  EXPECT_EQ(DominantOf({{Year(2010), 1.0f}}, 1.5f), "0000:00:00");
}

TEST(DominantDate, IsMadeAnewWithAnEmptyMap) {
  Dominant prototype(0.75f, {{Year(2012), 1.0f}});
  prototype.Finalize();
  const std::unique_ptr<JpegCommentMessage> message(prototype.CreateNewMessage());
  auto* const dates = dynamic_cast<JpegCommentMessageDominantTileAcquisitionDate*>(message.get());
  ASSERT_NE(dates, nullptr);
  EXPECT_FALSE(dates->finalized());
  dates->Finalize();
  const std::unique_ptr<JpegCommentMessageTileAcquisitionDates::Iterator> entry(
      dates->CreateIterator());
  EXPECT_EQ(entry->key(), 0u);
  EXPECT_EQ(entry->coverage(), 1.0f);
}

TEST(DominantDate, IsMadeAnewWithTheSameBound) {
  const auto made = [](float bound) {
    const JpegCommentMessageDominantTileAcquisitionDate prototype(bound);
    const std::unique_ptr<JpegCommentMessage> message(prototype.CreateNewMessage());
    EXPECT_TRUE(message->FromString("2012:03:04"));
    std::string text;
    message->AppendToString(&text);
    return text;
  };
  EXPECT_EQ(made(0.75f), "2012:03:04");
  EXPECT_EQ(made(1.5f), "0000:00:00");
}

TEST(PercentileDate, StopsWhereTheSumReachesTheBound) {
  Percentile message(0.5f, {{Year(2001), .25f}, {Year(2002), .25f}, {Year(2003), .5f}});
  message.Finalize();
  const LogRecorder log;
  float coverage = -1.0f;
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(0.5f, &coverage)), "2003:00:00");
  EXPECT_EQ(coverage, 0.5f);
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(0.51f, &coverage)), "2002:00:00");
  EXPECT_EQ(coverage, 0.75f);
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(0.75f, nullptr)), "2002:00:00");
  EXPECT_EQ(TextOf(message.AggregatedDate()), "2003:00:00");
  EXPECT_TRUE(log.lines().empty());
}

TEST(PercentileDate, IsTheEarliestOfAllWithABoundOfOne) {
  Percentile message(1.0f, {{0, 0.0f}, {Year(2001), 0.5f}, {Year(2003), 0.5f}});
  message.Finalize();
  const LogRecorder log;
  float coverage = -1.0f;
  // The sum is 1 at 2001 already.
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(1.0f, &coverage)), "0000:00:00");
  EXPECT_EQ(coverage, 1.0f);
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(std::nextafter(1.0f, 0.0f), nullptr)),
            "2001:00:00");
  EXPECT_TRUE(log.lines().empty());
}

TEST(PercentileDate, LogsBoundsOutOfRange) {
  Percentile message(0.5f, {{Year(2001), 0.5f}, {Year(2003), 0.5f}});
  message.Finalize();
  {
    const LogRecorder log;
    EXPECT_EQ(TextOf(message.PercentileMostRecentDate(0.0f, nullptr)), "2003:00:00");
    EXPECT_EQ(log.lines(), (Lines{"3 Check failed: coverage_lower_bound>0.0 0>0",
                                  "3 Check failed: coverage_threshold>0.0 0>0"}));
  }
  const LogRecorder log;
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(1.5f, nullptr)), "2001:00:00");
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: coverage_lower_bound<=maximum_lower_bound 1.5<=1",
                                "3 Check failed: coverage_lower_bound<=*coverage 1.5<=1"}));
}

TEST(PercentileDate, LogsAnEmptyMapAndIsUnknown) {
  const JpegCommentMessagePercentileTileAcquisitionDate message(0.5f);
  const LogRecorder log;
  float coverage = -1.0f;
  EXPECT_EQ(TextOf(message.PercentileMostRecentDate(0.5f, &coverage)), "0000:00:00");
  EXPECT_EQ(coverage, 0.0f);
  EXPECT_EQ(log.lines(),
            (Lines{kNotFinalized, "3 Check failed: coverage_lower_bound<=*coverage 0.5<=0"}));
}

TEST(PercentileDate, LogsASumThatFallsShortOfTheBoundByRounding) {
  DateMap map;
  // Scaled down, these add up to 1 - 6 * 2^-24.
  for (int i = 0; i < 41; ++i) {
    map[Year(1960 + i)] = static_cast<float>(i + 2) * 0.1f;
  }
  Percentile message(1.0f, map);
  message.Finalize();
  for (const float bound : {1.0f, std::nextafter(1.0f, 0.0f)}) {
    const LogRecorder log;
    float coverage = -1.0f;
    EXPECT_EQ(TextOf(message.PercentileMostRecentDate(bound, &coverage)), "1960:00:00");
    ASSERT_LT(coverage, bound);
    ASSERT_EQ(log.entries().size(), 1u);
    EXPECT_EQ(log.entries()[0].text.rfind("Check failed: coverage_lower_bound<=*coverage ", 0), 0u);
    EXPECT_EQ(log.entries()[0].severity, 3);
  }
}

TEST(PercentileDate, IsMadeAnewWithTheSameBound) {
  const JpegCommentMessagePercentileTileAcquisitionDate prototype(1.5f);
  const std::unique_ptr<JpegCommentMessage> message(prototype.CreateNewMessage());
  ASSERT_TRUE(message->FromString("2012:03:04"));
  const LogRecorder log;
  std::string text;
  message->AppendToString(&text);
  EXPECT_EQ(text, "2012:03:04");
  EXPECT_EQ(log.lines().size(), 2u);  // The bound above 1 came along.
}

}  // namespace
}  // namespace vortan
