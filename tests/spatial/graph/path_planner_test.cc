// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/path_planner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>

#include "host/reference/heap_statistics.h"
#include "spatial/graph/cartesian.h"
#include "tests/spatial/graph/graph_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

using Path = PathPlanner::Path;

constexpr double kPi = 3.14159265358979323846;

// A stored offset of so many metres on the ground, near the equator.
double Ground(double metres) {
  return metres * Units::s_inv_planet_radius / kPi;
}

double Length(const Vec3<double>& a, const Vec3<double>& b) {
  return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) +
                   (a.z - b.z) * (a.z - b.z));
}

class PathPlannerTest : public GraphFixture {
 protected:
  // A-B-C-D eastward along the equator, `metres` apart.
  void AddChain(double metres) {
    Add("A", {0.0, 0.0, 0.0}, {"B"});
    Add("B", {Ground(metres), 0.0, 0.0}, {"C"});
    Add("C", {Ground(2 * metres), 0.0, 0.0}, {"D"});
    Add("D", {Ground(3 * metres), 0.0, 0.0}, {});
  }
  bool FindPath(const Vec3<double>& from, const Vec3<double>& to, int max_hops,
                bool same_scene = false) {
    return planner.FindPath(from, to, max_hops, same_scene, &path);
  }

  PathPlanner planner{&graph};
  Path path = {"untouched"};
};

// --- FindPath ------------------------------------------------------------------------------------

TEST_F(PathPlannerTest, StaysWhereNoNeighbourIsNearerToTheGoal) {
  AddChain(200);
  EXPECT_TRUE(FindPath({}, {Ground(99), 0.0, 0.0}, 4));
  EXPECT_EQ(path, Path{"A"});
}

TEST_F(PathPlannerTest, FindsNothingToAGoalFartherThanAHundredMetres) {
  Add("A");
  EXPECT_FALSE(FindPath({}, {Ground(101), 0.0, 0.0}, 4));
  EXPECT_TRUE(path.empty());
}

TEST_F(PathPlannerTest, LeavesThePathAloneWhereNoPanoramaIsNearTheStart) {
  EXPECT_FALSE(FindPath({}, {}, 4));
  EXPECT_EQ(path, Path{"untouched"});
}

TEST_F(PathPlannerTest, LeavesThePathAloneWhereTheNearestPanoramaHasNoRecord) {
  Add("A");
  Add("B", {Ground(10), 0.0, 0.0});
  graph.ClearPanoData("A");
  EXPECT_FALSE(FindPath({}, {}, 4));
  EXPECT_EQ(path, Path{"untouched"});
}

// An empty id is what a search without a hit gives, so nobody can stand there.
TEST_F(PathPlannerTest, LeavesThePathAloneWhereTheNearestPanoramaHasAnEmptyId) {
  Add("", {}, {"B"});
  Add("B", {Ground(10), 0.0, 0.0});
  EXPECT_FALSE(FindPath({}, {Ground(10), 0.0, 0.0}, 4));
  EXPECT_EQ(path, Path{"untouched"});
}

TEST_F(PathPlannerTest, WalksAChainToItsEnd) {
  AddChain(200);
  EXPECT_TRUE(FindPath({}, {Ground(600), 0.0, 0.0}, 4));
  EXPECT_EQ(path, (Path{"A", "B", "C", "D"}));
}

TEST_F(PathPlannerTest, CountsPanoramasAndNotEdgesInMaxHops) {
  AddChain(200);
  EXPECT_FALSE(FindPath({}, {Ground(600), 0.0, 0.0}, 3));
  EXPECT_TRUE(path.empty());
}

TEST_F(PathPlannerTest, EndsShortOfTheGoalWhereThatIsNearEnough) {
  AddChain(50);
  EXPECT_TRUE(FindPath({}, {Ground(150), 0.0, 0.0}, 3));
  EXPECT_EQ(path, (Path{"A", "B", "C"}));
}

TEST_F(PathPlannerTest, HasOnlyTheStartToChooseWithMaxHopsOfOneOrLess) {
  AddChain(50);
  for (int max_hops : {1, 0, std::numeric_limits<int>::min()}) {
    EXPECT_TRUE(FindPath({}, {Ground(90), 0.0, 0.0}, max_hops));
    EXPECT_EQ(path, Path{"A"});
  }
}

TEST_F(PathPlannerTest, PrefersTheFewerHopsAtEqualDistanceAndTheStartLast) {
  Add("A", {Ground(10), 0.0, 0.0}, {"B"});
  Add("B", {Ground(10), 0.0, 0.0}, {"C"});
  Add("C", {Ground(10), 0.0, 0.0}, {});
  EXPECT_TRUE(FindPath({Ground(10), 0.0, 0.0}, {Ground(10), 0.0, 0.0}, 9));
  EXPECT_EQ(path, (Path{"A", "B"}));
}

TEST_F(PathPlannerTest, IgnoresAltitudesOfGoalAndPanoramas) {
  Add("A", {0.0, 0.0, 0.5}, {"B"});
  Add("B", {Ground(200), 0.0, 0.7}, {});
  EXPECT_TRUE(FindPath({}, {Ground(200), 0.0, 3.0}, 4));
  EXPECT_EQ(path, (Path{"A", "B"}));
}

TEST_F(PathPlannerTest, WalksThroughPlaceholdersButNeverEndsAtOne) {
  Add("A", {}, {"placeholder"});
  Add("C", {Ground(400), 0.0, 0.0}, {"placeholder"});
  EXPECT_TRUE(FindPath({}, {Ground(400), 0.0, 0.0}, 9));
  EXPECT_EQ(path, (Path{"A", "placeholder", "C"}));
  EXPECT_FALSE(FindPath({}, {Ground(400), 0.0, 0.0}, 9, true));
  EXPECT_TRUE(path.empty());
}

TEST_F(PathPlannerTest, FindsNothingToAGoalThatIsNotANumber) {
  Add("A");
  EXPECT_FALSE(FindPath({}, {std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0}, 4));
  EXPECT_TRUE(path.empty());
}

// --- A twin of the walk --------------------------------------------------------------------------

// Hops from `start` by relaxation over all edges until nothing changes.
std::map<QString, int> HopsFrom(const QString& start, const std::map<QString, IdSet>& linked) {
  std::map<QString, int> hops = {{start, 0}};
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& each : linked) {
      for (const QString& other : each.second) {
        const auto from = hops.find(each.first);
        if (from == hops.end()) {
          break;
        }
        const auto known = hops.find(other);
        if (known == hops.end() || known->second > from->second + 1) {
          hops[other] = from->second + 1;
          changed = true;
        }
      }
    }
  }
  return hops;
}

TEST_F(PathPlannerTest, FindsNothingWithoutAPlaceForThePath) {
  AddChain(10);
  EXPECT_FALSE(planner.FindPath({}, {}, 4, false, nullptr));
}

TEST_F(PathPlannerTest, FindsFewestHopsToTheNearestInReachOnRandomGraphs) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> place(0.0, Ground(2000));
  std::uniform_int_distribution<int> any(0, 149);
  int found = 0;
  for (int round = 0; round < 20; ++round) {
    graph.Clear();
    std::map<QString, Vec3<double>> places;
    std::map<QString, IdSet> linked;
    for (int i = 0; i < 150; ++i) {
      const QString id = QString::number(i);
      const QString other = QString::number(any(random));
      places[id] = {place(random), place(random), 0.0};
      Add(id, places[id], {other});
      linked[id].insert(other);
      linked[other].insert(id);
    }
    for (int query = 0; query < 20; ++query) {
      const QString start = QString::number(any(random));
      const Vec3<double> to{place(random), place(random), 0.0};
      const int max_hops = 2 + query % 9;
      const std::map<QString, int> hops = HopsFrom(start, linked);
      double nearest = std::numeric_limits<double>::max();
      QString goal;
      for (const auto& each : hops) {
        const double distance =
            Length(CartesianFromStored(places[each.first]), CartesianFromStored(to));
        if (each.second < max_hops && distance < nearest) {
          nearest = distance;
          goal = each.first;
        }
      }
      ASSERT_EQ(FindPath(places[start], to, max_hops), nearest <= Radii(100));
      if (path.empty()) {
        continue;
      }
      ++found;
      ASSERT_EQ(path.front(), start);
      ASSERT_EQ(path.back(), goal);
      ASSERT_EQ(path.size(), static_cast<std::size_t>(hops.at(goal)) + 1);
      for (std::size_t i = 1; i < path.size(); ++i) {
        ASSERT_EQ(linked.at(path[i - 1]).count(path[i]), 1u) << "no edge";
      }
    }
  }
  EXPECT_GT(found, 50);
}

// --- IsIntersection ------------------------------------------------------------------------------

class Turn : public PathPlannerTest {
 protected:
  // A walk along two legs at the corner "C" that bends by `degrees` to the left. Legs of a
  // hundredth of the planet keep the noise of Cartesian differences far below the angle at test.
  void Bend(double degrees) {
    const double angle = degrees * kPi / 180.0;
    Add("in", {-0.5 - 0.01 / kPi, 0.0, 0.0});
    Add("C", {-0.5, 0.0, 0.0});
    Add("out", {-0.5 + 0.01 / kPi * std::cos(angle), 0.01 / kPi * std::sin(angle), 0.0});
    path = {"in", "C", "out"};
  }

  Vec3<double> point{7.0, 8.0, 9.0};
  const Vec3<double> untouched = point;
};

TEST_F(Turn, OfARightAngleIsAnIntersectionFiveMetresIntoTheBend) {
  Bend(90);
  ASSERT_TRUE(planner.IsIntersection(path, 1, &point));
  const Vec3<double> corner = CartesianFromStored({-0.5, 0.0, 0.0});
  const Vec3<double> aim = CartesianFromStored(point);
  EXPECT_NEAR(Length(aim, corner), Radii(5), Radii(5) * 1e-6);
  // Inside the bend is back west and up north in equal parts, but for the legs' curvature.
  EXPECT_NEAR(point.x + 0.5, -Ground(5) / std::sqrt(2.0), Ground(5) * 0.01);
  EXPECT_NEAR(point.y, Ground(5) / std::sqrt(2.0), Ground(5) * 0.01);
}

TEST_F(Turn, IsKnownWithoutAPlaceForItsPoint) {
  Bend(90);
  EXPECT_TRUE(planner.IsIntersection(path, 1, nullptr));
}

TEST_F(Turn, OfLittleMoreThanSeventyFiveDegreesIsAnIntersection) {
  Bend(75.1);
  EXPECT_TRUE(planner.IsIntersection(path, 1, &point));
}

TEST_F(Turn, OfLittleLessThanSeventyFiveDegreesIsNone) {
  Bend(74.9);
  EXPECT_FALSE(planner.IsIntersection(path, 1, &point));
  EXPECT_EQ(point, untouched);
}

// Legs that can be turned exactly: the corner on the axis to the null island, the legs in the plane
// across it, through positions that the altitude lifts onto that plane.
TEST_F(Turn, OfExactlySeventyFiveDegreesIsNone) {
  const double limit = 1.3089969389957472;
  const Vec3<double> corner = CartesianFromStored({-0.5, 0.0, 0.0});
  const auto add = [&](const QString& id, double east, double north) {
    Add(id, StoredFromCartesian({corner.x, north, -east}));
  };
  Add("C", {-0.5, 0.0, 0.0});
  add("in", -0.5, 0.0);
  path = {"in", "C", "out"};
  // The limit itself lies between two neighbours of the computed cosine, so the switch is looked
  // for: it must come within rounding of 75 degrees and not before.
  double none = limit - 1e-9;
  double turn = limit + 1e-9;
  for (int step = 0; step < 60; ++step) {
    const double middle = 0.5 * (none + turn);
    add("out", 0.5 * std::cos(middle), 0.5 * std::sin(middle));
    (planner.IsIntersection(path, 1, &point) ? turn : none) = middle;
  }
  EXPECT_NEAR(none, limit, 1e-14);
}

TEST_F(Turn, ThatGoesStraightOnIsNone) {
  Bend(0);
  EXPECT_FALSE(planner.IsIntersection(path, 1, &point));
  EXPECT_EQ(point, untouched);
}

TEST_F(Turn, BackIsAnIntersection) {
  Bend(180);
  EXPECT_TRUE(planner.IsIntersection(path, 1, &point));
}

TEST_F(Turn, WithALegOfNoLengthCountsAsARightAngle) {
  Add("in", {-0.5, 0.0, 0.0});
  Add("C", {-0.5, 0.0, 0.0});
  Add("out", {-0.4, 0.0, 0.0});
  path = {"in", "C", "out"};
  EXPECT_TRUE(planner.IsIntersection(path, 1, &point));
}

TEST_F(Turn, AtEitherEndOrOutsideThePathIsNone) {
  Bend(90);
  for (int index :
       {0, 2, 3, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(planner.IsIntersection(path, index, &point)) << index;
  }
  EXPECT_EQ(point, untouched);
}

TEST_F(Turn, OfAnEmptyOrShortPathIsNone) {
  Bend(90);
  for (const Path& walked : {Path{}, Path{"C"}, Path{"C", "out"}}) {
    for (int index : {-1, 0, 1}) {
      EXPECT_FALSE(planner.IsIntersection(walked, index, &point));
    }
  }
}

TEST_F(Turn, AtOrBesideAPlaceholderIsNone) {
  Bend(90);
  for (const char* id : {"in", "C", "out"}) {
    const RefPtr<PanoramaData> record(graph.GetPanoramaData(id));
    graph.ClearPanoData(id);
    EXPECT_FALSE(planner.IsIntersection(path, 1, &point)) << id;
    graph.AddPano(id, record.get());
  }
  EXPECT_TRUE(planner.IsIntersection(path, 1, &point));
}

TEST_F(Turn, AtAPositionThatIsNotANumberIsNone) {
  Bend(90);
  Add("out", {std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0});
  EXPECT_FALSE(planner.IsIntersection(path, 1, &point));
  EXPECT_EQ(point, untouched);
}

TEST(PathPlanner, LeavesNothingOnTheTransientHeap) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetTransientHeap());
  {
    PanoGraph graph;
    for (int i = 0; i < 30; ++i) {
      graph.AddPano(
          QString::number(i),
          MakeRecord(QString::number(i), {1e-6 * i, 0.0, 0.0}, {QString::number(i + 1)}).get());
    }
    Path path;
    EXPECT_TRUE(PathPlanner(&graph).FindPath({}, {2.9e-5, 0.0, 0.0}, 40, true, &path));
    EXPECT_EQ(path.size(), 30u);
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
