// SPDX-License-Identifier: Apache-2.0
#include "apps/command/format_choice.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace command {
namespace {

const std::vector<std::string> kFormats = {"text", "json", "html"};

std::string Chosen(const std::string& wanted, bool json, const std::string& output) {
  std::string format = "none";
  const Outcome outcome = ChooseFormat(wanted, json, output, kFormats, &format);
  return outcome.ok() ? format : outcome.Line();
}

TEST(FormatChoice, IsWhatIsWantedWhateverTheName) {
  EXPECT_EQ(Chosen("text", false, "a.html"), "text");
  EXPECT_EQ(Chosen("text", true, "a.html"), "text");
}

TEST(FormatChoice, IsJsonOnRequestWhateverTheName) {
  EXPECT_EQ(Chosen("", true, "a.html"), "json");
  EXPECT_EQ(Chosen("", true, "-"), "json");
}

TEST(FormatChoice, IsThatOfTheName) {
  EXPECT_EQ(Chosen("", false, "a.b.html"), "html");
  EXPECT_EQ(Chosen("", false, "a.htm"), "html");
  EXPECT_EQ(Chosen("", false, "a.json"), "json");
  EXPECT_EQ(Chosen("", false, "a.jsonl"), "json");
  EXPECT_EQ(Chosen("", false, "a.txt"), "text");
}

TEST(FormatChoice, IsTextForTheTerminalAndForNamesWithoutAnEnding) {
  EXPECT_EQ(Chosen("", false, "-"), "text");
  EXPECT_EQ(Chosen("", false, "folder.d/a"), "text");
}

TEST(FormatChoice, IsRefusedWhereTheNameSaysNoneThatIsKnown) {
  EXPECT_EQ(Chosen("", false, "a.csv"),
            "a.csv: no format is known by the ending .csv; give -f text, json or html");
  EXPECT_EQ(Chosen("", false, "a."),
            "a.: no format is known by the ending .; give -f text, json or html");
}

}  // namespace
}  // namespace command
}  // namespace pelorin
