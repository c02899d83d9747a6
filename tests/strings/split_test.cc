// SPDX-License-Identifier: Apache-2.0
#include "strings/split.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace strings {
namespace {

using delimiter::AnyOf;
using delimiter::Literal;
using Pieces = std::vector<std::string>;

TEST(Split, YieldsThePiecesBetweenDelimitersInOrder) {
  const Pieces pieces = Split("*#Q0#*0*AD", AnyOf("*"));
  EXPECT_EQ(pieces, (Pieces{"", "#Q0#", "0", "AD"}));
}

TEST(Split, YieldsEmptyPieces) {
  const Pieces pieces = Split(",a,,b,", AnyOf(","));
  EXPECT_EQ(pieces, (Pieces{"", "a", "", "b", ""}));
}

TEST(Split, YieldsOneEmptyPieceOfEmptyText) {
  EXPECT_EQ(Pieces(Split("", AnyOf(","))), Pieces{""});
  EXPECT_EQ(Pieces(Split(StringPiece(), AnyOf(","))), Pieces{""});
  EXPECT_EQ(Pieces(Split("", Literal(","))), Pieces{""});
}

TEST(Split, TakesAnyOneOfSeveralCharacters) {
  EXPECT_EQ(Pieces(Split("a,b;c", AnyOf(";,"))), (Pieces{"a", "b", "c"}));
}

TEST(Split, TakesTheWholeOfALiteral) {
  EXPECT_EQ(Pieces(Split("a::b:c::", Literal("::"))), (Pieces{"a", "b:c", ""}));
  EXPECT_EQ(Pieces(Split(":::", Literal("::"))), (Pieces{"", ":"}));
}

TEST(Split, FindsAnEmptyDelimiterNowhere) {
  EXPECT_EQ(Pieces(Split("abc", AnyOf(""))), Pieces{"abc"});
  EXPECT_EQ(Pieces(Split("abc", Literal(""))), Pieces{"abc"});
}

TEST(Split, TreatsNulsAndHighBytesAsOrdinary) {
  const std::string text("a\0b\xff\x63", 5);
  EXPECT_EQ(Pieces(Split(text, AnyOf(StringPiece("\0\xff", 2)))), (Pieces{"a", "b", "c"}));
}

TEST(Split, KeepsTheDelimitersOfItsOwn) {
  const auto make = [](StringPiece text) {
    const std::string characters = "," + std::string(100, ';');
    return Split(text, AnyOf(characters));
  };
  EXPECT_EQ(Pieces(make("a;b")), (Pieces{"a", "b"}));
}

TEST(Split, YieldsViewsIntoTheText) {
  const std::string text = "ab*c";
  const auto splitter = Split(text, AnyOf("*"));
  auto it = splitter.begin();
  EXPECT_EQ(it->data(), text.data());
  EXPECT_EQ(it->size(), 2);
  EXPECT_EQ((*it++).data(), text.data());
  EXPECT_EQ(it->data(), text.data() + 3);
  EXPECT_TRUE(++it == splitter.end());
}

struct SkipEmpty {
  bool operator()(StringPiece piece) const { return !piece.empty(); }
};

TEST(Split, LeavesOutWhatItsFilterRefuses) {
  using Filtered = internal::Splitter<AnyOf, SkipEmpty>;
  EXPECT_EQ(Pieces(Filtered(",a,,b,", AnyOf(","))), (Pieces{"a", "b"}));
  EXPECT_EQ(Pieces(Filtered(",,", AnyOf(","))), Pieces{});
}

TEST(Split, SplitsAsAByteByByteTwin) {
  constexpr unsigned kSeed = 20261121;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 5000; ++i) {
    std::string text;
    for (auto length = random() % 20; length > 0; --length) {
      text.push_back("ab,;"[random() % 4]);
    }
    Pieces expected(1);
    for (const char c : text) {
      if (c == ',' || c == ';') {
        expected.emplace_back();
      } else {
        expected.back().push_back(c);
      }
    }
    ASSERT_EQ(Pieces(Split(text, AnyOf(",;"))), expected) << text;
  }
}

}  // namespace
}  // namespace strings
