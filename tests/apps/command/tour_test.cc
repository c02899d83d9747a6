// SPDX-License-Identifier: Apache-2.0
// Tours from end to end, checked with an independent reader of KML.
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;

/// Layers and their feature counts, as GDAL sees them; empty if it cannot open the file.
std::map<std::string, std::size_t> KmlCounts(const std::string& path) {
  std::map<std::string, std::size_t> counts;
  FILE* const reader = popen(("ogrinfo -so -al '" + path + "' 2>/dev/null").c_str(), "r");
  std::array<char, 1024> line{};
  std::string layer;
  while (reader != nullptr && std::fgets(line.data(), line.size(), reader) != nullptr) {
    const std::string text(line.data());
    if (text.rfind("Layer name: ", 0) == 0) {
      layer = text.substr(12, text.size() - 13);
    } else if (text.rfind("Feature Count: ", 0) == 0) {
      counts[layer] = std::stoul(text.substr(15));
    }
  }
  if (reader != nullptr) {
    pclose(reader);
  }
  return counts;
}

std::size_t CountOf(const std::map<std::string, std::size_t>& counts, const std::string& layer) {
  const auto found = counts.find(layer);
  return found == counts.end() ? 0 : found->second;
}

/// The data block of a page.
Json PageData(const std::string& page) {
  const std::string mark = "<script id=\"tour\" type=\"application/json\">";
  const std::size_t begin = page.find(mark) + mark.size();
  return Json::parse(page.substr(begin, page.find("</script>", begin) - begin), nullptr, false);
}

class Tours : public CommandTest {
 protected:
  /// Runs a tour and checks everything that must hold of any: fields, KML, page.
  Json Tour(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "tour");
    arguments.insert(arguments.end(), {"--out", Path("out"), "--json", "--overwrite"});
    const CommandRun run = RunPelorin(arguments);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    const Json summary = Json::parse(run.out, nullptr, false);
    EXPECT_FALSE(summary.is_discarded()) << run.out;
    if (!summary.is_discarded()) {
      CheckFields(summary);
      CheckKml(summary);
      CheckPage(summary);
    }
    return summary;
  }

  static void CheckFields(const Json& summary) {
    for (const char* field :
         {"panoramas", "placeholders", "edges", "inferred_links", "refused", "failed", "retried",
          "seconds", "panoramas_per_second", "peak_memory_bytes"}) {
      EXPECT_TRUE(summary.contains(field) && summary[field].is_number()) << field;
    }
    for (const char* kind : {"id", "position", "tile"}) {
      EXPECT_TRUE(summary["requests"].contains(kind)) << kind;
    }
    const Json& path = summary["path"];
    EXPECT_EQ(path["ids"].size(), path["panoramas"]);
    EXPECT_EQ(path["hops"].get<int>() + 1, path["panoramas"].get<int>());
    EXPECT_GT(path["metres"], 0.0);
    EXPECT_LE(summary["inferred_links"], summary["edges"]);
    EXPECT_GT(summary["peak_memory_bytes"], 1 << 20);
    const std::set<std::string> once(path["ids"].begin(), path["ids"].end());
    EXPECT_EQ(once.size(), path["ids"].size());
  }

  void CheckKml(const Json& summary) const {
    const std::map<std::string, std::size_t> counts = KmlCounts(Path("out/tour.kml"));
    for (const char* layer : {"panoramas", "placeholders", "edges", "inferred_links"}) {
      EXPECT_EQ(CountOf(counts, layer), summary[layer].get<std::size_t>()) << layer;
    }
    EXPECT_EQ(CountOf(counts, "turns"), summary["path"]["turns"].get<std::size_t>());
    EXPECT_EQ(CountOf(counts, "stops"), summary["path"]["panoramas"].get<std::size_t>());
    EXPECT_EQ(CountOf(counts, "path"), 1u);
  }

  void CheckPage(const Json& summary) const {
    const std::string page = Content(Path("out/tour.html"));
    EXPECT_EQ(page.find("src="), std::string::npos) << "the page must need nothing else";
    EXPECT_EQ(page.find("<link"), std::string::npos);
    EXPECT_EQ(page.find("@DATA@"), std::string::npos);
    const Json data = PageData(page);
    ASSERT_FALSE(data.is_discarded());
    EXPECT_EQ(data["figures"], summary);
    EXPECT_EQ(data["path"].size(), summary["path"]["panoramas"].get<std::size_t>());
    EXPECT_EQ(data["edges"].size(), summary["edges"].get<std::size_t>());
  }

  /// Imports real data; empty, with the reason as the test's skip, where it is not there.
  std::string Import(const std::string& source) {
    if (!std::filesystem::exists(source)) {
      return "";
    }
    const std::string dataset = Path("real.sqlite");
    const CommandRun run = RunPelorin({"import", source, "-o", dataset, "-q", "--json"});
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_GT(Json::parse(run.out)["panoramas"], 100);
    return dataset;
  }
};

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
  EXPECT_EQ(CountOf(KmlCounts(Path("out/tour.kml")), "path"), 1u);
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

class RealExtracts : public Tours, public testing::WithParamInterface<const char*> {};

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
