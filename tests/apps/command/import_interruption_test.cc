// SPDX-License-Identifier: Apache-2.0
// An import that is told to stop leaves no trace.
#include <chrono>
#include <csignal>
#include <string>
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
  /// Waits for a file beside the input; false after a minute.
  bool AwaitPartialFile() const {
    for (int i = 0; i < 60000 && Files().size() < 2; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return Files().size() >= 2;
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

TEST_F(ImportInterruption, KeepsTheDatasetThatWasThere) {
  WriteLongStreets();
  Write(Path("o.sqlite"), "mine");
  std::vector<std::string> arguments = Arguments();
  arguments.push_back("--overwrite");
  BackgroundCommand import(arguments);
  for (int i = 0; i < 60000 && Files().size() < 3; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(import.Stop(SIGINT), 130);
  EXPECT_EQ(Content(Path("o.sqlite")), "mine");
  EXPECT_EQ(Files(), (std::vector<std::string>{"o.sqlite", "streets.geojson"}));
}

}  // namespace
}  // namespace command
}  // namespace pelorin
