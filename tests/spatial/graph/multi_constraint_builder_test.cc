// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/multi_constraint_builder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "graph_fixture.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

static_assert(!std::is_copy_constructible<MultiConstraintBuilder>::value,
              "a copy would share what only one can delete");

class MultiConstraintBuilderTest : public GraphFixture {
 protected:
  MultiConstraintBuilderTest() { options.ResetToDefault(); }
  ~MultiConstraintBuilderTest() override {
    streets.DeleteConstraintBuilders();
    options.ResetToDefault();
  }

  void AddStop(const QString& id, double x, double y, const Ids& links, double radius = 1e-7) {
    Add(id, {x * 1e-7, y * 1e-7, 0.0}, links)->collision_radius = radius;
  }
  /// A street from west ("w") over "m" to east ("e"), ten half widths a link.
  void AddStreet() {
    AddStop("w", -10.0, 0.0, {"m"});
    AddStop("m", 0.0, 0.0, {"w", "e"});
    AddStop("e", 10.0, 0.0, {"m"});
  }
  /// A corner at "j" with links to the north and to the east.
  void AddCorner() {
    AddStop("n", 0.0, 10.0, {"j"});
    AddStop("e", 10.0, 0.0, {"j"});
    AddStop("j", 0.0, 0.0, {"n", "e"});
    streets.SetActivePano("j", 1.0, 0.0);
  }
  /// In half widths of the default stop.
  void Look(double x, double y, double heading = 0.0) {
    streets.SetView({x * 1e-7, y * 1e-7}, heading);
  }
  double Depth() const { return streets.GetCollisionDepth() / 1e-7; }
  Vec2<double> Edge() const {
    return {streets.GetCollisionPoint().x / 1e-7, streets.GetCollisionPoint().y / 1e-7};
  }
  bool HasBest() { return streets.best_constraint != streets.constraints.end(); }

  PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
  MultiConstraintBuilder streets{graph};
};

TEST_F(MultiConstraintBuilderTest, StartsWithNothingThatHolds) {
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_EQ(streets.width_scale, 1.0);
  EXPECT_EQ(streets.width_offset, 1.0);
  EXPECT_TRUE(streets.fillets_enabled);
  EXPECT_FALSE(HasBest());
  streets.SetView({0.25, 0.5}, 1.0);
  EXPECT_EQ(streets.view_position, (Vec2<double>{0.25, 0.5}));
  EXPECT_EQ(streets.heading, 1.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
}

TEST_F(MultiConstraintBuilderTest, MeasuresInTheDeepestCorridor) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  Look(5.0, 0.25);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
  EXPECT_NEAR(Edge().x, 5.0, 1e-9);
  EXPECT_NEAR(Edge().y, 1.0, 1e-9);
  EXPECT_NEAR(streets.GetCollisionNormal().x, 0.0, 1e-9);
  EXPECT_NEAR(streets.GetCollisionNormal().y, -1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, IsNegativeOutside) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  Look(-4.0, -3.0);
  EXPECT_NEAR(Depth(), -2.0, 1e-9);
  EXPECT_NEAR(Edge().y, -1.0, 1e-9);
  EXPECT_NEAR(streets.GetCollisionNormal().y, 1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, TakesInTheLinksOfTheNeighbours) {
  AddStreet();
  AddStop("ee", 20.0, 0.0, {"e"});
  AddStop("eee", 30.0, 0.0, {"ee"});
  streets.SetActivePano("m", 1.0, 0.0);
  EXPECT_EQ(streets.constraints.size(), 3u);
}

TEST_F(MultiConstraintBuilderTest, IgnoresTheActiveIdAlsoWithOtherNumbers) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  Look(5.0, 0.25);
  streets.SetActivePano("m", 2.0, 3.0);
  EXPECT_EQ(streets.width_scale, 1.0);
  EXPECT_EQ(streets.width_offset, 0.0);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, MeasuresTheOldViewForANewPanorama) {
  AddStreet();
  Look(5.0, 0.25, 0.5);
  streets.SetActivePano("e", 2.0, 1e-7);
  EXPECT_NEAR(Depth(), 2.75, 1e-9);
  EXPECT_EQ(streets.heading, 0.5);
}

TEST_F(MultiConstraintBuilderTest, IsHeldByNothingWithoutLinks) {
  AddStop("alone", 0.0, 0.0, {});
  streets.SetActivePano("alone", 1.0, 0.0);
  Look(0.0, 0.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_FALSE(HasBest());
}

TEST_F(MultiConstraintBuilderTest, IsHeldByNothingWhereNoFarRecordCame) {
  AddStop("a", 0.0, 0.0, {"b", "c"});
  streets.SetActivePano("a", 1.0, 0.0);
  EXPECT_EQ(streets.constraints.size(), 2u);
  Look(0.0, 0.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_FALSE(HasBest());
}

TEST_F(MultiConstraintBuilderTest, CountsALinkFromTheViewOnForWhichItsRecordCame) {
  AddStop("a", 0.0, 0.0, {"b"});
  streets.SetActivePano("a", 1.0, 0.0);
  AddStop("b", 10.0, 0.0, {"a"});
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  Look(5.0, 0.5);
  EXPECT_NEAR(Depth(), 0.5, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, DoesNotTakeUpLinksThatAreNewInTheGraph) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  AddStop("n", 0.0, 10.0, {"m"});
  Look(0.0, 5.0);
  EXPECT_EQ(streets.constraints.size(), 2u);
  EXPECT_NEAR(Depth(), -4.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, PrefersAValidCorridorToTheDepthOfAnInvalidOne) {
  AddStop("a", 0.0, 0.0, {"b", "nowhere"});
  AddStop("b", 10.0, 0.0, {"a"});
  streets.SetActivePano("a", 1.0, 0.0);
  Look(5.0, 3.0);
  EXPECT_NEAR(Depth(), -2.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, LetsALinkOfNoLengthLose) {
  AddStop("stairs", 0.0, 0.0, {"a"});
  AddStop("b", 10.0, 0.0, {"a"});
  AddStop("a", 0.0, 0.0, {"stairs", "a", "b"});
  streets.SetActivePano("a", 1.0, 0.0);
  EXPECT_EQ(streets.constraints.size(), 3u);
  Look(5.0, 3.0);
  EXPECT_NEAR(Depth(), -2.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, IsHeldByNothingWhereAllLinksHaveNoLength) {
  AddStop("b", 0.0, 0.0, {});
  AddStop("a", 0.0, 0.0, {"b", "a"});
  streets.SetActivePano("a", 1.0, 0.0);
  Look(1.0, 1.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_FALSE(HasBest());
  EXPECT_TRUE(streets.GetBestPano().isNull());
}

TEST_F(MultiConstraintBuilderTest, IsHeldByNothingWhereTheViewIsNoNumber) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  streets.SetView({kNaN, 0.0}, 0.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_FALSE(HasBest());
}

TEST_F(MultiConstraintBuilderTest, KeepsNormalAndPointWhenNothingHoldsAnyLonger) {
  AddStreet();
  AddStop("alone", 50.0, 50.0, {});
  streets.SetActivePano("m", 1.0, 0.0);
  Look(5.0, 0.25);
  const Vec2<double> normal = streets.GetCollisionNormal();
  const Vec2<double> point = streets.GetCollisionPoint();
  streets.SetActivePano("alone", 1.0, 0.0);
  EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  EXPECT_FALSE(HasBest());
  EXPECT_EQ(streets.GetCollisionNormal(), normal);
  EXPECT_EQ(streets.GetCollisionPoint(), point);
}

TEST_F(MultiConstraintBuilderTest, HasNoCorridorsAroundAnUnknownId) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  for (const char* id : {"nobody", "placeholder"}) {
    graph.AddPano("placeholder", nullptr);
    streets.SetActivePano(id, 1.0, 0.0);
    EXPECT_TRUE(streets.constraints.empty());
    EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
    EXPECT_FALSE(HasBest());
    EXPECT_EQ(streets.active_pano_id, id);
    Look(1.0, 1.0);
    EXPECT_EQ(streets.GetCollisionDepth(), kLargest);
  }
}

TEST_F(MultiConstraintBuilderTest, AnswersWithoutABestCorridor) {
  Look(3.0, 4.0, 1.0);
  EXPECT_EQ(streets.CalculateHeadingRestoreDelta(), 0.0);
  EXPECT_EQ(streets.CalculateClosestPositionOnLink(), streets.view_position);
  EXPECT_TRUE(streets.GetBestPano().isNull());
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  streets.DeleteConstraintBuilders();
  EXPECT_FALSE(HasBest());
  EXPECT_TRUE(streets.GetBestPano().isNull());
}

TEST_F(MultiConstraintBuilderTest, NamesTheNearerEndOfTheBestLink) {
  AddStreet();
  streets.SetActivePano("m", 1.0, 0.0);
  Look(7.0, 0.5);
  EXPECT_EQ(streets.GetBestPano(), "e");
  EXPECT_NEAR(streets.CalculateClosestPositionOnLink().x / 1e-7, 7.0, 1e-9);
  Look(-2.0, 0.5);
  EXPECT_EQ(streets.GetBestPano(), "m");
  Look(-30.0, 0.5);
  EXPECT_EQ(streets.GetBestPano(), "w");
}

TEST_F(MultiConstraintBuilderTest, NamesTheTargetAtEqualDistance) {
  Add("b", {0.25, 0.0, 0.0}, {});
  Add("a", {0.0, 0.0, 0.0}, {"b"});
  streets.SetActivePano("a", 1.0, 1.0);
  streets.SetView({0.125, 0.5}, 0.0);
  ASSERT_TRUE(HasBest());
  EXPECT_EQ(streets.GetBestPano(), graph.graph[(*streets.best_constraint)->link.m_target].id);
}

TEST_F(MultiConstraintBuilderTest, GoesOnWhenRecordsAreReplacedOrCleared) {
  AddCorner();
  Look(0.5, 0.5);
  const double depth = Depth();
  AddStop("j", 0.0, 0.0, {"n", "e"});
  AddStop("n", 0.0, 10.0, {"j"});
  Look(0.5, 0.5);
  EXPECT_NEAR(Depth(), depth, 1e-9);
  EXPECT_EQ(streets.active_pano, graph.GetPanoramaData("j"));
  graph.ClearPanoData("j");
  graph.ClearPanoData("e");
  Look(0.5, 0.5);
  EXPECT_NEAR(Depth(), 0.5, 1e-9) << "corridors stay, fillets need their records";
}

// --- Fillets -----------------------------------------------------------------------------------

TEST_F(MultiConstraintBuilderTest, RoundsTheInsideOfARightAngle) {
  AddCorner();
  Look(0.0, 0.0);
  EXPECT_NEAR(Depth(), 2.0 * std::sqrt(2.0) - 1.0, 1e-9);
  EXPECT_NEAR(Edge().x, 2.0 - std::sqrt(0.5), 1e-9);
  EXPECT_NEAR(Edge().y, 2.0 - std::sqrt(0.5), 1e-9);
  EXPECT_NEAR(streets.GetCollisionNormal().x, -std::sqrt(0.5), 1e-9);
  EXPECT_NEAR(streets.GetCollisionNormal().y, -std::sqrt(0.5), 1e-9);
}

TEST_F(MultiConstraintBuilderTest, LetsTheViewCutTheCorner) {
  AddCorner();
  Look(1.2, 1.2);
  EXPECT_NEAR(Depth(), 0.8 * std::sqrt(2.0) - 1.0, 1e-9);
  EXPECT_GT(Depth(), 0.0);
  streets.fillets_enabled = false;
  Look(1.2, 1.2);
  EXPECT_NEAR(Depth(), -0.2, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, HasNoFilletOnTheOutsideOfACorner) {
  AddCorner();
  Look(-0.5, -0.5);
  EXPECT_NEAR(Depth(), 1.0 - std::sqrt(0.5), 1e-9);
}

TEST_F(MultiConstraintBuilderTest, EndsAFilletAtItsReach) {
  AddCorner();
  const double just_inside = 2.0 - 1e-6;
  const double just_outside = 2.0 + 1e-6;
  const Vec2<double> at{std::cos(0.6), std::sin(0.6)};
  Look(at.x * just_outside, at.y * just_outside);
  EXPECT_NEAR(Depth(), 1.0 - at.y * just_outside, 1e-9);
  Look(at.x * just_inside, at.y * just_inside);
  EXPECT_NEAR(Depth(), std::hypot(2.0 - at.x * just_inside, 2.0 - at.y * just_inside) - 1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, IsContinuousAlongTheLinkAcrossTheFilletsBorder) {
  AddCorner();
  for (const auto& direction : {Vec2<double>{1.0, 0.0}, Vec2<double>{0.0, 1.0}}) {
    double before = 0.0;
    for (double s = 1.9; s < 2.1; s += 1e-4) {
      // A hair to the inside, so that the view lies in the wedge.
      Look(direction.x * s + direction.y * 1e-6, direction.y * s + direction.x * 1e-6);
      if (before != 0.0) {
        EXPECT_NEAR(Depth(), before, 1e-5) << s;
      }
      before = Depth();
    }
  }
}

TEST_F(MultiConstraintBuilderTest, MeetsTheCorridorsDepthAllAcrossItAtTheTangentPoint) {
  AddCorner();
  // Fillet and corridor measure the same on the perpendicular through the point where the circle
  // touches; the reach ends there, so look from just inside it and compare to second order.
  for (double aside = 0.0; aside <= 0.2; aside += 0.01) {
    const double along = std::sqrt(4.0 - aside * aside) - 1e-9;
    Look(along, aside + 1e-9);
    EXPECT_NEAR(Depth(), 1.0 - aside, aside * aside * 0.5 + 1e-6) << aside;
  }
}

TEST_F(MultiConstraintBuilderTest, KeepsTheStreetWhereAFilletSetsTheResult) {
  AddCorner();
  Look(1.2, 0.9, kPi / 2.0 - 0.01);
  EXPECT_GT(Depth(), 0.1);
  EXPECT_EQ((*streets.best_constraint)->closest_point.y, 0.0);
  EXPECT_NEAR(streets.CalculateHeadingRestoreDelta(), 0.01, 1e-6);
}

TEST_F(MultiConstraintBuilderTest, RoundsTheCornersOfNeighboursToo) {
  AddCorner();
  AddStop("e", 10.0, 0.0, {"j", "en"});
  AddStop("en", 10.0, 10.0, {"e"});
  streets.SetActivePano("", 1.0, 0.0);
  streets.SetActivePano("j", 1.0, 0.0);
  Look(8.8, 1.2);
  EXPECT_NEAR(Depth(), 0.8 * std::sqrt(2.0) - 1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, TakesTheReachFromTheSetting) {
  AddCorner();
  options.fillet_width_mult.Set(3.0f);
  Look(0.0, 0.0);
  EXPECT_NEAR(Depth(), 3.0 * std::sqrt(2.0) - 2.0, 1e-9);
  options.fillet_width_mult.Set(0.5f);
  Look(0.25, 0.25);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, MakesNoFilletOfANegativeHalfWidth) {
  AddCorner();
  streets.SetActivePano("", 1.0, 0.0);
  streets.SetActivePano("j", 1.0, -3e-7);
  Look(0.5, 0.25);
  EXPECT_NEAR(Depth(), -2.25, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, HasNoFilletWhereOneOfTwoLinksIsNotLoaded) {
  AddStop("e", 10.0, 0.0, {"j"});
  AddStop("j", 0.0, 0.0, {"n", "e"});
  streets.SetActivePano("j", 1.0, 0.0);
  Look(0.25, 0.25);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
  AddStop("n", 0.0, 10.0, {"j"});
  Look(0.25, 0.25);
  EXPECT_NEAR(Depth(), 1.75 * std::sqrt(2.0) - 1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, HasNoFilletWhereARecordNamesOnlyOneLink) {
  // The edge to the north is only named by its far end.
  AddStop("n", 0.0, 10.0, {"j"});
  AddStop("e", 10.0, 0.0, {"j"});
  AddStop("j", 0.0, 0.0, {"e"});
  streets.SetActivePano("j", 1.0, 0.0);
  Look(0.25, 0.25);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, StepsOverALinkWhoseRecordWasClearedAfterItsBearingWasTaken) {
  AddCorner();
  Look(0.25, 0.25);
  graph.ClearPanoData("n");
  QString before;
  QString after;
  streets.GetNearestAngleLinks(graph.GetPanoramaData("j"), &before, &after);
  EXPECT_EQ(before, "n") << "the bearings still name it";
  Look(0.25, 0.25);
  EXPECT_NEAR(Depth(), 0.75, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, RoundsACornerFromTheViewOnForWhichItsRecordsCame) {
  AddStop("a", 0.0, -10.0, {"j"});
  AddStop("n", 0.0, 10.0, {});
  AddStop("e", 10.0, 0.0, {});
  streets.SetActivePano("a", 1.0, 0.0);
  Look(0.0, 0.0);
  EXPECT_FALSE(HasBest());
  AddStop("j", 0.0, 0.0, {"a", "n", "e"});
  Look(0.0, 0.0);
  EXPECT_NEAR(Depth(), 2.0 * std::sqrt(2.0) - 1.0, 1e-9);
}

TEST_F(MultiConstraintBuilderTest, RoundsTheCornersOfLinksThatAreNewInTheGraph) {
  AddStop("a", 0.0, -10.0, {"b"});
  AddStop("b", 0.0, -20.0, {"a"});
  AddStop("n", 0.0, 10.0, {});
  AddStop("e", 10.0, 0.0, {});
  streets.SetActivePano("a", 1.0, 0.0);
  Look(0.0, 0.0);
  EXPECT_LT(Depth(), 0.0);
  AddStop("j", 0.0, 0.0, {"a", "n", "e"});
  Look(0.0, 0.0);
  EXPECT_NEAR(Depth(), 2.0 * std::sqrt(2.0) - 1.0, 1e-9) << "the fillet, but no new corridor";
}

TEST_F(MultiConstraintBuilderTest, ReadsTheWidthOfACornerAtEachView) {
  AddCorner();
  Look(0.0, 0.0);
  graph.GetPanoramaData("j")->collision_radius = 2e-7;
  Look(0.0, 0.0);
  EXPECT_NEAR(Depth(), 2.0 * (2.0 * std::sqrt(2.0) - 1.0), 1e-9);
}

TEST_F(MultiConstraintBuilderTest, TakesNoFilletForNoPanorama) {
  AddCorner();
  Look(-0.5, -0.5);
  const double depth = Depth();
  streets.AddCollisionFillet(nullptr);
  EXPECT_EQ(Depth(), depth);
}

// --- Bearings ----------------------------------------------------------------------------------

class NearestAngleLinks : public MultiConstraintBuilderTest {
 protected:
  /// Of "j" with the view at these half widths.
  std::pair<QString, QString> Between(double x, double y) {
    Look(x, y);
    QString before("untouched");
    QString after("untouched");
    streets.GetNearestAngleLinks(graph.GetPanoramaData("j"), &before, &after);
    return {before, after};
  }
  using Pair = std::pair<QString, QString>;
};

TEST_F(NearestAngleLinks, StandClockwiseAroundTheView) {
  AddStop("n", 0.0, 10.0, {});
  AddStop("e", 10.0, 0.0, {});
  AddStop("w", -10.0, 0.0, {});
  AddStop("j", 0.0, 0.0, {"n", "e", "w"});
  EXPECT_EQ(Between(1.0, 1.0), Pair("n", "e"));
  EXPECT_EQ(Between(-1.0, 1.0), Pair("w", "n"));
  EXPECT_EQ(Between(1.0, -1.0), Pair("e", "w"));
  EXPECT_EQ(Between(-1.0, -1.0), Pair("e", "w")) << "across due south";
}

TEST_F(NearestAngleLinks, GiveALinkInTheViewsOwnBearingAsTheOneAfter) {
  AddStop("n", 0.0, 10.0, {});
  AddStop("e", 10.0, 0.0, {});
  AddStop("j", 0.0, 0.0, {"n", "e"});
  EXPECT_EQ(Between(5.0, 0.0), Pair("n", "e"));
  EXPECT_EQ(Between(0.0, 5.0), Pair("e", "n"));
}

TEST_F(NearestAngleLinks, AreOneAndTheSameForOneLink) {
  AddStop("n", 0.0, 10.0, {});
  AddStop("j", 0.0, 0.0, {"n", "unloaded"});
  EXPECT_EQ(Between(1.0, 1.0), Pair("n", "n"));
}

TEST_F(NearestAngleLinks, AreNullWithoutLoadedLinks) {
  AddStop("j", 0.0, 0.0, {"unloaded", "too"});
  EXPECT_TRUE(Between(1.0, 1.0).first.isNull());
  EXPECT_TRUE(Between(1.0, 1.0).second.isNull());
  QString before("untouched");
  QString after("untouched");
  streets.GetNearestAngleLinks(nullptr, &before, &after);
  EXPECT_TRUE(before.isNull());
  EXPECT_TRUE(after.isNull());
}

// --- Heading -----------------------------------------------------------------------------------

class HeadingRestore : public MultiConstraintBuilderTest {
 protected:
  /// Of a view of this heading on a street that runs from west to east.
  double DeltaDegrees(double heading_deg) {
    if (streets.constraints.empty()) {
      AddStreet();
      streets.SetActivePano("m", 1.0, 0.0);
    }
    Look(5.0, 0.0, heading_deg * kDegree);
    return streets.CalculateHeadingRestoreDelta() / kDegree;
  }
};

TEST_F(HeadingRestore, TurnsTowardsTheNearerDirectionOfTheStreet) {
  EXPECT_NEAR(DeltaDegrees(87.0), 3.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(93.0), -3.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(267.0), 3.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(-87.0), -3.0, 1e-6);
}

TEST_F(HeadingRestore, IsNothingAgainstTheStreet) {
  EXPECT_NEAR(DeltaDegrees(270.0), 0.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(90.0), 0.0, 1e-6);
}

TEST_F(HeadingRestore, IsSlowFarFromTheStreet) {
  EXPECT_NEAR(DeltaDegrees(50.0), 2.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(130.0), -2.0, 1e-6);
}

TEST_F(HeadingRestore, TakesHeadingsOfManyTurns) {
  EXPECT_NEAR(DeltaDegrees(87.0 + 3600.0), 3.0, 1e-6);
  EXPECT_NEAR(DeltaDegrees(87.0 - 3600.0), 3.0, 1e-6);
}

TEST_F(HeadingRestore, TurnsNothingForAHeadingThatIsNoNumber) {
  EXPECT_EQ(DeltaDegrees(kNaN), 0.0);
  EXPECT_EQ(DeltaDegrees(std::numeric_limits<double>::infinity()), 0.0);
}

// --- All steps at once ---------------------------------------------------------------------------

// What a view gives, step by step: each corridor by itself, then the best of them, then the corners
// in the order of the graph's edges.
void LookStepByStep(const PanoGraph& graph, const Vec2<double>& view,
                    MultiConstraintBuilder* streets) {
  streets->view_position = view;
  streets->best_constraint = streets->constraints.end();
  double best = -kLargest;
  for (auto it = streets->constraints.begin(); it != streets->constraints.end(); ++it) {
    (*it)->view_position = view;
    (*it)->OnUpdate();
    const double depth = (*it)->GetCollisionDepth(streets->width_scale, streets->width_offset);
    if ((*it)->geometry_valid && depth > best) {
      best = depth;
      streets->best_constraint = it;
    }
  }
  if (streets->best_constraint == streets->constraints.end()) {
    streets->collision_depth = kLargest;
    return;
  }
  const ConstraintBuilder& taken = **streets->best_constraint;
  streets->collision_depth = best;
  streets->collision_normal = taken.normal;
  streets->collision_point = taken.GetCollisionPoint(streets->width_scale, streets->width_offset);
  streets->AddCollisionFillet(graph.GetPanoramaData(streets->active_pano_id));
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  graph.GetLinks(streets->active_pano_id, &edges);
  for (const edge& link : edges) {
    streets->AddCollisionFillet(graph.graph[link.m_target].data.get());
  }
}

// Everything that a view writes, not-a-numbers by their bits too.
std::vector<double> Written(MultiConstraintBuilder* streets) {
  std::vector<double> all = {
      streets->collision_depth,
      streets->collision_normal.x,
      streets->collision_normal.y,
      streets->collision_point.x,
      streets->collision_point.y,
      static_cast<double>(std::distance(streets->constraints.begin(), streets->best_constraint))};
  for (const ConstraintBuilder* one : streets->constraints) {
    all.insert(all.end(), {one->view_position.x, one->view_position.y, one->closest_point.x,
                           one->closest_point.y, one->normal.x, one->normal.y, one->t, one->width,
                           one->distance});
  }
  return all;
}

TEST_F(MultiConstraintBuilderTest, GivesToTheBitWhatItsStepsGiveOneByOne) {
  constexpr unsigned kSeed = 20261122;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> place(-40.0, 40.0);
  constexpr int kStops = 60;
  for (int i = 0; i < kStops; ++i) {
    Ids links;
    for (int k = 0; k < 3; ++k) {
      links.push_back(QString::number(random() % kStops));
    }
    if (i % 10 != 9) {  // The others stay without a record, at first.
      const double x = place(random);
      AddStop(QString::number(i), x, place(random), links, 1e-7 * (2.0 + i % 7));
    }
  }
  MultiConstraintBuilder steps(graph);
  int filleted = 0;
  for (int view = 0; view < 20000; ++view) {
    if (view % 50 == 0) {
      const QString id = QString::number(random() % kStops);
      streets.SetActivePano(id, 1.0, 2e-8);
      steps.SetActivePano(id, 1.0, 2e-8);
    }
    if (view == 10000) {
      AddStop("9", 1.0, 2.0, {"1", "2"});
    }
    const double x = place(random);
    const Vec2<double> at{x * 1e-7, place(random) * 1e-7};
    streets.SetView(at, 0.0);
    if (steps.active_pano != nullptr) {
      LookStepByStep(graph, at, &steps);
    }
    const std::vector<double> expected = Written(&steps);
    const std::vector<double> written = Written(&streets);
    ASSERT_EQ(written.size(), expected.size()) << view;
    ASSERT_EQ(std::memcmp(written.data(), expected.data(), written.size() * sizeof(double)), 0)
        << view;
    filleted += HasBest() && streets.GetCollisionDepth() !=
                                 (*streets.best_constraint)->GetCollisionDepth(1.0, 2e-8);
  }
  EXPECT_GT(filleted, 100) << "the views must come by corners";
  steps.DeleteConstraintBuilders();
}

// --- Memory ------------------------------------------------------------------------------------

TEST_F(MultiConstraintBuilderTest, HoldsTenCorridorsWithoutAListOnTheHeap) {
  const auto inside = [this] {
    const char* data = reinterpret_cast<const char*>(streets.constraints.data());
    const char* self = reinterpret_cast<const char*>(&streets);
    return data >= self && data < self + sizeof streets;
  };
  AddStreet();
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  graph.GetLinks("m", &edges);
  for (int i = 0; i < 10; ++i) {
    streets.CreateConstraint(edges[0]);
  }
  EXPECT_TRUE(inside());
  streets.CreateConstraint(edges[0]);
  EXPECT_FALSE(inside());
  streets.DeleteConstraintBuilders();
  EXPECT_TRUE(inside());
  streets.CreateConstraint(edges[0]);
  EXPECT_TRUE(inside());
}

TEST_F(MultiConstraintBuilderTest, HoldsNoMoreAfterManyViewsAndNothingAfterDeletion) {
  AddCorner();
  Look(0.25, 0.25);
  const test_support::HeapSnapshot with_corridors;
  for (int i = 0; i < 100; ++i) {
    Look(0.01 * i, 0.25);
  }
  EXPECT_TRUE(test_support::HeapSnapshot() == with_corridors);
  streets.DeleteConstraintBuilders();
  EXPECT_EQ(test_support::HeapSnapshot().blocks(), with_corridors.blocks() - 2);
}

TEST_F(MultiConstraintBuilderTest, LeavesTheCorridorsToTheirOwnerAtItsEnd) {
  AddCorner();
  const test_support::HeapSnapshot before;
  ConstraintBuilder* corridor = nullptr;
  {
    MultiConstraintBuilder other(graph);
    mmvector<edge> edges(HeapManager::GetTransientHeap());
    graph.GetLinks("n", &edges);
    other.CreateConstraint(edges[0]);
    corridor = other.constraints[0];
  }
  EXPECT_EQ(test_support::HeapSnapshot().blocks(), before.blocks() + 1);
  delete corridor;
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
