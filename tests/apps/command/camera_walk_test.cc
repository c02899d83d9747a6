// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/camera_walk.h"

#include <utility>

#include "tests/apps/command/street_fixture.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kHalfWidth = 3.0;

class CameraWalks : public StreetFixture {
 protected:
  CameraWalk::Watcher Watching() {
    CameraWalk::Watcher watcher;
    watcher.on_panorama = [this](const QString& id) { panoramas.push_back(id); };
    watcher.on_stop = [this](int stop) { stops.push_back(stop); };
    watcher.on_step = [this](const CameraStep& step, double) { seconds.push_back(step.seconds); };
    return watcher;
  }
  /// Points to the east along the street, `aside_m` to its north, one each second.
  std::vector<TrackPoint> Track(int count, double step_m, double aside_m) const {
    std::vector<TrackPoint> track;
    for (int i = 0; i < count; ++i) {
      track.push_back({At(i * step_m, aside_m), static_cast<double>(i)});
    }
    return track;
  }

  std::vector<QString> panoramas;
  std::vector<int> stops;
  std::vector<double> seconds;
};

TEST_F(CameraWalks, ReachEveryStopInOrder) {
  const Path path = AddCorner();
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk(path);
  EXPECT_EQ(stops, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(walk.placed(), 0);
  ASSERT_FALSE(walk.steps().empty());
  EXPECT_LT(DistanceMetres(walk.steps().back().held, At(0, 30)), 5.0);
  EXPECT_EQ(walk.steps().size(), seconds.size());
}

TEST_F(CameraWalks, MakeThePanoramasOnTheWayActive) {
  AddStreet(6);
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({"p00", "p01", "p02", "p03", "p04", "p05"});
  EXPECT_EQ(panoramas, (std::vector<QString>{"p00", "p01", "p02", "p03", "p04", "p05"}));
}

TEST_F(CameraWalks, AreHeldInTheCorridorAtEveryStep) {
  const Path path = AddCorner();
  CameraWalk walk(graph, 1.0, Watching());
  walk.Walk(path);
  int outside = 0;
  for (const CameraStep& step : walk.steps()) {
    ASSERT_TRUE(step.has_depth);
    outside += step.was_outside() ? 1 : 0;
    if (!step.was_outside()) {
      EXPECT_EQ(step.held, step.pushed);
    }
    const double to_west_street = std::abs(step.held.lat_deg) * kMetresPerDegree;
    const double to_north_street = std::abs(step.held.lng_deg - origin.lng_deg) * kMetresPerDegree;
    // The inside of the bend reaches as far as the fillet: (sqrt(8) - 1) half widths.
    EXPECT_LE(std::min(to_west_street, to_north_street), 1.84);
  }
  EXPECT_GT(outside, 0) << "an unsteady hand leaves a corridor of two metres";
}

TEST_F(CameraWalks, GoTheSameWayEachTime) {
  const Path path = AddCorner();
  std::vector<LatLng> ways[2];
  for (std::vector<LatLng>& way : ways) {
    CameraWalk walk(graph, kHalfWidth, {});
    walk.Walk(path);
    for (const CameraStep& step : walk.steps()) {
      way.push_back(step.held);
    }
  }
  EXPECT_EQ(ways[0], ways[1]);
}

TEST_F(CameraWalks, AreTimedByTheirOwnClock) {
  AddStreet(3);
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({"p00", "p01", "p02"});
  EXPECT_EQ(seconds.front(), 0.0);
  for (std::size_t i = 1; i < seconds.size(); ++i) {
    EXPECT_DOUBLE_EQ(seconds[i] - seconds[i - 1], 0.25);
  }
  EXPECT_NEAR(seconds.back(), 5.0, 1.5) << "20 metres at 4 metres a second";
}

TEST_F(CameraWalks, PutTheCameraWhereNoCorridorLeads) {
  AddStreet(3);
  Add("far", 500, 300, {"beyond"});
  Add("beyond", 510, 300, {"far"});
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({"p00", "p01", "far"});
  EXPECT_EQ(walk.placed(), 1);
  EXPECT_EQ(stops, (std::vector<int>{0, 1, 2}));
}

TEST_F(CameraWalks, StandStillAtASingleStop) {
  AddStreet(3);
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({"p01"});
  EXPECT_EQ(stops, std::vector<int>{0});
  ASSERT_EQ(walk.steps().size(), 1u);
  EXPECT_LT(DistanceMetres(walk.steps()[0].held, At(10, 0)), 1e-6);
}

TEST_F(CameraWalks, DoNothingWithoutAWay) {
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({});
  EXPECT_TRUE(walk.steps().empty());
  EXPECT_TRUE(stops.empty());
}

TEST_F(CameraWalks, WalkOverPanoramasInOnePlace) {
  Add("a", 0, 0, {"b"});
  Add("b", 0, 0, {"a", "c"});
  Add("c", 10, 0, {"b"});
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Walk({"a", "b", "c"});
  EXPECT_EQ(stops, (std::vector<int>{0, 1, 2}));
}

TEST_F(CameraWalks, ReplayATrackPointByPoint) {
  AddStreet(6);
  const std::vector<TrackPoint> track = Track(11, 5.0, 7.0);
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Replay(track, PanoramasAlong(graph, track, 50.0));
  ASSERT_EQ(walk.steps().size(), 11u);
  EXPECT_EQ(stops, (std::vector<int>{0, 1, 2, 3, 4, 5}));
  for (std::size_t i = 0; i < 11; ++i) {
    const CameraStep& step = walk.steps()[i];
    EXPECT_EQ(step.seconds, static_cast<double>(i));
    EXPECT_LT(DistanceMetres(step.pushed, track[i].place), 1e-6);
    EXPECT_NEAR(step.depth_m, -4.0, 1e-3);
    EXPECT_LT(DistanceMetres(step.held, At(5.0 * static_cast<double>(i), 3.0)), 1e-3);
    EXPECT_NEAR(step.heading_deg, 90.0, 0.01);
  }
}

TEST_F(CameraWalks, LeaveAPointAloneThatNoPanoramaIsNear) {
  AddStreet(3);
  std::vector<TrackPoint> track = Track(3, 10.0, 1.0);
  track[1].place = At(10.0, 400.0);
  const std::vector<QString> along = PanoramasAlong(graph, track, 50.0);
  EXPECT_EQ(along, (std::vector<QString>{"p00", QString(), "p02"}));
  CameraWalk walk(graph, kHalfWidth, Watching());
  walk.Replay(track, along);
  EXPECT_FALSE(walk.steps()[1].has_depth);
  EXPECT_FALSE(walk.steps()[1].was_outside());
  EXPECT_EQ(walk.steps()[1].held, walk.steps()[1].pushed);
  EXPECT_TRUE(walk.steps()[2].has_depth);
}

TEST_F(CameraWalks, KeepTheirPanoramaWhileATrackWavers) {
  AddStreet(3);
  std::vector<TrackPoint> track;
  for (const double east : {4.0, 5.5, 4.5, 5.9, 6.5, 5.5, 4.5, 3.5}) {
    track.push_back({At(east, 0.0), 0.0});
  }
  const std::vector<QString> along = PanoramasAlong(graph, track, 50.0);
  EXPECT_EQ(along, (std::vector<QString>{"p00", "p00", "p00", "p00", "p01", "p01", "p01", "p00"}));
}

TEST_F(CameraWalks, FindNoPanoramaAlongInAnEmptyGraph) {
  const std::vector<TrackPoint> track = Track(2, 10.0, 0.0);
  EXPECT_EQ(PanoramasAlong(graph, track, 50.0), (std::vector<QString>{QString(), QString()}));
}

}  // namespace
}  // namespace command
}  // namespace pelorin
