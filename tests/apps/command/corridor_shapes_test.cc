// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/corridor_shapes.h"

#include <cmath>

#include "tests/apps/command/street_fixture.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kHalfWidth = 3.0;

class CorridorShapes : public StreetFixture {
 protected:
  double Scale() const { return StreetCamera(graph, kHalfWidth).width_scale(); }
  double Metres(const LatLng& a, const LatLng& b) const { return DistanceMetres(a, b); }
};

TEST_F(CorridorShapes, OutlineALinkAtItsHalfWidths) {
  const TourCorridor corridor{At(0, 0), At(10, 0), 2.0, 4.0, "A Street"};
  const std::vector<LatLng> line = OutlineOf(corridor);
  ASSERT_GT(line.size(), 8u);
  EXPECT_EQ(line.front(), line.back());
  for (const LatLng& point : line) {
    EXPECT_NEAR(std::min(Metres(point, corridor.a) - 2.0, Metres(point, corridor.b) - 4.0), 0.0,
                1e-3);
  }
  // Beyond both ends, and to both sides.
  double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
  for (const LatLng& point : line) {
    const double x = (point.lng_deg - origin.lng_deg) * kMetresPerDegree;
    const double y = (point.lat_deg - origin.lat_deg) * kMetresPerDegree;
    west = std::min(west, x);
    east = std::max(east, x);
    south = std::min(south, y);
    north = std::max(north, y);
  }
  EXPECT_NEAR(west, -2.0, 1e-3);
  EXPECT_NEAR(east, 14.0, 1e-3);
  EXPECT_NEAR(south, -4.0, 1e-3);
  EXPECT_NEAR(north, 4.0, 1e-3);
}

TEST_F(CorridorShapes, OutlineALinkOfNoLengthAsACircle) {
  const TourCorridor corridor{At(0, 0), At(0, 0), 2.0, 2.0, ""};
  for (const LatLng& point : OutlineOf(corridor)) {
    EXPECT_NEAR(Metres(point, corridor.a), 2.0, 1e-3);
  }
}

TEST_F(CorridorShapes, RoundARightAngleOnItsInside) {
  AddCorner();
  const std::vector<TourFillet> fillets = FilletsAt(graph, "c", Scale());
  ASSERT_EQ(fillets.size(), 1u) << "the outside is no corner";
  // With twice the half width as reach: tan(45 degrees) * 6 - 3.
  EXPECT_NEAR(fillets[0].radius_m, 3.0, 1e-3);
  EXPECT_EQ(fillets[0].name, "A Street");
  const LatLng centre = At(-6.0, 6.0);
  for (const LatLng& point : fillets[0].arc) {
    EXPECT_NEAR(Metres(point, centre), 3.0, 1e-3);
  }
  // The links are tangents: the arc begins and ends on the corridors' edges, beside the reach.
  const LatLng on_west_edge = At(-6.0, 3.0);
  const LatLng on_north_edge = At(-3.0, 6.0);
  const LatLng& first = fillets[0].arc.front();
  const LatLng& last = fillets[0].arc.back();
  EXPECT_LT(std::min(Metres(first, on_west_edge), Metres(last, on_west_edge)), 1e-3);
  EXPECT_LT(std::min(Metres(first, on_north_edge), Metres(last, on_north_edge)), 1e-3);
  // It faces the corner.
  const LatLng& middle = fillets[0].arc[fillets[0].arc.size() / 2];
  EXPECT_NEAR(Metres(middle, fillets[0].corner), 6.0 * std::sqrt(2.0) - 3.0, 1e-3);
}

TEST_F(CorridorShapes, HaveNoDepthAlongTheArcOfAFillet) {
  AddCorner();
  StreetCamera camera(graph, kHalfWidth);
  camera.StandAt("c");
  const std::vector<TourFillet> fillets = FilletsAt(graph, "c", camera.width_scale());
  ASSERT_EQ(fillets.size(), 1u);
  int in_reach = 0;
  for (const LatLng& point : fillets[0].arc) {
    // A fillet counts within its reach, 6 m here. Beyond, the edges of the corridors run a little
    // inside of the circle.
    const bool counts = Metres(point, fillets[0].corner) <= 6.0;
    in_reach += counts ? 1 : 0;
    const double depth_m = camera.Push(FlatFrom(point), 0.0).depth * kMetresPerStoredUnit;
    EXPECT_LE(depth_m, 1e-3);
    EXPECT_GE(depth_m, counts ? -1e-3 : -0.05);
  }
  EXPECT_GE(in_reach, 7);
}

TEST_F(CorridorShapes, RoundNoStraightStreetAndNoEnd) {
  AddStreet(3);
  for (const char* id : {"p00", "p01", "p02", "nobody"}) {
    EXPECT_TRUE(FilletsAt(graph, id, Scale()).empty()) << id;
  }
}

TEST_F(CorridorShapes, RoundBothInsidesOfACrossroads) {
  Add("c", 0, 0, {"e", "n", "w"});
  Add("e", 10, 0, {"c"});
  Add("n", 0, 10, {"c"});
  Add("w", -10, 0, {"c"});
  EXPECT_EQ(FilletsAt(graph, "c", Scale()).size(), 2u);
}

TEST_F(CorridorShapes, CopyWhatACameraHadAround) {
  AddCorner();
  StreetCamera camera(graph, kHalfWidth);
  camera.StandAt("w2");
  camera.StandAt("c");
  graph.ClearPanoData("w3");
  TourStreets streets;
  CopyCorridors(graph, camera, &streets);
  EXPECT_EQ(streets.corridors.size(), 4u) << "five, but for the one that lost an end";
  for (const TourCorridor& corridor : streets.corridors) {
    EXPECT_NEAR(corridor.half_width_a_m, kHalfWidth, 1e-9);
    EXPECT_NEAR(Metres(corridor.a, corridor.b), 10.0, 1e-3);
    EXPECT_EQ(corridor.street, "A Street");
  }
  EXPECT_EQ(streets.fillets.size(), 1u);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
