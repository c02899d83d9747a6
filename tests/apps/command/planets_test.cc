// SPDX-License-Identifier: Apache-2.0
// `pelorin planets` as its users meet it.
#include <algorithm>
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
using Planets = CommandTest;

std::size_t LineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::size_t CountOf(const std::string& what, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

Json ReadJson(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "planets");
  arguments.push_back("--json");
  const CommandRun run = RunPelorin(arguments);
  EXPECT_EQ(run.exit_code, 0) << run.err;
  return Json::parse(run.out);
}

TEST_F(Planets, ShowsAllBodiesNowUnlessTold) {
  const CommandRun run = RunPelorin({"planets"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(LineCount(run.out), 12u);
  for (const char* body : {"\nsun ", "\nmercury ", "\nneptune ", "\nmoon "}) {
    EXPECT_EQ(CountOf(body, run.out), 1u) << body;
  }
}

TEST_F(Planets, TellsPlaceAndAttitudeOfManyBodiesAtManyDates) {
  const Json json = ReadJson({"mars", "venus", "--at", "2024-02-29", "--at", "2451545.0"});
  EXPECT_EQ(json["relative_to"], "sun");
  ASSERT_EQ(json["dates"].size(), 2u);
  EXPECT_EQ(json["dates"][0]["date"], "2024-02-29T00:00:00Z");
  EXPECT_EQ(json["dates"][1]["date"], "2000-01-01T12:00:00Z");
  EXPECT_EQ(json["dates"][1]["julian_date"], 2451545.0);
  const Json& bodies = json["dates"][1]["bodies"];
  ASSERT_EQ(bodies.size(), 2u);
  EXPECT_EQ(bodies[0]["name"], "mars");
  // Mars at the noon of 2000-01-01, from the almanacs: 359.45 degrees east, 1.42 south, 1.3912 au.
  EXPECT_NEAR(bodies[0]["longitude_deg"], 359.45, 0.03);
  EXPECT_NEAR(bodies[0]["latitude_deg"], -1.42, 0.03);
  EXPECT_NEAR(bodies[0]["distance_au"], 1.3912, 0.0005);
  EXPECT_NEAR(bodies[0]["roll_deg"], 115.19, 0.01);
  EXPECT_EQ(bodies[0]["yaw_deg"], 0.0);
  EXPECT_GE(bodies[0]["spin_deg"], 0.0);
  EXPECT_LE(bodies[0]["spin_deg"], 360.0);
  const double x = bodies[0]["x_au"], y = bodies[0]["y_au"], z = bodies[0]["z_au"];
  EXPECT_NEAR(std::hypot(x, y, z), bodies[0]["distance_au"], 1e-12);
}

TEST_F(Planets, SeesAnyBodyFromAnyOther) {
  const Json there = ReadJson({"mars", "--relative-to", "moon", "--at", "2024-02-29"});
  const Json back = ReadJson({"moon", "--relative-to", "mars", "--at", "2024-02-29"});
  const Json& mars = there["dates"][0]["bodies"][0];
  const Json& moon = back["dates"][0]["bodies"][0];
  for (const char* axis : {"x_au", "y_au", "z_au"}) {
    EXPECT_NEAR(mars[axis], -moon[axis].get<double>(), 1e-12) << axis;
  }
}

TEST_F(Planets, HasNoDirectionForTheBodyInTheCentre) {
  const Json sun = ReadJson({"sun", "--at", "2024-02-29"})["dates"][0]["bodies"][0];
  EXPECT_EQ(sun["distance_au"], 0.0);
  EXPECT_TRUE(sun["longitude_deg"].is_null());
  const CommandRun csv = RunPelorin({"planets", "sun", "--at", "2024-02-29", "-f", "csv"});
  EXPECT_NE(csv.out.find(",sun,sun,0,0,0,0,,,0,"), std::string::npos) << csv.out;
}

TEST_F(Planets, GivesLengthsInTheUnitThatItNames) {
  const Json au = ReadJson({"moon", "--relative-to", "earth", "--at", "2024-02-29"});
  const Json km =
      ReadJson({"moon", "--relative-to", "earth", "--at", "2024-02-29", "--unit", "km"});
  const Json radii =
      ReadJson({"moon", "--relative-to", "earth", "--at", "2024-02-29", "--unit", "radii"});
  const double distance = au["dates"][0]["bodies"][0]["distance_au"];
  EXPECT_NEAR(km["dates"][0]["bodies"][0]["distance_km"], distance * 149597870.7, 1e-3);
  EXPECT_NEAR(radii["dates"][0]["bodies"][0]["distance_radii"], distance * 149597870.7 / 6371.01,
              1e-6);
  EXPECT_NEAR(km["dates"][0]["bodies"][0]["distance_km"], 400000.0, 12000.0);
}

TEST_F(Planets, WritesARowOfDatesAsCsv) {
  const CommandRun run = RunPelorin({"planets", "mars", "earth", "--from", "2024-01-01", "--to",
                                     "2024-01-31", "--step", "10", "-f", "csv"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  std::istringstream lines(run.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "date,julian_date,body,relative_to,x_au,y_au,z_au,distance_au,longitude_deg,"
                  "latitude_deg,yaw_deg,spin_deg,roll_deg");
  const auto commas = std::count(line.begin(), line.end(), ',');
  std::size_t rows = 0;
  while (std::getline(lines, line)) {
    ++rows;
    EXPECT_EQ(std::count(line.begin(), line.end(), ','), commas) << line;
  }
  EXPECT_EQ(rows, 8u);
  EXPECT_NE(run.out.find("2024-01-31T00:00:00Z,2460340.5,earth,sun,"), std::string::npos);
}

TEST_F(Planets, WarnsOutsideOfTheUsefulRangeAndGoesOn) {
  const CommandRun run = RunPelorin({"planets", "mars", "--at", "1599-12-31", "--at", "1600-01-01",
                                     "--at", "2400-01-01", "--json"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(LineCount(run.err), 1u);
  EXPECT_NE(run.err.find("warning: 2 of 3 dates"), std::string::npos) << run.err;
  const Json dates = Json::parse(run.out)["dates"];
  EXPECT_EQ(dates[0]["in_useful_range"], false);
  EXPECT_EQ(dates[1]["in_useful_range"], true);
  EXPECT_EQ(dates[2]["in_useful_range"], false);
  EXPECT_EQ(RunPelorin({"planets", "-q", "--at", "1500-01-01"}).err, "");
  EXPECT_EQ(RunPelorin({"planets", "--at", "2399-12-31"}).err, "");
}

TEST_F(Planets, RefusesWhatMakesNoSense) {
  const std::vector<std::vector<std::string>> lines{
      {"planets", "vulcan"},
      {"planets", "--relative-to", "vulcan"},
      {"planets", "--at", "2023-02-29"},
      {"planets", "--at", "soon"},
      {"planets", "--from", "2024-01-01"},
      {"planets", "--to", "2024-01-01"},
      {"planets", "--from", "2024-01-02", "--to", "2024-01-01"},
      {"planets", "--from", "2024-01-01", "--to", "2025-01-01", "--step", "0"},
      {"planets", "--from", "1024-01-01", "--to", "2025-01-01", "--step", "0.001"},
      {"planets", "--from", "2024-01-01", "--to", "2034-01-01", "--step", "0.03", "-f", "svg"},
      {"planets", "--unit", "miles"},
      {"planets", "-f", "png"},
      {"planets", "--step", "5"},
      {"planets", "-o", Path("sky.png")}};
  for (const std::vector<std::string>& line : lines) {
    const CommandRun run = RunPelorin(line);
    const std::string shown = testing::PrintToString(line);
    EXPECT_EQ(run.exit_code, 2) << shown << run.err;
    EXPECT_EQ(run.out, "") << shown;
    EXPECT_EQ(LineCount(run.err), 1u) << shown << run.err;
  }
  EXPECT_TRUE(Files().empty());
}

TEST_F(Planets, WritesTheKindOfFileThatItsNameSays) {
  for (const auto& [name, begin] :
       {std::pair("p.json", "{\n"), std::pair("p.csv", "date,"), std::pair("p.txt", "2024-02-29T"),
        std::pair("p.svg", "<?xml")}) {
    ASSERT_EQ(RunPelorin({"planets", "--at", "2024-02-29", "-o", Path(name)}).exit_code, 0) << name;
    EXPECT_EQ(Content(Path(name)).rfind(begin, 0), 0u) << name;
  }
  EXPECT_EQ(RunPelorin({"planets", "-o", Path("p.svg")}).exit_code, 2);
  EXPECT_EQ(RunPelorin({"planets", "-o", Path("p.svg"), "--overwrite"}).exit_code, 0);
}

TEST_F(Planets, DrawsEveryBodyItsOrbitAndItsAxis) {
  const std::string svg = RunPelorin({"planets", "--at", "2024-02-29", "-f", "svg"}).out;
  // Once in a panel with its name, once on its card.
  for (const char* body : {"sun", "mercury", "venus", "earth", "mars", "jupiter", "saturn",
                           "uranus", "neptune", "moon"}) {
    EXPECT_GE(CountOf("class=\"name\"", svg), 10u);
    EXPECT_GE(CountOf(">" + std::string(body) + "</text>", svg), 2u) << body;
  }
  EXPECT_EQ(CountOf("class=\"panel\"", svg), 3u);  // Inner, outer, Earth and Moon.
  EXPECT_EQ(CountOf("class=\"axis\"", svg), 10u);
  EXPECT_GE(CountOf("class=\"north\"", svg), 9u);
  EXPECT_EQ(CountOf("class=\"way\"", svg), 0u);
  EXPECT_EQ(CountOf("class=\"warning\"", svg), 0u);
  EXPECT_EQ(svg.find("nan"), std::string::npos);
  EXPECT_EQ(svg.find("inf"), std::string::npos);
}

TEST_F(Planets, DrawsTheWaysOfARowOfDates) {
  const std::string svg =
      RunPelorin({"planets", "venus", "--relative-to", "earth", "--from", "2022-01-01", "--to",
                  "2030-01-01", "--step", "5", "-f", "svg"})
          .out;
  EXPECT_EQ(CountOf("class=\"way\"", svg), 1u);
  EXPECT_EQ(CountOf("class=\"north\"", svg), 0u);
  EXPECT_NE(svg.find("585 dates"), std::string::npos);
  EXPECT_NE(svg.find("class=\"rim\" cx=\"800\""), std::string::npos) << "in the middle";
}

TEST_F(Planets, DrawsAChartAroundEveryBodyAndWarnsOnIt) {
  for (const char* centre : {"sun", "mercury", "earth", "neptune", "moon"}) {
    const CommandRun run =
        RunPelorin({"planets", "--relative-to", centre, "--at", "1066-10-14", "-f", "svg"});
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_EQ(CountOf("class=\"warning\"", run.out), 1u) << centre;
    EXPECT_EQ(run.out.find("nan"), std::string::npos) << centre;
    EXPECT_NE(run.out.find("</svg>"), std::string::npos) << centre;
  }
  // Alone in the middle there is nothing to draw around it.
  const CommandRun alone = RunPelorin({"planets", "sun", "--at", "2024-02-29", "-f", "svg"});
  EXPECT_EQ(alone.exit_code, 0);
  EXPECT_EQ(CountOf("class=\"panel\"", alone.out), 0u);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
