// SPDX-License-Identifier: Apache-2.0
#include "strings/identifier.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(IsIdentifier, IsFalseForTheEmptyTextAndForNull) {
  EXPECT_FALSE(IsIdentifier(""));
  EXPECT_FALSE(IsIdentifier(nullptr));
}

TEST(IsIdentifier, WantsALetterOrUnderscoreFirst) {
  EXPECT_FALSE(IsIdentifier("1a"));
  EXPECT_TRUE(IsIdentifier("_1"));
  EXPECT_TRUE(IsIdentifier("a"));
  EXPECT_TRUE(IsIdentifier("Z9_z"));
}

TEST(IsIdentifier, LooksAtTheWholeText) {
  EXPECT_FALSE(IsIdentifier("AD "));
  EXPECT_FALSE(IsIdentifier("A-D"));
  EXPECT_FALSE(IsIdentifier(" AD"));
}

TEST(IsIdentifier, TakesOnlyAsciiCharacters) {
  for (int c = 1; c < 256; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const bool digit = c >= '0' && c <= '9';
    EXPECT_EQ(IsIdentifier(std::string(1, static_cast<char>(c)).c_str()), letter) << c;
    EXPECT_EQ(IsIdentifier((std::string("a") + static_cast<char>(c)).c_str()), letter || digit)
        << c;
  }
}

TEST(AdvanceIdentifier, GivesThePositionBehindTheIdentifier) {
  const char* const text = "ab_1*rest";
  EXPECT_EQ(AdvanceIdentifier(text), text + 4);
  EXPECT_EQ(*AdvanceIdentifier("x"), '\0');
}

TEST(AdvanceIdentifier, IsNullWhereThereIsNone) {
  EXPECT_EQ(AdvanceIdentifier("1a"), nullptr);
  EXPECT_EQ(AdvanceIdentifier(""), nullptr);
  EXPECT_EQ(AdvanceIdentifier(nullptr), nullptr);
}

}  // namespace
