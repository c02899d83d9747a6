// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/apps/command/command_runner.h"
#include "tests/support/kml_rules.h"

namespace pelorin {
namespace command {

/// Tours from end to end, checked with an independent reader of maps.
class TourTest : public CommandTest {
 protected:
  using Json = nlohmann::json;

  /// Layers and their feature counts, as GDAL sees them; empty if it cannot open the file.
  static std::map<std::string, std::size_t> Layers(const std::string& path) {
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
  static std::size_t CountOf(const std::map<std::string, std::size_t>& counts,
                             const std::string& layer) {
    const auto found = counts.find(layer);
    return found == counts.end() ? 0 : found->second;
  }
  static std::size_t Occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
      ++count;
    }
    return count;
  }

  /// The data block of a page.
  static Json PageData(const std::string& page) {
    const std::string mark = "<script id=\"tour\" type=\"application/json\">";
    const std::size_t begin = page.find(mark) + mark.size();
    return Json::parse(page.substr(begin, page.find("</script>", begin) - begin), nullptr, false);
  }

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
          "seconds", "panoramas_per_second", "peak_memory_bytes", "roads", "labels", "overlays",
          "surfaces", "corridors", "fillets"}) {
      EXPECT_TRUE(summary.contains(field) && summary[field].is_number()) << field;
    }
    for (const char* kind : {"id", "position", "tile", "depth", "image"}) {
      EXPECT_TRUE(summary["requests"].contains(kind)) << kind;
    }
    const Json& path = summary["path"];
    EXPECT_EQ(path["ids"].size(), path["panoramas"]);
    EXPECT_EQ(path["hops"].get<int>() + 1, path["panoramas"].get<int>());
    EXPECT_GT(path["metres"], 0.0);
    EXPECT_LE(summary["inferred_links"], summary["edges"]);
    EXPECT_GT(summary["peak_memory_bytes"], 1 << 20);
    const Json& camera = summary["camera"];
    EXPECT_GE(camera["steps"], path["panoramas"]);
    EXPECT_LE(camera["pushed_back"], camera["steps"]);
    EXPECT_EQ(camera["placed"], 0);
    const std::set<std::string> stops(path["ids"].begin(), path["ids"].end());
    EXPECT_EQ(stops.size(), summary["overlays"].get<std::size_t>());
    EXPECT_LE(summary["surfaces"], summary["overlays"]);
    const Json& images = summary["images"];
    std::size_t tiles = images["undated"].get<std::size_t>() +
                        images["unreadable"].get<std::size_t>() +
                        images["missing"].get<std::size_t>();
    for (const auto& [date, count] : images["dates"].items()) {
      tiles += count.get<std::size_t>();
    }
    EXPECT_EQ(tiles, stops.size());
    EXPECT_EQ(images["tiles"], stops.size());
    const Json& usage = summary["usage"];
    EXPECT_GT(usage["reports"], 0);
    EXPECT_GE(usage["panoramas"], stops.size() / 2);
  }

  void CheckKml(const Json& summary) const {
    const std::string kml = Content(Path("out/tour.kml"));
    EXPECT_EQ(nimbara::test_support::KmlRules::BreachesOf(QByteArray::fromStdString(kml)), "");
    const std::map<std::string, std::size_t> counts = Layers(Path("out/tour.kml"));
    for (const char* layer : {"panoramas", "placeholders", "edges", "inferred_links", "roads",
                              "labels", "corridors", "fillets"}) {
      EXPECT_EQ(CountOf(counts, layer), summary[layer].get<std::size_t>()) << layer;
    }
    EXPECT_EQ(CountOf(counts, "turns"), summary["path"]["turns"].get<std::size_t>());
    EXPECT_EQ(CountOf(counts, "stops"), summary["path"]["panoramas"].get<std::size_t>());
    EXPECT_EQ(CountOf(counts, "path"), 1u);
    EXPECT_EQ(CountOf(counts, "camera"), 2u);
    // GDAL makes no feature of a photo overlay.
    EXPECT_EQ(CountOf(counts, "overlays"), 0u);
    EXPECT_EQ(Occurrences(kml, "<PhotoOverlay"), summary["overlays"].get<std::size_t>());
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
    for (const char* kind : {"roads", "labels", "corridors", "fillets"}) {
      EXPECT_EQ(data["scene"][kind].size(), summary[kind].get<std::size_t>()) << kind;
    }
    EXPECT_EQ(data["scene"]["images"].size(), summary["images"]["tiles"].get<std::size_t>());
    EXPECT_LE(data["scene"]["camera"].size(), summary["camera"]["steps"].get<std::size_t>());
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

}  // namespace command
}  // namespace pelorin
