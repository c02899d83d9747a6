// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using nlohmann::json;

constexpr char kTrack[] =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<gpx version=\"1.1\" xmlns=\"http://www.topografix.com/GPX/1/1\" xmlns:v=\"urn:vendor\">\n"
    "  <!-- a walk -->\n"
    "  <wpt lat=\"47.5\" lon=\"-24.5\"><name>Quay \xE9</name></wpt>\n"
    "  <trk><name>Up the hill &amp; on</name><trkseg>\n"
    "    <trkpt lat=\"47.5000\" lon=\"-24.5000\"><ele>100.5</ele><time>2020-01-01T00:00:00Z</time>"
    "</trkpt>\n"
    "    <trkpt lat=\"47.5010\" lon=\"-24.5020\"><extensions><v:hr>99</v:hr></extensions></trkpt>\n"
    "    <trkpt lat=\"47.5015\" lon=\"-24.5038\"/>\n"
    "  </trkseg><trkseg><trkpt lat=\"47.5012\" lon=\"-24.4990\"/></trkseg></trk>\n"
    "</gpx>\n";

class ElevationCommand : public CommandTest {
 protected:
  std::string WriteTrack() {
    Write(Path("walk.gpx"), kTrack);
    return Path("walk.gpx");
  }
};

TEST_F(ElevationCommand, GivesAHeightForEachPlace) {
  const CommandRun run = RunPelorin({"elevation", "47.5015,-24.5038", "0,0"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2);
  EXPECT_EQ(run.out.rfind("47.5015,-24.5038\t", 0), 0u) << run.out;
  EXPECT_GT(std::stod(run.out.substr(run.out.find('\t'))), 30.0) << "near the beacon";
  EXPECT_NE(run.out.find("0,0\t0\n"), std::string::npos) << "sea level where nothing is known";
  EXPECT_NE(run.err.find("1 of 2 places"), std::string::npos) << run.err;
}

TEST_F(ElevationCommand, GivesJsonAndCsvOnRequest) {
  const CommandRun as_json = RunPelorin({"elevation", "47.5,-24.5", "--json"});
  const json answer = json::parse(as_json.out);
  EXPECT_EQ(answer["points"][0]["lat"], 47.5);
  EXPECT_TRUE(answer["points"][0]["height_m"].is_number());
  const CommandRun csv = RunPelorin({"elevation", "47.5,-24.5", "-f", "csv"});
  EXPECT_EQ(csv.out.rfind("lat,lng,height_m\n47.5000000,-24.5000000,", 0), 0u) << csv.out;
}

TEST_F(ElevationCommand, SaysThatItsInputCannotBeRead) {
  std::filesystem::create_directory(Path("folder"));
  for (const char* name : {"folder", "none"}) {
    const CommandRun run = RunPelorin({"elevation", "-i", Path(name)});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_NE(run.err.find(std::string(name) + ": cannot be read"), std::string::npos) << run.err;
  }
}

TEST_F(ElevationCommand, AnswersOneRowForEachLineAndGoesOnAfterABadOne) {
  Write(Path("places.txt"), "47.5,-24.5\nnowhere\n47.501,-24.501\n");
  const CommandRun run = RunPelorin({"elevation", "-i", Path("places.txt")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 3) << run.out;
  EXPECT_NE(run.out.find("nowhere\t?\n"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("line 2"), std::string::npos) << run.err;
}

TEST_F(ElevationCommand, SumsUpATrack) {
  const CommandRun run = RunPelorin({"elevation", "--track", WriteTrack()});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out.rfind("Up the hill & on\npoints\t4\nlength\t0.", 0), 0u) << run.out;
  const json answer = json::parse(RunPelorin({"elevation", "--track", WriteTrack(), "--json"}).out);
  EXPECT_EQ(answer["points"].size(), 4u);
  EXPECT_EQ(answer["points"][0]["recorded_m"], 100.5);
  EXPECT_EQ(answer["points"][3]["segment"], 1);
  EXPECT_EQ(answer["points"][3]["distance_m"], answer["points"][2]["distance_m"])
      << "a gap between two stretches has no length";
  EXPECT_GT(answer["climb_m"], 10.0);
}

TEST_F(ElevationCommand, WritesHeightsBackAndKeepsEverythingElse) {
  const CommandRun run = RunPelorin({"elevation", "--track", WriteTrack(), "-o", Path("out.gpx")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  const std::string gpx = Content(Path("out.gpx"));
  EXPECT_EQ(gpx.find("100.5"), std::string::npos) << "the old height is gone";
  for (const char* const kept :
       {"encoding=\"UTF-8\"", "<!-- a walk -->", "Quay \xC3\xA9", "<v:hr>99</v:hr>",
        "</ele><time>2020-01-01T00:00:00Z</time>", "Up the hill &amp; on", "xmlns:v="}) {
    EXPECT_NE(gpx.find(kept), std::string::npos) << kept << "\n" << gpx;
  }
  std::size_t heights = 0;
  for (std::size_t at = gpx.find("<ele>"); at != std::string::npos; at = gpx.find("<ele>", at + 1))
    ++heights;
  EXPECT_EQ(heights, 5u) << "waypoints and track points alike";
  // A second run over the result changes nothing.
  RunPelorin({"elevation", "--track", Path("out.gpx"), "-o", Path("again.gpx")});
  EXPECT_EQ(Content(Path("again.gpx")), gpx);
}

TEST_F(ElevationCommand, DrawsTheProfile) {
  const CommandRun run = RunPelorin(
      {"elevation", "--track", WriteTrack(), "-o", Path("p.svg"), "--chart", Path("p.html")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  const std::string svg = Content(Path("p.svg"));
  EXPECT_EQ(svg.rfind("<svg xmlns=", 0), 0u);
  EXPECT_NE(svg.find("Up the hill &amp; on"), std::string::npos);
  EXPECT_EQ(svg.find("nan"), std::string::npos);
  const std::string page = Content(Path("p.html"));
  EXPECT_EQ(page.rfind("<!DOCTYPE html>", 0), 0u);
  EXPECT_NE(page.find(svg.substr(0, 60)), std::string::npos) << "the page holds the drawing";
  EXPECT_EQ(page.find("http://"), page.find("http://www.w3.org/2000/svg"))
      << "nothing is loaded from anywhere";
}

TEST_F(ElevationCommand, SpreadsSamplesAlongAPath) {
  const CommandRun run =
      RunPelorin({"elevation", "47.5,-24.5", "47.501,-24.5", "47.503,-24.5", "--samples", "4"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  std::istringstream lines(run.out);
  for (const char* const place : {"47.5000000", "47.5010000", "47.5020000", "47.5030000"}) {
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.rfind(std::string(place) + ",-24.5000000\t", 0), 0u) << line;
  }
  const json answer = json::parse(
      RunPelorin({"elevation", "47.5,-24.5", "47.503,-24.5", "--samples", "4", "--json"}).out);
  ASSERT_EQ(answer["points"].size(), 4u);
  EXPECT_EQ(answer["title"], "From 47.5,-24.5 to 47.503,-24.5");
  EXPECT_NEAR(answer["length_m"], 333.6, 0.2);
  EXPECT_NEAR(answer["points"][1]["distance_m"], 111.2, 0.1);
  // The same heights as asked for one by one.
  for (const json& point : answer["points"]) {
    const std::string place = point["lat"].dump() + "," + point["lng"].dump();
    EXPECT_EQ(json::parse(RunPelorin({"elevation", place, "--json"}).out)["points"][0]["height_m"],
              point["height_m"]);
  }
}

TEST_F(ElevationCommand, DrawsTheSamplesOfAPath) {
  Write(Path("places.txt"), "47.5,-24.5\n47.5015,-24.5038\n");
  const CommandRun run = RunPelorin({"elevation", "-i", Path("places.txt"), "--samples", "50", "-f",
                                     "csv", "--chart", Path("p.svg")});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out.rfind("lat,lng,height_m,distance_m,", 0), 0u) << run.out;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 51);
  EXPECT_NE(Content(Path("p.svg")).find("From 47.5,-24.5 to 47.5015,-24.5038"), std::string::npos);
}

TEST_F(ElevationCommand, FollowsNoPathWithAGap) {
  Write(Path("places.txt"), "47.5,-24.5\nnowhere\n47.501,-24.501\n");
  const CommandRun run = RunPelorin({"elevation", "-i", Path("places.txt"), "--samples", "5"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("line 2"), std::string::npos) << run.err;
}

TEST_F(ElevationCommand, InterpolatesAsItIsTold) {
  const auto height = [](const std::vector<std::string>& more) {
    std::vector<std::string> line = {"elevation", "47.50148,-24.50377", "--json"};
    line.insert(line.end(), more.begin(), more.end());
    const CommandRun run = RunPelorin(line);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    return json::parse(run.out)["points"][0]["height_m"].get<double>();
  };
  const double bilinear = height({"--interpolation", "bilinear"});
  EXPECT_EQ(height({}), bilinear);
  const double cubic = height({"--interpolation", "cubic"});
  const double nearest = height({"--interpolation", "nearest"});
  EXPECT_NE(cubic, bilinear);
  EXPECT_NE(nearest, bilinear);
  EXPECT_NEAR(cubic, bilinear, 1.0);
  EXPECT_NEAR(nearest, bilinear, 5.0);
}

TEST_F(ElevationCommand, AsksAServiceUnderItsKey) {
  Write(Path("key"), "of the deployment\n");
  Write(Path("other"), "another\n");
  BackgroundCommand service({"serve", "-q", "--key", Path("key")});
  const std::string url = json::parse(service.ReadLine())["url"];
  const CommandRun good =
      RunPelorin({"elevation", "47.5,-24.5", "--server", url, "--key", Path("key")});
  EXPECT_EQ(good.exit_code, 0) << good.err;
  const CommandRun bad =
      RunPelorin({"elevation", "47.5,-24.5", "--server", url, "--key", Path("other")});
  EXPECT_EQ(bad.exit_code, 4);
  EXPECT_NE(bad.err.find("--key"), std::string::npos) << bad.err;
  EXPECT_EQ(RunPelorin({"elevation", "47.5,-24.5", "--server", url}).exit_code, 4);
}

TEST_F(ElevationCommand, AnswersCode4WhereNoServiceIs) {
  std::string url;
  {
    BackgroundCommand service({"serve", "-q"});
    url = json::parse(service.ReadLine())["url"];
  }
  const CommandRun run = RunPelorin({"elevation", "47.5,-24.5", "--server", url});
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_NE(run.err.find(url), std::string::npos) << run.err;
}

TEST_F(ElevationCommand, AnswersCode3ForADatasetWithoutHeights) {
  Write(Path("a.geojson"), R"({"type":"LineString","coordinates":[[7.0,51.0],[7.001,51.0]]})");
  ASSERT_EQ(RunPelorin({"import", Path("a.geojson"), "-o", Path("a.sqlite")}).exit_code, 0);
  EXPECT_EQ(RunPelorin({"elevation", "51,7", "--dataset", Path("a.sqlite")}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"elevation", "51,7"}).exit_code, 3) << "far from the town";
  Write(Path("empty.gpx"), "<gpx/>");
  EXPECT_EQ(RunPelorin({"elevation", "--track", Path("empty.gpx")}).exit_code, 3);
}

TEST_F(ElevationCommand, AnswersCode1ForATrackThatIsNone) {
  for (const char* const text : {"", "<gpx><trk>", "<html/>",
                                 "<gpx><trk><trkseg><trkpt lat=\"95\" lon=\"0\"/></trkseg>"
                                 "</trk></gpx>"}) {
    Write(Path("bad.gpx"), text);
    const CommandRun run = RunPelorin({"elevation", "--track", Path("bad.gpx")});
    EXPECT_EQ(run.exit_code, 1) << text;
    EXPECT_NE(run.err.find("bad.gpx"), std::string::npos) << run.err;
  }
  EXPECT_EQ(RunPelorin({"elevation", "--track", Path("none.gpx")}).exit_code, 1);
  EXPECT_NE(RunPelorin({"elevation", "--track", Path("")}).err.find("Is a directory"),
            std::string::npos);
  EXPECT_EQ(RunPelorin({"elevation", "1,2", "--key", Path("none")}).exit_code, 1);
}

TEST_F(ElevationCommand, AnswersCode2ForWhatMakesNoSense) {
  const std::string track = WriteTrack();
  for (const std::vector<std::string>& line : std::vector<std::vector<std::string>>{
           {"elevation"},
           {"elevation", "1,2", "--track", track},
           {"elevation", "95,2"},
           {"elevation", "1,2", "-o", Path("a.gpx")},
           {"elevation", "1,2", "--chart", Path("a.svg")},
           {"elevation", "1,2", "3,4", "--samples", "1"},
           {"elevation", "1,2", "--samples", "5"},
           {"elevation", "--track", track, "--samples", "5"},
           {"elevation", "1,2", "3,4", "--samples", "5", "-o", Path("a.gpx")},
           {"elevation", "1,2", "--interpolation", "bicubic"},
           {"elevation", "--track", track, "--chart", Path("a.png")},
           {"elevation", "--track", track, "-o", track},
           {"elevation", "1,2", "--server", "ftp://service.example"}}) {
    const CommandRun run = RunPelorin(line);
    EXPECT_EQ(run.exit_code, 2) << testing::PrintToString(line) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(Files(), std::vector<std::string>{"walk.gpx"});
}

TEST_F(ElevationCommand, ImportsRealHeightsAndProfilesRealTracks) {
  const std::string data = PELORIN_SHARED_DATA;
  if (!std::filesystem::exists(data + "/dem/N43E007.hgt")) {
    GTEST_SKIP() << "the shared real data is not there";
  }
  const CommandRun import =
      RunPelorin({"import", data + "/dem/N43E007.hgt", "-o", Path("h.sqlite")});
  ASSERT_EQ(import.exit_code, 0) << import.err;
  EXPECT_NE(import.out.find("1442401 heights in 1 grid"), std::string::npos) << import.out;
  const CommandRun peak =
      RunPelorin({"elevation", "43.7384,7.4246", "43.9,7.5", "--dataset", Path("h.sqlite")});
  EXPECT_EQ(peak.exit_code, 0) << peak.err;
  EXPECT_EQ(std::count(peak.out.begin(), peak.out.end(), '\n'), 2);
  for (const char* const name : {"around-visnjan-with-car.gpx", "cerknicko-jezero.gpx"}) {
    const std::string track = data + "/gpx/" + name;
    const CommandRun outside = RunPelorin(
        {"elevation", "--track", track, "--dataset", Path("h.sqlite"), "-o", Path("never.gpx")});
    EXPECT_EQ(outside.exit_code, 3) << "both lie east of the heights";
    EXPECT_FALSE(std::filesystem::exists(Path("never.gpx")))
        << "good heights are not replaced by zeros";
  }
}

}  // namespace
}  // namespace command
}  // namespace pelorin
