// SPDX-License-Identifier: Apache-2.0
// `pelorin stratum` as its users meet it.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/apps/command/command_runner.h"
#include "tests/support/kml_rules.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;
using StratumVerb = CommandTest;

Json Told(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "stratum");
  arguments.push_back("--json");
  const CommandRun run = RunPelorin(arguments);
  EXPECT_EQ(run.exit_code, 0) << run.err;
  return Json::parse(run.out)["octants"];
}

/// What an independent reader finds in a file.
std::string OgrInfoOf(const std::string& path) {
  std::FILE* const pipe = popen(("ogrinfo -ro -al '" + path + "' 2>&1").c_str(), "r");
  std::string text;
  char buffer[4096];
  for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    text.append(buffer, got);
  }
  EXPECT_EQ(pclose(pipe), 0) << text;
  return text;
}

TEST_F(StratumVerb, TellsAnOctantByItsPathInWords) {
  const CommandRun run = RunPelorin({"stratum", "--path", "034"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out, "path       034\n"
                     "level      3\n"
                     "stratum    0, number 1 from the bottom\n"
                     "altitude   -1592752.500 m to 3185505.000 m, 4778257.500 m thick\n"
                     "parent     0\n"
                     "children   0 and 1\n"
                     "cell       row 5, column 2\n"
                     "corners    -90.0000000,-90.0000000 and -45.0000000,-45.0000000\n");
}

TEST_F(StratumVerb, FindsPathsAndCellsBothWays) {
  const Json by_cell = Told({"--level", "3", "--row", "5", "--column", "2", "--stratum", "0"});
  EXPECT_EQ(by_cell[0]["path"], "034");
  EXPECT_EQ(Told({"--path", "034"}), by_cell);
}

TEST_F(StratumVerb, FindsStrataByAltitudeAndAltitudesByStratum) {
  const Json by_altitude = Told({"--level", "12", "--altitude", "4424"});
  EXPECT_EQ(by_altitude[0]["stratum"], 1);
  EXPECT_LE(by_altitude[0]["base_m"], 4424.0);
  EXPECT_GT(by_altitude[0]["top_m"], 4424.0);
  EXPECT_FALSE(by_altitude[0].contains("path"));
  EXPECT_EQ(Told({"--level", "12", "--stratum", "1"}), by_altitude);
  EXPECT_EQ(Told({"--level", "3", "--altitude", "-3185505"})[0]["stratum"], -1);
}

TEST_F(StratumVerb, HasTheRootAndNoParentAboveIt) {
  const Json root = Told({"--path", ""});
  EXPECT_EQ(root[0]["level"], 0);
  EXPECT_TRUE(root[0]["parent"].is_null());
  EXPECT_EQ(root[0]["bbox"], (Json{-180.0, -90.0, 180.0, 90.0}));
}

TEST_F(StratumVerb, FindsTheOctantOverAPlace) {
  const Json octant = Told({"--at", "43.73,7.42", "--level", "14", "--altitude", "100"})[0];
  EXPECT_LE(octant["bbox"][0], 7.42);
  EXPECT_LE(octant["bbox"][1], 43.73);
  EXPECT_GT(octant["bbox"][2], 7.42);
  EXPECT_GT(octant["bbox"][3], 43.73);
  EXPECT_EQ(octant["path"].get<std::string>().size(), 14u);
  EXPECT_EQ(Told({"--path", octant["path"]})[0], octant);
}

TEST_F(StratumVerb, PutsTheEdgesOfTheGlobeIntoTheLastCells) {
  EXPECT_EQ(Told({"--at", "90,180", "--level", "2"})[0]["column"], 3);
  EXPECT_EQ(Told({"--at", "-90,-180", "--level", "2"})[0]["row"], 2);
}

TEST_F(StratumVerb, StacksOctantsOverAPlaceWithoutGaps) {
  const Json octants =
      Told({"--at", "43.73,7.42", "--level", "16", "--from", "-500", "--to", "9000"});
  ASSERT_GT(octants.size(), 10u);
  EXPECT_LE(octants.front()["base_m"], -500.0);
  EXPECT_GT(octants.back()["top_m"], 9000.0);
  for (std::size_t i = 1; i < octants.size(); ++i) {
    EXPECT_EQ(octants[i]["base_m"], octants[i - 1]["top_m"]);
    EXPECT_EQ(octants[i]["row"], octants[0]["row"]);
  }
}

TEST_F(StratumVerb, DrawsBoxesThatAnotherReaderUnderstands) {
  const CommandRun run = RunPelorin({"stratum", "--at", "43.73,7.42", "--level", "14", "--from",
                                     "0", "--to", "9000", "-o", Path("boxes.kml")});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json octants = Told({"--at", "43.73,7.42", "--level", "14", "--from", "0", "--to", "9000"});
  const std::string found = OgrInfoOf(Path("boxes.kml"));
  EXPECT_NE(found.find("Feature Count: " + std::to_string(octants.size())), std::string::npos)
      << found;
  EXPECT_NE(found.find("Extent: (7.404785, 43.725586) - (7.426758, 43.747559)"), std::string::npos)
      << found;
  for (const Json& octant : octants) {
    EXPECT_NE(found.find(octant["path"].get<std::string>()), std::string::npos);
  }
  const std::string kml = Content(Path("boxes.kml"));
  EXPECT_EQ(nimbara::test_support::KmlRules::BreachesOf(QByteArray::fromStdString(kml)), "");
  std::size_t faces = 0;
  for (std::size_t at = kml.find("<Polygon>"); at != std::string::npos;
       at = kml.find("<Polygon>", at + 1)) {
    ++faces;
  }
  EXPECT_EQ(faces, 6 * octants.size());
}

TEST_F(StratumVerb, WritesNoTextUnderTheNameOfAnotherFormat) {
  EXPECT_EQ(RunPelorin({"stratum", "--path", "034", "-o", Path("a.csv")}).exit_code, 2);
  EXPECT_TRUE(Files().empty());
}

TEST_F(StratumVerb, DrawsNothingBeyondThePole) {
  EXPECT_TRUE(Told({"--path", "22"})[0]["bbox"].is_null());
  EXPECT_EQ(RunPelorin({"stratum", "--path", "22", "-f", "kml"}).exit_code, 3);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
