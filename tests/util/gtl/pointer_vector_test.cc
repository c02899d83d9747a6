// SPDX-License-Identifier: Apache-2.0
#include "util/gtl/pointer_vector.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace util {
namespace gtl {
namespace {

// Writes its letter down when it is deleted.
class Letter {
 public:
  Letter(char letter, std::string* deleted) : letter_(letter), deleted_(deleted) {}
  ~Letter() { deleted_->push_back(letter_); }
  char letter() const { return letter_; }

 private:
  char letter_;
  std::string* deleted_;
};

TEST(PointerVector, DeletesItsElementsFromTheFirstToTheLast) {
  std::string deleted;
  {
    PointerVector<Letter> letters;
    letters.push_back(new Letter('a', &deleted));
    letters.push_back(new Letter('b', &deleted));
    EXPECT_EQ(deleted, "");
  }
  EXPECT_EQ(deleted, "ab");
}

TEST(PointerVector, IsEmptyAfterClear) {
  std::string deleted;
  PointerVector<Letter> letters;
  letters.push_back(new Letter('a', &deleted));
  letters.clear();
  EXPECT_EQ(deleted, "a");
  EXPECT_TRUE(letters.empty());
}

TEST(PointerVector, ThrowsForAPositionBehindTheLast) {
  std::string deleted;
  PointerVector<Letter> letters;
  letters.push_back(new Letter('a', &deleted));
  EXPECT_EQ(letters[0]->letter(), 'a');
  EXPECT_THROW(letters[1], std::out_of_range);
  EXPECT_THROW(letters.at(1), std::out_of_range);
}

TEST(PointerVector, HoldsNull) {
  PointerVector<Letter> letters;
  letters.push_back(nullptr);
  EXPECT_EQ(letters.size(), 1u);
  EXPECT_EQ(letters[0], nullptr);
}

TEST(PointerVector, GivesItsElementsAwayWhenMovedFrom) {
  std::string deleted;
  PointerVector<Letter> letters;
  letters.push_back(new Letter('a', &deleted));
  const PointerVector<Letter> taken(std::move(letters));
  EXPECT_EQ(taken.size(), 1u);
  EXPECT_EQ(letters.size(), 0u);
  EXPECT_EQ(deleted, "");
}

TEST(PointerVector, DeletesWhatItHeldWhenMovedInto) {
  std::string deleted;
  PointerVector<Letter> letters;
  letters.push_back(new Letter('a', &deleted));
  PointerVector<Letter> others;
  others.push_back(new Letter('b', &deleted));
  letters = std::move(others);
  EXPECT_EQ(deleted, "a");
  EXPECT_EQ(letters[0]->letter(), 'b');
  EXPECT_TRUE(others.empty());
}

TEST(PointerVector, IsWalkedInOrder) {
  std::string deleted;
  PointerVector<Letter> letters;
  letters.reserve(3);
  for (const char letter : std::string("abc")) {
    letters.push_back(new Letter(letter, &deleted));
  }
  std::string seen;
  for (const Letter* const letter : letters) {
    seen.push_back(letter->letter());
  }
  EXPECT_EQ(seen, "abc");
}

}  // namespace
}  // namespace gtl
}  // namespace util
