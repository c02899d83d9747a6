// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/constraint_builder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "graph_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class ConstraintBuilderTest : public GraphFixture {
 protected:
  /// The link between `a` and `b`, as seen from `a`.
  edge LinkOf(const QString& a, const QString& b) const {
    mmvector<edge> edges(HeapManager::GetTransientHeap());
    graph.GetLinks(a, &edges);
    for (const edge& link : edges) {
      if (link.m_target == HandleOf(b)) {
        return link;
      }
    }
    ADD_FAILURE() << "no link";
    return edge(nullptr, nullptr, nullptr);
  }
  /// A corridor from (0, 0) to (100, 0), 10 wide at its start and 20 at its end.
  ConstraintBuilder Tapered() {
    Add("b", {100.0, 0.0, 0.0}, {})->collision_radius = 20.0;
    Add("a", {0.0, 0.0, 0.0}, {"b"})->collision_radius = 10.0;
    ConstraintBuilder corridor(&graph);
    corridor.SetLink(LinkOf("a", "b"));
    return corridor;
  }
  static void Look(ConstraintBuilder* corridor, const Vec2<double>& from) {
    corridor->view_position = from;
    corridor->OnUpdate();
  }
};

TEST_F(ConstraintBuilderTest, ReadsTheLinkFromItsRecords) {
  const ConstraintBuilder corridor = Tapered();
  EXPECT_TRUE(corridor.geometry_valid);
  EXPECT_EQ(corridor.start, (Vec2<double>{0.0, 0.0}));
  EXPECT_EQ(corridor.end, (Vec2<double>{100.0, 0.0}));
  EXPECT_EQ(corridor.direction, (Vec2<double>{1.0, 0.0}));
  EXPECT_EQ(corridor.length, 100.0);
  EXPECT_EQ(corridor.start_pano, graph.GetPanoramaData("a"));
  EXPECT_EQ(corridor.end_pano, graph.GetPanoramaData("b"));
}

TEST_F(ConstraintBuilderTest, WidensEvenlyBetweenTheRadiiOfItsEnds) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {50.0, 4.0});
  EXPECT_EQ(corridor.t, 0.5);
  EXPECT_EQ(corridor.width, 15.0);
  EXPECT_EQ(corridor.closest_point, (Vec2<double>{50.0, 0.0}));
  EXPECT_EQ(corridor.normal, (Vec2<double>{0.0, -1.0}));
  EXPECT_EQ(corridor.distance, 4.0);
  EXPECT_EQ(corridor.GetCollisionDepth(), 11.0);
  EXPECT_EQ(corridor.GetCollisionPoint(), (Vec2<double>{50.0, 15.0}));
}

TEST_F(ConstraintBuilderTest, MeasuresToTheEndBeyondTheEnd) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {103.0, 4.0});
  EXPECT_GT(corridor.t, 1.0);
  EXPECT_EQ(corridor.width, 20.0);
  EXPECT_EQ(corridor.closest_point, (Vec2<double>{100.0, 0.0}));
  EXPECT_EQ(corridor.distance, 5.0);
  EXPECT_EQ(corridor.GetCollisionDepth(), 15.0);
}

TEST_F(ConstraintBuilderTest, MeasuresToTheStartBeforeTheStart) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {-3.0, 4.0});
  EXPECT_LT(corridor.t, 0.0);
  EXPECT_EQ(corridor.width, 10.0);
  EXPECT_EQ(corridor.closest_point, (Vec2<double>{0.0, 0.0}));
  EXPECT_EQ(corridor.distance, 5.0);
}

TEST_F(ConstraintBuilderTest, KeepsTheEndsThemselvesWithinTheLink) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {100.0, 1.0});
  EXPECT_EQ(corridor.t, 1.0);
  EXPECT_EQ(corridor.width, 20.0);
  Look(&corridor, {0.0, 1.0});
  EXPECT_EQ(corridor.t, 0.0);
  EXPECT_EQ(corridor.width, 10.0);
}

TEST_F(ConstraintBuilderTest, HasNoNormalOnTheLinkItself) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {25.0, 0.0});
  EXPECT_EQ(corridor.distance, 0.0);
  EXPECT_EQ(corridor.normal, (Vec2<double>{0.0, 0.0}));
  EXPECT_EQ(corridor.GetCollisionPoint(), (Vec2<double>{25.0, 0.0}));
}

TEST_F(ConstraintBuilderTest, TakesScaleAndOffsetForItsWidth) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {50.0, -4.0});
  EXPECT_EQ(corridor.GetCollisionDepth(2.0, 3.0), 2.0 * 15.0 + 3.0 - 4.0);
  EXPECT_EQ(corridor.GetCollisionPoint(2.0, 3.0), (Vec2<double>{50.0, -33.0}));
}

TEST_F(ConstraintBuilderTest, KeepsTheLengthOfALinkOfCentimetres) {
  constexpr double kStep = 5e-10;  // A centimetre; its square is 2.5e-19.
  Add("b", {kStep, 0.0, 0.0}, {});
  Add("a", {0.0, 0.0, 0.0}, {"b"});
  ConstraintBuilder corridor(&graph);
  corridor.SetLink(LinkOf("a", "b"));
  EXPECT_EQ(corridor.length, kStep);
  EXPECT_EQ(corridor.direction, (Vec2<double>{1.0, 0.0}));
  Look(&corridor, {kStep / 2.0, kStep});
  EXPECT_EQ(corridor.t, 0.5);
  EXPECT_EQ(corridor.distance, kStep);
}

TEST_F(ConstraintBuilderTest, IsDeepestOfAllWhileARecordIsMissing) {
  Add("a", {0.0, 0.0, 0.0}, {"b"});
  ConstraintBuilder corridor(&graph);
  corridor.SetLink(LinkOf("a", "b"));
  EXPECT_TRUE(corridor.has_link);
  EXPECT_FALSE(corridor.geometry_valid);
  EXPECT_EQ(corridor.GetCollisionDepth(), kLargest);
  EXPECT_EQ(corridor.GetCollisionDepth(0.0, -5.0), kLargest);
  Add("b", {1.0, 0.0, 0.0}, {});
  Look(&corridor, {0.5, 0.0});
  EXPECT_TRUE(corridor.geometry_valid);
  EXPECT_EQ(corridor.GetCollisionDepth(), corridor.width);
}

TEST_F(ConstraintBuilderTest, HasNoDepthOnALinkOfNoLength) {
  Add("b", {1.0, 1.0, 0.0}, {});
  Add("a", {1.0, 1.0, 0.0}, {"b"});
  ConstraintBuilder corridor(&graph);
  corridor.SetLink(LinkOf("a", "b"));
  Look(&corridor, {1.0, 2.0});
  EXPECT_TRUE(corridor.geometry_valid);
  EXPECT_EQ(corridor.length, 0.0);
  EXPECT_TRUE(std::isnan(corridor.t));
  EXPECT_TRUE(std::isnan(corridor.GetCollisionDepth()));
}

TEST_F(ConstraintBuilderTest, HasNoDepthForAViewThatIsNoNumber) {
  ConstraintBuilder corridor = Tapered();
  Look(&corridor, {kNaN, 0.0});
  EXPECT_TRUE(std::isnan(corridor.GetCollisionDepth()));
}

TEST_F(ConstraintBuilderTest, KeepsItsGeometryForTheLinkThatItHas) {
  ConstraintBuilder corridor = Tapered();
  corridor.start = {7.0, 7.0};
  corridor.SetLink(LinkOf("b", "a"));  // The same edge from its other end.
  EXPECT_EQ(corridor.start, (Vec2<double>{7.0, 7.0}));
  EXPECT_EQ(corridor.link.m_source, HandleOf("a"));
}

TEST_F(ConstraintBuilderTest, TurnsToAnotherLink) {
  ConstraintBuilder corridor = Tapered();
  Add("d", {0.0, 5.0, 0.0}, {});
  Add("c", {0.0, 1.0, 0.0}, {"d"});
  corridor.SetLink(LinkOf("c", "d"));
  EXPECT_TRUE(corridor.geometry_valid);
  EXPECT_EQ(corridor.length, 4.0);
}

TEST_F(ConstraintBuilderTest, DoesNothingWithoutALink) {
  ConstraintBuilder corridor(&graph);
  corridor.SetLink(edge(nullptr, nullptr, nullptr));
  Look(&corridor, {1.0, 1.0});
  EXPECT_FALSE(corridor.has_link);
  EXPECT_FALSE(corridor.geometry_valid);
  EXPECT_EQ(corridor.GetCollisionPoint(), (Vec2<double>{0.0, 0.0}));
}

TEST_F(ConstraintBuilderTest, IsInvalidAfterAnAllZeroLink) {
  ConstraintBuilder corridor = Tapered();
  corridor.SetLink(edge(nullptr, nullptr, nullptr));
  Look(&corridor, {1.0, 1.0});
  EXPECT_FALSE(corridor.geometry_valid);
  EXPECT_EQ(corridor.GetCollisionDepth(), kLargest);
}

TEST_F(ConstraintBuilderTest, SurvivesTheRecordsThatItWasMadeFrom) {
  ConstraintBuilder corridor = Tapered();
  Add("a", {50.0, 50.0, 0.0}, {"b"});
  graph.ClearPanoData("b");
  Look(&corridor, {50.0, 4.0});
  EXPECT_EQ(corridor.GetCollisionDepth(), 11.0);
}

TEST_F(ConstraintBuilderTest, CopiesAllThatItKnows) {
  ConstraintBuilder corridor = Tapered();
  ConstraintBuilder copy(corridor);
  Look(&copy, {50.0, 4.0});
  EXPECT_EQ(copy.GetCollisionDepth(), 11.0);
  ConstraintBuilder assigned(&graph);
  assigned = copy;
  EXPECT_EQ(assigned.GetCollisionDepth(), 11.0);
  EXPECT_EQ(assigned.link.get_property(), corridor.link.get_property());
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
