// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_graph.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>

#include "host/reference/heap_statistics.h"
#include "tests/spatial/graph/graph_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

using PanoGraphTest = GraphFixture;

// --- Vertices and edges --------------------------------------------------------------------------

TEST_F(PanoGraphTest, TellsANewIdFromAKnownOne) {
  EXPECT_TRUE(graph.AddPano("A", nullptr));
  EXPECT_FALSE(graph.AddPano("A", nullptr));
  EXPECT_EQ(boost::num_vertices(graph.graph), 1u);
  EXPECT_EQ(graph.handles.size(), 1u);
}

TEST_F(PanoGraphTest, MakesPlaceholdersAndEdgesForLinkedIds) {
  Add("A", {}, {"P", "Q"});
  EXPECT_EQ(boost::num_vertices(graph.graph), 3u);
  EXPECT_EQ(graph.GetPanoramaData("P"), nullptr);
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"P", "Q"}));
  EXPECT_EQ(NeighboursOf("P"), IdSet{"A"});
}

TEST_F(PanoGraphTest, AddsNoSecondEdgeForALinkDeclaredFromTheOtherEnd) {
  Add("A", {}, {"P", "Q"});
  Add("P", {0.1, 0.0, 0.0}, {"A"});
  EXPECT_EQ(boost::num_edges(graph.graph), 2u);
  EXPECT_EQ(NeighboursOf("P"), IdSet{"A"});
}

TEST_F(PanoGraphTest, KeepsTheIdentityOfAnEdgeThatIsDeclaredAgain) {
  Add("A", {}, {"P"});
  mmvector<edge> before;
  mmvector<edge> after;
  graph.GetLinks("A", &before);
  Add("P", {0.1, 0.0, 0.0}, {"A"});
  Add("A", {}, {"P"});
  graph.GetLinks("A", &after);
  ASSERT_EQ(after.size(), 1u);
  EXPECT_EQ(after[0].get_property(), before[0].get_property());
}

TEST_F(PanoGraphTest, KeepsAnEdgeThatALaterRecordNoLongerNames) {
  Add("A", {}, {"P", "Q"});
  Add("A", {}, {"Q"});
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"P", "Q"}));
}

TEST_F(PanoGraphTest, KeepsALoopEdgeOnceInItsSet) {
  Add("A", {}, {"A"});
  EXPECT_EQ(NeighboursOf("A"), IdSet{"A"});
  EXPECT_EQ(boost::num_edges(graph.graph), 1u);
}

TEST_F(PanoGraphTest, KeepsHandlesValidWhileManyVerticesAreAdded) {
  Add("A");
  void* handle = HandleOf("A");
  Ids links;
  for (int i = 0; i < 2000; ++i) {
    links.push_back(QString::number(i));
  }
  Add("B", {0.1, 0.0, 0.0}, links);
  EXPECT_EQ(HandleOf("A"), handle);
  EXPECT_EQ(NeighboursOf("B").size(), 2000u);
  EXPECT_EQ(graph.handles.size(), boost::num_vertices(graph.graph));
}

TEST_F(PanoGraphTest, AcceptsAnEmptyId) {
  EXPECT_TRUE(graph.AddPano("", MakeRecord("").get()));
  EXPECT_FALSE(graph.AddPano(QString(), nullptr));
  EXPECT_TRUE(graph.GetHandle("", nullptr));
}

// --- Handles and records -------------------------------------------------------------------------

TEST_F(PanoGraphTest, LeavesTheHandleAloneForAnUnknownId) {
  void* handle = this;
  EXPECT_FALSE(graph.GetHandle("A", &handle));
  Add("B");
  EXPECT_FALSE(graph.GetHandle("A", &handle));
  EXPECT_EQ(handle, this);
}

TEST_F(PanoGraphTest, AnswersForAKnownIdWithoutAPlaceForItsHandle) {
  Add("A");
  EXPECT_TRUE(graph.GetHandle("A", nullptr));
}

TEST_F(PanoGraphTest, HoldsOneReferenceToARecordHoweverOftenItIsDelivered) {
  const RefPtr<PanoramaData> record = MakeRecord("A");
  graph.AddPano("A", record.get());
  graph.AddPano("A", record.get());
  EXPECT_EQ(record->ref_count(), 2);
  EXPECT_EQ(graph.GetPanoramaData("A"), record.get());
}

TEST_F(PanoGraphTest, GivesUpTheRecordThatItReplaces) {
  const RefPtr<PanoramaData> older = MakeRecord("A");
  const RefPtr<PanoramaData> newer = MakeRecord("A");
  graph.AddPano("A", older.get());
  graph.AddPano("A", newer.get());
  EXPECT_EQ(older->ref_count(), 1);
  EXPECT_EQ(graph.GetPanoramaData("A"), newer.get());
}

TEST_F(PanoGraphTest, TakesTheRecordAwayWhenAKnownIdIsAddedWithoutOne) {
  Add("A", {}, {"P", "Q"});
  EXPECT_FALSE(graph.AddPano("A", nullptr));
  EXPECT_EQ(graph.GetPanoramaData("A"), nullptr);
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"P", "Q"}));
}

TEST_F(PanoGraphTest, KeepsThePlaceholdersRecordOfAnIdThatIsOnlyNamedAgain) {
  PanoramaData* record = Add("P");
  Add("A", {0.1, 0.0, 0.0}, {"P"});
  EXPECT_EQ(graph.GetPanoramaData("P"), record);
}

TEST_F(PanoGraphTest, DoesNothingForANullHandle) {
  const RefPtr<PanoramaData> record = MakeRecord("A", {}, {"B"});
  graph.UpdatePanoData(nullptr, record.get());
  EXPECT_EQ(record->ref_count(), 1);
  EXPECT_TRUE(graph.handles.empty());
}

TEST_F(PanoGraphTest, DoesNothingWhenTheRecordOfAnUnknownIdIsCleared) {
  Add("A");
  graph.ClearPanoData("B");
  EXPECT_NE(graph.GetPanoramaData("A"), nullptr);
  EXPECT_EQ(boost::num_vertices(graph.graph), 1u);
}

TEST_F(PanoGraphTest, KeepsVertexAndEdgesOfAClearedRecord) {
  Add("A", {}, {"B"});
  void* handle = HandleOf("A");
  graph.ClearPanoData("A");
  EXPECT_EQ(graph.GetPanoramaData("A"), nullptr);
  EXPECT_EQ(HandleOf("A"), handle);
  EXPECT_EQ(NeighboursOf("A"), IdSet{"B"});
}

TEST_F(PanoGraphTest, ClearsARecordByAReferenceToItsOwnId) {
  const PanoramaData* record = Add("A");
  graph.ClearPanoData(record->pano_id);
  EXPECT_EQ(graph.GetPanoramaData("A"), nullptr);
}

TEST_F(PanoGraphTest, KeepsARecordUnderTheIdItWasAddedUnder) {
  const RefPtr<PanoramaData> record = MakeRecord("own");
  graph.AddPano("given", record.get());
  EXPECT_EQ(graph.GetPanoramaData("given"), record.get());
  EXPECT_EQ(graph.GetPanoramaData("own"), nullptr);
  EXPECT_FALSE(graph.GetHandle("own", nullptr));
}

// --- Index ---------------------------------------------------------------------------------------

TEST_F(PanoGraphTest, IndexesARecordUnderItsOwnId) {
  graph.AddPano("given", MakeRecord("own").get());
  EXPECT_EQ(graph.GetClosestPanoToPoint({}), "own");
}

TEST_F(PanoGraphTest, LeavesTheIndexEntryOfAMovedRecordWhereItWas) {
  Add("A", {0.1, 0.1, 0.0});
  Add("A", {0.5, 0.5, 0.0});
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.1, 0.1, 0.0}, 0.01), "A");
  EXPECT_TRUE(graph.GetClosestPanoToPoint({0.5, 0.5, 0.0}, 0.01).isNull());
}

TEST_F(PanoGraphTest, LeavesTheIndexEntryOfAReplacedRecordItsOldId) {
  Add("A", {0.1, 0.1, 0.0});
  graph.AddPano("A", MakeRecord("other", {0.5, 0.5, 0.0}).get());
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.1, 0.1, 0.0}, 0.01), "A");
  EXPECT_TRUE(graph.GetClosestPanoToPoint({0.5, 0.5, 0.0}, 0.01).isNull());
}

TEST_F(PanoGraphTest, IndexesAnIdASecondTimeWhenItsRecordComesBackAfterBeingCleared) {
  Add("A", {0.1, 0.1, 0.0});
  graph.ClearPanoData("A");
  Add("A", {0.5, 0.5, 0.0});
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.1, 0.1, 0.0}, 0.01), "A");
  EXPECT_EQ(graph.GetClosestPanoToPoint({0.5, 0.5, 0.0}, 0.01), "A");
}

TEST_F(PanoGraphTest, KeepsATreeForEachLevel) {
  const RefPtr<PanoramaData> upstairs = MakeRecord("up");
  upstairs->level_id = "1";
  graph.AddPano("up", upstairs.get());
  Add("street");
  EXPECT_EQ(graph.quad_trees.trees.size(), 2u);
  EXPECT_EQ(graph.quad_trees.trees.at("1")->root->entries.size(), 1u);
  EXPECT_EQ(graph.quad_trees.trees.at("")->root->entries.size(), 1u);
}

// --- Batch ---------------------------------------------------------------------------------------

TEST_F(PanoGraphTest, LetsOnlyRecordsWithExactlyOneLinkWait) {
  Add("none");
  Add("two", {0.1, 0.0, 0.0}, {"x", "y"});
  EXPECT_TRUE(graph.post_process_batch.empty());
  const PanoramaData* one = Add("one", {0.2, 0.0, 0.0}, {"x"});
  EXPECT_EQ(graph.post_process_batch, mmvector<const PanoramaData*>{one});
}

TEST_F(PanoGraphTest, LetsARecordWaitOnceForEachDelivery) {
  const RefPtr<PanoramaData> record = MakeRecord("A", {}, {"B"});
  Add("near", {Radii(3), 0.0, 0.0});
  graph.AddPano("A", record.get());
  graph.AddPano("A", record.get());
  EXPECT_EQ(graph.post_process_batch.size(), 2u);
  graph.PostProcessBatch();
  EXPECT_TRUE(graph.post_process_batch.empty());
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"B", "near"}));
  EXPECT_EQ(boost::num_edges(graph.graph), 2u);
}

TEST_F(PanoGraphTest, TakesARecordThatDiesByReplacementOutOfTheBatch) {
  Add("A", {}, {"B"});
  Add("A", {}, {"B", "C"});
  EXPECT_TRUE(graph.post_process_batch.empty());
}

TEST_F(PanoGraphTest, TakesARecordThatDiesByClearPanoDataOutOfTheBatchWithAllItsEntries) {
  const PanoramaData* kept = Add("kept", {0.1, 0.0, 0.0}, {"B"});
  PanoramaData* record = Add("A", {}, {"B"});
  graph.AddPano("A", record);
  ASSERT_EQ(graph.post_process_batch.size(), 3u);
  graph.ClearPanoData("A");
  EXPECT_EQ(graph.post_process_batch, mmvector<const PanoramaData*>{kept});
}

TEST_F(PanoGraphTest, TakesRecordsThatDieByClearOutOfTheBatch) {
  Add("A", {}, {"B"});
  const RefPtr<PanoramaData> held = MakeRecord("H", {0.1, 0.0, 0.0}, {"B"});
  graph.AddPano("H", held.get());
  graph.Clear();
  EXPECT_EQ(graph.post_process_batch, mmvector<const PanoramaData*>{held.get()});
  graph.PostProcessBatch();
  EXPECT_TRUE(graph.handles.empty());
}

TEST_F(PanoGraphTest, LeavesAReplacedRecordThatIsStillHeldInTheBatch) {
  const RefPtr<PanoramaData> held = MakeRecord("A", {}, {"B"});
  graph.AddPano("A", held.get());
  graph.ClearPanoData("A");
  EXPECT_EQ(graph.post_process_batch, mmvector<const PanoramaData*>{held.get()});
}

TEST_F(PanoGraphTest, LeavesARecordThatASecondVertexHoldsInTheBatchUntilBothGiveItUp) {
  PanoramaData* record = Add("A", {}, {"B"});
  graph.AddPano("also A", record);
  graph.ClearPanoData("A");
  EXPECT_EQ(graph.post_process_batch.size(), 2u);
  graph.ClearPanoData("also A");
  EXPECT_TRUE(graph.post_process_batch.empty());
}

TEST_F(PanoGraphTest, TakesARecordThatTwoVerticesHeldOutOfTheBatchByClear) {
  PanoramaData* record = Add("A", {}, {"B"});
  graph.AddPano("also A", record);
  graph.Clear();
  EXPECT_TRUE(graph.post_process_batch.empty());
}

// --- Missing links -------------------------------------------------------------------------------

TEST_F(PanoGraphTest, LinksADeadEndToAllThatAreNearInOnePass) {
  const PanoramaData* dead_end = Add("A", {}, {"far"});
  Add("x", {Radii(5), 0.0, 0.0});
  Add("y", {0.0, Radii(6), 0.0});
  Add("z", {0.0, 0.0, Radii(7)});
  graph.InferMissingLinks(dead_end);
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "x", "y", "z"}));
  EXPECT_EQ(NeighboursOf("x"), IdSet{"A"});
}

TEST_F(PanoGraphTest, LeavesARecordAloneThatIsNoDeadEndAnyMore) {
  const PanoramaData* dead_end = Add("A", {}, {"far"});
  Add("x", {Radii(5), 0.0, 0.0});
  graph.InferMissingLinks(dead_end);
  Add("y", {0.0, Radii(6), 0.0});
  graph.InferMissingLinks(dead_end);
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "x"}));
}

TEST_F(PanoGraphTest, AsksTheGraphAndNotTheRecordWhetherItIsADeadEnd) {
  Add("A", {}, {"far"});
  Add("declares A", {0.1, 0.0, 0.0}, {"A", "far"});
  Add("x", {Radii(5), 0.0, 0.0});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "declares A"}));
}

TEST_F(PanoGraphTest, TakesALoopForTheOneEdgeOfADeadEnd) {
  Add("A", {}, {"A"});
  Add("x", {Radii(5), 0.0, 0.0});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"A", "x"}));
}

TEST_F(PanoGraphTest, DoesNotLinkACandidateAtExactlyTheThreshold) {
  const double threshold = 15.0 * Units::s_inv_planet_radius;
  Add("A", {}, {"far"});
  Add("at", {threshold, 0.0, 0.0});
  Add("below", {0.0, std::nextafter(threshold, 0.0), 0.0});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "below"}));
}

TEST_F(PanoGraphTest, CountsTheAltitudeInTheThreshold) {
  Add("A", {}, {"far"});
  Add("above", {Radii(1), 0.0, Radii(20)});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), IdSet{"far"});
}

TEST_F(PanoGraphTest, LinksNoCandidateOfAnotherScene) {
  Add("A", {}, {"far"}, 1);
  Add("x", {Radii(1), 0.0, 0.0}, {}, 2);
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), IdSet{"far"});
}

TEST_F(PanoGraphTest, LooksAtNoMoreThanTheFiveNearestItselfIncluded) {
  Add("A", {}, {"far"});
  for (int i = 1; i <= 6; ++i) {
    Add(QString::number(i), {Radii(i), 0.0, 0.0});
  }
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "1", "2", "3", "4"}));
}

TEST_F(PanoGraphTest, SkipsIndexEntriesOfClearedRecordsWhenItInfersLinks) {
  Add("A", {}, {"far"});
  Add("cleared", {Radii(1), 0.0, 0.0});
  Add("x", {Radii(2), 0.0, 0.0});
  graph.ClearPanoData("cleared");
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "x"}));
}

TEST_F(PanoGraphTest, ChoosesByIndexedPlaceAndTestsByPresentPosition) {
  Add("A", {}, {"far"});
  Add("moved away", {Radii(1), 0.0, 0.0});
  Add("moved away", {0.5, 0.0, 0.0});
  Add("moved here", {0.5, 0.5, 0.0});
  Add("moved here", {Radii(2), 0.0, 0.0});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"far", "moved here"}));
}

TEST_F(PanoGraphTest, GivesAnOlderVersionStillWaitingALoopToItsNewerOne) {
  const RefPtr<PanoramaData> older = MakeRecord("A", {}, {"far"});
  graph.AddPano("A", older.get());
  Add("A", {Radii(1), 0.0, 0.0}, {"far"});
  graph.InferMissingLinks(older.get());
  EXPECT_EQ(NeighboursOf("A"), (IdSet{"A", "far"}));
}

TEST_F(PanoGraphTest, InfersNothingForARecordWhoseOwnIdHasNoVertex) {
  graph.AddPano("given", MakeRecord("own", {}, {"far"}).get());
  Add("x", {Radii(1), 0.0, 0.0});
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("given"), IdSet{"far"});
  EXPECT_EQ(NeighboursOf("x"), IdSet{});
}

TEST_F(PanoGraphTest, LinksNoCandidateWhoseOwnIdHasNoVertex) {
  Add("A", {}, {"far"});
  Add("x", {Radii(1), 0.0, 0.0});
  graph.AddPano("x", MakeRecord("foreign", {Radii(1), 0.0, 0.0}).get());
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), IdSet{"far"});
}

TEST_F(PanoGraphTest, InfersNothingForNullAndForStrangers) {
  const RefPtr<PanoramaData> stranger = MakeRecord("stranger", {}, {"A"});
  Add("A");
  graph.InferMissingLinks(nullptr);
  graph.InferMissingLinks(stranger.get());
  EXPECT_EQ(boost::num_edges(graph.graph), 0u);
}

TEST_F(PanoGraphTest, LinksNothingToAPositionThatIsNotANumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Add("A", {nan, nan, 0.0}, {"far"});
  Add("x");
  graph.PostProcessBatch();
  EXPECT_EQ(NeighboursOf("A"), IdSet{"far"});
}

// --- Clear and the end ---------------------------------------------------------------------------

TEST_F(PanoGraphTest, KnowsNoIdAfterClearAndKeepsItsEmptyLevelTrees) {
  const RefPtr<PanoramaData> upstairs = MakeRecord("up");
  upstairs->level_id = "1";
  graph.AddPano("up", upstairs.get());
  Add("A", {}, {"B", "C"});
  graph.Clear();
  for (const char* id : {"A", "B", "up"}) {
    EXPECT_FALSE(graph.GetHandle(id, nullptr));
  }
  EXPECT_EQ(boost::num_vertices(graph.graph), 0u);
  EXPECT_EQ(boost::num_edges(graph.graph), 0u);
  EXPECT_EQ(upstairs->ref_count(), 1);
  ASSERT_EQ(graph.quad_trees.trees.size(), 2u);
  for (const auto& level_and_tree : graph.quad_trees.trees) {
    EXPECT_TRUE(level_and_tree.second->root->entries.empty());
  }
}

TEST_F(PanoGraphTest, IsUsedAgainAfterClear) {
  Add("A", {}, {"B"});
  graph.Clear();
  EXPECT_TRUE(graph.AddPano("A", MakeRecord("A", {0.3, 0.3, 0.0}, {"C"}).get()));
  EXPECT_EQ(NeighboursOf("A"), IdSet{"C"});
  EXPECT_EQ(graph.GetClosestPanoToPoint({}), "A");
}

TEST_F(PanoGraphTest, CountsItsChangesAndNotItsQueries) {
  std::uint64_t before = graph.changes();
  const auto has_changed = [&] {
    const std::uint64_t last = before;
    before = graph.changes();
    return before > last;
  };
  Add("a", {}, {"b"});
  EXPECT_TRUE(has_changed());
  Add("b", {}, {"a", "c"});
  EXPECT_TRUE(has_changed()) << "a record for a placeholder, and a new link";
  graph.AddPano("d", nullptr);
  EXPECT_TRUE(has_changed());
  Add("e", {}, {"d"});
  EXPECT_TRUE(has_changed());
  graph.InferMissingLinks(graph.GetPanoramaData("e"));
  EXPECT_TRUE(has_changed()) << "e is linked to a and b, which stand where it stands";
  graph.InferMissingLinks(graph.GetPanoramaData("b"));
  EXPECT_FALSE(has_changed()) << "no dead end";
  graph.ClearPanoData("a");
  EXPECT_TRUE(has_changed());
  graph.ClearPanoData("unknown");
  graph.UpdatePanoData(nullptr, nullptr);
  NeighboursOf("b");
  graph.GetClosestPanoToPoint({});
  EXPECT_FALSE(has_changed());
  graph.Clear();
  EXPECT_TRUE(has_changed());
}

TEST(PanoGraph, LeavesNothingOnAnyHeap) {
  const HeapStatistics dynamic_before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  const HeapStatistics transient_before = GetHeapStatistics(HeapManager::GetTransientHeap());
  const HeapStatistics default_before = GetHeapStatistics(nullptr);
  {
    PanoGraph graph;
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < 300; ++i) {
        graph.AddPano(
            QString::number(i),
            MakeRecord(QString::number(i), {0.001 * i, 0.0, 0.0}, {QString::number(i + 1)}).get());
      }
      graph.PostProcessBatch();
      graph.ClearPanoData("17");
      if (round == 0) {
        graph.Clear();
      }
    }
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), dynamic_before);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient_before);
  EXPECT_EQ(GetHeapStatistics(nullptr), default_before);
}

// --- Twin ----------------------------------------------------------------------------------------

// Inferred links from all pairs: every record against every other, with a table of edges.
class AllPairsTwin {
 public:
  struct Row {
    Vec3<double> indexed;
    Vec3<double> position;
    std::int32_t scene;
    Ids links;
  };

  void Deliver(const QString& id, const Vec3<double>& position, const Ids& links, int scene) {
    const auto known = rows_.find(id);
    const Vec3<double> indexed = known == rows_.end() ? position : known->second.indexed;
    rows_[id] = {indexed, position, scene, links};
    for (const QString& link : links) {
      Link(id, link);
    }
  }
  // `batch` in order of arrival.
  void Infer(const Ids& batch) {
    for (const QString& id : batch) {
      if (edges[id].size() == 1) {
        InferFor(id, *edges[id].begin());
      }
    }
  }

  std::map<QString, IdSet> edges;

 private:
  void Link(const QString& a, const QString& b) {
    edges[a].insert(b);
    edges[b].insert(a);
  }
  static double Squared(const Vec3<double>& a, const Vec3<double>& b, double with_altitude) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) +
           with_altitude * (a.z - b.z) * (a.z - b.z);
  }
  void InferFor(const QString& id, const QString& neighbour) {
    const Row& own = rows_.at(id);
    std::vector<std::pair<double, QString>> by_distance;
    for (const auto& each : rows_) {
      by_distance.emplace_back(Squared(each.second.indexed, own.position, 0.0), each.first);
    }
    std::sort(by_distance.begin(), by_distance.end());
    for (std::size_t i = 0; i < std::min<std::size_t>(5, by_distance.size()); ++i) {
      const QString& other = by_distance[i].second;
      const Row& row = rows_.at(other);
      if (other != id && other != neighbour && row.scene == own.scene &&
          std::sqrt(Squared(row.position, own.position, 1.0)) < Radii(15)) {
        Link(id, other);
      }
    }
  }

  std::map<QString, Row> rows_;
};

TEST_F(PanoGraphTest, InfersTheLinksThatAnAllPairsSearchInfers) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> place(0.0, Radii(200));
  std::uniform_real_distribution<double> height(0.0, Radii(12));
  std::uniform_int_distribution<int> any(0, 799);
  std::uniform_int_distribution<int> link_count(0, 1);
  AllPairsTwin twin;
  std::map<QString, bool> waits;
  Ids batch;
  for (int i = 0; i < 1000; ++i) {
    // The last 200 replace earlier records and move them.
    const QString id = QString::number(i < 800 ? i : any(random));
    const Vec3<double> position{place(random), place(random), height(random)};
    Ids links;
    for (int left = link_count(random); left > 0; --left) {
      links.push_back(QString::number(any(random)));
    }
    const int scene = i % 2;
    Add(id, position, links, scene);
    twin.Deliver(id, position, links, scene);
    // A replaced record dies, as only the graph holds it, and leaves the batch.
    batch.erase(std::remove(batch.begin(), batch.end(), id), batch.end());
    if (links.size() == 1) {
      batch.push_back(id);
    }
  }
  const std::size_t edges_before = boost::num_edges(graph.graph);
  graph.PostProcessBatch();
  twin.Infer(batch);
  EXPECT_GT(boost::num_edges(graph.graph), edges_before + 200);
  for (int i = 0; i < 800; ++i) {
    const QString id = QString::number(i);
    ASSERT_EQ(NeighboursOf(id), twin.edges[id]) << i;
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
