// SPDX-License-Identifier: Apache-2.0
// `pelorin building` as its users meet it.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "base/little_endian.h"
#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;

// Two houses, one with a courtyard.
const char* const kHouses = R"({"type":"FeatureCollection","copyright":"the people","features":[
{"type":"Feature","id":"a","properties":{"height":"12.5"},"geometry":{"type":"Polygon","coordinates":
[[[13,52],[13.001,52],[13.001,52.001],[13,52.001],[13,52]],
 [[13.0004,52.0004],[13.0006,52.0004],[13.0006,52.0006],[13.0004,52.0006],[13.0004,52.0004]]]}},
{"type":"Feature","id":"b","properties":{"building:levels":"4"},"geometry":{"type":"Polygon",
"coordinates":[[[13.002,52],[13.003,52],[13.003,52.001],[13.002,52]]]}}]})";

class BuildingVerb : public CommandTest {
 protected:
  void SetUp() override {
    CommandTest::SetUp();
    Write(Path("houses.geojson"), kHouses);
  }
  static CommandRun Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "building");
    return RunPelorin(arguments);
  }
  // One line on standard error, nothing on standard output.
  static void ExpectFailure(const CommandRun& run, int exit_code, const std::string& text) {
    EXPECT_EQ(run.exit_code, exit_code);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  }
  static std::ptrdiff_t CountLinesWith(const std::string& text, const std::string& start) {
    std::istringstream lines(text);
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(lines, line);) {
      count += line.rfind(start, 0) == 0 ? 1 : 0;
    }
    return count;
  }
  std::string MakeStream() {
    EXPECT_EQ(Run({Path("houses.geojson"), "-o", Path("houses.zb")}).exit_code, 0);
    return Content(Path("houses.zb"));
  }
};

TEST_F(BuildingVerb, TellsWhatFootprintsAreThere) {
  const CommandRun run = Run({Path("houses.geojson")});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.out.rfind("2 footprints: 1 by height, 1 by storeys, 0 by default\n", 0), 0u)
      << run.out;
  EXPECT_EQ(Files(), std::vector<std::string>{"houses.geojson"});
}

TEST_F(BuildingVerb, TellsTheSameInLinesBesideAFile) {
  const std::string told = Run({Path("houses.geojson")}).out;
  const CommandRun run = Run({Path("houses.geojson"), "-o", Path("houses.zb")});
  EXPECT_EQ(run.err, told);
  EXPECT_GT(std::count(told.begin(), told.end(), '\n'), 3) << told;
}

TEST_F(BuildingVerb, TellsOfAFileWithoutLettingItSpeakToTheTerminal) {
  Write(Path("loud.geojson"),
        R"({"type":"Feature","properties":{"height":"\u001b[31m\n\nhi\u009bgh"},"geometry":)"
        R"({"type":"Polygon","coordinates":[[[13,52],[13.001,52],[13.001,52.001]]]}})");
  const CommandRun run = Run({Path("loud.geojson"), "--json"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_NE(run.err.find("\" [31m  hi gh\" is no height"), std::string::npos) << run.err;
  EXPECT_EQ(run.err.find('\x1B'), std::string::npos);
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST_F(BuildingVerb, TellsItAsJson) {
  const CommandRun run = Run({Path("houses.geojson"), "--json", "--origin", "52,13"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json report = Json::parse(run.out);
  EXPECT_EQ(report["polygons"], 2);
  EXPECT_EQ(report["contours"], 3);
  EXPECT_EQ(report["points"], 11);
  EXPECT_EQ(report["origin"]["lat"], 52.0);
  EXPECT_EQ(report["heights"]["levels"], 1);
  EXPECT_EQ(report["roofs_m"]["highest"], 12.5);
  EXPECT_EQ(report["extent_m"]["west"], 0.0);
}

TEST_F(BuildingVerb, WritesAStreamThatItReadsBack) {
  const std::string stream = MakeStream();
  EXPECT_EQ(stream.substr(0, 4), std::string("ZB\1\0", 4));
  const Json made = Json::parse(Run({Path("houses.geojson"), "--json"}).out);
  const Json read = Json::parse(Run({Path("houses.zb"), "--json"}).out);
  for (const char* field : {"polygons", "contours", "points", "triangles", "extent_m", "roofs_m",
                            "point_bits", "stream_bytes"}) {
    EXPECT_EQ(made[field], read[field]) << field;
  }
  EXPECT_EQ(made["stream_bytes"], stream.size());
}

TEST_F(BuildingVerb, WritesTheSameStreamFromAStream) {
  const std::string stream = MakeStream();
  ASSERT_EQ(Run({Path("houses.zb"), "-o", Path("again.zb")}).exit_code, 0);
  EXPECT_EQ(Content(Path("again.zb")), stream);
}

TEST_F(BuildingVerb, WritesBareDataToStandardOutput) {
  const std::string stream = MakeStream();
  const CommandRun run = Run({Path("houses.geojson"), "-f", "stream", "-o", "-"});
  EXPECT_EQ(run.out, stream);
  EXPECT_EQ(run.err, "");
}

TEST_F(BuildingVerb, TakesHeightsThatAreGiven) {
  const CommandRun run = Run({Path("houses.geojson"), "--json", "--storey-height", "5"});
  EXPECT_EQ(Json::parse(run.out)["roofs_m"]["highest"], 20.0);
}

TEST_F(BuildingVerb, TakesCoarserCoordinates) {
  const Json fine = Json::parse(Run({Path("houses.geojson"), "--json"}).out);
  const Json coarse =
      Json::parse(Run({Path("houses.geojson"), "--json", "--points-bits", "0"}).out);
  EXPECT_LT(coarse["stream_bytes"], fine["stream_bytes"]);
  EXPECT_EQ(coarse["roofs_m"]["highest"], 12.0);
}

TEST_F(BuildingVerb, WritesAPageThatNoNameCanLeave) {
  Write(Path("<script>.geojson"), kHouses);
  ASSERT_EQ(Run({Path("<script>.geojson"), "-o", Path("page.html")}).exit_code, 0);
  const std::string page = Content(Path("page.html"));
  EXPECT_EQ(page.find("<script>.geojson"), std::string::npos);
  EXPECT_NE(page.find("&lt;script>.geojson"), std::string::npos);
  EXPECT_NE(page.find("© the people"), std::string::npos);
  const std::size_t begin = page.find("id=\"data\">") + 10;
  const Json data = Json::parse(page.substr(begin, page.find("</script>", begin) - begin));
  EXPECT_EQ(data["title"], "<script>.geojson");
  ASSERT_EQ(data["sets"].size(), 2u);
  EXPECT_TRUE(data["sets"][0].contains("triangles"));
  EXPECT_TRUE(data["sets"][1].contains("lines"));
}

TEST_F(BuildingVerb, NamesThePeopleBehindAStreamWhereItIsToldThem) {
  ASSERT_EQ(Run({Path("houses.geojson"), "-o", Path("houses.zb")}).exit_code, 0);
  ASSERT_EQ(Run({Path("houses.zb"), "-o", Path("page.html")}).exit_code, 0);
  EXPECT_EQ(Content(Path("page.html")).find("the people"), std::string::npos);
  ASSERT_EQ(Run({Path("houses.zb"), "-o", Path("page.html"), "--overwrite", "--attribution",
                 "the people"})
                .exit_code,
            0);
  EXPECT_NE(Content(Path("page.html")).find("© the people"), std::string::npos);
}

TEST_F(BuildingVerb, WritesAnObjWithItsMaterialsBesideIt) {
  ASSERT_EQ(Run({Path("houses.geojson"), "-o", Path("houses.obj")}).exit_code, 0);
  const std::string obj = Content(Path("houses.obj"));
  EXPECT_EQ(obj.rfind("mtllib houses.mtl\n", 0), 0u);
  // 11 points above, 11 below; 11 walls of two triangles and the roofs; lines along all edges.
  EXPECT_EQ(CountLinesWith(obj, "v "), 22);
  EXPECT_EQ(CountLinesWith(obj, "usemtl "), 2);
  EXPECT_EQ(CountLinesWith(obj, "f "), 22 + 8 + 1);
  EXPECT_EQ(CountLinesWith(obj, "l "), 3 * 11);
  EXPECT_EQ(CountLinesWith(Content(Path("houses.mtl")), "newmtl "), 2);
}

TEST_F(BuildingVerb, ReplacesTheMaterialsOfAnObjOnlyWhenToldTo) {
  Write(Path("houses.mtl"), "mine");
  ExpectFailure(Run({Path("houses.geojson"), "-o", Path("houses.obj")}), 2,
                "houses.mtl: is already there");
  EXPECT_EQ(Content(Path("houses.mtl")), "mine");
  EXPECT_FALSE(std::filesystem::exists(Path("houses.obj")));
}

TEST_F(BuildingVerb, LeavesNoMaterialsWithoutTheirObj) {
  ExpectFailure(Run({Path("houses.geojson"), "-o", Path("houses.mtl"), "-f", "obj"}), 2,
                "houses.mtl: this name is needed for the materials");
  EXPECT_FALSE(std::filesystem::exists(Path("houses.mtl")));
  std::filesystem::create_directory(Path("houses.obj"));
  EXPECT_NE(Run({Path("houses.geojson"), "-o", Path("houses.obj"), "--overwrite"}).exit_code, 0);
  EXPECT_FALSE(std::filesystem::exists(Path("houses.mtl")));
}

TEST_F(BuildingVerb, WritesAGlbWithFacesAndLinesAndTheRoofsUpwards) {
  const std::vector<std::string> arguments = {Path("houses.geojson"), "-o", Path("houses.glb"),
                                              "--base", "-2"};
  ASSERT_EQ(Run(arguments).exit_code, 0);
  const std::string glb = Content(Path("houses.glb"));
  ASSERT_EQ(glb.substr(0, 4), "glTF");
  const auto size = LoadLittleEndian<std::uint32_t>(glb.data() + 12);
  const Json scene = Json::parse(glb.substr(20, size));
  std::vector<int> modes;
  for (const Json& primitive : scene["meshes"][0]["primitives"]) {
    modes.push_back(primitive["mode"]);
  }
  EXPECT_EQ(modes, (std::vector<int>{4, 1}));
  // Heights are along y, from the base to the roof, around the origin of the node.
  const Json& places =
      scene["accessors"]
           [scene["meshes"][0]["primitives"][0]["attributes"]["POSITION"].get<std::size_t>()];
  EXPECT_DOUBLE_EQ(places["max"][1].get<double>() - places["min"][1].get<double>(), 14.5);
}

TEST_F(BuildingVerb, RefusesAStreamThatWasCutAndWritesNothing) {
  const std::string stream = MakeStream();
  Write(Path("cut.zb"), stream.substr(0, stream.size() - 3));
  ExpectFailure(Run({Path("cut.zb"), "-o", Path("cut.html")}), 1, "cut.zb: cut: it goes on behind");
  EXPECT_FALSE(std::filesystem::exists(Path("cut.html")));
}

TEST_F(BuildingVerb, RefusesWhatIsNeitherGeoJsonNorAStream) {
  Write(Path("a.txt"), "houses");
  ExpectFailure(Run({Path("a.txt")}), 1, "a.txt: line 1, byte 1: not JSON, or damaged");
  Write(Path("b.json"), "[1]");
  ExpectFailure(Run({Path("b.json")}), 1, "b.json: JSON, but not GeoJSON");
}

TEST_F(BuildingVerb, FailsForAnInputThatIsNotThere) {
  ExpectFailure(Run({Path("none.geojson")}), 1, "none.geojson: cannot be read: No such file");
  ExpectFailure(Run({folder_.string()}), 1, "cannot be read: Is a directory");
}

TEST_F(BuildingVerb, FindsNothingWhereNoPolygonIs) {
  Write(Path("points.geojson"), R"({"type":"Point","coordinates":[1,2]})");
  ExpectFailure(Run({Path("points.geojson")}), 3, "points.geojson: no building in it");
}

TEST_F(BuildingVerb, ReplacesAFileOnlyWhenToldTo) {
  const std::string stream = MakeStream();
  ExpectFailure(Run({Path("houses.geojson"), "-o", Path("houses.zb")}), 2, "is already there");
  EXPECT_EQ(Run({Path("houses.geojson"), "-o", Path("houses.zb"), "--overwrite"}).exit_code, 0);
  EXPECT_EQ(Content(Path("houses.zb")), stream);
}

TEST_F(BuildingVerb, RefusesAFormatThatItDoesNotKnow) {
  ExpectFailure(Run({Path("houses.geojson"), "-o", Path("houses.stl")}), 2,
                "no format is known by the ending .stl");
  ExpectFailure(Run({Path("houses.geojson"), "-o", "-"}), 2, "no format is told by the name");
}

TEST_F(BuildingVerb, TellsOfFootprintsThatItLeavesOut) {
  Write(Path("odd.geojson"),
        R"({"type":"GeometryCollection","geometries":[
{"type":"Polygon","coordinates":[[[13,52],[13.001,52],[13.001,52.001]]]},
{"type":"Polygon","coordinates":[[[13,52],[13.001,52],[13.0005,52]]]}]})");
  const CommandRun run = Run({Path("odd.geojson"), "--json"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_NE(run.err.find("left out: it is thinner than a step"), std::string::npos) << run.err;
  EXPECT_EQ(Json::parse(run.out)["left_out"], 1);
}

TEST_F(BuildingVerb, MakesAPageOfARealQuarter) {
  const std::string quarter =
      std::string(PELORIN_SHARED_DATA) + "/buildings/berlin-neukoelln-buildings.geojson";
  if (!std::filesystem::exists(quarter)) {
    GTEST_SKIP() << "the shared data is not there";
  }
  const CommandRun made = Run({quarter, "-o", Path("quarter.zb"), "--json"});
  ASSERT_EQ(made.exit_code, 0) << made.err;
  const int replaced = Json::parse(made.out)["replaced_by_parts"];
  EXPECT_GT(replaced, 0);
  const CommandRun run = Run({Path("quarter.zb"), "-o", Path("quarter.html"), "--json"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json report = Json::parse(run.out);
  EXPECT_EQ(report["polygons"], 209 - replaced);
  EXPECT_EQ(report["roofs_m"]["highest"], 50.0);
  EXPECT_LT(report["bytes_per_triangle"], 8.0);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
