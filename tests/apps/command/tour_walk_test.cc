// SPDX-License-Identifier: Apache-2.0
// The walking of a tour, over the real pipeline and a service in this process.
#include "apps/command/tour/tour_walk.h"

#include <gtest/gtest.h>

#include <memory>

#include "apps/command/stored_place.h"
#include "apps/command/tour/stop_depth_maps.h"
#include "apps/dataset/dataset_writer.h"
#include "apps/dataset/panorama_maps.h"
#include "apps/service/panorama_service.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

namespace net = nimbara::net;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PelorinSpatialOptions;

std::string IdOf(int number) {
  return PanoIdFromSeed("tour walk " + std::to_string(number));
}

LatLng PlaceOf(int number) {
  return {10.0, 20.0 + number * 10.0 / kMetresPerDegree};
}

/// A street of `count` panoramas to the east, 10 m apart, each linked to its neighbours.
std::unique_ptr<Dataset> MakeStreet(int count) {
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(&error);
  for (int i = 0; i < count; ++i) {
    PanoRecord record;
    record.id = IdOf(i);
    record.place = PlaceOf(i);
    // In scenes of their own, so that no link is inferred from a dead end.
    record.scene = i == 0 || i == count - 1 ? 2 : 1;
    record.depth_map = MakeDepthMap({});
    record.has_depth_map = true;
    for (const int other : {i - 1, i + 1}) {
      if (other >= 0 && other < count) {
        PanoLink link;
        link.pano_id = IdOf(other);
        link.yaw_deg = other > i ? 90.0 : 270.0;
        record.links.push_back(link);
      }
    }
    EXPECT_TRUE(writer->Add(record, &error)) << error;
  }
  return writer->Finish({}, &error);
}

class TourWalks : public testing::Test {
 protected:
  ~TourWalks() override {
    walk_.reset();
    manager_.reset();
    net::ShutDownNetwork();
    PelorinSpatialOptions::s_settings_.meta_data_fetch_server.ResetToDefault();
    net::SetNetworkOptions(net::NetworkOptions());
  }

  void Serve(std::unique_ptr<Dataset> dataset, const FaultPlan& faults = {}) {
    dataset_ = std::move(dataset);
    ServiceOptions options;
    options.faults = faults;
    std::string error;
    service_ = PanoramaService::Start(*dataset_, options, &error);
    ASSERT_NE(service_, nullptr) << error;
    PelorinSpatialOptions::s_settings_.meta_data_fetch_server.Set(
        QString::fromStdString(service_->url() + "/plk"));
    net::NetworkOptions network;
    network.max_retries = 1;
    network.retry_base_delay_s = 0.001;
    network.retry_max_delay_s = 0.002;
    network.stall_timeout_s = 1;
    net::SetNetworkOptions(network);
  }
  TourWalk& Walk(const WalkPlan& plan) {
    manager_ = std::make_unique<TourFetchManager>(&graph_);
    walk_ = std::make_unique<TourWalk>(
        &graph_, manager_.get(), plan,
        [this](std::int64_t done, std::int64_t total) { progress_.emplace_back(done, total); });
    return *walk_;
  }
  static WalkPlan PlanBetween(int from, int to) {
    WalkPlan plan;
    plan.from = PlaceOf(from);
    plan.to = PlaceOf(to);
    plan.server = "http://service.example";
    return plan;
  }
  static std::vector<std::string> Ids(const TourWalk::Path& path) {
    std::vector<std::string> ids;
    for (const QString& id : path) {
      ids.push_back(id.toStdString());
    }
    return ids;
  }
  static std::vector<std::string> IdsBetween(int first, int last) {
    std::vector<std::string> ids;
    for (int i = first; i <= last; ++i) {
      ids.push_back(IdOf(i));
    }
    return ids;
  }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
  PanoGraph graph_;
  std::unique_ptr<TourFetchManager> manager_;
  std::unique_ptr<TourWalk> walk_;
  std::vector<std::pair<std::int64_t, std::int64_t>> progress_;
};

TEST_F(TourWalks, GoFromEndToEnd) {
  Serve(MakeStreet(30));
  TourWalk& walk = Walk(PlanBetween(2, 27));
  const Outcome outcome = walk.Run();
  ASSERT_TRUE(outcome.ok()) << outcome.Line();
  EXPECT_EQ(Ids(walk.path()), IdsBetween(2, 27));
  ASSERT_FALSE(progress_.empty());
  EXPECT_EQ(progress_.back(), (std::pair<std::int64_t, std::int64_t>(26, 26)));
}

TEST_F(TourWalks, LeaveNothingUnfetchedAroundTheWalk) {
  Serve(MakeStreet(30));
  ASSERT_TRUE(Walk(PlanBetween(10, 20)).Run().ok());
  // Two links beyond each end.
  for (int i = 8; i <= 22; ++i) {
    EXPECT_NE(graph_.GetPanoramaData(QString::fromStdString(IdOf(i))), nullptr) << i;
  }
}

TEST_F(TourWalks, FindAWayWithoutGoingIt) {
  Serve(MakeStreet(30));
  TourWalk& walk = Walk(PlanBetween(2, 12));
  ASSERT_TRUE(walk.FindRoute().ok());
  EXPECT_EQ(Ids(walk.path()), IdsBetween(2, 12));
  for (const auto& [done, total] : progress_) {
    EXPECT_EQ(total, 0) << "nothing was gone";
  }
}

TEST_F(TourWalks, StandStillWhereStartAndGoalAreOne) {
  Serve(MakeStreet(5));
  TourWalk& walk = Walk(PlanBetween(3, 3));
  ASSERT_TRUE(walk.Run().ok());
  EXPECT_EQ(Ids(walk.path()), IdsBetween(3, 3));
}

TEST_F(TourWalks, EndWithinAHundredMetresOfAGoalOutOfReach) {
  Serve(MakeStreet(30));
  WalkPlan plan = PlanBetween(0, 20);
  plan.max_hops = 15;
  TourWalk& walk = Walk(plan);
  ASSERT_TRUE(walk.Run().ok());
  EXPECT_EQ(Ids(walk.path()), IdsBetween(0, 14));
}

TEST_F(TourWalks, SayThatTheGoalIsTooManyPanoramasAway) {
  Serve(MakeStreet(30));
  WalkPlan plan = PlanBetween(0, 29);
  plan.max_hops = 5;
  TourWalk& walk = Walk(plan);
  const Outcome outcome = walk.Run();
  EXPECT_EQ(outcome.code(), ExitCode::kNothingFound);
  EXPECT_NE(outcome.Line().find("within 5 panoramas"), std::string::npos) << outcome.Line();
  EXPECT_TRUE(walk.path().empty());
}

TEST_F(TourWalks, SayWhichEndHasNoPanorama) {
  Serve(MakeStreet(5));
  WalkPlan plan = PlanBetween(0, 4);
  plan.to = {10.5, 20.0};
  const Outcome goal = Walk(plan).Run();
  EXPECT_EQ(goal.code(), ExitCode::kNothingFound);
  EXPECT_NE(goal.Line().find("goal"), std::string::npos) << goal.Line();
  std::swap(plan.from, plan.to);
  const Outcome start = Walk(plan).Run();
  EXPECT_NE(start.Line().find("start"), std::string::npos) << start.Line();
}

TEST_F(TourWalks, SayThatNothingAnswers) {
  Serve(MakeStreet(5));
  service_->Stop();
  const Outcome outcome = Walk(PlanBetween(0, 4)).Run();
  EXPECT_EQ(outcome.code(), ExitCode::kUnavailable);
  EXPECT_NE(outcome.Line().find("service.example"), std::string::npos) << outcome.Line();
}

TEST_F(TourWalks, AskAgainForWhatWasLost) {
  FaultPlan faults;
  std::string error;
  ASSERT_TRUE(faults.AddFailures("500:0.3", &error)) << error;
  Serve(MakeStreet(60), faults);
  TourWalk& walk = Walk(PlanBetween(0, 59));
  const Outcome outcome = walk.Run();
  ASSERT_TRUE(outcome.ok()) << outcome.Line();
  EXPECT_EQ(Ids(walk.path()), IdsBetween(0, 59));
  EXPECT_GT(walk.asked_again(), 0u);
}

TEST_F(TourWalks, FollowATrackFromPanoramaToPanorama) {
  Serve(MakeStreet(40));
  WalkPlan plan = PlanBetween(0, 0);
  // To the east and half of the way back, a few metres beside the street.
  for (int i = 5; i <= 20; ++i) {
    plan.track.push_back({{PlaceOf(i).lat_deg + 4.0 / kMetresPerDegree, PlaceOf(i).lng_deg}, 0.0});
  }
  for (int i = 19; i >= 12; --i) {
    plan.track.push_back({PlaceOf(i), 0.0});
  }
  TourWalk& walk = Walk(plan);
  const Outcome outcome = walk.FollowTrack();
  ASSERT_TRUE(outcome.ok()) << outcome.Line();
  std::vector<std::string> expected = IdsBetween(5, 20);
  for (int i = 19; i >= 12; --i) {
    expected.push_back(IdOf(i));
  }
  EXPECT_EQ(Ids(walk.path()), expected);
  EXPECT_EQ(walk.along().size(), plan.track.size());
  EXPECT_NE(graph_.GetPanoramaData(QString::fromStdString(IdOf(3))), nullptr)
      << "what lies around is fetched too";
}

TEST_F(TourWalks, LeaveGapsWhereATrackStrays) {
  Serve(MakeStreet(10));
  WalkPlan plan = PlanBetween(0, 0);
  plan.track = {{PlaceOf(2), 0.0}, {{10.2, 20.2}, 1.0}, {PlaceOf(7), 2.0}};
  TourWalk& walk = Walk(plan);
  ASSERT_TRUE(walk.FollowTrack().ok());
  EXPECT_EQ(Ids(walk.path()), (std::vector<std::string>{IdOf(2), IdOf(7)}));
  EXPECT_TRUE(walk.along()[1].isEmpty());
}

TEST_F(TourWalks, SayThatATrackIsSomewhereElse) {
  Serve(MakeStreet(10));
  WalkPlan plan = PlanBetween(0, 0);
  plan.track = {{{40.0, 40.0}, 0.0}, {{40.0, 40.001}, 1.0}};
  const Outcome outcome = Walk(plan).FollowTrack();
  EXPECT_EQ(outcome.code(), ExitCode::kNothingFound);
  EXPECT_NE(outcome.Line().find("track"), std::string::npos) << outcome.Line();
}

TEST_F(TourWalks, FetchTheDepthMapsThatTilesDoNotCarry) {
  Serve(MakeStreet(30));
  TourWalk& walk = Walk(PlanBetween(0, 29));
  ASSERT_TRUE(walk.Run().ok());
  int without = 0;
  for (const QString& id : walk.path()) {
    without += graph_.GetPanoramaData(id)->depthmap == nullptr ? 1 : 0;
  }
  ASSERT_GT(without, 0);
  EXPECT_EQ(FetchDepthMaps(graph_, walk.path()), static_cast<std::uint64_t>(without));
  for (const QString& id : walk.path()) {
    EXPECT_NE(graph_.GetPanoramaData(id)->depthmap, nullptr) << id.toStdString();
  }
  EXPECT_EQ(FetchDepthMaps(graph_, walk.path()), 0u) << "nothing is asked for twice";
}

TEST_F(TourWalks, FetchDepthMapsAgainWhereRequestsFail) {
  FaultPlan faults;
  std::string error;
  ASSERT_TRUE(faults.AddFailures("500:0.3", &error)) << error;
  Serve(MakeStreet(30), faults);
  TourWalk& walk = Walk(PlanBetween(0, 29));
  ASSERT_TRUE(walk.Run().ok());
  FetchDepthMaps(graph_, walk.path());
  for (const QString& id : walk.path()) {
    EXPECT_NE(graph_.GetPanoramaData(id)->depthmap, nullptr) << id.toStdString();
  }
}

}  // namespace
}  // namespace command
}  // namespace pelorin
