// SPDX-License-Identifier: Apache-2.0
// `pelorin utm` as its users meet it.
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;
using UtmVerb = CommandTest;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST_F(UtmVerb, TellsZoneBandAndHemisphereInWords) {
  const CommandRun run = RunPelorin({"utm", "42,12.5"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out, "33 T  292948.96 m E  4652799.81 m N\n"
                     "place        42.0000000,12.5000000\n"
                     "zone         33, 12 to 18 degrees east\n"
                     "band         T, 40 to 48 degrees north\n"
                     "hemisphere   northern\n"
                     "scale        1.00012754\n"
                     "convergence  -1.673420 degrees\n");
}

TEST_F(UtmVerb, TakesNegativeLatitudes) {
  const CommandRun run = RunPelorin({"utm", "-33.9,18.4"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out.rfind("34 H  259583.22 m E  6245888.05 m S\n", 0), 0u) << run.out;
  EXPECT_NE(run.out.find("40 to 32 degrees south"), std::string::npos);
  EXPECT_NE(run.out.find("hemisphere   southern"), std::string::npos);
}

TEST_F(UtmVerb, KnowsTheWideZones) {
  EXPECT_NE(RunPelorin({"utm", "60,5"}).out.find("32, 3 to 12 degrees east"), std::string::npos);
  EXPECT_NE(RunPelorin({"utm", "60,2"}).out.find("31, 0 to 3 degrees east"), std::string::npos);
  EXPECT_NE(RunPelorin({"utm", "78,20"}).out.find("33, 9 to 21 degrees east"), std::string::npos);
  EXPECT_NE(RunPelorin({"utm", "78,20"}).out.find("X, 72 to 84 degrees north"), std::string::npos);
}

TEST_F(UtmVerb, ReadsWhatItWrites) {
  const std::vector<std::string> points{"42,12.5", "-33.9,18.4",  "60,5", "78,20",
                                        "0,0",     "-0.1,-179.9", "84,9", "-80,-60"};
  for (const std::string& point : points) {
    const Json there = Json::parse(RunPelorin({"utm", point, "--json"}).out);
    const std::string shown = LinesOf(RunPelorin({"utm", point}).out).at(0);
    const CommandRun run = RunPelorin({"utm", "--reverse", shown, "--json"});
    ASSERT_EQ(run.exit_code, 0) << point << run.err;
    const Json back = Json::parse(run.out);
    EXPECT_NEAR(back["lat"], there["lat"].get<double>(), 5e-7) << point;
    EXPECT_NEAR(back["lng"], there["lng"].get<double>(), 3e-6) << point;
    EXPECT_EQ(back["zone"], there["zone"]) << point;
    EXPECT_EQ(back["hemisphere"], there["hemisphere"]) << point;
  }
}

TEST_F(UtmVerb, KeepsFractionsOfAMetre) {
  const Json whole = Json::parse(RunPelorin({"utm", "-r", "33T 500000 4649776", "--json"}).out);
  const Json more = Json::parse(RunPelorin({"utm", "-r", "33,t,500000.9,4649776", "--json"}).out);
  EXPECT_EQ(whole["lng"], 15.0);
  EXPECT_NEAR(more["lng"].get<double>() - 15.0, 0.9 / 82800.0, 1e-7);
}

TEST_F(UtmVerb, UsesAnotherZoneOnRequestAndSaysSo) {
  const CommandRun run = RunPelorin({"utm", "1,1", "--zone", "30"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out.rfind("30 N  945396.68 m E  110801.83 m N\n", 0), 0u) << run.out;
  EXPECT_NE(run.out.find("the point belongs to zone 31"), std::string::npos) << run.out;
}

TEST_F(UtmVerb, FindsNothingWhereUtmEnds) {
  EXPECT_EQ(RunPelorin({"utm", "84.1,0"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"utm", "-80.1,0"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"utm", "1,100", "--zone", "30"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"utm", "-r", "33T 99999999 4649776"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"utm", "-r", "33T 500000 99999999"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"utm", "-r", "33T 1e300 1e300"}).exit_code, 3);
}

TEST_F(UtmVerb, WritesNoTextUnderTheNameOfAnotherFormat) {
  EXPECT_EQ(RunPelorin({"utm", "42,12.5", "-o", Path("a.kml")}).exit_code, 2);
  EXPECT_TRUE(Files().empty());
}

TEST_F(UtmVerb, RefusesTextThatIsNoUtmPoint) {
  for (const char* text :
       {"33T", "33T 1", "33T 1 2 3", "33T 1 m N 2 m N", "33T 1 2 m S", "61T 1 2", "0T 1 2",
        "33I 1 2", "33 1 2", "33TT 1 2", "T 1 2", "33T x 2", "33T nan 2"}) {
    const CommandRun run = RunPelorin({"utm", "-r", text});
    EXPECT_EQ(run.exit_code, 2) << text;
    EXPECT_EQ(LinesOf(run.err).size(), 1u) << run.err;
  }
}

TEST_F(UtmVerb, AnswersOneRowForEachLineAndGoesOnAfterABadOne) {
  Write(Path("in"), "42,12.5\nbad\n\n85,0\n-1,179.99999");
  const CommandRun run = RunPelorin({"utm", "-i", Path("in")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.out, "33T 292948.962 4652799.807\n?\n?\n?\n60M 833926.823 9889317.163\n");
  const std::vector<std::string> told = LinesOf(run.err);
  ASSERT_EQ(told.size(), 4u) << run.err;
  EXPECT_EQ(told[0].rfind("pelorin utm: line 2: 'bad' is not a place", 0), 0u) << told[0];
  EXPECT_EQ(told[1].rfind("pelorin utm: line 3: ", 0), 0u) << told[1];
  EXPECT_EQ(told[2].rfind("pelorin utm: line 4: latitude 85", 0), 0u) << told[2];
  EXPECT_EQ(told[3], "pelorin utm: 3 of 5 rows failed");
}

TEST_F(UtmVerb, StreamsBackToTheSamePoints) {
  std::string points;
  for (int i = 0; i < 3000; ++i) {
    points += std::to_string(-79.5 + i * 0.0544) + "," + std::to_string(-179.5 + i * 0.1196) + "\n";
  }
  Write(Path("in"), points);
  ASSERT_EQ(RunPelorin({"utm", "-i", Path("in"), "-o", Path("utm")}).exit_code, 0);
  ASSERT_EQ(RunPelorin({"utm", "-r", "-i", Path("utm"), "-o", Path("out")}).exit_code, 0);
  const std::vector<std::string> before = LinesOf(points);
  const std::vector<std::string> after = LinesOf(Content(Path("out")));
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    EXPECT_NEAR(std::stod(after[i]), std::stod(before[i]), 2e-8) << before[i];
    EXPECT_NEAR(std::stod(after[i].substr(after[i].find(',') + 1)),
                std::stod(before[i].substr(before[i].find(',') + 1)), 3e-6)
        << before[i];
  }
}

TEST_F(UtmVerb, WritesCsvByTheNameOfTheFile) {
  Write(Path("in"), "60,5\na \"b\"\n");
  const CommandRun run = RunPelorin({"utm", "-i", Path("in"), "-o", Path("out.csv")});
  EXPECT_EQ(run.exit_code, 1);
  const std::vector<std::string> rows = LinesOf(Content(Path("out.csv")));
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0],
            "line,lat,lng,zone,band,hemisphere,easting_m,northing_m,scale,convergence_deg,error");
  EXPECT_EQ(rows[1], "1,60.000000000,5.000000000,32,V,northern,276979.926,6658157.203,1.00020958,"
                     "-3.465515,");
  EXPECT_EQ(rows[2].rfind("2,,,,,,,,,,\"'a \"\"b\"\"' is not a place", 0), 0u) << rows[2];
}

TEST_F(UtmVerb, WritesJsonOneObjectALine) {
  Write(Path("in"), "33T 500000 4649776\n\xFF\xFE\n");
  const CommandRun run = RunPelorin({"utm", "-r", "-i", Path("in"), "--json"});
  EXPECT_EQ(run.exit_code, 1);
  const std::vector<std::string> rows = LinesOf(run.out);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(Json::parse(rows[0])["line"], 1);
  EXPECT_EQ(Json::parse(rows[0])["scale"], 0.9996);
  EXPECT_EQ(Json::parse(rows[0])["convergence_deg"], 0.0);
  EXPECT_EQ(Json::parse(rows[1])["line"], 2);
  EXPECT_TRUE(Json::parse(rows[1]).contains("error"));
}

TEST_F(UtmVerb, NamesAnInputThatIsNotThereAndWritesNothing) {
  const CommandRun run = RunPelorin({"utm", "-i", Path("none"), "-o", Path("out")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.err.find("none"), std::string::npos) << run.err;
  EXPECT_TRUE(Files().empty());
}

}  // namespace
}  // namespace command
}  // namespace pelorin
