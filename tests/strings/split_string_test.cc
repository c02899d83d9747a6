// SPDX-License-Identifier: Apache-2.0
#include "strings/split_string.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using Pieces = std::vector<std::string>;

TEST(SplitStringUsing, LeavesOutEmptyPiecesAndAppends) {
  Pieces pieces = {"before"};
  SplitStringUsing(",a;,b,", ",;", &pieces);
  EXPECT_EQ(pieces, (Pieces{"before", "a", "b"}));
  SplitStringUsing("", ",", &pieces);
  EXPECT_EQ(pieces.size(), 3u);
}

TEST(SplitStringUsing, TakesTheTextAsOnePieceWithoutDelimiters) {
  Pieces pieces;
  SplitStringUsing("a,b", "", &pieces);
  EXPECT_EQ(pieces, Pieces{"a,b"});
}

TEST(SplitStringAllowEmpty, KeepsEmptyPieces) {
  Pieces pieces = {"before"};
  SplitStringAllowEmpty(",a;", ",;", &pieces);
  EXPECT_EQ(pieces, (Pieces{"before", "", "a", ""}));
}

TEST(SplitStringIntoNPiecesAllowEmpty, LeavesTheRestInTheLastPiece) {
  Pieces pieces;
  SplitStringIntoNPiecesAllowEmpty("a,,b,c", ",", 3, &pieces);
  EXPECT_EQ(pieces, (Pieces{"a", "", "b,c"}));
}

TEST(SplitStringIntoNPiecesAllowEmpty, MakesFewerPiecesOfAShorterText) {
  Pieces pieces;
  SplitStringIntoNPiecesAllowEmpty("a,b", ",", 5, &pieces);
  EXPECT_EQ(pieces, (Pieces{"a", "b"}));
}

TEST(SplitStringIntoNPiecesAllowEmpty, MakesAtLeastOnePiece) {
  for (const int count : {1, 0, -3}) {
    Pieces pieces;
    SplitStringIntoNPiecesAllowEmpty("a,b", ",", count, &pieces);
    EXPECT_EQ(pieces, Pieces{"a,b"}) << count;
  }
}

TEST(SplitStringIntoKeyValues, TakesTheKeyAndItsValues) {
  std::string key = "old";
  Pieces values = {"old"};
  EXPECT_TRUE(SplitStringIntoKeyValues("k=: a, b,,c", "=:", ", ", &key, &values));
  EXPECT_EQ(key, "k");
  EXPECT_EQ(values, (Pieces{"a", "b", "c"}));
}

TEST(SplitStringIntoKeyValues, TakesAllAsOneValueWithoutValueDelimiters) {
  std::string key;
  Pieces values;
  EXPECT_TRUE(SplitStringIntoKeyValues("k=a,b=c", "=", "", &key, &values));
  EXPECT_EQ(values, Pieces{"a,b=c"});
}

TEST(SplitStringIntoKeyValues, FailsWithoutADelimiterOrAValue) {
  std::string key;
  Pieces values = {"old"};
  EXPECT_FALSE(SplitStringIntoKeyValues("key", "=", ",", &key, &values));
  EXPECT_EQ(key, "key");
  EXPECT_TRUE(values.empty());
  EXPECT_FALSE(SplitStringIntoKeyValues("key==", "=", ",", &key, &values));
  EXPECT_EQ(key, "key");
  EXPECT_FALSE(SplitStringIntoKeyValues("key=,,", "=", ",", &key, &values));
  EXPECT_FALSE(SplitStringIntoKeyValues("", "=", ",", &key, &values));
  EXPECT_EQ(key, "");
}

TEST(SplitStringIntoKeyValuePairs, TakesEveryPair) {
  std::vector<std::pair<std::string, std::string>> pairs;
  EXPECT_TRUE(SplitStringIntoKeyValuePairs("a=1&b=2&&a=3,4", "=", "&", &pairs));
  EXPECT_EQ(pairs, (decltype(pairs){{"a", "1"}, {"b", "2"}, {"a", "3,4"}}));
}

TEST(SplitStringIntoKeyValuePairs, SaysThatAValueIsMissingAndGoesOn) {
  std::vector<std::pair<std::string, std::string>> pairs;
  EXPECT_FALSE(SplitStringIntoKeyValuePairs("a&b=2", "=", "&", &pairs));
  EXPECT_EQ(pairs, (decltype(pairs){{"a", ""}, {"b", "2"}}));
}

TEST(SplitStringIntoKeyValuePairs, TakesNoPairsFromEmptyText) {
  std::vector<std::pair<std::string, std::string>> pairs;
  EXPECT_TRUE(SplitStringIntoKeyValuePairs("", "=", "&", &pairs));
  EXPECT_TRUE(pairs.empty());
}

TEST(SplitStringPieceToVector, GivesViewsWithOrWithoutEmptyOnes) {
  const std::string text = "a,,b";
  std::vector<StringPiece> pieces;
  SplitStringPieceToVector(text, ",", &pieces, false);
  EXPECT_EQ(pieces, (std::vector<StringPiece>{"a", "", "b"}));
  EXPECT_EQ(pieces[2].data(), text.data() + 3);
  pieces.clear();
  SplitStringPieceToVector(text, ",", &pieces, true);
  EXPECT_EQ(pieces, (std::vector<StringPiece>{"a", "b"}));
}

TEST(SplitStringWithEscapingToSet, KeepsEachDifferentPieceOnce) {
  std::set<std::string> pieces;
  SplitStringWithEscapingToSet("b,a,,b", ",", &pieces);
  EXPECT_EQ(pieces, (std::set<std::string>{"a", "b"}));
}

TEST(SplitStringWithEscapingToSet, TakesWhatFollowsABackslashAsItIs) {
  std::set<std::string> pieces;
  SplitStringWithEscapingToSet("a\\,b,c\\\\,d\\", ",", &pieces);
  EXPECT_EQ(pieces, (std::set<std::string>{"a,b", "c\\", "d\\"}));
}

}  // namespace
