// SPDX-License-Identifier: Apache-2.0
// Tours from end to end.
#include <csignal>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "apps/dataset/harbour_town.h"
#include "tests/apps/command/tour_fixture.h"

namespace pelorin {
namespace command {
namespace {

using Tours = TourTest;

TEST_F(Tours, CrossTheTown) {
  const Json summary = Tour({});
  EXPECT_GT(summary["panoramas"], 300);
  EXPECT_GT(summary["path"]["panoramas"], 50);
  EXPECT_GT(summary["path"]["turns"], 0);
  EXPECT_GT(summary["inferred_links"], 0);
  EXPECT_GT(summary["requests"]["id"], 0);
  EXPECT_GT(summary["requests"]["position"], 0);
  EXPECT_GT(summary["requests"]["tile"], 0);
  EXPECT_EQ(summary["failed"], 0);
}

TEST_F(Tours, ReadTheDatesOfTheDatasetOutOfItsImages) {
  std::string error;
  const std::unique_ptr<Dataset> town = MakeHarbourTown(&error);
  ASSERT_NE(town, nullptr) << error;
  const Json summary = Tour({});
  std::map<std::string, std::size_t> dates;
  for (const auto& id : summary["path"]["ids"]) {
    PanoRecord record;
    ASSERT_EQ(town->FindPano(id, false, &record, &error), Answer::kFound) << error;
    ++dates[record.image_date];
  }
  EXPECT_GT(dates.size(), 1u);
  EXPECT_EQ((summary["images"]["dates"].get<std::map<std::string, std::size_t>>()), dates);
  EXPECT_EQ(summary["images"]["undated"], 0);
  EXPECT_GE(summary["requests"]["image"], summary["images"]["tiles"]);
  const Json data = PageData(Content(Path("out/tour.html")));
  std::map<std::string, std::size_t> on_page;
  for (const Json& image : data["scene"]["images"]) {
    ++on_page[image[1].get<std::string>()];
  }
  EXPECT_EQ(on_page, dates);
}

TEST_F(Tours, TellTheDatesOfTheirImagesAsTextToo) {
  const CommandRun run = RunPelorin({"tour", "--out", Path("out")});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json images = PageData(Content(Path("out/tour.html")))["figures"]["images"];
  EXPECT_GT(images["dates"].size(), 1u);
  for (const auto& [date, tiles] : images["dates"].items()) {
    const std::size_t row = run.out.find("  taken " + date + " ");
    ASSERT_NE(row, std::string::npos) << run.out;
    EXPECT_EQ(std::stoul(run.out.substr(row + 8 + date.size())), tiles.get<std::size_t>());
  }
}

TEST_F(Tours, CountImagesWithoutADate) {
  const std::string line = R"({"type":"LineString","coordinates":[[7.0,51.0],[7.0,51.002]]})";
  Write(Path("street.geojson"), line);
  const auto tour = [this](std::vector<std::string> more) {
    more.insert(more.begin(), {"import", Path("street.geojson"), "-o", Path("street.sqlite"), "-q",
                               "--overwrite"});
    EXPECT_EQ(RunPelorin(more).exit_code, 0);
    return Tour({"--dataset", Path("street.sqlite")})["images"];
  };
  const Json undated = tour({});
  EXPECT_GT(undated["tiles"], 5);
  EXPECT_EQ(undated["undated"], undated["tiles"]);
  EXPECT_TRUE(undated["dates"].empty());
  const Json dated = tour({"--date", "2026-05"});
  EXPECT_EQ(dated["dates"], (Json{{"2026-05", dated["tiles"]}}));
}

TEST_F(Tours, ArriveAlthoughTheServiceMisbehaves) {
  const Json well = Tour({});
  // With this seed a tile that the walk never enters is cut short once: it must be asked for again.
  const Json ill = Tour({"--fail", "503:0.2", "--truncate", "0.1", "--seed", "5"});
  EXPECT_GE(ill["panoramas"], well["panoramas"]) << "a panorama was lost";
  EXPECT_EQ(ill["path"]["ids"].front(), well["path"]["ids"].front());
  EXPECT_EQ(ill["path"]["ids"].back(), well["path"]["ids"].back());
  EXPECT_GT(ill["retried"], 0);
}

TEST_F(Tours, ArriveOverASlowServiceThatAnswersOutOfOrder) {
  const Json summary = Tour({"--latency", "1-5", "--reorder", "--corrupt", "0.05"});
  EXPECT_GT(summary["path"]["panoramas"], 50);
}

TEST_F(Tours, UseAServiceThatRunsElsewhere) {
  BackgroundCommand service({"serve", "-q"});
  const std::string url = Json::parse(service.ReadLine())["url"];
  const Json summary =
      Tour({"--server", url, "--from", "47.49806,-24.50011", "--to", "47.5004,-24.49943"});
  EXPECT_GT(summary["path"]["panoramas"], 20);
  EXPECT_EQ(service.Stop(SIGTERM), 0);
}

TEST_F(Tours, EndWhereTheyStartIfThatIsAsked) {
  const CommandRun run = RunPelorin({"tour", "--from", "47.5004,-24.49943", "--to",
                                     "47.5004,-24.49943", "--out", Path("out"), "--json"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const Json summary = Json::parse(run.out);
  EXPECT_EQ(summary["path"]["panoramas"], 1);
  EXPECT_EQ(summary["path"]["hops"], 0);
  EXPECT_EQ(CountOf(Layers(Path("out/tour.kml")), "path"), 1u);
}

TEST_F(Tours, SayThatNoStreetLeadsToTheIsland) {
  const CommandRun run = RunPelorin(
      {"tour", "--from", "47.5004,-24.49943", "--to", "47.49603,-24.50018", "--out", Path("out")});
  EXPECT_EQ(run.exit_code, 3) << run.err;
  EXPECT_TRUE(Files().empty());
}

TEST_F(Tours, WalkTheExtractThatThePackagedExamplesCarry) {
  const std::string dataset = Import(PELORIN_PACKAGED_EXTRACT);
  // A listed dependency of the tests: its absence is a failure.
  ASSERT_FALSE(dataset.empty()) << "the package python-osmnx-doc is not installed";
  EXPECT_GT(Tour({"--dataset", dataset})["panoramas"], 200);
}

class RealExtracts : public TourTest, public testing::WithParamInterface<const char*> {};

TEST_P(RealExtracts, AreWalkedFromEndToEnd) {
  const std::string dataset = Import(std::string(PELORIN_SHARED_DATA "/osm/") + GetParam());
  if (dataset.empty()) {
    GTEST_SKIP() << "the shared data is not there";
  }
  EXPECT_GT(Tour({"--dataset", dataset})["panoramas"], 100);
}

INSTANTIATE_TEST_SUITE_P(Shared, RealExtracts,
                         testing::Values("berlin-neukoelln.osm", "monaco.osm.gz",
                                         "monaco.osm.pbf"));

}  // namespace
}  // namespace command
}  // namespace pelorin
