// SPDX-License-Identifier: Apache-2.0
#include "apps/command/description.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>

namespace pelorin {
namespace command {
namespace {

/// A small command with one of everything.
class Descriptions : public testing::Test {
 protected:
  Descriptions() {
    app_.add_flag("-q,--quiet", quiet_, "Say nothing");
    CLI::App* const walk = app_.add_subcommand("walk", "Go somewhere");
    walk->add_option("place", place_, "Where to go")->type_name("PLACE");
    walk->add_option("-f,--format", format_, "How it's told: text [or] json")
        ->check(CLI::IsMember({"text", "json"}));
    walk->add_option("-o", file_, "Where it goes")->type_name("FILE");
    walk->footer(".starts with a dot\n'and a quote");
    app_.add_subcommand("secret", "Not for all")->group("");
  }

  CLI::App app_{"Walks about", "pelorin"};
  bool quiet_ = false;
  std::string place_, format_, file_;
};

TEST_F(Descriptions, ListTheCommandThenItsVerbs) {
  const std::vector<VerbDescription> all = Describe(app_);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].name, "pelorin");
  EXPECT_EQ(all[1].name, "pelorin walk");
  EXPECT_EQ(all[1].summary, "Go somewhere");
}

TEST_F(Descriptions, HoldNamesValuesAndChoices) {
  const VerbDescription walk = Describe(app_)[1];
  ASSERT_EQ(walk.options.size(), 4u);
  EXPECT_EQ(walk.options[0].names, (std::vector<std::string>{"-h", "--help"}));
  EXPECT_TRUE(walk.options[1].is_argument);
  EXPECT_EQ(walk.options[2].names, (std::vector<std::string>{"-f", "--format"}));
  EXPECT_EQ(walk.options[2].choices, (std::vector<std::string>{"text", "json"}));
  EXPECT_EQ(walk.options[2].value, "text|json");
  EXPECT_TRUE(walk.options[3].takes_file);
}

TEST_F(Descriptions, MakeManPagesThatRoffDoesNotMistake) {
  const std::vector<VerbDescription> all = Describe(app_);
  const std::string page = ManPage(all[1], all, "pelorin 1");
  EXPECT_EQ(page.rfind(".TH PELORIN-WALK 1", 0), 0u);
  EXPECT_NE(page.find("\n\\&.starts with a dot\n\\&'and a quote\n"), std::string::npos) << page;
  EXPECT_NE(page.find("\\fB\\-f\\fR, \\fB\\-\\-format\\fR \\fItext|json\\fR"), std::string::npos)
      << page;
  EXPECT_EQ(page.find("--format"), std::string::npos) << "an unescaped dash";
}

TEST_F(Descriptions, CompleteVerbsOptionsAndChoicesInBash) {
  const std::string script = CompletionScript(Describe(app_), Shell::kBash);
  EXPECT_NE(script.find("compgen -W 'walk -h --help -q --quiet'"), std::string::npos) << script;
  EXPECT_NE(script.find("walk:-f|walk:--format) COMPREPLY=($(compgen -W 'text json'"),
            std::string::npos)
      << script;
  EXPECT_NE(script.find("walk:-o) COMPREPLY=($(compgen -f"), std::string::npos) << script;
  EXPECT_EQ(script.find("secret"), std::string::npos);
}

TEST_F(Descriptions, QuoteWhatZshAndFishWouldRead) {
  const std::string zsh = CompletionScript(Describe(app_), Shell::kZsh);
  EXPECT_NE(zsh.find("'--format[How it'\\''s told\\: text \\[or\\] json]:text|json:(text json)'"),
            std::string::npos)
      << zsh;
  const std::string fish = CompletionScript(Describe(app_), Shell::kFish);
  EXPECT_NE(fish.find("-s f -l format -x -a 'text json' -d 'How it'\\''s told"), std::string::npos)
      << fish;
}

}  // namespace
}  // namespace command
}  // namespace pelorin
