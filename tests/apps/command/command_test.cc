// SPDX-License-Identifier: Apache-2.0
// The command as its users meet it: one process, its outputs, its exit code.
#include <cctype>
#include <csignal>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;

std::size_t LineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

const char* const kVerbs[] = {"tour",    "serve",   "import",    "pano",      "route", "planets",
                              "utm",     "stratum", "elevation", "jpeg-date", "mesh",  "building",
                              "inspect", "help",    "man",       "completion"};

using Command = CommandTest;

TEST_F(Command, ExplainsItselfAndEveryVerb) {
  const CommandRun whole = RunPelorin({"--help"});
  EXPECT_EQ(whole.exit_code, 0);
  for (const char* verb : kVerbs) {
    EXPECT_NE(whole.out.find(verb), std::string::npos) << verb;
    const CommandRun help = RunPelorin({verb, "--help"});
    EXPECT_EQ(help.exit_code, 0) << verb;
    EXPECT_NE(help.out.find("Usage: pelorin " + std::string(verb)), std::string::npos) << help.out;
    EXPECT_EQ(help.err, "") << verb;
    EXPECT_EQ(RunPelorin({"help", verb}).out, help.out) << verb;
  }
}

TEST_F(Command, NamesEveryOptionInManPageAndCompletion) {
  const std::string completion = RunPelorin({"completion", "bash"}).out;
  for (const char* verb : kVerbs) {
    const std::string page = RunPelorin({"man", verb}).out;
    const std::string help = RunPelorin({verb, "--help"}).out;
    for (std::size_t at = help.find("  --"); at != std::string::npos;
         at = help.find("  --", at + 1)) {
      const std::string option = help.substr(at + 2, help.find_first_of(" ,\n", at + 2) - at - 2);
      EXPECT_NE(completion.find(option), std::string::npos) << verb << " " << option;
      std::string escaped = "\\-\\-" + option.substr(2);
      for (std::size_t dash = escaped.find('-', 4); dash != std::string::npos;
           dash = escaped.find('-', dash + 2)) {
        escaped.insert(dash, "\\");
      }
      EXPECT_NE(page.find(escaped), std::string::npos) << verb << " " << escaped;
    }
  }
}

TEST_F(Command, TellsTheVersionsOfItsLibraries) {
  const CommandRun run = RunPelorin({"--version"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.out.rfind("pelorin ", 0), 0u);
  for (const std::string library : {"Qt ",
                                    "curl ",
                                    "zlib ",
                                    "bzip2 ",
                                    "Expat ",
                                    "SQLite ",
                                    "GEOS ",
                                    "assimp ",
                                    "cairo ",
                                    "GDAL ",
                                    "libjpeg-turbo ",
                                    "libexif ",
                                    "meshoptimizer ",
                                    "tinyobjloader ",
                                    "JsonCpp ",
                                    "nlohmann-json ",
                                    "pugixml ",
                                    "SQLiteCpp ",
                                    "cpp-httplib ",
                                    "CLI11 ",
                                    "libosmium ",
                                    "Boost "}) {
    const std::size_t line = run.out.find("\n" + library);
    ASSERT_NE(line, std::string::npos) << library;
    EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(run.out.at(line + 1 + library.size()))))
        << library;
  }
}

TEST_F(Command, AnswersWrongUsageWithOneLineAndCode2) {
  const std::vector<std::vector<std::string>> lines{
      {},
      {"fly"},
      {"tour", "--fly"},
      {"tour", "--from", "here", "--out", Path("o")},
      {"tour", "--to", "95,1", "--out", Path("o")},
      {"tour", "--max-hops", "0", "--out", Path("o")},
      {"tour", "--corridor", "0", "--out", Path("o")},
      {"tour", "--corridor", "nan", "--out", Path("o")},
      {"pano", "--at", "47.5,-24.5", "--radius", "nan"},
      {"planets", "earth", "--from", "2020-01-01", "--to", "2020-01-05", "--step", "nan"},
      {"planets", "earth", "--from", "2020-01-01", "--to", "2020-01-05", "--step", "0"},
      {"building", "houses.geojson", "--base", "nan"},
      {"building", "houses.geojson", "--storey-height", "inf"},
      {"mesh", "info", "city.obj", "--max-error", "nan"},
      {"mesh", "info", "city.obj", "--max-error", "0"},
      {"tour", "-f", "shp", "--out", Path("o")},
      {"tour", "--server", "ftp://service.example", "--from", "1,2", "--to", "1,2"},
      {"tour", "--server", "http://service.example", "--dataset", "town"},
      {"tour", "--fail", "503", "--out", Path("o")},
      {"serve", "--port", "70000"},
      {"serve", "--latency", "never"},
      {"import", "a.osm"},
      {"import", "a.osm", "-o", "-"},
      {"import", "a.osm", "-o", Path("x"), "--format", "shp"},
      {"pano"},
      {"pano", "--id", "a", "--at", "1,2"},
      {"pano", "--tile", "9,9,2"},
      {"route", "--from", "1,2"},
      {"route", "--from", "1,2", "--to", "1,2", "-o", Path("walk.doc")},
      {"utm", "91,0"},
      {"utm", "42"},
      {"utm", "1,2", "--zone", "61"},
      {"utm", "-r", "33T 500000"},
      {"utm", "-r", "33T 1 2", "--zone", "33"},
      {"utm", "1,2", "-i", "points.txt"},
      {"utm", "1,2", "-f", "kml"},
      {"stratum"},
      {"stratum", "--level", "31", "--altitude", "0"},
      {"stratum", "--level", "3"},
      {"stratum", "--level", "3", "--stratum", "7"},
      {"stratum", "--level", "3", "--stratum", "0", "--altitude", "0"},
      {"stratum", "--level", "3", "--stratum", "0", "--row", "5"},
      {"stratum", "--level", "3", "--stratum", "0", "--row", "8", "--column", "0"},
      {"stratum", "--level", "3", "--altitude", "31855050"},
      {"stratum", "--level", "3", "--altitude", "nan"},
      {"stratum", "--path", "038"},
      {"stratum", "--path", "0000000000000000000000000000000"},
      {"stratum", "--path", "034", "--level", "3"},
      {"stratum", "--level", "3", "--altitude", "0", "-f", "kml"},
      {"stratum", "--at", "1,2", "--level", "3", "--from", "9", "--to", "0"},
      {"stratum", "--at", "1,2", "--level", "30", "--from", "0", "--to", "90000"},
      {"jpeg-date", "read"},
      {"completion", "csh"},
      {"help", "fly"},
      {"man", "fly"}};
  for (const std::vector<std::string>& line : lines) {
    const CommandRun run = RunPelorin(line);
    const std::string shown = testing::PrintToString(line);
    EXPECT_EQ(run.exit_code, 2) << shown << run.err;
    EXPECT_EQ(run.out, "") << shown;
    EXPECT_EQ(LineCount(run.err), 1u) << shown << run.err;
    EXPECT_EQ(run.err.rfind("pelorin", 0), 0u) << shown << run.err;
  }
  EXPECT_TRUE(Files().empty());
}

TEST_F(Command, NamesTheWordThatMeansNothing) {
  EXPECT_EQ(RunPelorin({}).err, "pelorin: no verb was given; see 'pelorin --help'\n");
  EXPECT_EQ(RunPelorin({"fly", "high"}).err,
            "pelorin: there is no verb 'fly'; see 'pelorin --help'\n");
  EXPECT_EQ(RunPelorin({"--fly"}).err,
            "pelorin: there is no option '--fly'; see 'pelorin --help'\n");
  EXPECT_NE(RunPelorin({"serve", "--seed", "-1"}).err.find("--seed"), std::string::npos);
}

TEST_F(Command, HelpsWithTheWholeWhereNoVerbIsNamed) {
  EXPECT_EQ(RunPelorin({"help"}).out, RunPelorin({"--help"}).out);
  EXPECT_EQ(RunPelorin({"help", "serve"}).out, RunPelorin({"serve", "--help"}).out);
}

TEST_F(Command, SaysWhatWasAskedForWhereNoPanoramaIs) {
  EXPECT_EQ(RunPelorin({"pano", "--at", "0,0"}).err,
            "pelorin pano: --at 0,0: no panorama within 50 m; choose a place on a street, or a "
            "larger --radius\n");
  EXPECT_EQ(RunPelorin({"pano", "--id", "a"}).err,
            "pelorin pano: --id a: no panorama has this id; find ids with --at or --tile\n");
  EXPECT_EQ(RunPelorin({"pano", "--tile", "1,1,1"}).err,
            "pelorin pano: --tile 1,1,1: no panorama in this tile; choose a tile with streets, or "
            "one of a lower zoom\n");
}

TEST_F(Command, AnswersBadDataWithCode1AndNamesTheFile) {
  const std::string path = Path("no.sqlite");
  for (const bool is_there : {false, true}) {
    const CommandRun run = RunPelorin({"tour", "--dataset", path, "--out", Path("out")});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(LineCount(run.err), 1u) << run.err;
    EXPECT_NE(run.err.find(path), std::string::npos) << run.err;
    Write(path, is_there ? "" : "this is no dataset");
  }
  Write(Path("bad.osm"), "<osm><node");
  const CommandRun import = RunPelorin({"import", Path("bad.osm"), "-o", Path("o.sqlite")});
  EXPECT_EQ(import.exit_code, 1);
  EXPECT_NE(import.err.find("bad.osm"), std::string::npos) << import.err;
  EXPECT_EQ(Files(), (std::vector<std::string>{"bad.osm", "no.sqlite"}));
}

TEST_F(Command, AnswersCode3WhereNothingIs) {
  EXPECT_EQ(RunPelorin({"pano", "--at", "0,0"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"pano", "--id", "AAAAAAAAAAAAAAAAAAAAAA"}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"route", "--from", "0,0", "--to", "0,0.001"}).exit_code, 3);
  Write(Path("empty.osm"), "<?xml version='1.0'?><osm version='0.6'/>");
  EXPECT_EQ(RunPelorin({"import", Path("empty.osm"), "-o", Path("o")}).exit_code, 3);
}

TEST_F(Command, AnswersCode4WhereNoServiceIs) {
  // Nothing listens on the port of a service that has ended.
  std::string url;
  {
    BackgroundCommand service({"serve", "-q"});
    url = Json::parse(service.ReadLine())["url"];
  }
  const CommandRun pano = RunPelorin({"pano", "--id", "a", "--server", url});
  EXPECT_EQ(pano.exit_code, 4);
  EXPECT_NE(pano.err.find(url), std::string::npos) << pano.err;
  const CommandRun tour = RunPelorin(
      {"tour", "--server", url, "--from", "1,2", "--to", "1,2", "--out", Path("out"), "--json"});
  EXPECT_EQ(tour.exit_code, 4) << tour.err;
  EXPECT_EQ(tour.out, "");
  EXPECT_TRUE(Files().empty());
}

TEST_F(Command, ReplacesNoFileUnlessAsked) {
  const std::vector<std::string> tour{"tour", "--out", folder_.string(), "-q"};
  ASSERT_EQ(RunPelorin(tour).exit_code, 0);
  Write(Path("tour.kml"), "mine");
  const CommandRun refused = RunPelorin(tour);
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_NE(refused.err.find("--overwrite"), std::string::npos) << refused.err;
  EXPECT_EQ(Content(Path("tour.kml")), "mine");
  std::vector<std::string> again = tour;
  again.push_back("--overwrite");
  EXPECT_EQ(RunPelorin(again).exit_code, 0);
  EXPECT_NE(Content(Path("tour.kml")), "mine");
  EXPECT_EQ(Files(), (std::vector<std::string>{"tour.html", "tour.kml"}));
}

TEST_F(Command, KeepsTheOldDatasetWhenAnImportFails) {
  Write(Path("o.sqlite"), "mine");
  Write(Path("bad.osm"), "<osm><node");
  EXPECT_EQ(
      RunPelorin({"import", Path("bad.osm"), "-o", Path("o.sqlite"), "--overwrite"}).exit_code, 1);
  EXPECT_EQ(Content(Path("o.sqlite")), "mine");
}

TEST_F(Command, ServesUntilItIsTold) {
  for (const auto& [signal, code] : {std::pair(SIGTERM, 0), std::pair(SIGINT, 130)}) {
    BackgroundCommand service({"serve", "--port", "0", "-q"});
    const Json ready = Json::parse(service.ReadLine());
    EXPECT_EQ(ready["address"], "127.0.0.1");
    EXPECT_GT(ready["port"], 0);
    EXPECT_GT(ready["panoramas"], 100);
    EXPECT_EQ(ready["misbehaviour"], "");
    EXPECT_EQ(service.Stop(signal), code);
  }
}

TEST_F(Command, AnnouncesMisbehaviour) {
  BackgroundCommand service(
      {"serve", "-q", "--fail", "503:0.5", "--fail", "404:0.1", "--seed", "7"});
  const std::string told = Json::parse(service.ReadLine())["misbehaviour"];
  EXPECT_NE(told.find("503:0.5"), std::string::npos) << told;
  EXPECT_NE(told.find("404:0.1"), std::string::npos) << told;
  EXPECT_NE(told.find("seed=7"), std::string::npos) << told;
}

TEST_F(Command, LeavesNothingBehindWhenATourIsInterrupted) {
  BackgroundCommand tour({"tour", "--out", Path("out"), "-q", "--latency", "2000"});
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(tour.Stop(SIGINT), 130);
  EXPECT_TRUE(Files().empty());
}

TEST_F(Command, ShowsAPanoramaByPlaceIdAndTile) {
  const CommandRun near = RunPelorin({"pano", "--at", "47.5004,-24.49943", "--json"});
  ASSERT_EQ(near.exit_code, 0) << near.err;
  const Json by_place = Json::parse(near.out);
  ASSERT_EQ(by_place["count"], 1);
  const Json& panorama = by_place["levels"][0]["panoramas"][0];
  const std::string id = panorama["id"];
  EXPECT_EQ(id.size(), 22u);
  EXPECT_NEAR(panorama["lat"].get<double>(), 47.5004, 0.0005);
  EXPECT_FALSE(panorama["links"].empty());
  const Json by_id = Json::parse(RunPelorin({"pano", "--id", id, "--json"}).out);
  EXPECT_EQ(by_id["levels"][0]["panoramas"][0], panorama);
  EXPECT_NE(RunPelorin({"pano", "--id", id}).out.find(id), std::string::npos);
}

TEST_F(Command, KeepsLevelsApart) {
  // The zoom-14 tile around the town's middle holds the station with its two levels.
  const CommandRun run = RunPelorin({"pano", "--tile", "7077,5729,14", "--json"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json answer = Json::parse(run.out);
  std::size_t in_buildings = 0;
  for (const Json& level : answer["levels"]) {
    in_buildings += level["level_id"] != "" ? 1 : 0;
  }
  EXPECT_EQ(in_buildings, 2u) << run.out.substr(0, 400);
}

TEST_F(Command, WritesARouteInEveryFormatByItsName) {
  const std::vector<std::string> route{"route", "--from", "47.49806,-24.50011", "--to",
                                       "47.5004,-24.49943"};
  const auto write = [&](const std::string& name) {
    std::vector<std::string> line = route;
    line.insert(line.end(), {"-o", Path(name)});
    const CommandRun run = RunPelorin(line);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.out, "");
    return Content(Path(name));
  };
  const Json json = Json::parse(write("walk.json"));
  const std::size_t stops = json["path"]["panoramas"];
  EXPECT_EQ(json["path"]["ids"].size(), stops);
  EXPECT_EQ(json["path"]["hops"], stops - 1);
  EXPECT_EQ(json["turns"].size(), json["path"]["turns"]);
  const Json geo = Json::parse(write("walk.geojson"));
  EXPECT_EQ(geo["features"][0]["geometry"]["coordinates"].size(), stops);
  EXPECT_LT(geo["features"][0]["geometry"]["coordinates"][0][0], 0.0) << "longitude first";
  const std::string gpx = write("walk.gpx");
  std::size_t points = 0;
  for (std::size_t at = gpx.find("<rtept"); at != std::string::npos;
       at = gpx.find("<rtept", at + 1)) {
    ++points;
  }
  EXPECT_EQ(points, stops);
  EXPECT_NE(write("walk.kml").find("<LineString>"), std::string::npos);
  const std::string text = RunPelorin(route).out;
  EXPECT_EQ(text.rfind("0 m\tStart", 0), 0u) << text;
  EXPECT_NE(text.find("Arrive"), std::string::npos) << text;
}

TEST_F(Command, KeepsToTheGivenNumberOfPanoramas) {
  const CommandRun run = RunPelorin(
      {"route", "--from", "47.49806,-24.50011", "--to", "47.5004,-24.49943", "--max-hops", "5"});
  EXPECT_EQ(run.exit_code, 3);
  EXPECT_NE(run.err.find("--max-hops"), std::string::npos) << run.err;
}

TEST_F(Command, WarnsWhereTheWalkEndsBeforeItsGoal) {
  const CommandRun run = RunPelorin(
      {"route", "--from", "47.49806,-24.50011", "--to", "47.5004,-24.49943", "--max-hops", "40"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_NE(run.err.find("warning: the walk ends before 47.5004000,-24.4994300; no links lead "
                         "nearer within 40 panoramas"),
            std::string::npos)
      << run.err;
}

TEST_F(Command, NamesADatasetThatTurnsOutDamagedWhileItIsServed) {
  Write(Path("a.geojson"), R"({"type":"LineString","coordinates":[[7.0,51.0],[7.02,51.0]]})");
  ASSERT_EQ(RunPelorin({"import", Path("a.geojson"), "-o", Path("a.sqlite")}).exit_code, 0);
  std::string bytes = Content(Path("a.sqlite"));
  bytes.replace(bytes.size() * 3 / 4, std::string::npos, bytes.size() / 4, '\xFF');
  Write(Path("a.sqlite"), bytes);
  for (const std::vector<std::string>& line :
       {std::vector<std::string>{"pano", "--at", "51,7.001"},
        {"route", "--from", "51,7.001", "--to", "51,7.015"}}) {
    std::vector<std::string> arguments = line;
    arguments.insert(arguments.end(), {"--dataset", Path("a.sqlite")});
    const CommandRun run = RunPelorin(arguments);
    EXPECT_EQ(run.exit_code, 1) << run.err;
    EXPECT_NE(run.err.find(Path("a.sqlite") + ": database disk image is malformed"),
              std::string::npos)
        << run.err;
  }
}

TEST_F(Command, GivesProgressInLinesWhereItIsForced) {
  const CommandRun forced = RunPelorin({"tour", "--out", Path("a"), "--progress", "--json"});
  ASSERT_EQ(forced.exit_code, 0) << forced.err;
  EXPECT_NE(forced.err.find("100 %: "), std::string::npos) << forced.err;
  EXPECT_TRUE(Json::accept(forced.out));
  EXPECT_EQ(RunPelorin({"tour", "--out", Path("b"), "--progress", "-q"}).err, "");
}

}  // namespace
}  // namespace command
}  // namespace pelorin
