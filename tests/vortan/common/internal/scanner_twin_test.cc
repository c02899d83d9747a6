// SPDX-License-Identifier: Apache-2.0
// The reader beside a plain twin, over texts that are nearly, or not at all, blocks.
#include "tests/vortan/common/internal/scanner_twin.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace vortan {
namespace {

using test_support::DifferenceFromTwin;
using test_support::FamilyWithNul;

constexpr std::uint32_t kStartingNumber = 20260601;

std::string ValidComment() {
  return "Seen from above*#Q0#*0*AE*2017:12:31*T*some text*_a1**#0Q#*and*#Q0#*0*T*2*U*3*#0Q#*";
}

const std::string& Any(const std::vector<std::string>& choice, std::mt19937* random) {
  return choice[(*random)() % choice.size()];
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnRandomSequencesOfTokens) {
  const std::vector<std::string> tokens = {
      "#Q0#", "#0Q#",  "#Q0#*0",        "#Q0#*0*T", "1*#0Q#", "0",         "AE", "T",
      "U",    "_a1",   FamilyWithNul(), "a-b",      "",       "1",         "00", "bad",
      "QQ",   "#Q0#x", "x#0Q#",         "#Q0",      "Q0#",    "2017:12:31"};
  std::mt19937 random(kStartingNumber);
  int with_blocks = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text;
    for (std::size_t count = random() % 24; count > 0; --count) {
      text += Any(tokens, &random);
      text += random() % 16 == 0 ? "" : "*";
    }
    ASSERT_EQ(DifferenceFromTwin(text), "") << testing::PrintToString(text) << " of number " << i;
    with_blocks += test_support::ScannerTwin(text).blocks > 0 ? 1 : 0;
  }
  EXPECT_GT(with_blocks, 1000);  // Otherwise the comparison shows little.
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnRandomRowsOfBlocksWithOneTokenSpoilt) {
  const std::vector<std::string> spoils = {"#Q0#", "#0Q#", "0", "", "a-b", "T", "x"};
  const std::vector<std::string> families = {"AE", "T", "U", "_a1", "b"};
  std::mt19937 random(kStartingNumber + 1);
  for (int i = 0; i < 50000; ++i) {
    std::vector<std::string> tokens;
    for (std::size_t blocks = 1 + random() % 4; blocks > 0; --blocks) {
      tokens.insert(tokens.end(), {"#Q0#", "0"});
      for (std::size_t messages = random() % 4; messages > 0; --messages) {
        tokens.push_back(Any(families, &random));
        tokens.push_back(Any(spoils, &random) == "x" ? "y" : "2017");
      }
      tokens.push_back("#0Q#");
    }
    if (random() % 4 != 0) {
      tokens[random() % tokens.size()] = Any(spoils, &random);
    }
    std::string text;
    for (const std::string& token : tokens) {
      text += "*" + token;
    }
    ASSERT_EQ(DifferenceFromTwin(text), "") << text << " of number " << i;
  }
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnRandomBytesOfAFewKinds) {
  const std::string bytes("*#Q0T\0x\xFF", 9);
  std::mt19937 random(kStartingNumber + 2);
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (std::size_t count = random() % 40; count > 0; --count) {
      text += bytes[random() % bytes.size()];
    }
    ASSERT_EQ(DifferenceFromTwin(text), "") << testing::PrintToString(text) << " of number " << i;
  }
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnEveryPrefixAndSuffixOfAComment) {
  const std::string comment = ValidComment();
  ASSERT_EQ(test_support::ScannerTwin(comment).blocks, 2);
  for (std::size_t size = 0; size <= comment.size(); ++size) {
    ASSERT_EQ(DifferenceFromTwin(comment.substr(0, size)), "") << size;
    ASSERT_EQ(DifferenceFromTwin(comment.substr(size)), "") << size;
  }
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnACommentWithAnyByteInAnyPlace) {
  const std::string comment = ValidComment();
  for (std::size_t at = 0; at < comment.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string damaged = comment;
      damaged[at] = static_cast<char>(byte);
      ASSERT_EQ(DifferenceFromTwin(damaged), "") << byte << " at " << at;
    }
  }
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnCommentsWithRandomBitsTurned) {
  std::mt19937 random(kStartingNumber + 3);
  for (int i = 0; i < 20000; ++i) {
    std::string damaged = ValidComment();
    for (std::size_t flips = 1 + random() % 6; flips > 0; --flips) {
      char& byte = damaged[random() % damaged.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    ASSERT_EQ(DifferenceFromTwin(damaged), "") << testing::PrintToString(damaged);
  }
}

TEST(JpegCommentScanner, AgreesWithItsTwinOnLongTextsOfOneKind) {
  for (const char* part : {"*", "Q", "#Q0#", "#Q0#*", "*#Q0#*0", "*#Q0#*0*T*1", "T*1*",
                           "*#Q0#*0*T*1*#0Q#", "#Q0#*0*T**#0Q#*"}) {
    std::string text;
    while (text.size() < 65532) {
      text += part;
    }
    for (const std::size_t size : {65532u, 65533u}) {
      text.resize(size, 'x');
      ASSERT_EQ(DifferenceFromTwin(text), "") << part << " to " << size;
    }
  }
}

}  // namespace
}  // namespace vortan
