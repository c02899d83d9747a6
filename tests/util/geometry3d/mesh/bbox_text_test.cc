// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/util/geometry3d/mesh/number_split_twin.h"
#include "util/geometry3d/mesh/bbox.h"

namespace geometry3d {
namespace {

using Numbers = std::vector<double>;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const BBox3<double> kBox(Vector3<double>(1, 2, 3), Vector3<double>(4, 5, 6));

Numbers Split(const std::string& text, bool expected) {
  Numbers numbers;
  EXPECT_EQ(SplitStringAndParseDoubles(text, &numbers), expected) << text;
  return numbers;
}

TEST(SplitStringAndParseDoubles, FindsNumbersBetweenAnySeparators) {
  EXPECT_EQ(Split("[(1, 2, 3)..(4, 5, 6)]", true), Numbers({1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Split("from 1.5 to -2e3", true), Numbers({1.5, -2000}));
  EXPECT_EQ(Split("", true), Numbers());
  EXPECT_EQ(Split("nothing here", true), Numbers());
}

TEST(SplitStringAndParseDoubles, TakesAHyphenForASign) {
  EXPECT_EQ(Split("1-2", true), Numbers({1, -2}));
}

TEST(SplitStringAndParseDoubles, FailsAtALoneSignAndKeepsWhatWasBefore) {
  EXPECT_EQ(Split("1 - 2", false), Numbers({1}));
  EXPECT_EQ(Split("1e+", false), Numbers({1}));
  EXPECT_EQ(Split("3 +-4", false), Numbers({3}));
}

TEST(SplitStringAndParseDoubles, TakesAPointForTheBeginOfDigits) {
  EXPECT_EQ(Split("1..2", true), Numbers({1, 0.2}));
  EXPECT_EQ(Split("a.b.c", true), Numbers());
  EXPECT_EQ(Split(".5.", false), Numbers({0.5}));
}

TEST(SplitStringAndParseDoubles, FailsAtALonePointAtTheVeryEnd) {
  EXPECT_EQ(Split("1 2 3 4 5 6 .", false), Numbers({1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Split("1 2 3 4 5 6.", true), Numbers({1, 2, 3, 4, 5, 6}));
}

TEST(SplitStringAndParseDoubles, ReadsHexadecimalAndInfinityBehindASign) {
  EXPECT_EQ(Split("0x1p4 0x", true), Numbers({16, 0}));
  EXPECT_EQ(Split("-inf +infinity inf", true), Numbers({-kInfinity, kInfinity}));
  const Numbers odd = Split("-nan", true);
  ASSERT_EQ(odd.size(), 1u);
  EXPECT_TRUE(std::isnan(odd[0]));
}

TEST(SplitStringAndParseDoubles, EndsAtANul) {
  EXPECT_EQ(Split(std::string("1 2\0 3", 6), true), Numbers({1, 2}));
}

TEST(SplitStringAndParseDoubles, AppendsToWhatIsThere) {
  Numbers numbers = {7};
  EXPECT_TRUE(SplitStringAndParseDoubles("8", &numbers));
  EXPECT_EQ(numbers, Numbers({7, 8}));
}

TEST(SplitStringAndParseDoubles, ReadsWhatAScannerWithoutLocaleReads) {
  std::mt19937 random(20261121);
  const std::string alphabet = "0123456789+-..eExXpPinfINFat(), \0";
  for (int round = 0; round < 50000; ++round) {
    std::string text(random() % 14, ' ');
    for (char& c : text) {
      c = alphabet[random() % alphabet.size()];
    }
    ASSERT_TRUE(test_support::SplitsAsItsTwin(text)) << text;
  }
}

TEST(BBoxText, ShowsBothCorners) {
  std::ostringstream text;
  text << kBox;
  EXPECT_EQ(text.str(), "[(1, 2, 3)..(4, 5, 6)]");
}

TEST(BBoxText, ShowsIntegersAndFloats) {
  std::ostringstream text;
  text << BBox3<int>() << BBox3<float>(Vector3<float>(0.5f, 0, 0), Vector3<float>(1, 1, 1));
  EXPECT_EQ(text.str(), "[(2147483647, 2147483647, 2147483647)..(-2147483648, -2147483648, "
                        "-2147483648)][(0.5, 0, 0)..(1, 1, 1)]");
}

TEST(BBoxText, ComesBackFromItsText) {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> number(-1e6, 1e6);
  for (int round = 0; round < 1000; ++round) {
    BBox3<double> box;
    for (double* field : {&box.min.x, &box.min.y, &box.min.z, &box.max.x, &box.max.y, &box.max.z}) {
      *field = number(random);
    }
    std::ostringstream text;
    text.precision(17);
    text << box;
    BBox3<double> again;
    ASSERT_TRUE(again.ParseFromString(text.str())) << text.str();
    EXPECT_EQ(again.min, box.min);
    EXPECT_EQ(again.max, box.max);
  }
}

TEST(BBoxText, DoesNotComeBackWithAnInfinity) {
  std::ostringstream text;
  text << BBox3<double>(Vector3<double>(), Vector3<double>(kInfinity, 1, 1));
  BBox3<double> again = kBox;
  EXPECT_FALSE(again.ParseFromString(text.str()));
}

TEST(BBoxText, IsLeftAloneByTextWithoutExactlySixNumbers) {
  for (const char* text : {"", "1 2 3 4 5", "1 2 3 4 5 6 7", "1 2 3 4 5 6 .", "1 2 3 4 5 6 -"}) {
    BBox3<double> box = kBox;
    EXPECT_FALSE(box.ParseFromString(text)) << text;
    EXPECT_EQ(box, kBox);
  }
}

TEST(BBoxText, TakesSixNumbersInOrder) {
  BBox3<double> box;
  EXPECT_TRUE(box.ParseFromString("1 2 3 4 5 6."));
  EXPECT_EQ(box, kBox);
}

TEST(BBoxText, CutsNumbersToItsType) {
  BBox3<float> floats;
  EXPECT_TRUE(floats.ParseFromString("0.1 0 0 1e300 1 1"));
  EXPECT_EQ(floats.min.x, 0.1f);
  EXPECT_EQ(floats.max.x, std::numeric_limits<float>::infinity());
  BBox3<int> integers;
  EXPECT_TRUE(integers.ParseFromString("-1.9 1.9 0 7 8 9"));
  EXPECT_EQ(integers.min, Vector3<int>(-1, 1, 0));
}

TEST(BBoxText, TakesTheNearestEndForNumbersBeyondTheIntegers) {
  BBox3<int> box;
  EXPECT_TRUE(box.ParseFromString("1e99 -1e99 -nan 2147483647.9 -inf 0"));
  EXPECT_EQ(box.min,
            Vector3<int>(std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 0));
  EXPECT_EQ(box.max,
            Vector3<int>(std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 0));
}

}  // namespace
}  // namespace geometry3d
