// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/panorama_tile_fetch.h"
#include "tests/spatial/panorama/fetch_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

using Calls = std::vector<std::string>;

class PanoramaFetchTest : public FetchTest {
 protected:
  // What the observer has heard once the worker has run all jobs that were queued before.
  Calls CallsAtTheEnd() {
    DrainWorker(fetcher.get());
    return observer.Calls();
  }

  Calls CallsAfterIdAnswer(const FakeAnswer& answer) {
    fetcher->FetchMetaData(QString("a"), &observer);
    network.Complete(0, answer);
    return CallsAtTheEnd();
  }
  Calls CallsAfterTileAnswer(const FakeAnswer& answer) {
    fetcher->FetchMetaData(MapTile::At(3, 4, 16), &observer);
    network.Complete(0, answer);
    return CallsAtTheEnd();
  }

  static FakeAnswer ThreePanoramas() {
    return {2, ListAnswer({PanoramaElement("a"), PanoramaElement("b"), PanoramaElement("c")})};
  }

  std::unique_ptr<PanoramaFetcher> fetcher = std::make_unique<PanoramaFetcher>();
};

class StatusOfAnswer : public PanoramaFetchTest, public testing::WithParamInterface<int> {};

TEST_P(StatusOfAnswer, IsReadWhateverItMayMean) {
  FakeAnswer answer = ThreePanoramas();
  answer.status = GetParam();
  EXPECT_EQ(CallsAfterTileAnswer(answer), (Calls{"pano a", "pano b", "pano c", "tile 3/4/16"}));
}

INSTANTIATE_TEST_SUITE_P(Fetch, StatusOfAnswer,
                         testing::Values(-1, 0, 1, 2, 4, 12, 200, 304, 399, 506, 599));

class StatusOfFailure : public PanoramaFetchTest, public testing::WithParamInterface<int> {};

TEST_P(StatusOfFailure, EndsTheRequestAndTellsNobody) {
  FakeAnswer answer = ThreePanoramas();
  answer.status = GetParam();
  const QUrl url = fetcher->CreateUrl(MapTile::At(3, 4, 16));
  fetcher->FetchMetaData(MapTile::At(3, 4, 16), &observer);
  EXPECT_TRUE(fetcher->IsFetching(url));
  network.Complete(0, answer);
  EXPECT_FALSE(fetcher->IsFetching(url));
  EXPECT_TRUE(CallsAtTheEnd().empty());
}

INSTANTIATE_TEST_SUITE_P(Fetch, StatusOfFailure,
                         testing::Values(3, 5, 6, 7, 8, 9, 10, 11, 400, 404, 429, 500, 503, 505));

TEST_F(PanoramaFetchTest, ThreeRecordsGiveThreeCallsInTheirOrder) {
  EXPECT_EQ(CallsAfterIdAnswer(ThreePanoramas()), (Calls{"pano a", "pano b", "pano c"}));
}

TEST_F(PanoramaFetchTest, AnEmptyAnswerIsReported) {
  EXPECT_EQ(CallsAfterIdAnswer(Status(2)), (Calls{"empty"}));
}

TEST_F(PanoramaFetchTest, AnUnreadableAnswerIsReportedAsEmpty) {
  EXPECT_EQ(CallsAfterIdAnswer({2, "<panoramas><panorama>"}), (Calls{"empty"}));
}

TEST_F(PanoramaFetchTest, AListWithoutRecordsIsReportedAsEmpty) {
  EXPECT_EQ(CallsAfterIdAnswer({2, ListAnswer({})}), (Calls{"empty"}));
}

TEST_F(PanoramaFetchTest, AnEmptyTileIsReportedAfterItsEmptiness) {
  EXPECT_EQ(CallsAfterTileAnswer(Status(2)), (Calls{"empty", "tile 3/4/16"}));
}

TEST_F(PanoramaFetchTest, AnUnreadableTileIsReportedAllTheSame) {
  EXPECT_EQ(CallsAfterTileAnswer({2, "no XML"}), (Calls{"empty", "tile 3/4/16"}));
}

TEST_F(PanoramaFetchTest, ATileIsReportedAfterItsRecords) {
  EXPECT_EQ(CallsAfterTileAnswer(ThreePanoramas()),
            (Calls{"pano a", "pano b", "pano c", "tile 3/4/16"}));
}

TEST_F(PanoramaFetchTest, ARecordWithADamagedDepthMapIsDeliveredAllTheSame) {
  EXPECT_EQ(CallsAfterIdAnswer({2, SingleAnswer(PanoramaElement("a").DepthMap("bm90IGEgbWFw"))}),
            (Calls{"pano a"}));
}

TEST_F(PanoramaFetchTest, AnswersAreDeliveredInTheirOrderOnOneThreadOfTheFetchersOwn) {
  for (int i = 0; i < 20; ++i) {
    fetcher->FetchMetaData(QString::number(i), &observer);
  }
  Calls expected;
  for (int i = 19; i >= 0; --i) {
    network.Complete(static_cast<std::size_t>(i), Panorama(QString::number(i)));
    expected.push_back("pano " + std::to_string(i));
  }
  EXPECT_EQ(CallsAtTheEnd(), expected);
  EXPECT_EQ(observer.Threads().size(), 1u);
  EXPECT_EQ(observer.Threads().count(std::this_thread::get_id()), 0u);
}

// Holds on to nothing but the counts and ids it saw.
class CountingObserver final : public IPanoramaFetchObserver {
 public:
  void OnMetaDataFetched(const QString& pano_id, RefPtr<PanoramaData> data) override {
    counts.push_back(data->ref_count());
    data.reset();
    ids.push_back(pano_id);  // Still good, although the record is gone.
    done.Open();
  }
  void OnMapTileFetched(const MapTile&) override {}

  std::vector<int> counts;
  std::vector<QString> ids;
  Gate done;
};

TEST_F(PanoramaFetchTest, TheObserverGetsTheOnlyReferenceToARecord) {
  CountingObserver counting;
  fetcher->FetchMetaData(QString("a"), &counting);
  network.Complete(0, ThreePanoramas());
  counting.done.Wait();
  fetcher.reset();
  EXPECT_EQ(counting.counts, (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(counting.ids, (std::vector<QString>{"a", "b", "c"}));
}

TEST_F(PanoramaFetchTest, ACompletionWithoutUserDataDoesNothing) {
  net::Fetcher::FetchParams params;
  params.completion = &PanoramaFetch::PanoramaFinished;
  for (const int status : {2, 404}) {
    const RefPtr<net::Fetcher> request = net::Fetcher::fetch(params, nullptr);
    network.Complete(network.Count() - 1, Status(status));
  }
  EXPECT_TRUE(CallsAtTheEnd().empty());
}

// Without a worker the answer is delivered where it arrives.

TEST_F(PanoramaFetchTest, WithoutAWorkerAnAnswerIsDeliveredAtOnceAndTheFetchStays) {
  const QUrl url = fetcher->CreateUrl(QString("a"));
  fetcher->FetchMetaData(QString("a"), &observer);
  auto* fetch = static_cast<PanoramaFetch*>(network.Params(0).user_data);
  PanoramaFetch::FetchProcessor::CreateAndQueue(nullptr, fetch);
  EXPECT_EQ(observer.Calls(), (Calls{"empty"}));
  EXPECT_EQ(observer.Threads().count(std::this_thread::get_id()), 1u);
  EXPECT_TRUE(fetcher->IsFetching(url));
}

TEST_F(PanoramaFetchTest, WithoutAWorkerATileIsReportedToo) {
  const MapTile tile = MapTile::At(3, 4, 16);
  fetcher->FetchMetaData(tile, &observer);
  auto* fetch =
      static_cast<PanoramaTileFetch*>(static_cast<PanoramaFetch*>(network.Params(0).user_data));
  PanoramaTileFetch::TileFetchProcessor::CreateAndQueue(nullptr, fetch);
  EXPECT_EQ(observer.Calls(), (Calls{"empty", "tile 3/4/16"}));
  EXPECT_TRUE(fetcher->IsFetching(fetcher->CreateUrl(tile)));
}

TEST_F(PanoramaFetchTest, ARequestThatWasNeverStartedCountsAsAnEmptyAnswer) {
  network.RefuseStarts();
  PanoramaFetch* fetch =
      new PanoramaFetch(fetcher.get(), QUrl(QString("http://service.example/plk?own")), &observer);
  PanoramaFetch::FetchProcessor::ProcessImmediately(fetch, &observer);
  EXPECT_EQ(observer.Calls(), (Calls{"empty"}));
}

// The birth of a request. Its completion can come on the network's thread at any moment; the four
// moments that there are, for a good answer and for a failure, by id, by position and by tile.

enum class Kind { kId, kPosition, kTile };

struct Birth {
  Kind kind;
  bool fails;
};

// Completes the newest request from the network's thread while the starter is at the counter, that
// is after the constructor and before the starter has let the request go.
class CompletingListener : public SettingListener {
 public:
  CompletingListener(FakeNetwork* network, const FakeAnswer& answer)
      : network_(network), answer_(answer) {}
  void OnSettingChanged(Setting& setting) override {
    if (QString(setting.getClassName()) == "CountSetting") {
      network_->Complete(network_->Count() - 1, answer_);
    }
  }
  void OnSettingPreDelete(Setting&) override {}

 private:
  FakeNetwork* network_;
  FakeAnswer answer_;
};

class BirthOfARequest : public PanoramaFetchTest, public testing::WithParamInterface<Birth> {
 protected:
  FakeAnswer Answer() const { return GetParam().fails ? Status(503) : ThreePanoramas(); }

  bool Start(int number = 0) {
    switch (GetParam().kind) {
    case Kind::kId:
      return fetcher->FetchMetaData(QString::number(number), &observer);
    case Kind::kPosition:
      return fetcher->FetchMetaData(1.0, number, 50.0, QString(), &observer);
    case Kind::kTile:
      return fetcher->FetchMetaData(MapTile::At(number, 4, 16), &observer);
    }
    return false;
  }
  Calls Expected(int number = 0) const {
    if (GetParam().fails) {
      return {};
    }
    Calls calls{"pano a", "pano b", "pano c"};
    if (GetParam().kind == Kind::kTile) {
      calls.push_back("tile " + std::to_string(number) + "/4/16");
    }
    return calls;
  }
};

TEST_P(BirthOfARequest, CompletedBeforeTheNetworkHasReturnedIt) {
  network.AnswerBeforeReturning(Answer());
  EXPECT_TRUE(Start());
  EXPECT_EQ(CallsAtTheEnd(), Expected());
}

TEST_P(BirthOfARequest, CompletedBetweenConstructorAndEndOfStart) {
  CompletingListener listener(&network, Answer());
  options.AddListener(&listener);
  EXPECT_TRUE(Start());
  options.RemoveListener(&listener);
  EXPECT_EQ(CallsAtTheEnd(), Expected());
}

TEST_P(BirthOfARequest, CompletedAfterItsStart) {
  EXPECT_TRUE(Start());
  network.Complete(0, Answer());
  EXPECT_EQ(CallsAtTheEnd(), Expected());
}

TEST_P(BirthOfARequest, CompletedSideBySideWithItsStart) {
  constexpr int kRounds = 500;
  network.AnswerAtOnce(Answer());
  Calls expected;
  for (int i = 0; i < kRounds; ++i) {
    EXPECT_TRUE(Start(i));
    for (const std::string& call : Expected(i)) {
      expected.push_back(call);
    }
  }
  observer.Calls(expected.size());
  // A starter that comes second hands its answer on by itself, so later answers can overtake.
  Calls calls = CallsAtTheEnd();
  std::sort(calls.begin(), calls.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(calls, expected);
}

INSTANTIATE_TEST_SUITE_P(Fetch, BirthOfARequest,
                         testing::Values(Birth{Kind::kId, false}, Birth{Kind::kId, true},
                                         Birth{Kind::kPosition, false},
                                         Birth{Kind::kPosition, true}, Birth{Kind::kTile, false},
                                         Birth{Kind::kTile, true}));

}  // namespace
}  // namespace spatial
}  // namespace nimbara
