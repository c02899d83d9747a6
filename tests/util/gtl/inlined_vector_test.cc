// SPDX-License-Identifier: Apache-2.0
#include "util/gtl/inlined_vector.h"

#include <gtest/gtest.h>

#include <QString>
#include <algorithm>

namespace util {
namespace gtl {
namespace {

using Names = InlinedVector<QString, 3>;

bool LivesInside(const Names& names) {
  const auto* begin = reinterpret_cast<const char*>(&names);
  const auto* data = reinterpret_cast<const char*>(names.data());
  return data >= begin && data < begin + sizeof(names);
}

TEST(InlinedVector, KeepsItsElementsInsideUpToItsRoom) {
  Names names = {"a", "b", "c"};
  EXPECT_TRUE(LivesInside(names));
}

TEST(InlinedVector, MovesOutWhenItOutgrowsItsRoomAndKeepsContentAndOrder) {
  Names names = {"a", "b", "c"};
  names.push_back("d");
  EXPECT_FALSE(LivesInside(names));
  EXPECT_EQ(names, (Names{"a", "b", "c", "d"}));
}

TEST(InlinedVector, CopiesAreIndependent) {
  const Names names = {"a", "b", "c", "d"};
  Names copy = names;
  copy[0] = "z";
  EXPECT_EQ(names[0], "a");
  EXPECT_EQ(copy.size(), 4u);
}

TEST(InlinedVector, IsReversedInPlaceLikeAnyVector) {
  Names names = {"a", "b", "c", "d"};
  std::reverse(names.begin(), names.end());
  EXPECT_EQ(names, (Names{"d", "c", "b", "a"}));
}

TEST(InlinedVector, GivesItsStringsBackWhenCleared) {
  const QString text = QString("kept") + QString::number(1);
  Names names(4, text);
  names.clear();
  EXPECT_TRUE(names.empty());
  EXPECT_TRUE(text.isDetached());
}

}  // namespace
}  // namespace gtl
}  // namespace util
