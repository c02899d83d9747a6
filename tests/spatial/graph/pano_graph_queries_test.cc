// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>

#include "host/reference/heap_statistics.h"
#include "spatial/graph/pano_graph.h"
#include "tests/spatial/graph/graph_fixture.h"

namespace nimbara {
namespace spatial {

// Beside the type, so that failures print rows.
bool operator==(const PanoGraph::ConnectedPanoInfo& a, const PanoGraph::ConnectedPanoInfo& b) {
  return a.pano_id == b.pano_id && a.hops == b.hops && a.parent == b.parent;
}
std::ostream& operator<<(std::ostream& out, const PanoGraph::ConnectedPanoInfo& row) {
  return out << row.pano_id.toStdString() << " hops " << row.hops << " parent " << row.parent;
}

namespace {

using Info = PanoGraph::ConnectedPanoInfo;
using Infos = mmvector<Info>;
using Edges = mmvector<edge>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;

class PanoGraphQueries : public GraphFixture {
 protected:
  Infos Walk(const QString& start, int hops, bool same_scene = false) const {
    Infos out;
    graph.GetConnectedPanos(start, hops, same_scene, &out);
    return out;
  }
  Edges Links(const QString& id) const {
    Edges out;
    graph.GetLinks(id, &out);
    return out;
  }
  const QString& TargetOf(const edge& link) const { return graph.graph[link.m_target].id; }

  // A marker that no query gives, to see whether an output was touched.
  const edge untouched{this, this, this};
};

// --- Nearest panorama ----------------------------------------------------------------------------

TEST_F(PanoGraphQueries, FindNoNearestPanoramaInAGraphWithoutRecords) {
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}).isNull());
  graph.AddPano("placeholder", nullptr);
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}).isNull());
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}, 1.0).isNull());
}

TEST_F(PanoGraphQueries, FindTheNearestPanoramaWithinARadiusThatIncludesItsEnd) {
  Add("near", {0.25, 0.0, 0.0});
  Add("far", {0.5, 0.0, 0.0});
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.0, 0.0, 0.0}, 0.25), "near");
  EXPECT_TRUE(graph.GetClosestPanoToPoint({0.0, 0.0, 0.0}, 0.2499).isNull());
}

TEST_F(PanoGraphQueries, LetNoAltitudePlayAPartInTheNearest) {
  Add("high", {0.1, 0.0, 9.0});
  Add("low", {0.2, 0.0, 0.0});
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.0, 0.0, 0.0}), "high");
}

TEST_F(PanoGraphQueries, SearchAllLevelsForTheNearest) {
  const RefPtr<PanoramaData> upstairs = MakeRecord("up", {0.1, 0.0, 0.0});
  upstairs->level_id = "1";
  graph.AddPano("up", upstairs.get());
  Add("street", {0.2, 0.0, 0.0});
  EXPECT_EQ(graph.GetClosestPanoToPoint({}), "up");
}

TEST_F(PanoGraphQueries, ReachJustShortOfTheIndexDiagonalByDefault) {
  Add("corner", {1.0, 1.0, 0.0});
  EXPECT_TRUE(graph.GetClosestPanoToPoint({-1.0, -1.0, 0.0}).isNull());
  mmvector<const PanoramaData*> out;
  graph.GetClosestPanosToPoint({-1.0, -1.0, 0.0}, 1, &out);
  EXPECT_EQ(out.size(), 1u);
}

TEST_F(PanoGraphQueries, FindNothingFromAPointThatIsNotANumberOrBesideOne) {
  Add("nowhere", {kNan, 0.0, 0.0});
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}).isNull());
  Add("here");
  EXPECT_EQ(graph.GetClosestPanoToPoint({}), "here");
  EXPECT_TRUE(graph.GetClosestPanoToPoint({kNan, 0.0, 0.0}).isNull());
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}, kNan).isNull());
}

TEST_F(PanoGraphQueries, CanFindTheIdOfAClearedVertex) {
  Add("A");
  graph.ClearPanoData("A");
  EXPECT_EQ(graph.GetClosestPanoToPoint({}), "A");
}

TEST_F(PanoGraphQueries, AppendTheNearestRecordsNearestFirst) {
  const PanoramaData* far = Add("far", {0.3, 0.0, 0.0});
  const PanoramaData* near = Add("near", {0.1, 0.0, 0.0});
  Add("too many", {0.4, 0.0, 0.0});
  mmvector<const PanoramaData*> out = {nullptr};
  graph.GetClosestPanosToPoint({}, 2, &out);
  EXPECT_EQ(out, (mmvector<const PanoramaData*>{nullptr, near, far}));
}

TEST_F(PanoGraphQueries, GiveANullRecordForTheEntryOfAClearedVertex) {
  Add("A");
  graph.ClearPanoData("A");
  mmvector<const PanoramaData*> out;
  graph.GetClosestPanosToPoint({}, 5, &out);
  EXPECT_EQ(out, mmvector<const PanoramaData*>{nullptr});
}

TEST_F(PanoGraphQueries, GiveARecordTwiceThatStandsInTheIndexTwice) {
  Add("A");
  graph.ClearPanoData("A");
  const PanoramaData* again = Add("A", {0.1, 0.0, 0.0});
  mmvector<const PanoramaData*> out;
  graph.GetClosestPanosToPoint({}, 5, &out);
  EXPECT_EQ(out, (mmvector<const PanoramaData*>{again, again}));
}

TEST_F(PanoGraphQueries, AppendNothingForACountBelowOneAndEverythingForAHugeOne) {
  Add("A");
  mmvector<const PanoramaData*> out;
  graph.GetClosestPanosToPoint({}, 0, &out);
  graph.GetClosestPanosToPoint({}, -7, &out);
  EXPECT_TRUE(out.empty());
  graph.GetClosestPanosToPoint({}, std::numeric_limits<int>::max(), &out);
  EXPECT_EQ(out.size(), 1u);
}

// --- Nearest neighbour and link ------------------------------------------------------------------

TEST_F(PanoGraphQueries, FindTheNearestOfANeighbourhoodInAllThreeComponents) {
  Add("start", {0.0, 0.0, 0.0}, {"B"});
  const PanoramaData* b = Add("B", {0.1, 0.0, 0.0}, {"C"});
  Add("C", {0.2, 0.0, 0.5});
  const QString start = "start";
  EXPECT_EQ(&graph.GetClosestNeighboringPanoToPoint({0.2, 0.0, 0.0}, start, 2), &b->pano_id);
  EXPECT_EQ(graph.GetClosestNeighboringPanoToPoint({0.2, 0.0, 0.5}, start, 2), "C");
  EXPECT_EQ(graph.GetClosestNeighboringPanoToPoint({0.2, 0.0, 0.5}, start, 1), "B");
}

TEST_F(PanoGraphQueries, PreferTheStartAndThenTheEarlierRowAtEqualDistance) {
  Add("start", {0.1, 0.0, 0.0}, {"B", "C"});
  Add("B", {-0.1, 0.0, 0.0});
  Add("C", {0.0, 0.1, 0.0});
  const QString start = "start";
  EXPECT_EQ(&graph.GetClosestNeighboringPanoToPoint({}, start, 1), &start);
  graph.ClearPanoData("start");
  EXPECT_EQ(graph.GetClosestNeighboringPanoToPoint({}, start, 1), InHandleOrder({"B", "C"})[0]);
}

TEST_F(PanoGraphQueries, AnswerWithTheArgumentWhereNothingIsLoadedOrKnown) {
  const QString unknown = "unknown";
  EXPECT_EQ(&graph.GetClosestNeighboringPanoToPoint({}, unknown, 3), &unknown);
  const QString lone = "lone";
  graph.AddPano(lone, nullptr);
  EXPECT_EQ(&graph.GetClosestNeighboringPanoToPoint({}, lone, 3), &lone);
}

TEST_F(PanoGraphQueries, PreferAnyNeighbourToAStartWhosePositionIsNotANumber) {
  Add("start", {kNan, 0.0, 0.0}, {"B"});
  Add("B", {0.4, 0.0, 0.0});
  const QString start = "start";
  EXPECT_EQ(graph.GetClosestNeighboringPanoToPoint({}, start, 1), "B");
}

TEST_F(PanoGraphQueries, PickTheLinkThatPointsTowardsThePoint) {
  Add("A", {}, {"north", "east"});
  Add("north", {0.0, 0.001, 0.0});
  Add("east", {0.001, 0.0, 0.0});
  edge link = untouched;
  ASSERT_TRUE(graph.GetClosestLink("A", {0.1, 0.02, 0.0}, &link));
  EXPECT_EQ(TargetOf(link), "east");
  EXPECT_EQ(link.m_source, HandleOf("A"));
  ASSERT_TRUE(graph.GetClosestLink("A", {0.02, 0.1, 0.0}, &link));
  EXPECT_EQ(TargetOf(link), "north");
  EXPECT_TRUE(graph.GetClosestLink("A", {0.02, 0.1, 0.0}, nullptr));
}

TEST_F(PanoGraphQueries, CountDirectionsOnEitherSideOfDueSouthAsFarApart) {
  Add("A", {}, {"south, a little west", "east"});
  Add("south, a little west", {-0.00001, -0.001, 0.0});
  Add("east", {0.001, 0.0, 0.0});
  edge link = untouched;
  ASSERT_TRUE(graph.GetClosestLink("A", {0.0001, -0.01, 0.0}, &link));
  EXPECT_EQ(TargetOf(link), "east");
}

TEST_F(PanoGraphQueries, LeaveTheLinkAloneForAPanoramaWithoutARecord) {
  edge link = untouched;
  EXPECT_FALSE(graph.GetClosestLink("unknown", {}, &link));
  graph.AddPano("placeholder", nullptr);
  EXPECT_FALSE(graph.GetClosestLink("placeholder", {}, &link));
  EXPECT_EQ(link.m_source, untouched.m_source);
  EXPECT_EQ(link.get_property(), untouched.get_property());
}

TEST_F(PanoGraphQueries, WriteAZeroDescriptorWhereNoNeighbourIsLoaded) {
  Add("A", {}, {"unloaded"});
  edge link = untouched;
  EXPECT_FALSE(graph.GetClosestLink("A", {0.1, 0.0, 0.0}, &link));
  EXPECT_EQ(link.m_source, nullptr);
  EXPECT_EQ(link.m_target, nullptr);
  EXPECT_EQ(link.get_property(), nullptr);
}

TEST_F(PanoGraphQueries, PickTheLinkOfThePanoramaNearestToThePoint) {
  edge link = untouched;
  EXPECT_FALSE(graph.GetClosestLink(Vec3<double>{0.1, 0.0, 0.0}, &link));
  EXPECT_EQ(link.m_source, untouched.m_source);
  Add("A", {0.1, 0.0, 0.0}, {"B"});
  Add("B", {0.4, 0.0, 0.0});
  ASSERT_TRUE(graph.GetClosestLink(Vec3<double>{0.11, 0.0, 0.0}, &link));
  EXPECT_EQ(link.m_source, HandleOf("A"));
}

TEST_F(PanoGraphQueries, TakeANearestPanoramaWithAnEmptyIdForNone) {
  Add("", {}, {"B"});
  Add("B", {0.4, 0.0, 0.0});
  EXPECT_TRUE(graph.GetClosestPanoToPoint({}).isEmpty());
  edge link = untouched;
  EXPECT_FALSE(graph.GetClosestLink(Vec3<double>{}, &link));
  EXPECT_EQ(link.m_source, untouched.m_source);
}

// --- The walk ------------------------------------------------------------------------------------

TEST_F(PanoGraphQueries, LeaveTheOutputOfAWalkWithoutHopsInPlace) {
  Add("A", {}, {"B"});
  Infos out = {{"old", 7, 8}};
  graph.GetConnectedPanos("A", 0, false, &out);
  graph.GetConnectedPanos("A", std::numeric_limits<int>::min(), false, &out);
  EXPECT_EQ(out, (Infos{{"old", 7, 8}}));
}

TEST_F(PanoGraphQueries, DoNothingWithoutAPlaceForTheirList) {
  Add("A", {}, {"B"});
  graph.GetClosestPanosToPoint({}, 5, nullptr);
  graph.GetConnectedPanos("A", 2, false, nullptr);
  graph.GetConnectedPanosHelper("A", 0, -1, nullptr);
  graph.GetConnectionData("A", nullptr);
  graph.GetLinks("A", nullptr);
  graph.GetLinks("A", 2, nullptr);
  graph.GetLinkedPanos("A", nullptr);
  EXPECT_EQ(NeighboursOf("A"), IdSet{"B"});
}

TEST_F(PanoGraphQueries, EmptyTheOutputOfAWalkFromAnUnknownPanorama) {
  Infos out = {{"old", 7, 8}};
  graph.GetConnectedPanos("unknown", 3, false, &out);
  EXPECT_TRUE(out.empty());
}

TEST_F(PanoGraphQueries, GiveEachCornerOfATriangleOnce) {
  Add("A", {}, {"B", "C"});
  Add("B", {0.1, 0.0, 0.0}, {"C"});
  const Ids order = InHandleOrder({"B", "C"});
  EXPECT_EQ(Walk("A", 2), (Infos{{order[0], 1, -1}, {order[1], 1, -1}}));
}

TEST_F(PanoGraphQueries, CountHopsAndParentsAlongAChain) {
  Add("A", {}, {"B"});
  Add("B", {0.1, 0.0, 0.0}, {"C"});
  Add("C", {0.2, 0.0, 0.0}, {"D"});
  EXPECT_EQ(Walk("A", 3), (Infos{{"B", 1, -1}, {"C", 2, 0}, {"D", 3, 1}}));
  EXPECT_EQ(Walk("A", 2), (Infos{{"B", 1, -1}, {"C", 2, 0}}));
  EXPECT_EQ(Walk("A", std::numeric_limits<int>::max()).size(), 3u);
}

TEST_F(PanoGraphQueries, WalkThroughPlaceholders) {
  Add("A", {}, {"placeholder"});
  Add("B", {0.1, 0.0, 0.0}, {"placeholder"});
  EXPECT_EQ(Walk("A", 2), (Infos{{"placeholder", 1, -1}, {"B", 2, 0}}));
}

TEST_F(PanoGraphQueries, CutASameSceneWalkAtAnotherScene) {
  Add("A", {}, {"B"}, 1);
  Add("B", {0.1, 0.0, 0.0}, {"C"}, 2);
  Add("C", {0.2, 0.0, 0.0}, {}, 1);
  EXPECT_TRUE(Walk("A", 3, true).empty());
  EXPECT_EQ(Walk("A", 3).size(), 2u);
}

TEST_F(PanoGraphQueries, CompareTheSceneWithTheStartAndCountNoSkippedRows) {
  Add("A", {}, {"skipped", "B"}, 1);
  Add("skipped", {0.1, 0.0, 0.0}, {"behind"}, 2);
  Add("B", {0.2, 0.0, 0.0}, {"C", "unloaded"}, 1);
  Add("C", {0.3, 0.0, 0.0}, {"D"}, 1);
  Add("D", {0.4, 0.0, 0.0}, {}, 1);
  EXPECT_EQ(Walk("A", 9, true), (Infos{{"B", 1, -1}, {"C", 2, 0}, {"D", 3, 1}}));
}

TEST_F(PanoGraphQueries, ReachNothingOfOneSceneFromAStartWithoutARecord) {
  Add("A", {}, {"placeholder"});
  EXPECT_TRUE(Walk("placeholder", 3, true).empty());
}

TEST_F(PanoGraphQueries, PassOverALoopAtTheStart) {
  Add("A", {}, {"A", "B"});
  EXPECT_EQ(Walk("A", 3), (Infos{{"B", 1, -1}}));
}

TEST_F(PanoGraphQueries, WalkFromAnIdThatStandsInTheOutput) {
  Add("A", {}, {"B"});
  Infos out = Walk("B", 1);
  ASSERT_EQ(out.size(), 1u);
  graph.GetConnectedPanos(out[0].pano_id, 1, false, &out);
  EXPECT_EQ(out, (Infos{{"B", 1, -1}}));
}

TEST_F(PanoGraphQueries, TakeOneStepOfAWalk) {
  Add("A", {}, {"B", "C", "A"});
  Infos out = {{"old", 7, 8}};
  graph.GetConnectedPanosHelper("A", 4, 9, &out);
  const Ids order = InHandleOrder({"A", "B", "C"});
  EXPECT_EQ(out, (Infos{{order[0], 5, 9}, {order[1], 5, 9}, {order[2], 5, 9}}));
  graph.GetConnectedPanosHelper("unknown", 4, 9, &out);
  EXPECT_TRUE(out.empty());
}

// The walk over a plain table of neighbours, in handle order, a queue and a set.
class TableWalk {
 public:
  TableWalk(const PanoGraph& graph, const std::map<QString, Ids>& neighbours)
      : graph_(graph), neighbours_(neighbours) {}

  Infos From(const QString& start, int hops, bool same_scene) const {
    Infos rows;
    std::set<QString> seen = {start};
    std::size_t next = 0;
    Step(start, start, 0, -1, same_scene, &seen, &rows);
    for (; next < rows.size() && rows[next].hops < hops; ++next) {
      const Info row = rows[next];
      Step(start, row.pano_id, row.hops, static_cast<std::int32_t>(next), same_scene, &seen, &rows);
    }
    return rows;
  }

 private:
  void Step(const QString& start, const QString& from, int hops, std::int32_t parent,
            bool same_scene, std::set<QString>* seen, Infos* rows) const {
    for (const QString& id : neighbours_.at(from)) {
      const PanoramaData* a = graph_.GetPanoramaData(start);
      const PanoramaData* b = graph_.GetPanoramaData(id);
      if (same_scene && (a == nullptr || b == nullptr || a->scene != b->scene)) {
        continue;
      }
      if (seen->insert(id).second) {
        rows->push_back({id, hops + 1, parent});
      }
    }
  }

  const PanoGraph& graph_;
  const std::map<QString, Ids>& neighbours_;
};

TEST_F(PanoGraphQueries, WalkRandomGraphsAsAPlainBreadthFirstSearchDoes) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  for (int round = 0; round < 9; ++round) {
    graph.Clear();
    std::map<QString, IdSet> linked;
    std::uniform_int_distribution<int> any(0, 149);
    for (int i = 0; i < 150; ++i) {
      const QString from = QString::number(any(random));
      const QString to = QString::number(any(random));
      const QString also = QString::number(any(random));
      Add(from, {0.001 * i, 0.0, 0.0}, {to, also}, i % (1 + round % 3));
      for (const QString& id : {to, also}) {
        linked[from].insert(id);
        linked[id].insert(from);
      }
    }
    std::map<QString, Ids> neighbours;
    for (const auto& each : linked) {
      neighbours[each.first] = InHandleOrder(Ids(each.second.begin(), each.second.end()));
    }
    const TableWalk twin(graph, neighbours);
    for (const auto& each : neighbours) {
      const int hops = 1 + round;
      ASSERT_EQ(Walk(each.first, hops), twin.From(each.first, hops, false));
      ASSERT_EQ(Walk(each.first, hops, true), twin.From(each.first, hops, true));
    }
  }
}

// --- Links ---------------------------------------------------------------------------------------

TEST_F(PanoGraphQueries, CopyTheLinksOfARecord) {
  const PanoramaData* record = Add("A", {}, {"B", "C"});
  mmvector<ConnectedPano> out(3);
  graph.GetConnectionData("A", &out);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[1].pano_id, record->links[1].pano_id);
  graph.GetConnectionData("B", &out);
  EXPECT_TRUE(out.empty());
  out.resize(1);
  graph.GetConnectionData("unknown", &out);
  EXPECT_TRUE(out.empty());
}

TEST_F(PanoGraphQueries, ListEdgesAscendingByTargetWithTheirOwnVertexAsSource) {
  Add("A", {}, {"B", "C", "D"});
  Edges out = {untouched};
  graph.GetLinks("A", &out);
  const Ids order = InHandleOrder({"B", "C", "D"});
  ASSERT_EQ(out.size(), 3u);
  for (std::size_t i = 0; i < out.size(); ++i) {
    EXPECT_EQ(out[i].m_source, HandleOf("A"));
    EXPECT_EQ(TargetOf(out[i]), order[i]);
  }
  EXPECT_EQ(Links("C")[0].m_source, HandleOf("C"));
}

TEST_F(PanoGraphQueries, ListNoEdgesOfAnUnknownPanoramaOrWithoutHops) {
  Edges out = {untouched};
  graph.GetLinks("unknown", &out);
  EXPECT_TRUE(out.empty());
  Add("A", {}, {"B"});
  out = {untouched};
  graph.GetLinks("A", 0, &out);
  EXPECT_TRUE(out.empty());
  out = {untouched};
  graph.GetLinks("A", std::numeric_limits<int>::min(), &out);
  EXPECT_TRUE(out.empty());
}

TEST_F(PanoGraphQueries, ListAnEdgeBetweenTwoNeighboursOnce) {
  Add("A", {}, {"B", "C"});
  Add("B", {0.1, 0.0, 0.0}, {"C", "D"});
  Add("D", {0.2, 0.0, 0.0}, {"E"});
  Edges out;
  graph.GetLinks("A", 2, &out);
  EXPECT_EQ(out.size(), 4u);  // A-B, A-C, B-C, B-D, and not D-E.
  for (std::size_t i = 1; i < out.size(); ++i) {
    EXPECT_TRUE(std::less<void*>()(out[i - 1].get_property(), out[i].get_property()));
  }
}

TEST_F(PanoGraphQueries, GiveThePanoramasOwnEdgesWithinTwoHopsTheNeighbourAsSource) {
  Add("A", {}, {"B"});
  Edges out;
  graph.GetLinks("A", 2, &out);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].m_source, HandleOf("B"));
  graph.GetLinks("A", 1, &out);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].m_source, HandleOf("A"));
}

TEST_F(PanoGraphQueries, ListLinkedPanoramasFromTheGraphAndNotFromTheRecord) {
  const RefPtr<PanoramaData> record = MakeRecord("A", {}, {"B"});
  record->links[0].road_color = 0x12345678u;
  record->links[0].yaw_deg = 45.0f;
  graph.AddPano("A", record.get());
  mmvector<ConnectedPano> out(2);
  graph.GetLinkedPanos("A", &out);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].pano_id, "B");
  EXPECT_EQ(out[0].road_color, 0xFFFFFFFFu);
  EXPECT_EQ(out[0].yaw_deg, 0.0f);
  graph.GetLinkedPanos("unknown", &out);
  EXPECT_TRUE(out.empty());
}

TEST_F(PanoGraphQueries, HandOutWhatAnEdgeCarries) {
  Add("A", {}, {"B"});
  EXPECT_EQ(graph.GetLinkData("A", "B"), nullptr);
  EXPECT_EQ(graph.GetLinkData("A", "unknown"), nullptr);
  EXPECT_EQ(graph.GetLinkData("unknown", "A"), nullptr);
  auto* carried = new PanoGraph::EdgeData;
  graph.graph[Links("A")[0]].data = RefPtr<PanoGraph::EdgeData>(carried);
  EXPECT_EQ(graph.GetLinkData("A", "B"), carried);
  EXPECT_EQ(graph.GetLinkData("B", "A"), carried);
}

TEST_F(PanoGraphQueries, CompareScenesOnlyOfLoadedPanoramas) {
  Add("A", {}, {"placeholder"}, 3);
  Add("B", {0.1, 0.0, 0.0}, {}, 3);
  Add("C", {0.2, 0.0, 0.0}, {}, 4);
  EXPECT_TRUE(graph.SameScene("A", "B"));
  EXPECT_FALSE(graph.SameScene("A", "C"));
  EXPECT_FALSE(graph.SameScene("A", "placeholder"));
  EXPECT_FALSE(graph.SameScene("unknown", "unknown"));
}

// --- Connection lookup ---------------------------------------------------------------------------

TEST_F(PanoGraphQueries, MapTheBearingsOfLoadedLinks) {
  const PanoramaData* a = Add("A", {}, {"east", "south"});
  Add("east", {0.1, 0.0, 0.0});
  Add("south", {0.0, -0.1, 0.0});
  graph.UpdateConnectionLookupMap("A");
  ASSERT_EQ(a->connection_lookup.size(), 2u);
  EXPECT_EQ(a->connection_lookup.begin()->first, -kPi);
  EXPECT_EQ(a->connection_lookup.begin()->second, "south");
  EXPECT_EQ(a->connection_lookup.at(kPi / 2), "east");
}

TEST_F(PanoGraphQueries, RebuildTheLookupOnEachCallUntilTheLastLinkHasLoaded) {
  const PanoramaData* a = Add("A", {}, {"east", "south"});
  Add("east", {0.1, 0.0, 0.0});
  graph.UpdateConnectionLookupMap("A");
  ASSERT_EQ(a->connection_lookup.size(), 1u);
  a->connection_lookup.begin()->second = "stale";
  graph.UpdateConnectionLookupMap("A");
  EXPECT_EQ(a->connection_lookup.begin()->second, "east");
  Add("south", {0.0, -0.1, 0.0});
  graph.UpdateConnectionLookupMap("A");
  ASSERT_EQ(a->connection_lookup.size(), 2u);
  a->connection_lookup.begin()->second = "kept";
  graph.UpdateConnectionLookupMap("A");
  EXPECT_EQ(a->connection_lookup.begin()->second, "kept");
}

TEST_F(PanoGraphQueries, KeepTheLaterOfTwoLinksWithOneBearing) {
  const PanoramaData* a = Add("A", {}, {"near", "far"});
  Add("near", {0.1, 0.0, 0.0});
  Add("far", {0.2, 0.0, 0.0});
  graph.UpdateConnectionLookupMap("A");
  ASSERT_EQ(a->connection_lookup.size(), 1u);
  EXPECT_EQ(a->connection_lookup.begin()->second, "far");
}

TEST_F(PanoGraphQueries, SeeNoNeighbourThatMovesAfterTheLookupIsComplete) {
  const PanoramaData* a = Add("A", {}, {"B"});
  Add("B", {0.1, 0.0, 0.0});
  graph.UpdateConnectionLookupMap("A");
  Add("B", {0.0, 0.1, 0.0});
  graph.UpdateConnectionLookupMap("A");
  EXPECT_EQ(a->connection_lookup.begin()->first, kPi / 2);
}

TEST_F(PanoGraphQueries, BuildALookupBesideAPositionThatIsNotANumber) {
  const PanoramaData* a = Add("A", {}, {"nowhere", "east"});
  Add("nowhere", {kNan, kNan, 0.0});
  Add("east", {0.1, 0.0, 0.0});
  for (int call = 0; call < 3; ++call) {
    graph.UpdateConnectionLookupMap("A");
    EXPECT_EQ(a->connection_lookup.size(), 2u);
    EXPECT_EQ(a->connection_lookup.begin()->second, "east");
  }
}

TEST_F(PanoGraphQueries, UpdateNoLookupOfAPanoramaWithoutARecord) {
  Add("A", {}, {"placeholder"});
  graph.UpdateConnectionLookupMap("placeholder");
  graph.UpdateConnectionLookupMap("unknown");
  EXPECT_TRUE(graph.GetPanoramaData("A")->connection_lookup.empty());
}

TEST_F(PanoGraphQueries, LeaveNothingOnTheTransientHeap) {
  for (int i = 0; i < 50; ++i) {
    Add(QString::number(i), {0.001 * i, 0.0, 0.0}, {QString::number(i + 1)});
  }
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetTransientHeap());
  const QString start = "0";
  Edges edges;
  mmvector<const PanoramaData*> records;
  Walk(start, 60, true);
  graph.GetLinks(start, 9, &edges);
  graph.GetClosestPanosToPoint({}, 5, &records);
  graph.GetClosestPanoToPoint({});
  graph.GetClosestNeighboringPanoToPoint({}, start, 9);
  graph.GetLinkData("0", "1");
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
