// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetch_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/reference/heap_statistics.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "tests/spatial/panorama/fetch_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

// A point in the middle of the zoom 16 tile (32768, 32767).
constexpr double kLat = 180.0 / 65536.0;
constexpr double kLng = 180.0 / 65536.0;

class PanoramaFetchManagerTest : public FetchTest {
 protected:
  // What kinds of requests were started since the last call, in order: "id X", "ll", "tile X/Y".
  std::vector<std::string> NewRequests() {
    std::vector<std::string> kinds;
    const std::vector<QString> urls = network.Urls();
    for (; seen < urls.size(); ++seen) {
      if (!urls[seen].contains("drain-")) {
        kinds.push_back(KindOf(urls[seen]));
      }
    }
    return kinds;
  }

  static std::string KindOf(const QString& url) {
    const auto item = [&url](const char* key) {
      const QString begin = QString("%1=").arg(key);
      return url.section(begin, 1).section('&', 0, 0).toStdString();
    };
    if (url.contains("panoid=")) {
      return "id " + item("panoid");
    }
    return url.contains("ll=") ? "ll" : "tile " + item("&x") + "/" + item("&y");
  }

  void AskNearest(int times = 1) {
    for (int i = 0; i < times; ++i) {
      manager->FetchNearestMetaData(kLat, kLng, 0.0);
    }
  }

  // Enters a record with these links into the graph, as if it had come from elsewhere.
  void Know(const QString& id, const std::vector<QString>& links,
            const std::vector<QString>& levels = {}) {
    const RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap()) PanoramaData(id));
    for (const QString& link : links) {
      ConnectedPano connected;
      connected.pano_id = link;
      record->links.push_back(connected);
    }
    for (const QString& level : levels) {
      ConnectedLevel connected;
      connected.pano_id = level;
      record->levels.push_back(connected);
    }
    std::lock_guard<SpinLock> hold(graph.lock);
    graph.AddPano(id, record.get());
    references.push_back(record);
  }

  // Completes a request and returns once its answer has been delivered.
  void Deliver(std::size_t number, const FakeAnswer& answer) {
    network.Complete(number, answer);
    DrainWorker(manager->fetcher());
  }

  // An answer for the tile of the tests with these panoramas.
  static FakeAnswer Answer(const std::vector<PanoramaElement>& panoramas) {
    return {net::Fetcher::kSucceeded, ListAnswer(panoramas)};
  }

  // A dead end and, three metres on, a panorama that nobody links.
  static FakeAnswer DeadEnd() {
    constexpr double kMetreDeg = 180.0 / 6371010.0;  // One metre in the stored scale, in degrees.
    return Answer({PanoramaElement("before").At(kLat, kLng - 3 * kMetreDeg),
                   PanoramaElement("end").At(kLat, kLng).Link("before", 270.0),
                   PanoramaElement("beyond").At(kLat, kLng + 3 * kMetreDeg)});
  }

  bool IsDone(const MapTile& tile) const { return manager->IsMetaDataTileFetched(tile); }
  bool IsKnown(const QString& id) const {
    std::lock_guard<SpinLock> hold(graph.lock);
    return graph.GetPanoramaData(id) != nullptr;
  }
  std::size_t EdgesOf(const QString& id) const {
    mmvector<edge> edges;
    graph.GetLinks(id, &edges);
    return edges.size();
  }

  const MapTile centre{kLat, kLng, 16};
  PanoGraph graph;
  std::vector<RefPtr<PanoramaData>> references;
  std::unique_ptr<PanoramaFetchManager> manager = std::make_unique<PanoramaFetchManager>(&graph);
  std::size_t seen = 0;
};

using Requests = std::vector<std::string>;

TEST_F(PanoramaFetchManagerTest, OwnsAFetcher) {
  EXPECT_NE(dynamic_cast<PanoramaFetcher*>(manager->fetcher()), nullptr);
}

// Asking for what lies near.

TEST_F(PanoramaFetchManagerTest,
       SixCallsInOneTileSendPositionQueriesAloneTheSeventhAsksForTilesToo) {
  for (int call = 1; call <= 6; ++call) {
    // Another point each time, so that none is refused as under way.
    manager->FetchNearestMetaData(kLat + call * 1e-6, kLng, 0.0);
    EXPECT_EQ(NewRequests(), (Requests{"ll"})) << call;
  }
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767", "ll"}));
}

TEST_F(PanoramaFetchManagerTest, SevenCallsAtOnePointAskForThePositionOnceAndThenForTheTile) {
  AskNearest(6);
  EXPECT_EQ(NewRequests(), (Requests{"ll"}));
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
  EXPECT_EQ(options.num_meta_data_pano_lat_lon_fetches.Get(), 1);
  EXPECT_EQ(options.num_meta_data_pano_tile_fetches.Get(), 1);
}

TEST_F(PanoramaFetchManagerTest, EveryCallAfterTheSeventhAsksForTilesAgain) {
  AskNearest(7);
  for (std::size_t i = 0; i < network.Count(); ++i) {
    network.Complete(i, Status(503));
  }
  NewRequests();
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767", "ll"}));
}

TEST_F(PanoramaFetchManagerTest, AnotherTileStartsTheCountAgain) {
  AskNearest(6);
  manager->FetchNearestMetaData(kLat, kLng + 0.1, 0.0);
  NewRequests();
  AskNearest(6);
  EXPECT_EQ(NewRequests(), Requests{});  // The position query is still under way.
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
}

TEST_F(PanoramaFetchManagerTest, AsksForTheTilesAroundAtRest) {
  for (int call = 1; call <= 7; ++call) {
    manager->FetchNearestMetaData(kLat, kLng, 270.0);
  }
  EXPECT_EQ(NewRequests(),
            (Requests{"ll", "tile 32768/32767", "tile 32767/32768", "tile 32768/32768",
                      "tile 32769/32768", "tile 32767/32767", "tile 32769/32767",
                      "tile 32767/32766", "tile 32768/32766", "tile 32769/32766"}));
}

TEST_F(PanoramaFetchManagerTest, SendsTheRadiusAndNoLevelWithThePosition) {
  manager->FetchNearestMetaData(1.5, 2.5, 49.5);
  EXPECT_EQ(network.Urls().at(0).toStdString(),
            "http://service.example/plk?output=xml&ll=1.500000000000000000,2.500000000000000000"
            "&radius=50&dm=1&pm=1&pl_client=nimbara&v=4");
}

TEST_F(PanoramaFetchManagerTest, ADoneTileNeedsNoRequest) {
  manager->OnMapTileFetched(centre);
  AskNearest(10);
  EXPECT_EQ(NewRequests(), Requests{});
}

TEST_F(PanoramaFetchManagerTest, WithTilesSwitchedOffOnlyPositionQueriesGoOut) {
  options.fetch_metadata_tiles.Set(false);
  AskNearest(10);
  manager->FetchAllMetaData(kLat, kLng, 50.0);
  EXPECT_EQ(NewRequests(), (Requests{"ll"}));
  // Nor does the time so spent count once they are switched on.
  options.fetch_metadata_tiles.Set(true);
  AskNearest(6);
  EXPECT_EQ(NewRequests(), Requests{});
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
}

TEST_F(PanoramaFetchManagerTest, APointWithoutATileStillSendsThePositionQuery) {
  for (int call = 1; call <= 8; ++call) {
    manager->FetchNearestMetaData(0.0, 180.0, 50.0);
  }
  EXPECT_EQ(NewRequests(), (Requests{"ll"}));
  manager->FetchAllMetaData(0.0, 180.0, 50.0);
  EXPECT_EQ(NewRequests(), Requests{});
}

TEST_F(PanoramaFetchManagerTest, ReadsTheZoomLevelAtEachCall) {
  options.meta_data_tile_zoom_level.Set(2);
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  options.meta_data_tile_zoom_level.Set(31);
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 2/1"}));
}

class ManagerWithItsOwnTiles : public PanoramaFetchManager {
 public:
  using PanoramaFetchManager::PanoramaFetchManager;
  ~ManagerWithItsOwnTiles() override { StopFetching(); }
  void FetchAllMetaData(double, double, double) override { ++calls; }
  int calls = 0;
};

TEST_F(PanoramaFetchManagerTest, LetsADerivedClassDecideHowTilesAreAskedFor) {
  ManagerWithItsOwnTiles own(&graph);
  for (int call = 1; call <= 8; ++call) {
    own.FetchNearestMetaData(kLat, kLng, 0.0);
  }
  EXPECT_EQ(own.calls, 2);
}

// Asking for tiles.

TEST_F(PanoramaFetchManagerTest, AsksOnlyForTilesThatAreNotDone) {
  manager->OnMapTileFetched(MapTile::At(32767, 32768, 16));
  manager->OnMapTileFetched(centre);
  manager->FetchAllMetaData(kLat, kLng, 270.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32768", "tile 32769/32768", "tile 32767/32767",
                                     "tile 32769/32767", "tile 32767/32766", "tile 32768/32766",
                                     "tile 32769/32766"}));
}

TEST_F(PanoramaFetchManagerTest, AsksForATileThatOccursTwiceOnce) {
  const double tile_deg = 360.0 / 65536.0;
  // Near the eastern edge of a tile: three of the points around lie in the eastern neighbour.
  manager->FetchAllMetaData(0.5 * tile_deg, 0.9 * tile_deg, 40.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767", "tile 32769/32767"}));
}

TEST_F(PanoramaFetchManagerTest, ATileIsDoneOnceItsAnswerHasBeenEntered) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  EXPECT_FALSE(IsDone(centre));
  Deliver(0, Answer({PanoramaElement("a")}));
  EXPECT_TRUE(IsDone(centre));
  EXPECT_TRUE(IsKnown("a"));
  EXPECT_FALSE(IsDone(MapTile::At(centre.x, centre.y, 15)));
  EXPECT_FALSE(IsDone(MapTile::At(centre.x + 1, centre.y, 16)));
  EXPECT_FALSE(IsDone(MapTile::At(centre.x, centre.y + 1, 16)));
}

TEST_F(PanoramaFetchManagerTest, AnEmptyTileIsDone) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  Deliver(0, Status(2));
  EXPECT_TRUE(IsDone(centre));
}

TEST_F(PanoramaFetchManagerTest, ATileWhoseRequestFailedIsNotDoneAndIsAskedForAgain) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  Deliver(0, Status(503));
  EXPECT_FALSE(IsDone(centre));
  NewRequests();
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
}

TEST_F(PanoramaFetchManagerTest, LooksForMissingLinksOnceATileIsThere) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  Deliver(0, DeadEnd());
  EXPECT_EQ(EdgesOf("end"), 2u);
}

TEST_F(PanoramaFetchManagerTest, LeavesSinglePanoramasWaitingUntilTheNextTile) {
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, DeadEnd());
  EXPECT_EQ(EdgesOf("end"), 1u);
  manager->OnMapTileFetched(MapTile::At(0, 0, 16));
  EXPECT_EQ(EdgesOf("end"), 2u);
}

// Forgetting.

TEST_F(PanoramaFetchManagerTest, AfterAResetATileIsAskedForAgain) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  Deliver(0, Status(2));
  NewRequests();
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  EXPECT_EQ(NewRequests(), Requests{});
  manager->Reset();
  EXPECT_FALSE(IsDone(centre));
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
}

TEST_F(PanoramaFetchManagerTest, AfterAResetTheCallsForATileCountFromTheStart) {
  AskNearest(6);
  NewRequests();
  manager->Reset();
  AskNearest(6);
  EXPECT_EQ(NewRequests(), Requests{});
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"tile 32768/32767"}));
}

TEST_F(PanoramaFetchManagerTest, AResetCancelsNothingAndALateAnswerMarksItsTileAgain) {
  manager->FetchAllMetaData(kLat, kLng, 0.0);
  manager->Reset();
  EXPECT_FALSE(network.WasCancelled(0));
  EXPECT_FALSE(IsDone(centre));
  Deliver(0, Answer({PanoramaElement("a")}));
  EXPECT_TRUE(IsDone(centre));
  EXPECT_TRUE(IsKnown("a"));
}

TEST_F(PanoramaFetchManagerTest, AResetLeavesTheGraphAlone) {
  Know("a", {"b"});
  manager->Reset();
  EXPECT_TRUE(IsKnown("a"));
}

// Neighbours.

TEST_F(PanoramaFetchManagerTest, AsksForNoNeighboursOfAPanoramaThatIsNotKnown) {
  manager->EnsureNeighborsFetched("nobody");
  manager->EnsureNeighborsFetched("");
  Know("a", {"b"});
  manager->EnsureNeighborsFetched("b");  // A placeholder.
  EXPECT_EQ(NewRequests(), Requests{});
}

TEST_F(PanoramaFetchManagerTest, AsksForUnknownPanoramasWithinTwoLinksWhateverTheSettingSays) {
  options.meta_data_prefetch_depth.Set(5);
  Know("a", {"b", "c"});
  Know("c", {"d"});
  Know("d", {"e"});
  Know("e", {"f"});
  manager->EnsureNeighborsFetched("a");
  EXPECT_EQ(NewRequests(), (Requests{"id b"}));
  manager->EnsureNeighborsFetched("c");
  EXPECT_EQ(NewRequests(), Requests{});  // "b" is under way, "f" three links off.
  manager->EnsureNeighborsFetched("d");
  EXPECT_EQ(NewRequests(), (Requests{"id f"}));
}

TEST_F(PanoramaFetchManagerTest, WalksThroughPlaceholders) {
  Know("a", {"p"});
  Know("far", {"p", "q"});
  manager->EnsureNeighborsFetched("a");  // a, p, far: "q" is three links off.
  EXPECT_EQ(NewRequests(), (Requests{"id p"}));
}

TEST_F(PanoramaFetchManagerTest, AsksForEveryUnknownLevelAfterTheNeighbours) {
  Know("a", {"b"}, {"a", "upstairs", "known", "downstairs"});
  Know("known", {});
  manager->EnsureNeighborsFetched("a");
  EXPECT_EQ(NewRequests(), (Requests{"id b", "id upstairs", "id downstairs"}));
}

TEST_F(PanoramaFetchManagerTest, AsksAgainForANeighbourWhoseAnswerCameUnderAnotherId) {
  Know("a", {"alias"});
  manager->EnsureNeighborsFetched("a");
  EXPECT_EQ(NewRequests(), (Requests{"id alias"}));
  Deliver(0, Panorama("real"));
  EXPECT_TRUE(IsKnown("real"));
  EXPECT_FALSE(IsKnown("alias"));
  NewRequests();
  manager->EnsureNeighborsFetched("a");
  EXPECT_EQ(NewRequests(), (Requests{"id alias"}));
}

// Entering records.

TEST_F(PanoramaFetchManagerTest, CountsTheRecordsItEnters) {
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, Answer({PanoramaElement("a"), PanoramaElement("b"), PanoramaElement("a")}));
  EXPECT_EQ(options.num_meta_data_panos_processed.Get(), 2);
}

TEST_F(PanoramaFetchManagerTest, KeepsTheRecordItHasAndDropsTheNewOne) {
  Know("a", {});
  const PanoramaData* const known = graph.GetPanoramaData("a");
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, Answer({PanoramaElement("a").Link("b", 0.0)}));
  EXPECT_EQ(graph.GetPanoramaData("a"), known);
  EXPECT_EQ(EdgesOf("a"), 0u);
  EXPECT_EQ(options.num_meta_data_panos_processed.Get(), 0);
}

TEST_F(PanoramaFetchManagerTest, APlaceholderCountsAsUnknown) {
  Know("a", {"b"});
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, Answer({PanoramaElement("b")}));
  EXPECT_TRUE(IsKnown("b"));
  EXPECT_EQ(options.num_meta_data_panos_processed.Get(), 1);
}

TEST_F(PanoramaFetchManagerTest, IgnoresANullRecord) {
  manager->OnMetaDataFetched("a", nullptr);
  void* handle = nullptr;
  EXPECT_FALSE(graph.GetHandle("a", &handle));
  EXPECT_EQ(options.num_meta_data_panos_processed.Get(), 0);
}

TEST_F(PanoramaFetchManagerTest, LeavesTheGraphTheOnlyReferenceToARecord) {
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, Answer({PanoramaElement("a")}));
  std::lock_guard<SpinLock> hold(graph.lock);
  EXPECT_EQ(graph.GetPanoramaData("a")->ref_count(), 1);
}

TEST_F(PanoramaFetchManagerTest, AnAnswerWithoutRecordsIsIgnored) {
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  Deliver(0, Status(2));
  EXPECT_FALSE(IsDone(centre));
  NewRequests();
  AskNearest();
  EXPECT_EQ(NewRequests(), (Requests{"ll"}));
}

// The end of a manager, at every stage.

TEST_F(PanoramaFetchManagerTest, EndsWithRequestsOpen) {
  manager->FetchAllMetaData(kLat, kLng, 270.0);
  manager->FetchNearestMetaData(kLat, kLng, 0.0);
  manager.reset();
  for (std::size_t i = 0; i < network.Count(); ++i) {
    EXPECT_TRUE(network.WasCancelled(i));
  }
}

TEST_F(PanoramaFetchManagerTest, EndsWithAJobRunningAndOthersQueued) {
  manager->FetchAllMetaData(kLat, kLng, 270.0);
  const std::size_t count = network.Count();
  ASSERT_EQ(count, 9u);
  std::thread ending;
  {
    // The first job waits for the graph; the others wait behind it.
    std::lock_guard<SpinLock> hold(graph.lock);
    for (std::size_t i = 0; i + 1 < count; ++i) {
      network.Complete(i, Answer({PanoramaElement(QString::number(i))}));
    }
    ending = std::thread([this] { manager.reset(); });
    while (!network.WasCancelled(count - 1)) {
      std::this_thread::yield();
    }
  }
  ending.join();
  EXPECT_FALSE(IsKnown(QString::number(count - 2)));
}

TEST_F(PanoramaFetchManagerTest, EndsAtAnyMomentWhileAnswersComeIn) {
  for (int round = 0; round < 200; ++round) {
    network.AnswerAtOnce(Answer({PanoramaElement(QString("r%1").arg(round)).Link("hub", 0.0)}));
    auto dying = std::make_unique<PanoramaFetchManager>(&graph);
    dying->FetchAllMetaData(kLat, kLng, 270.0);
    dying->EnsureNeighborsFetched("r0");
    if (round % 3 == 0) {
      dying->Reset();
    }
    dying.reset();
  }
  SUCCEED() << "Ends; the sanitizers judge the rest.";
}

TEST_F(PanoramaFetchManagerTest, AsksNothingOnceItHasStoppedFetching) {
  class Stopped : public PanoramaFetchManager {
   public:
    using PanoramaFetchManager::PanoramaFetchManager;
    using PanoramaFetchManager::StopFetching;
  };
  Know("a", {"b"});
  Stopped stopped(&graph);
  stopped.StopFetching();
  stopped.StopFetching();
  for (int call = 0; call < 8; ++call) {
    stopped.FetchNearestMetaData(kLat, kLng, 50.0);
  }
  stopped.FetchAllMetaData(kLat, kLng, 50.0);
  stopped.EnsureNeighborsFetched("a");
  EXPECT_EQ(stopped.fetcher(), nullptr);
  EXPECT_EQ(network.Count(), 0u);
}

// Threads: the viewer walks and asks while the worker enters what arrives. Neither deadlocks, and
// the thread sanitizer finds no record that two threads count on without the lock.
TEST_F(PanoramaFetchManagerTest, TheViewerReadsTheGraphWhileRecordsArrive) {
  constexpr int kPanoramas = 300;
  network.AnswerAtOnce([](const QString& url) -> FakeAnswer {
    const QString id = url.section("panoid=", 1).section('&', 0, 0);
    const int number = id.toInt();
    return {2, SingleAnswer(PanoramaElement(id)
                                .At(kLat + number * 1e-5, kLng)
                                .Link(QString::number(number + 1), 0.0)
                                .Link(QString::number(number - 1), 180.0))};
  });
  Know("0", {"1"});
  std::atomic<int> walks{0};
  int here = 0;
  while (here < kPanoramas) {
    const QString id = QString::number(here);
    manager->EnsureNeighborsFetched(id);
    {
      std::lock_guard<SpinLock> hold(graph.lock);
      const RefPtr<PanoramaData> record = graph.GetPanoramaData(id);
      walks += record ? 1 : 0;
    }
    if (IsKnown(QString::number(here + 1))) {
      ++here;
    } else {
      std::this_thread::yield();
    }
  }
  EXPECT_GE(walks, kPanoramas);
  EXPECT_EQ(EdgesOf("100"), 2u);
}

TEST_F(PanoramaFetchManagerTest, LeavesNothingOnTheHeaps) {
  manager.reset();
  graph.Clear();
  const HeapStatistics dynamic = GetHeapStatistics(HeapManager::GetDynamicHeap());
  const HeapStatistics transient = GetHeapStatistics(HeapManager::GetTransientHeap());
  {
    PanoGraph own_graph;
    PanoramaFetchManager own(&own_graph);
    own.FetchAllMetaData(kLat, kLng, 270.0);
    for (std::size_t i = 0; i < 5; ++i) {
      network.Complete(i, i % 2 == 0 ? Answer({PanoramaElement("a").Link("b", 0.0)}) : Status(404));
    }
    own.EnsureNeighborsFetched("a");
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), dynamic);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
