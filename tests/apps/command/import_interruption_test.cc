// SPDX-License-Identifier: Apache-2.0
// An import that is told to stop leaves no trace.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

class ImportInterruption : public CommandTest {
 protected:
  /// Some 600 km of streets, far apart from each other: more panoramas than a moment makes.
  void WriteLongStreets() {
    std::string text = "{\"type\":\"FeatureCollection\",\"features\":[";
    for (int i = 0; i < 60; ++i) {
      const std::string lat = std::to_string(i * 0.01);
      text +=
          (i == 0 ? "" : ",") +
          ("{\"type\":\"Feature\",\"properties\":{\"name\":\"Long Street\"},\"geometry\":{\"type\":"
           "\"LineString\",\"coordinates\":[[0," +
           lat + "],[0.05," + lat + "],[0.09," + lat + "]]}}");
    }
    Write(Path("streets.geojson"), text + "]}");
  }
  /// Waits until panoramas are being written; false after a minute.
  bool AwaitPartialFile() const {
    constexpr std::uintmax_t kMoreThanTheTables = 1 << 20;
    for (int i = 0; i < 60000; ++i) {
      for (const std::string& name : Files()) {
        std::error_code gone;
        const std::uintmax_t size = std::filesystem::file_size(Path(name), gone);
        if (name.rfind("o.sqlite.", 0) == 0 && !gone && size > kMoreThanTheTables) {
          return true;
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }
  std::vector<std::string> Arguments() const {
    return {"import", Path("streets.geojson"), "-o", Path("o.sqlite"), "--spacing", "1", "-q"};
  }
};

TEST_F(ImportInterruption, RemovesThePartialFile) {
  WriteLongStreets();
  for (const int signal : {SIGINT, SIGTERM}) {
    BackgroundCommand import(Arguments());
    ASSERT_TRUE(AwaitPartialFile());
    EXPECT_EQ(import.Stop(signal), 130);
    EXPECT_EQ(Files(), std::vector<std::string>{"streets.geojson"});
  }
}

// Whoever is in a hurry asks twice, and the second signal waits for nobody.
TEST_F(ImportInterruption, RemovesThePartialFileAlsoWhenAskedTwice) {
  WriteLongStreets();
  for (int round = 0; round < 5; ++round) {
    BackgroundCommand import(Arguments());
    ASSERT_TRUE(AwaitPartialFile());
    import.Send(SIGINT);
    EXPECT_EQ(import.Stop(SIGTERM), 130);
    EXPECT_EQ(Files(), std::vector<std::string>{"streets.geojson"});
  }
}

TEST_F(ImportInterruption, RefusesAnOutputThatCannotBeWrittenAheadOfAllReading) {
  Write(Path("streets.geojson"), "no JSON");
  const CommandRun run =
      RunPelorin({"import", Path("streets.geojson"), "-o", Path("none/o.sqlite")});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.err.find("none/o.sqlite: cannot be written: make its folder first"),
            std::string::npos)
      << run.err;
}

TEST_F(ImportInterruption, KeepsTheDatasetThatWasThere) {
  WriteLongStreets();
  Write(Path("o.sqlite"), "mine");
  std::vector<std::string> arguments = Arguments();
  arguments.push_back("--overwrite");
  BackgroundCommand import(arguments);
  ASSERT_TRUE(AwaitPartialFile());
  EXPECT_EQ(import.Stop(SIGINT), 130);
  EXPECT_EQ(Content(Path("o.sqlite")), "mine");
  EXPECT_EQ(Files(), (std::vector<std::string>{"o.sqlite", "streets.geojson"}));
}

}  // namespace
}  // namespace command
}  // namespace pelorin
