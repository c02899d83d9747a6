// SPDX-License-Identifier: Apache-2.0
// The images of a walk's stops, from a server that tells the truth about some of them only.
#include "apps/command/tour/stop_tiles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/apps/jpeg/jpeg_builder.h"
#include "tests/support/loopback_server.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::spatial::PathPlanner;
using nimbara::spatial::PelorinSpatialOptions;
using nimbara::testing_support::LoopbackServer;
using test_support::SmallJpeg;
using State = TourTile::State;

constexpr char kBlock[] = "*#Q0#*0*AD*2017:12:31*#0Q#*";

TourTile Read(const std::string& file) {
  TourTile tile;
  ReadTile(QByteArray(file.data(), static_cast<int>(file.size())), &tile);
  return tile;
}

TEST(TileFiles, SayTheDateInTheirComment) {
  const TourTile tile = Read(SmallJpeg(kBlock));
  EXPECT_EQ(tile.state, State::kDated);
  EXPECT_EQ(tile.date, "2017-12-31");
  EXPECT_EQ(Read(SmallJpeg("*#Q0#*0*AD*2017:12:00*#0Q#*")).date, "2017-12");
  EXPECT_EQ(Read(SmallJpeg("*#Q0#*0*AD*2017:00:00*#0Q#*")).date, "2017");
}

TEST(TileFiles, SayNoDateWithoutACommentOrWithADamagedOne) {
  for (const std::string& comment :
       {std::string(), std::string("by hand"), std::string("*#Q0#*0*AD*2017-12-31*#0Q#*"),
        std::string("*#Q0#*0*AD*2017:12:31"), std::string("*#Q0#*1*AD*2017:12:31*#0Q#*"),
        std::string("*#Q0#*0*AD*0000:00:00*#0Q#*"), std::string(65533, '*')}) {
    const TourTile tile = Read(SmallJpeg(comment));
    EXPECT_EQ(tile.state, State::kUndated) << comment.substr(0, 30);
    EXPECT_EQ(tile.date, "");
  }
}

TEST(TileFiles, AreReadWithoutHarmWhateverTheyAre) {
  const std::string file = SmallJpeg(kBlock);
  EXPECT_EQ(Read("").state, State::kUnreadable);
  EXPECT_EQ(Read("there is no such image tile\n").state, State::kUnreadable);
  for (std::size_t size = 0; size < file.size(); ++size) {
    const TourTile tile = Read(file.substr(0, size));
    EXPECT_TRUE(tile.state == State::kUnreadable || tile.date == "2017-12-31") << size;
  }
}

class StopTilesTest : public testing::Test {
 protected:
  using Server = LoopbackServer;

  StopTilesTest() {
    nimbara::net::NetworkOptions options = before_;
    options.retry_base_delay_s = 0.01;
    options.retry_max_delay_s = 0.02;
    nimbara::net::SetNetworkOptions(options);
  }
  ~StopTilesTest() override {
    nimbara::net::ShutDownNetwork();
    nimbara::net::SetNetworkOptions(before_);
    Template().Set(template_before_);
  }

  static decltype(PelorinSpatialOptions::pano_tile_template_url)& Template() {
    return PelorinSpatialOptions::s_settings_.pano_tile_template_url;
  }

  static StopTiles Fetch(const Server& server, const std::vector<const char*>& ids) {
    Template().Set(QString::fromStdString(server.Url("/%1?z=$[level]&x=$[x]&y=$[y]")));
    PathPlanner::Path path;
    for (const char* id : ids) {
      path.push_back(QString(id));
    }
    return FetchStopTiles(path, {});
  }

  const nimbara::net::NetworkOptions before_ = nimbara::net::GetNetworkOptions();
  const QString template_before_ = Template().Get();
};

TEST_F(StopTilesTest, AreCountedByWhatTheySay) {
  Server server([](const Server::Request& request, Server::Answer& answer) {
    const std::string name = request.target.substr(1, request.target.find('?') - 1);
    if (name == "gone") {
      answer.Reply(404, "there is no such image tile\n");
    } else {
      answer.Reply(200, name == "none"      ? SmallJpeg()
                        : name == "damaged" ? SmallJpeg("*#Q0#*0*AD*2017-12-31*#0Q#*")
                        : name == "broken"  ? std::string("no picture")
                                            : SmallJpeg(kBlock));
    }
  });
  TourStreets streets;
  StopTiles stops = Fetch(server, {"a", "none", "a", "damaged", "b", "broken", "gone"});
  streets.tiles = std::move(stops.tiles);
  ASSERT_EQ(streets.tiles.size(), 6u) << "one for each panorama";
  EXPECT_EQ(streets.tiles[3].stop, 4) << "the stop and not the panorama counts";
  EXPECT_EQ(streets.dates(), (std::map<std::string, std::size_t>{{"2017-12-31", 2}}));
  EXPECT_EQ(streets.tile_count(State::kUndated), 2u);
  EXPECT_EQ(streets.tile_count(State::kUnreadable), 1u);
  EXPECT_EQ(streets.tile_count(State::kMissing), 1u);
  EXPECT_EQ(stops.requests, 6u) << "what is not there is not asked for again";
  for (const Server::Request& request : server.requests()) {
    EXPECT_EQ(request.target.substr(request.target.find('?')), "?z=0&x=0&y=0");
  }
}

TEST_F(StopTilesTest, AreAskedForAgainWhereARequestFails) {
  std::atomic<int> count{0};
  Server server([&count](const Server::Request&, Server::Answer& answer) {
    if (++count <= 3) {
      answer.Reply(500, "");
    } else {
      answer.Reply(200, SmallJpeg(kBlock));
    }
  });
  const StopTiles stops = Fetch(server, {"a"});
  EXPECT_EQ(stops.tiles.front().date, "2017-12-31");
  EXPECT_EQ(stops.requests, 4u);
}

TEST_F(StopTilesTest, AreGivenUpWhereEveryRequestFails) {
  Server server([](const Server::Request&, Server::Answer& answer) { answer.Reply(500, ""); });
  const StopTiles stops = Fetch(server, {"a", "b"});
  EXPECT_EQ(stops.tiles[0].state, State::kMissing);
  EXPECT_EQ(stops.tiles[1].state, State::kMissing);
  EXPECT_EQ(stops.requests, 16u);
}

TEST_F(StopTilesTest, AreMissingWhereTheTemplateIsNoAddress) {
  Template().Set(QString("nowhere/%1"));
  PathPlanner::Path path;
  path.push_back(QString("a"));
  EXPECT_EQ(FetchStopTiles(path, {}).tiles.front().state, State::kMissing);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
