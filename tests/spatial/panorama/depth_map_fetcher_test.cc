// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_map_fetcher.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "host/depth_map.h"
#include "spatial/panorama/pano_map.h"
#include "spatial/panorama/panorama_data.h"
#include "tests/spatial/panorama/fetch_fixture.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {

// The host's object is opaque to the library; a test's needs no more than an address.
class Panorama {};

namespace spatial {
namespace {

using test_support::DepthPayload;
using test_support::PanoMapPayload;

struct Report {
  nimbara::Panorama* panorama;
  bool has_depthmap;
  friend bool operator==(const Report& a, const Report& b) {
    return a.panorama == b.panorama && a.has_depthmap == b.has_depthmap;
  }
};

class Maps : public DepthMapFetcher {
 public:
  void OnDepthMapReady(nimbara::Panorama* given, bool has_depthmap) override {
    reports.push_back({given, has_depthmap});
    finished_in_report = finished;
    if (on_ready) {
      on_ready();
    }
  }

  std::vector<Report> reports;
  bool finished_in_report = false;
  std::function<void()> on_ready;
};

class DepthMapFetcherTest : public FetchTest {
 protected:
  static RefPtr<PanoramaData> Record(const QString& id) {
    return new (HeapManager::GetDynamicHeap()) PanoramaData(id);
  }
  static DepthMap* NewDepthMap() { return new (HeapManager::GetDynamicHeap()) DepthMap; }

  static QByteArray DepthText() {
    return DepthPayload(1, 1, {0}, {{0.0f, 0.0f, 1.0f, 5.0f}}).ToText();
  }
  static QByteArray PanoText() { return PanoMapPayload(1, 1, {0}, {}).ToText(); }
  static FakeAnswer BothMaps() {
    return {2, SingleAnswer(PanoramaElement("a").DepthMap(DepthText()).PanoMap(PanoText()))};
  }

  RefPtr<PanoramaData> record = Record("a");
  nimbara::Panorama panorama;
  std::unique_ptr<Maps> maps = std::make_unique<Maps>();
};

TEST_F(DepthMapFetcherTest, UrlHasItsItemsInTheirOwnOrder) {
  EXPECT_EQ(maps->CreateUrl("abc").toString().toStdString(),
            "http://service.example/plk?output=xml&v=4&panoid=abc&dm=1&pm=1&pl_client=nimbara");
}

TEST_F(DepthMapFetcherTest, UrlIsOnTheServerOfMetadataNotOnTheOneKeptForTheHost) {
  options.depth_map_fetch_server.Set("http://depth.example/plk");
  EXPECT_EQ(maps->CreateUrl("abc").host().toStdString(), "service.example");
}

TEST_F(DepthMapFetcherTest, StartsARequestThatPointsBackToIt) {
  options.max_metadata_depthmap_qps.Set(4.0f);
  maps->FetchDepthMap(&panorama, record.get());
  ASSERT_EQ(network.Count(), 1u);
  const net::Fetcher::FetchParams params = network.Params(0);
  EXPECT_EQ(params.url, maps->CreateUrl("a").toString());
  EXPECT_EQ(params.completion, &DepthMapFetcher::DepthMapFinished);
  EXPECT_EQ(params.user_data, maps.get());
  EXPECT_EQ(params.pacing_interval_s, 0.25);
  EXPECT_FALSE(maps->finished);
}

TEST_F(DepthMapFetcherTest, WithoutARecordNothingChanges) {
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->FetchDepthMap(nullptr, nullptr);
  EXPECT_TRUE(maps->finished);
  EXPECT_EQ(network.Count(), 1u);
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, true}}));
}

TEST_F(DepthMapFetcherTest, ARecordWithADepthMapNeedsNoRequest) {
  record->set_depthmap(NewDepthMap());
  maps->FetchDepthMap(&panorama, record.get());
  EXPECT_EQ(network.Count(), 0u);
  EXPECT_TRUE(maps->finished);
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, true}}));
}

TEST_F(DepthMapFetcherTest, ARecordWithoutAnIdGetsNoRequest) {
  const RefPtr<PanoramaData> nameless = Record("");
  maps->FetchDepthMap(&panorama, nameless.get());
  EXPECT_EQ(network.Count(), 0u);
  EXPECT_FALSE(maps->finished);
}

class StatusOfMaps : public DepthMapFetcherTest,
                     public testing::WithParamInterface<std::pair<int, bool>> {};

TEST_P(StatusOfMaps, DecidesWhetherItIsFinished) {
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, Status(GetParam().first));
  EXPECT_EQ(maps->finished, GetParam().second);
  EXPECT_TRUE(maps->reports.empty());
}

INSTANTIATE_TEST_SUITE_P(Maps, StatusOfMaps,
                         testing::Values(std::pair(-1, false), std::pair(0, false),
                                         std::pair(1, false), std::pair(2, true),
                                         std::pair(3, false), std::pair(4, true),
                                         std::pair(5, false), std::pair(10, false),
                                         std::pair(11, false), std::pair(12, true),
                                         std::pair(200, true), std::pair(399, true),
                                         std::pair(400, false), std::pair(404, false),
                                         std::pair(505, false), std::pair(506, true)));

TEST_F(DepthMapFetcherTest, ProcessingReadsBothMapsReportsAndClears) {
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  EXPECT_EQ(record->depthmap, nullptr);
  maps->ProcessDepthMap();
  ASSERT_NE(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
  EXPECT_EQ(record->depthmap->planes[0].distance, 5.0);
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, true}}));
  EXPECT_TRUE(maps->finished_in_report);
  EXPECT_FALSE(maps->finished);
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports.size(), 1u);
}

TEST_F(DepthMapFetcherTest, AnAnswerWithoutADepthMapIsReportedAsNone) {
  maps->FetchDepthMap(nullptr, record.get());
  network.Complete(0, {2, SingleAnswer(PanoramaElement("a").PanoMap(PanoText()))});
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{nullptr, false}}));
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
}

TEST_F(DepthMapFetcherTest, WithParsingOffItOnlyReports) {
  maps->parse_answer = false;
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, false}}));
  EXPECT_EQ(record->depthmap, nullptr);
}

TEST_F(DepthMapFetcherTest, ProcessingTooEarlyReportsWhatTheRecordHasAndIgnoresTheAnswer) {
  maps->FetchDepthMap(&panorama, record.get());
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, false}}));
  network.Complete(0, BothMaps());
  EXPECT_FALSE(maps->finished);
}

TEST_F(DepthMapFetcherTest, ProcessingWithNothingAskedForDoesNothing) {
  maps->ProcessDepthMap();
  EXPECT_TRUE(maps->reports.empty());
}

TEST_F(DepthMapFetcherTest, AFailureLeavesItIdleUntilTheNextFetch) {
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, Status(404));
  EXPECT_FALSE(maps->finished);
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(1, BothMaps());
  EXPECT_TRUE(maps->finished);
}

TEST_F(DepthMapFetcherTest, ARequestThatCannotBeStartedLeavesItIdle) {
  network.RefuseStarts();
  maps->FetchDepthMap(&panorama, record.get());
  EXPECT_FALSE(maps->finished);
  maps.reset();
}

TEST_F(DepthMapFetcherTest, FillsOnlyWhatTheRecordLacks) {
  DepthMap* const own = NewDepthMap();
  record->set_depthmap(own);
  DepthMapFetcher::ParseDepthAndPano(BothMaps().body, record.get());
  EXPECT_EQ(record->depthmap, own);
  EXPECT_NE(record->panomap, nullptr);
  DepthMapFetcher::ParseDepthAndPano(BothMaps().body, nullptr);
}

// Superseded requests.

TEST_F(DepthMapFetcherTest, TheAnswerToASupersededRequestIsIgnored) {
  const RefPtr<PanoramaData> next = Record("b");
  maps->FetchDepthMap(&panorama, record.get());
  maps->FetchDepthMap(&panorama, next.get());
  EXPECT_FALSE(network.WasCancelled(0));
  network.Complete(0, BothMaps());
  EXPECT_FALSE(maps->finished);
  network.Complete(1, BothMaps());
  EXPECT_TRUE(maps->finished);
}

TEST_F(DepthMapFetcherTest, TheFailureOfASupersededRequestLeavesTheAnswerThatIsThere) {
  maps->FetchDepthMap(&panorama, record.get());
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(1, BothMaps());
  network.Complete(0, Status(404));
  EXPECT_TRUE(maps->finished);
}

TEST_F(DepthMapFetcherTest, ANewFetchForgetsTheAnswerBeforeIt) {
  const RefPtr<PanoramaData> full = Record("b");
  full->set_depthmap(NewDepthMap());
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->FetchDepthMap(&panorama, full.get());
  maps->ProcessDepthMap();
  EXPECT_EQ(full->panomap, nullptr);  // The map of another panorama.

  const RefPtr<PanoramaData> nameless = Record("");
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(1, BothMaps());
  maps->FetchDepthMap(&panorama, nameless.get());
  EXPECT_FALSE(maps->finished);
}

TEST_F(DepthMapFetcherTest, ClearingGivesTheRequestUpWithoutCancellingIt) {
  maps->FetchDepthMap(&panorama, record.get());
  maps->Clear();
  EXPECT_FALSE(network.WasCancelled(0));
  network.Complete(0, BothMaps());
  EXPECT_FALSE(maps->finished);
  maps->ProcessDepthMap();
  EXPECT_TRUE(maps->reports.empty());
}

TEST_F(DepthMapFetcherTest, ClearingForgetsAnAnswer) {
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->Clear();
  EXPECT_FALSE(maps->finished);
}

TEST_F(DepthMapFetcherTest, ReleasesASupersededRequestWhenItEnds) {
  maps->FetchDepthMap(&panorama, record.get());
  const int held = network.Request(0)->ref_count();
  maps->Clear();
  EXPECT_EQ(network.Request(0)->ref_count(), held);
  network.Complete(0, BothMaps());
  EXPECT_EQ(network.Request(0)->ref_count(), held - 1);
}

TEST_F(DepthMapFetcherTest, ReleasesARequestThatHasEndedAtOnce) {
  maps->FetchDepthMap(&panorama, record.get());
  const int held = network.Request(0)->ref_count();
  network.Complete(0, BothMaps());
  maps->Clear();
  EXPECT_EQ(network.Request(0)->ref_count(), held - 1);
}

TEST_F(DepthMapFetcherTest, EndingCancelsTheOpenRequestAndTheSupersededOnes) {
  maps->FetchDepthMap(&panorama, record.get());
  maps->FetchDepthMap(&panorama, record.get());
  maps->Clear();
  maps->FetchDepthMap(&panorama, record.get());
  maps.reset();
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(network.WasCancelled(i)) << i;
    network.Complete(i, BothMaps());
  }
}

// What a report may do.

TEST_F(DepthMapFetcherTest, AFetchStartedInTheReportStays) {
  const RefPtr<PanoramaData> next = Record("b");
  nimbara::Panorama other;
  maps->on_ready = [&] {
    if (maps->reports.size() == 1) {
      maps->FetchDepthMap(&other, next.get());
    }
  };
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->ProcessDepthMap();
  network.Complete(1, BothMaps());
  EXPECT_TRUE(maps->finished);
  maps->ProcessDepthMap();
  EXPECT_EQ(maps->reports, (std::vector<Report>{{&panorama, true}, {&other, true}}));
}

class SelfDeletingMaps : public DepthMapFetcher {
 public:
  explicit SelfDeletingMaps(bool* deleted) : deleted_(deleted) {}
  ~SelfDeletingMaps() override { *deleted_ = true; }
  void OnDepthMapReady(nimbara::Panorama*, bool) override { delete this; }

 private:
  bool* deleted_;
};

TEST_F(DepthMapFetcherTest, ItMayDeleteItselfInTheReport) {
  bool deleted = false;
  auto* doomed = new SelfDeletingMaps(&deleted);
  doomed->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  doomed->ProcessDepthMap();
  EXPECT_TRUE(deleted);
}

TEST_F(DepthMapFetcherTest, ItMayBeClearedInTheReport) {
  maps->on_ready = [&] { maps->Clear(); };
  maps->FetchDepthMap(&panorama, record.get());
  network.Complete(0, BothMaps());
  maps->ProcessDepthMap();
  EXPECT_FALSE(maps->finished);
  EXPECT_EQ(maps->reports.size(), 1u);
}

// Threads.

TEST_F(DepthMapFetcherTest, CompletionsSideBySideWithStartsCountForTheirOwnFetchAlone) {
  network.AnswerAtOnce(Status(2));
  for (int i = 0; i < 500; ++i) {
    maps->FetchDepthMap(&panorama, record.get());
    if (i % 3 == 0) {
      maps->FetchDepthMap(&panorama, record.get());
    }
    while (!maps->finished) {
      std::this_thread::yield();
    }
    if (i % 2 == 0) {
      maps->Clear();
      ASSERT_FALSE(maps->finished);
    }
  }
}

TEST_F(DepthMapFetcherTest, EndsWhileCompletionsComeIn) {
  network.AnswerAtOnce(Status(2));
  for (int i = 0; i < 500; ++i) {
    Maps dying;
    dying.FetchDepthMap(&panorama, record.get());
    dying.FetchDepthMap(&panorama, record.get());
    if (i % 2 == 0) {
      dying.Clear();
    }
  }
  EXPECT_EQ(network.Count(), 1000u);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
