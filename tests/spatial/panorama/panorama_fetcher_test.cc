// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetcher.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/reference/heap_statistics.h"
#include "spatial/panorama/panorama_fetch.h"
#include "tests/spatial/panorama/fetch_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

using Calls = std::vector<std::string>;

class PanoramaFetcherTest : public FetchTest {
 protected:
  bool Fetch(const QString& id) { return fetcher->FetchMetaData(id, &observer); }
  bool Fetch(const MapTile& tile) { return fetcher->FetchMetaData(tile, &observer); }
  bool Fetch(double lat, double lng, double radius = 50.0, const QString& level = {}) {
    return fetcher->FetchMetaData(lat, lng, radius, level, &observer);
  }
  bool IsFetching(const QString& id) { return fetcher->IsFetching(fetcher->CreateUrl(id)); }

  std::unique_ptr<PanoramaFetcher> fetcher = std::make_unique<PanoramaFetcher>();
};

TEST_F(PanoramaFetcherTest, SendsItsConstantsToTheService) {
  EXPECT_STREQ(PanoramaFetcher::kPLClient, "nimbara");
  EXPECT_STREQ(PanoramaFetcher::kLoggingVersion, "4");
}

TEST_F(PanoramaFetcherTest, RefusesAnEmptyIdWithoutAnyEffect) {
  EXPECT_FALSE(Fetch(QString()));
  EXPECT_FALSE(Fetch(QString("")));
  EXPECT_EQ(network.Count(), 0u);
  EXPECT_EQ(options.num_meta_data_pano_id_fetches.Get(), 0);
}

TEST_F(PanoramaFetcherTest, RefusesTilesThatDoNotExist) {
  constexpr int kLeast = std::numeric_limits<int>::min();
  constexpr int kMost = std::numeric_limits<int>::max();
  EXPECT_FALSE(Fetch(MapTile::At(4, 0, 2)));
  EXPECT_FALSE(Fetch(MapTile::At(0, 4, 2)));
  EXPECT_FALSE(Fetch(MapTile::At(-1, 0, 2)));
  EXPECT_FALSE(Fetch(MapTile::At(0, -1, 2)));
  EXPECT_FALSE(Fetch(MapTile::At(0, 0, -1)));
  for (const int zoom : {31, 32, 33, 64, kMost, kLeast}) {
    EXPECT_FALSE(Fetch(MapTile::At(0, 0, zoom))) << zoom;
  }
  EXPECT_EQ(network.Count(), 0u);
  EXPECT_EQ(options.num_meta_data_pano_tile_fetches.Get(), 0);
}

TEST_F(PanoramaFetcherTest, StartsTheLastTileOfALevel) {
  EXPECT_TRUE(Fetch(MapTile::At(3, 3, 2)));
  EXPECT_TRUE(Fetch(MapTile::At(0, 0, 0)));
  EXPECT_EQ(network.Count(), 2u);
}

TEST_F(PanoramaFetcherTest, CountsEachKindOfRequestThatItStarts) {
  Fetch("a");
  Fetch("a");
  Fetch("b");
  Fetch(MapTile::At(1, 1, 2));
  Fetch(1.0, 2.0);
  Fetch(1.0, 3.0);
  Fetch(1.0, 4.0);
  EXPECT_EQ(options.num_meta_data_pano_id_fetches.Get(), 2);
  EXPECT_EQ(options.num_meta_data_pano_tile_fetches.Get(), 1);
  EXPECT_EQ(options.num_meta_data_pano_lat_lon_fetches.Get(), 3);
}

TEST_F(PanoramaFetcherTest, SendsTheUrlItWouldCreate) {
  Fetch("abc");
  Fetch(MapTile::At(3, 4, 16));
  Fetch(1.5, -2.5, 49.5, "L1");
  EXPECT_EQ(network.Urls(), (std::vector<QString>{
                                fetcher->CreateUrl(QString("abc")).toString(),
                                fetcher->CreateUrl(MapTile::At(3, 4, 16)).toString(),
                                fetcher->CreateUrl(1.5, -2.5, 49.5, "L1").toString(),
                            }));
}

TEST_F(PanoramaFetcherTest, LeavesWhatItHasNoUseForAtItsDefault) {
  Fetch("abc");
  const net::Fetcher::FetchParams params = network.Params(0);
  EXPECT_TRUE(params.user_agent.isEmpty());
  EXPECT_FALSE(params.user_agent.isNull());
  EXPECT_TRUE(params.referrer.isNull());
  EXPECT_TRUE(params.headers.empty());
  EXPECT_EQ(params.headers.get_allocator().heap(), HeapManager::GetTransientHeap());
  EXPECT_EQ(params.priority, 0);
  EXPECT_FALSE(params.bypass_caches);
  EXPECT_FALSE(params.low_priority);
  EXPECT_EQ(params.max_body_bytes, 0u);
  EXPECT_EQ(params.pacing_interval_s, 0.0);
}

TEST_F(PanoramaFetcherTest, GivesEveryRequestTheSameCompletionFunction) {
  Fetch("abc");
  Fetch(MapTile::At(0, 0, 0));
  Fetch(1.0, 2.0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(network.Params(i).completion, &PanoramaFetch::PanoramaFinished);
    EXPECT_NE(network.Params(i).user_data, nullptr);
  }
}

TEST_F(PanoramaFetcherTest, PacesRequestsByTheSettingAsItIsAtTheStart) {
  options.max_metadata_depthmap_qps.Set(4.0f);
  options.max_imagery_qps.Set(100.0f);
  Fetch("a");
  options.max_metadata_depthmap_qps.Set(0.1f);
  Fetch(MapTile::At(0, 0, 0));
  options.max_metadata_depthmap_qps.Set(-1.0f);
  Fetch(1.0, 2.0);
  options.max_metadata_depthmap_qps.Set(std::numeric_limits<float>::quiet_NaN());
  Fetch("b");
  EXPECT_EQ(network.Params(0).pacing_interval_s, 0.25);
  // The setting is a float: 0.1f is a little more than a tenth.
  EXPECT_NEAR(network.Params(1).pacing_interval_s, 9.99999985, 1e-9);
  EXPECT_NE(network.Params(1).pacing_interval_s, 10.0);
  EXPECT_EQ(network.Params(2).pacing_interval_s, 0.0);
  EXPECT_EQ(network.Params(3).pacing_interval_s, 0.0);
}

TEST_F(PanoramaFetcherTest, RefusesWhatIsUnderWay) {
  EXPECT_TRUE(Fetch("a"));
  EXPECT_FALSE(Fetch("a"));
  EXPECT_TRUE(Fetch(MapTile::At(0, 0, 0)));
  EXPECT_FALSE(Fetch(MapTile::At(0, 0, 0)));
  EXPECT_TRUE(Fetch(1.0, 2.0));
  EXPECT_FALSE(Fetch(1.0, 2.0));
  EXPECT_EQ(network.Count(), 3u);
}

TEST_F(PanoramaFetcherTest, TakesRequestsWithEqualUrlsForTheSame) {
  EXPECT_TRUE(Fetch(0.0, 1.0, 3.0));
  EXPECT_FALSE(Fetch(0.0, 1.0, 3.4));
  EXPECT_FALSE(Fetch(-0.0, 1.0, 3.0));
  EXPECT_TRUE(Fetch(0.0, 1.0, 3.5));
  EXPECT_TRUE(Fetch(0.0, 1.0, 3.0, "L1"));
}

TEST_F(PanoramaFetcherTest, DeliversOnAThreadOfItsOwnName) {
  std::string name;
  observer.on_call = [&name](const std::string&) {
    char text[16] = {};
    pthread_getname_np(pthread_self(), text, sizeof(text));
    name = text;
  };
  EXPECT_TRUE(Fetch("a"));
  network.Complete(0, Panorama("a"));
  observer.Calls(1);
  fetcher.reset();  // Joins the thread.
  EXPECT_EQ(name, "PanoramFetcher");
}

TEST_F(PanoramaFetcherTest, TellsTheFirstObserverAlone) {
  RecordingObserver second;
  EXPECT_TRUE(Fetch("a"));
  EXPECT_FALSE(fetcher->FetchMetaData(QString("a"), &second));
  network.Complete(0, Panorama("a"));
  EXPECT_EQ(observer.Calls(1), (Calls{"pano a"}));
  DrainWorker(fetcher.get());
  EXPECT_TRUE(second.Calls().empty());
}

TEST_F(PanoramaFetcherTest, AsksAgainOnceTheFirstRequestHasFailed) {
  EXPECT_TRUE(Fetch("a"));
  network.Complete(0, Status(404));
  EXPECT_FALSE(IsFetching("a"));
  EXPECT_TRUE(Fetch("a"));
}

TEST_F(PanoramaFetcherTest, KeepsTheUrlUnderWayUntilTheAnswerHasBeenDelivered) {
  std::atomic<bool> while_delivering{false};
  observer.on_call = [&](const std::string&) { while_delivering = IsFetching("a"); };
  EXPECT_TRUE(Fetch("a"));
  network.Complete(0, Panorama("a"));
  DrainWorker(fetcher.get());
  EXPECT_TRUE(while_delivering);
  EXPECT_FALSE(IsFetching("a"));
  EXPECT_TRUE(Fetch("a"));
}

TEST_F(PanoramaFetcherTest, ARequestThatCannotBeStartedCountsAsStartedAndStaysUnderWay) {
  network.RefuseStarts();
  EXPECT_TRUE(Fetch("a"));
  EXPECT_TRUE(Fetch(MapTile::At(0, 0, 0)));
  EXPECT_TRUE(Fetch(1.0, 2.0));
  EXPECT_EQ(network.RefusedStarts(), 3u);
  EXPECT_EQ(options.num_meta_data_pano_id_fetches.Get(), 1);
  network.Hold();
  EXPECT_FALSE(Fetch("a"));
  EXPECT_FALSE(Fetch(MapTile::At(0, 0, 0)));
  EXPECT_FALSE(Fetch(1.0, 2.0));
  fetcher.reset();  // Ends, although those requests never will.
  EXPECT_TRUE(observer.Calls().empty());
}

TEST_F(PanoramaFetcherTest, RemovingWhatIsNotListedChangesNothing) {
  Fetch("a");
  fetcher->RemoveFetch(nullptr);
  EXPECT_TRUE(IsFetching("a"));
}

TEST_F(PanoramaFetcherTest, RemovesEveryMentionAndKeepsTheOthers) {
  Fetch("a");
  Fetch("b");
  Fetch("c");
  auto* b = static_cast<PanoramaFetch*>(network.Params(1).user_data);
  fetcher->AddFetch(b);
  fetcher->RemoveFetch(b);
  EXPECT_FALSE(IsFetching("b"));
  EXPECT_TRUE(IsFetching("a"));
  EXPECT_TRUE(IsFetching("c"));
  fetcher->AddFetch(b);
}

TEST_F(PanoramaFetcherTest, ANullObserverDropsTheAnswer) {
  EXPECT_TRUE(fetcher->FetchMetaData(QString("a"), nullptr));
  EXPECT_TRUE(fetcher->FetchMetaData(MapTile::At(0, 0, 0), nullptr));
  network.Complete(0, Panorama("a"));
  network.Complete(1, Panorama("a"));
  DrainWorker(fetcher.get());
}

TEST_F(PanoramaFetcherTest, OfTwoThreadsAskingForOnePositionOnlyOneIsServed) {
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> started{0};
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([&] {
        ++ready;
        while (ready < 2) {
        }
        started += Fetch(1.0, round) ? 1 : 0;
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    ASSERT_EQ(started, 1);
  }
}

// The end of a fetcher, at every stage that a request can be in.

TEST_F(PanoramaFetcherTest, EndingCancelsWhatIsOpenAndTellsNobody) {
  Fetch("a");
  Fetch(MapTile::At(0, 0, 0));
  Fetch(1.0, 2.0);
  fetcher.reset();
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(network.WasCancelled(i)) << i;
    network.Complete(i, Panorama("late"));
  }
  EXPECT_TRUE(observer.Calls().empty());
}

TEST_F(PanoramaFetcherTest, EndingLetsTheRunningDeliveryEndAndDropsWhatIsQueued) {
  Gate delivering;
  Gate go_on;
  observer.on_call = [&](const std::string&) {
    delivering.Open();
    go_on.Wait();
  };
  Fetch("a");
  Fetch("b");
  Fetch(MapTile::At(0, 0, 0));
  Fetch("open");
  for (std::size_t i = 0; i < 3; ++i) {
    network.Complete(i, Panorama("x"));
  }
  delivering.Wait();
  std::thread ending([this] { fetcher.reset(); });
  // The open request is cancelled before the worker is waited for.
  while (!network.WasCancelled(3)) {
    std::this_thread::yield();
  }
  go_on.Open();
  ending.join();
  EXPECT_EQ(observer.Calls(), (Calls{"pano x"}));
}

TEST_F(PanoramaFetcherTest, EndingWaitsForACompletionThatHasBegun) {
  for (const int status : {2, 404}) {
    for (int round = 0; round < 300; ++round) {
      auto dying = std::make_unique<PanoramaFetcher>();
      const std::size_t first = network.Count();
      dying->FetchMetaData(QString("a"), &observer);
      dying->FetchMetaData(MapTile::At(0, 0, 0), &observer);
      network.CompleteLater(first, Status(status));
      network.CompleteLater(first + 1, Status(status));
      dying.reset();
    }
  }
  for (const std::string& call : observer.Calls()) {
    EXPECT_TRUE(call == "empty" || call == "tile 0/0/0") << call;
  }
}

TEST_F(PanoramaFetcherTest, EndingAlsoEndsWhatAnObserverAsksForMeanwhile) {
  for (const int status : {2, 404}) {
    for (int round = 0; round < 200; ++round) {
      auto dying = std::make_unique<PanoramaFetcher>();
      PanoramaFetcher* const asked = dying.get();
      int next = 0;
      Gate delivering;
      RecordingObserver curious;
      curious.on_call = [&](const std::string&) {
        delivering.Open();
        for (int i = 0; i < 5; ++i) {
          asked->FetchMetaData(QString("next %1").arg(++next), &curious);
        }
      };
      network.Hold();
      asked->FetchMetaData(QString("first"), &curious);
      network.AnswerAtOnce(Status(status));
      network.CompleteLater(network.Count() - 1, Panorama("first"));
      delivering.Wait();
      dying.reset();
      const std::size_t heard = curious.Calls().size();
      network.Complete(network.Count() - 1, Panorama("late"));
      ASSERT_EQ(curious.Calls().size(), heard);
    }
  }
}

TEST_F(PanoramaFetcherTest, LeavesNothingOnTheHeaps) {
  fetcher.reset();
  const HeapStatistics dynamic = GetHeapStatistics(HeapManager::GetDynamicHeap());
  const HeapStatistics transient = GetHeapStatistics(HeapManager::GetTransientHeap());
  const HeapStatistics standard = GetHeapStatistics(nullptr);
  fetcher = std::make_unique<PanoramaFetcher>();
  network.RefuseStarts();
  Fetch("null");
  network.Hold();
  Fetch("failed");
  Fetch("answered");
  Fetch(MapTile::At(0, 0, 0));
  Fetch("open");
  network.Complete(0, Status(404));
  network.Complete(1, Panorama("answered"));
  network.Complete(2, Panorama("x"));
  observer.Calls(3);
  fetcher.reset();
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), dynamic);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient);
  // What is left on the default heap are the requests that the network of the test remembers.
  EXPECT_EQ(GetHeapStatistics(nullptr).blocks, standard.blocks + 4);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
