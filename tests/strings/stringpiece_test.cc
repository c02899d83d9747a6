// SPDX-License-Identifier: Apache-2.0
#include "strings/stringpiece.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

#include "strings/hash.h"
#include "tests/support/log_recorder.h"

namespace {

using Lines = std::vector<std::string>;

TEST(StringPiece, ViewsTextWithoutCopyingIt) {
  const std::string text("a\0b", 3);
  const StringPiece piece(text);
  EXPECT_EQ(piece.data(), text.data());
  EXPECT_EQ(piece.size(), 3);
  EXPECT_EQ(piece.length(), 3);
  EXPECT_EQ(piece[2], 'b');
  EXPECT_EQ(StringPiece("abc").size(), 3);
  EXPECT_EQ(StringPiece("abc", 2).size(), 2);
}

TEST(StringPiece, IsEmptyWithoutText) {
  EXPECT_TRUE(StringPiece().empty());
  EXPECT_TRUE(StringPiece(static_cast<const char*>(nullptr)).empty());
  EXPECT_TRUE(StringPiece("").empty());
  EXPECT_TRUE(StringPiece("abc", -1).empty());
  EXPECT_EQ(StringPiece(), StringPiece(""));
  EXPECT_EQ(StringPiece().find("a"), StringPiece::npos);
  EXPECT_EQ(StringPiece().begin(), StringPiece().end());
}

TEST(StringPiece, TakesTheLargestIntAsLength) {
  const test_support::LogRecorder recorder;
  const std::size_t largest = 2147483647;
  EXPECT_EQ(StringPiece::ToLength(largest, "details"), 2147483647);
  EXPECT_EQ(recorder.lines(), Lines{});
}

TEST(StringPiece, ReportsALargerSizeAndStaysInsideTheText) {
  const test_support::LogRecorder recorder;
  const std::size_t too_big = 2147483648;
  EXPECT_EQ(StringPiece::ToLength(too_big, "size_t to int conversion"), 2147483647);
  EXPECT_EQ(recorder.lines(),
            Lines{"3 size too big: 2147483648 details: size_t to int conversion"});
}

TEST(StringPiece, WritesTheEntryOfASizeTooBig) {
  const test_support::LogRecorder recorder;
  StringPiece::LogFatalSizeTooBig(7, "why");
  EXPECT_EQ(recorder.lines(), Lines{"3 size too big: 7 details: why"});
}

TEST(StringPiece, FindsAsAStringDoes) {
  constexpr unsigned kSeed = 20261121;
  std::mt19937 random(kSeed);
  const auto text_of = [&random](unsigned longest) {
    std::string text;
    for (auto length = random() % (longest + 1); length > 0; --length) {
      text.push_back("abc"[random() % 3]);
    }
    return text;
  };
  for (int i = 0; i < 20000; ++i) {
    const std::string text = text_of(8);
    const std::string other = text_of(3);
    const StringPiece piece(text);
    const std::size_t from = random() % 4 == 0 ? std::string::npos : random() % 10;
    ASSERT_EQ(piece.find(other, from), text.find(other, from)) << text << " " << other;
    ASSERT_EQ(piece.rfind(other, from), text.rfind(other, from)) << text << " " << other;
    ASSERT_EQ(piece.find_first_of(other, from), text.find_first_of(other, from));
    ASSERT_EQ(piece.find_first_not_of(other, from), text.find_first_not_of(other, from));
    ASSERT_EQ(piece.find_last_of(other, from), text.find_last_of(other, from));
    ASSERT_EQ(piece.find_last_not_of(other, from), text.find_last_not_of(other, from));
    ASSERT_EQ(piece.find('b', from), text.find('b', from));
    ASSERT_EQ(piece.rfind('b', from), text.rfind('b', from));
    ASSERT_EQ(piece.find_first_of('b', from), text.find_first_of('b', from));
    ASSERT_EQ(piece.find_first_not_of('b', from), text.find_first_not_of('b', from));
    ASSERT_EQ(piece.find_last_of('b', from), text.find_last_of('b', from));
    ASSERT_EQ(piece.find_last_not_of('b', from), text.find_last_not_of('b', from));
    ASSERT_EQ(piece.contains(other), text.find(other) != std::string::npos);
    ASSERT_EQ(piece.compare(other) < 0, text < other);
    ASSERT_EQ(piece == StringPiece(other), text == other);
  }
}

TEST(StringPiece, CutsPartsAndTakesTheEndForPositionsBehindIt) {
  const StringPiece piece("abcdef");
  EXPECT_EQ(piece.substr(2), "cdef");
  EXPECT_EQ(piece.substr(2, 3), "cde");
  EXPECT_EQ(piece.substr(6), "");
  EXPECT_EQ(piece.substr(7, 2), "");
  EXPECT_EQ(piece.substr(StringPiece::npos).data(), piece.end());
}

TEST(StringPiece, CopiesBytesWithoutATerminator) {
  char buffer[4] = {'#', '#', '#', '#'};
  const StringPiece piece("abcdef");
  EXPECT_EQ(piece.copy(buffer, 3, 1), 3u);
  EXPECT_EQ(std::string(buffer, 4), "bcd#");
  EXPECT_EQ(piece.copy(buffer, 4, 5), 1u);
  EXPECT_EQ(std::string(buffer, 4), "fcd#");
  EXPECT_EQ(piece.copy(buffer, 4, 9), 0u);
}

TEST(StringPiece, CopiesAndAppendsToStringsAlsoToItsOwn) {
  std::string text = "abc";
  StringPiece(text).substr(1).AppendToString(&text);
  EXPECT_EQ(text, "abcbc");
  StringPiece(text).substr(3).CopyToString(&text);
  EXPECT_EQ(text, "bc");
  StringPiece().CopyToString(&text);
  EXPECT_EQ(text, "");
}

TEST(StringPiece, OrdersByUnsignedBytesAndThenByLength) {
  EXPECT_LT(StringPiece("a"), StringPiece("\x80"));
  EXPECT_LT(StringPiece("a"), StringPiece("ab"));
  EXPECT_LE(StringPiece("a"), StringPiece("a"));
  EXPECT_GT(StringPiece("b"), StringPiece("ab"));
  EXPECT_GE(StringPiece("b"), StringPiece("b"));
  EXPECT_NE(StringPiece("a\0b", 3), StringPiece("a\0c", 3));
}

TEST(StringPiece, IsWrittenToStreamsAsAStringIs) {
  std::ostringstream stream;
  stream << StringPiece("abc", 2) << std::setw(4) << std::setfill('.') << StringPiece("x");
  EXPECT_EQ(stream.str(), "ab...x");
}

TEST(StringPieceHash, IsTheHashWithItsOwnSeed) {
  const std::hash<StringPiece> hash;
  EXPECT_EQ(hash("pano"), Hash32StringWithSeed("pano", 4, 314159265));
  EXPECT_EQ(hash(StringPiece()), Hash32StringWithSeed("", 0, 314159265));
}

TEST(StringPieceHash, KeepsOneNumberFreeForTheContainers) {
  const char* const text = "x/QGo1OY{aF";
  ASSERT_EQ(Hash32StringWithSeed(text, 11, 314159265), 0xffffffff);
  EXPECT_EQ(std::hash<StringPiece>()(text), 0xfffffffe);
}

TEST(StringPieceHash, ServesHashContainers) {
  const std::string text = "a,b";
  const std::unordered_set<StringPiece> set = {StringPiece(text).substr(0, 1), "c"};
  EXPECT_EQ(set.count("a"), 1u);
  EXPECT_EQ(set.count("b"), 0u);
}

}  // namespace
