// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_camera.h"

#include <limits>
#include <random>

#include "spatial/graph/multi_constraint_builder.h"
#include "tests/apps/command/street_fixture.h"

namespace pelorin {
namespace command {
namespace {

constexpr double kEast = kPi / 2.0;
constexpr double kMillimetre = 1e-3 / kMetresPerStoredUnit;

class StreetCameras : public StreetFixture {
 protected:
  double MetresBetween(const nimbara::Vec2<double>& a, const nimbara::Vec2<double>& b) const {
    return DistanceMetres(PlaceFromFlat(a), PlaceFromFlat(b));
  }
};

TEST_F(StreetCameras, GoWhereTheyArePushedWithinTheCorridor) {
  AddStreet(5);
  StreetCamera camera(graph, 3.0);
  camera.StandAt("p02");
  const StreetCamera::Hold hold = camera.Push(FlatAt(21.0, 2.0), kEast);
  EXPECT_TRUE(hold.has_depth);
  EXPECT_NEAR(hold.depth * kMetresPerStoredUnit, 1.0, 1e-3) << "3 m wide, 2 m from the middle";
  EXPECT_EQ(hold.held, FlatAt(21.0, 2.0));
}

TEST_F(StreetCameras, AreTakenBackToTheEdge) {
  AddStreet(5);
  StreetCamera camera(graph, 3.0);
  camera.StandAt("p02");
  const StreetCamera::Hold hold = camera.Push(FlatAt(21.0, 8.0), kEast);
  EXPECT_NEAR(hold.depth * kMetresPerStoredUnit, -5.0, 1e-3);
  EXPECT_LT(MetresBetween(hold.held, FlatAt(21.0, 3.0)), 1e-3);
}

TEST_F(StreetCameras, AreTurnedBackAlongTheStreet) {
  AddStreet(5);
  StreetCamera camera(graph, 3.0);
  camera.StandAt("p02");
  EXPECT_NEAR(camera.Push(FlatAt(21.0, 0.5), kEast).turn_rad_per_s, 0.0, 1e-6);
  EXPECT_GT(camera.Push(FlatAt(21.0, 0.5), kEast - 0.1).turn_rad_per_s, 0.05);
  EXPECT_LT(camera.Push(FlatAt(21.0, 0.5), kEast + 0.1).turn_rad_per_s, -0.05);
}

TEST_F(StreetCameras, AreHeldByNothingWithoutAPanorama) {
  AddStreet(5);
  StreetCamera camera(graph, 3.0);
  const StreetCamera::Hold before = camera.Push(FlatAt(0.0, 500.0), kEast);
  EXPECT_FALSE(before.has_depth);
  EXPECT_EQ(before.held, FlatAt(0.0, 500.0));
  camera.StandAt("p02");
  EXPECT_TRUE(camera.Push(FlatAt(20.0, 0.0), kEast).has_depth);
  camera.StandAt(QString());
  EXPECT_FALSE(camera.Push(FlatAt(20.0, 0.0), kEast).has_depth);
  camera.StandAt("nobody");
  EXPECT_FALSE(camera.Push(FlatAt(20.0, 0.0), kEast).has_depth);
  EXPECT_TRUE(camera.BestPano().isEmpty());
}

TEST_F(StreetCameras, KeepTheAskedHalfWidthFromNorthToSouthAtAnyLatitude) {
  origin = {60.0, 10.0};
  AddStreet(5);
  StreetCamera camera(graph, 4.0);
  camera.StandAt("p02");
  const StreetCamera::Hold hold = camera.Push(FlatAt(20.5, -30.0), kEast);
  EXPECT_LT(MetresBetween(hold.held, FlatAt(20.5, -4.0)), 0.01);
}

TEST_F(StreetCameras, NoteTheCorridorsThatHaveBeenAround) {
  AddStreet(9);
  StreetCamera camera(graph, 3.0);
  camera.StandAt("p01");
  const std::set<StreetCamera::Link> first{{"p00", "p01"}, {"p01", "p02"}, {"p02", "p03"}};
  EXPECT_EQ(camera.links(), first);
  EXPECT_EQ(camera.corners(), (std::set<QString>{"p00", "p01", "p02"}));
  camera.StandAt("p07");
  EXPECT_EQ(camera.links().size(), 6u);
  EXPECT_EQ(camera.links().count({"p06", "p07"}), 1u);
}

TEST_F(StreetCameras, NameThePanoramaNearestAlongTheStreet) {
  AddStreet(5);
  StreetCamera camera(graph, 3.0);
  camera.StandAt("p02");
  camera.Push(FlatAt(27.0, 0.0), kEast);
  EXPECT_EQ(camera.BestPano(), "p03");
}

TEST_F(StreetCameras, NeverLeaveTheWalkableAreaWhereverTheyArePushed) {
  AddCorner();
  StreetCamera camera(graph, 3.0);
  camera.StandAt("c");
  // Measures by itself: another model over the same graph.
  nimbara::spatial::MultiConstraintBuilder measure(graph);
  measure.SetActivePano("c", camera.width_scale(), 0.0);
  std::mt19937 random(20260921);
  std::uniform_real_distribution<double> turn(-kPi, kPi);
  std::uniform_real_distribution<double> length(0.0, 6.0);
  nimbara::Vec2<double> place = FlatAt(0.0, 0.0);
  int pushed_back = 0;
  for (int i = 0; i < 5000; ++i) {
    const double heading = turn(random);
    const StreetCamera::Hold hold = camera.Push(FlatStep(place, heading, length(random)), heading);
    place = hold.held;
    pushed_back += hold.depth < 0.0 ? 1 : 0;
    measure.SetView(place, heading);
    ASSERT_GE(measure.GetCollisionDepth(), -kMillimetre) << "push " << i;
  }
  EXPECT_GT(pushed_back, 500);
  measure.DeleteConstraintBuilders();
}

}  // namespace
}  // namespace command
}  // namespace pelorin
