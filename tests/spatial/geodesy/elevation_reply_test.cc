// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_reply.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace nimbara {
namespace spatial {
namespace {

constexpr float kUntouched = -1.0f;

struct Read {
  bool well_formed;
  int count;
  std::vector<float> heights;
};

Read ReadInto(int size, std::size_t offset, const QByteArray& body) {
  mmvector<float> heights(static_cast<std::size_t>(size), kUntouched);
  int count = -1;
  const bool well_formed = ReadElevationReply(body, offset, &heights, &count);
  return {well_formed, count, {heights.begin(), heights.end()}};
}

TEST(ElevationReplyTest, ReadsTheHeightsInOrderFromTheOffsetOn) {
  const Read read = ReadInto(
      4, 1,
      R"({"results":[{"elevation":1.5,"location":{"lat":1}},{"elevation":-2}],"status":"x"})");
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.count, 2);
  EXPECT_EQ(read.heights, (std::vector<float>{kUntouched, 1.5f, -2.0f, kUntouched}));
}

TEST(ElevationReplyTest, TakesWholeNumbersOfAnySizeForHeights) {
  const Read read =
      ReadInto(3, 0, R"({"results":[{"elevation":-3},{"elevation":3000000000},{"elevation":0}]})");
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.heights, (std::vector<float>{-3.0f, 3e9f, 0.0f}));
}

TEST(ElevationReplyTest, StopsAtAHeightThatIsNoNumber) {
  for (const char* const value : {"\"5\"", "null", "true", "false", "[5]", "{}", "{\"a\":1}"}) {
    const Read read = ReadInto(3, 0,
                               QByteArray(R"({"results":[{"elevation":1},{"elevation":)") + value +
                                   R"(},{"elevation":3}]})");
    EXPECT_FALSE(read.well_formed) << value;
    EXPECT_EQ(read.count, 1) << value;
    EXPECT_EQ(read.heights, (std::vector<float>{1.0f, kUntouched, kUntouched})) << value;
  }
}

TEST(ElevationReplyTest, StopsAtAnElementWithoutAHeight) {
  const Read read = ReadInto(2, 0, R"({"results":[{"elevation":1},{"height":2}]})");
  EXPECT_FALSE(read.well_formed);
  EXPECT_EQ(read.count, 1);
}

TEST(ElevationReplyTest, TakesASurplusNumberBehindTheLastPlaceForTheEnd) {
  const Read read = ReadInto(2, 1, R"({"results":[{"elevation":1},{"elevation":2}]})");
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.count, 1);
  EXPECT_EQ(read.heights, (std::vector<float>{kUntouched, 1.0f}));
}

TEST(ElevationReplyTest, RefusesASurplusTextBehindTheLastPlace) {
  const Read read = ReadInto(2, 1, R"({"results":[{"elevation":1},{"elevation":"2"}]})");
  EXPECT_FALSE(read.well_formed);
  EXPECT_EQ(read.count, 1);
}

TEST(ElevationReplyTest, HoldsNoHeightsWithoutResults) {
  for (const char* const body : {"{}", R"({"results":[]})", R"({"results":null})",
                                 R"({"results":{}})", R"({"results":"abc"})", "null"}) {
    const Read read = ReadInto(1, 0, body);
    EXPECT_TRUE(read.well_formed) << body;
    EXPECT_EQ(read.count, 0) << body;
  }
}

TEST(ElevationReplyTest, RefusesOtherShapesThanObjectsWhereOneIsWanted) {
  for (const char* const body :
       {"[1]", "5", "\"text\"", "true", R"({"results":{"0":1}})", R"({"results":[5]})",
        R"({"results":["a"]})", R"({"results":[[1]]})", R"({"results":[true]})"}) {
    const Read read = ReadInto(1, 0, body);
    EXPECT_FALSE(read.well_formed) << body;
    EXPECT_EQ(read.count, 0) << body;
  }
}

TEST(ElevationReplyTest, TakesCommentsAndTextBehindTheObject) {
  const Read read =
      ReadInto(1, 0, "/* heights */ {\"results\": [ // one\n {\"elevation\": 7}]} and so on");
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.heights, std::vector<float>{7.0f});
}

TEST(ElevationReplyTest, NarrowsHeightsBeyondTheRangeToInfinities) {
  const Read read =
      ReadInto(4, 0,
               R"({"results":[{"elevation":1e300},{"elevation":-1e300},{"elevation":3.4028235e38},
          {"elevation":1e-300}]})");
  const float infinity = std::numeric_limits<float>::infinity();
  const float largest = std::numeric_limits<float>::max();
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.heights, (std::vector<float>{infinity, -infinity, largest, 0.0f}));
}

TEST(ElevationReplyTest, RefusesWhatIsNoJson) {
  for (const QByteArray& body : {QByteArray(), QByteArray("<html>"), QByteArray("{\"results\":["),
                                 QByteArray("\0{}", 3), QByteArray(5000, '[')}) {
    const Read read = ReadInto(1, 0, body);
    EXPECT_FALSE(read.well_formed) << body.left(20).toStdString();
    EXPECT_EQ(read.count, 0);
  }
}

TEST(ElevationReplyTest, ReadsNothingIntoAPlaceBehindTheEnd) {
  const Read read = ReadInto(1, 5, R"({"results":[{"elevation":1}]})");
  EXPECT_TRUE(read.well_formed);
  EXPECT_EQ(read.count, 0);
  EXPECT_EQ(read.heights, std::vector<float>{kUntouched});
}

const char kReply[] =
    R"({"results":[{"elevation":12.25,"resolution":30},{"elevation":-4}],"status":"OK"})";

TEST(ElevationReplyTest, ReadsNoMoreThanThePlacesFromAnyPrefix) {
  const std::string whole = kReply;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::vector<char> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const Read read =
        ReadInto(2, 0, QByteArray::fromRawData(part.data(), static_cast<int>(part.size())));
    EXPECT_FALSE(read.well_formed) << size;
    EXPECT_LE(read.count, 2) << size;
  }
}

TEST(ElevationReplyTest, ReadsDamagedRepliesWithoutHarm) {
  std::mt19937 draw(77);
  for (int round = 0; round < 2000; ++round) {
    std::string body = kReply;
    for (int flips = 1 + static_cast<int>(draw() % 4); flips > 0; --flips) {
      body[draw() % (sizeof kReply - 1)] ^= static_cast<char>(1 << draw() % 8);
    }
    const std::vector<char> bytes(body.begin(), body.end());
    const Read read =
        ReadInto(2, 0, QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_GE(read.count, 0);
    EXPECT_LE(read.count, 2);
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
