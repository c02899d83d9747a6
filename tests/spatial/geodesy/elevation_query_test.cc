// SPDX-License-Identifier: Apache-2.0
// From the points to the requests.
#include "spatial/geodesy/elevation_query.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "spatial/geodesy/elevation_request.h"
#include "tests/spatial/geodesy/elevation_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

TEST_F(ElevationTest, QueryOfNoPointsIsDoneWithoutARequest) {
  Start(0);
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(network->Count(), 0u);
  EXPECT_EQ(query->done_count(), 0);
}

TEST_F(ElevationTest, QueryOfANullListIsDoneWithoutARequest) {
  query = std::make_unique<RecordedQuery>();
  query->Construct(nullptr, 5, 512, 2048);
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(network->Count(), 0u);
}

TEST_F(ElevationTest, QueryWithoutAnAddressFailsWithoutARequest) {
  ElevationQuery::s_url_ = QUrl();
  Start(5);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(network->Count(), 0u);
  EXPECT_EQ(query->done_count(), 0);
}

TEST_F(ElevationTest, QueryOfNoPointsIsDoneEvenWithoutAnAddress) {
  ElevationQuery::s_url_ = QUrl();
  Start(0);
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
}

TEST_F(ElevationTest, QueryOfANegativeCountFailsWithoutARequest) {
  query = std::make_unique<RecordedQuery>();
  query->Construct(Points(1).data(), -1, 512, 2048);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(network->Count(), 0u);
}

TEST_F(ElevationTest, QueryWithNoPointsAllowedInARequestFailsWithoutOne) {
  for (const int max_points : {0, -1, std::numeric_limits<int>::min()}) {
    Start(5, max_points);
    EXPECT_EQ(query->state(), ElevationQuery::kFailed) << max_points;
  }
  EXPECT_EQ(network->Count(), 0u);
}

TEST_F(ElevationTest, QueryThatHasNotStartedHasNoState) {
  query = std::make_unique<RecordedQuery>();
  EXPECT_EQ(query->state(), ElevationQuery::kNotStarted);
  EXPECT_EQ(query->request_count(), 0u);
}

TEST_F(ElevationTest, QueryStartsOnce) {
  Start(5);
  query->Construct(Points(9).data(), 9, 512, 2048);
  EXPECT_EQ(network->Count(), 1u);
  EXPECT_EQ(query->point_count(), 5);
}

TEST_F(ElevationTest, SplitsByTheGreatestNumberOfPoints) {
  Start(1200);
  EXPECT_EQ(query->Chunks(), (std::vector<int>{512, 512, 176}));
  EXPECT_EQ(query->state(), ElevationQuery::kFetching);
  EXPECT_EQ(network->Count(), 3u);
}

TEST_F(ElevationTest, DescribesARequestAsTheServiceWantsIt) {
  Start(3);
  const net::Fetcher::FetchParams params = network->Params(0);
  EXPECT_EQ(params.url.toLatin1(),
            ElevationRequestUrl(ElevationQuery::s_url_, Points(3).data(), 3, 1 << 20));
  EXPECT_TRUE(params.user_agent.isEmpty());
  EXPECT_TRUE(params.referrer.isNull());
  EXPECT_TRUE(params.headers.empty());
  EXPECT_EQ(params.headers.get_allocator().heap(), HeapManager::GetTransientHeap());
  EXPECT_EQ(params.completion, &ElevationQuery::InternalFetchDoneCb);
  EXPECT_EQ(params.user_data, query.get());
  EXPECT_EQ(params.pacing_interval_s, 0.0);
  EXPECT_EQ(params.priority, 0);
  EXPECT_TRUE(params.bypass_caches);
  EXPECT_FALSE(params.low_priority);
  EXPECT_EQ(params.max_body_bytes, 0u);
}

TEST_F(ElevationTest, KeepsItsListsOnTheHeapThatItCameFrom) {
  query.reset(new (HeapManager::GetDynamicHeap()) RecordedQuery());
  EXPECT_EQ(query->heights().get_allocator().heap(), HeapManager::GetDynamicHeap());
  EXPECT_EQ(query->chunk_sizes().get_allocator().heap(), HeapManager::GetDynamicHeap());
}

// The length of the request for these points.
int LengthOf(const Vec3<double>* points, int count) {
  return ElevationRequestUrl(ElevationQuery::s_url_, points, count, 1 << 20).size();
}
int LengthOf(int count) {
  return LengthOf(Points(count).data(), count);
}

TEST_F(ElevationTest, FallsFromFivePointsToFourWhereFiveAreTooLong) {
  Start(5, 5, LengthOf(4));
  EXPECT_EQ(query->Chunks(), (std::vector<int>{4, 1}));
}

TEST_F(ElevationTest, FailsWhereNotEvenOnePointFits) {
  Start(5, 5, LengthOf(1) - 1);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(network->Count(), 0u);
  EXPECT_EQ(query->done_count(), 0);
}

TEST_F(ElevationTest, FailsWithANegativeLength) {
  Start(5, 5, -1);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(network->Count(), 0u);
}

// Four fifths of 1 is 0: two points that do not fit become one.
TEST_F(ElevationTest, GoesDownInFourFifthsToOnePoint) {
  Start(3, 3, LengthOf(1));
  EXPECT_EQ(query->Chunks().front(), 1);
}

// 512, 409, 327, 261, 208, 166 ...: each request begins again at the greatest number, and numbers
// between the steps are never tried.
TEST_F(ElevationTest, BeginsEachRequestAgainAtTheGreatestNumber) {
  const std::vector<Vec3<double>> points = Points(3000);
  const int greatest_length = LengthOf(200);
  std::vector<int> expected;
  for (int done = 0; done < 3000; done += expected.back()) {
    int chunk = std::min(512, 3000 - done);
    while (LengthOf(points.data() + done, chunk) > greatest_length) {
      chunk = chunk * 4 / 5;
    }
    expected.push_back(chunk);
  }
  EXPECT_EQ(expected.front(), 166);
  Start(3000, 512, greatest_length);
  EXPECT_EQ(query->Chunks(), expected);
}

TEST_F(ElevationTest, ConstructorTakesTheDefaultLimits) {
  query = std::make_unique<RecordedQuery>(Points(600).data(), 600);
  const std::vector<int> chunks = query->Chunks();
  EXPECT_EQ(std::accumulate(chunks.begin(), chunks.end(), 0), 600);
  for (const QString& url : network->Urls()) {
    EXPECT_LE(url.size(), 2048);
  }
  EXPECT_LT(chunks.front(), 512) << "512 of these points take more than 2048 bytes";
  EXPECT_EQ(query->state(), ElevationQuery::kFetching);
}

TEST_F(ElevationTest, ConstructorTakesLimits) {
  query = std::make_unique<RecordedQuery>(Points(7).data(), 7, 3, 2048);
  EXPECT_EQ(query->Chunks(), (std::vector<int>{3, 3, 1}));
  for (int i = 0; i < 3; ++i) {
    network->Complete(static_cast<std::size_t>(i), Heights(3 * i, i < 2 ? 3 : 1));
  }
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, ConstructorWhoseRequestsHaveEndedLeavesAFinalState) {
  network->AnswerBeforeReturning(Heights(0, 2));
  query = std::make_unique<RecordedQuery>(Points(2).data(), 2, 512, 2048);
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(query->Heights(), Numbers(2));
  EXPECT_EQ(query->done_count(), 0) << "there was nobody yet to be told";
}

TEST_F(ElevationTest, RequestThatCannotBeStartedFailsTheQuery) {
  network->RefuseStarts();
  Start(5);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->request_count(), 0u);
  EXPECT_EQ(query->done_count(), 0);
}

// The third point takes more bytes than a request of one of the others has room for.
class ElevationMiddleTest : public ElevationTest {
 protected:
  void StartAndFail() {
    const std::vector<Vec3<double>> points = {{}, {}, {-0.9999999, -0.4999999, 0.0}};
    const int room = LengthOf(points.data(), 1);
    query = std::make_unique<RecordedQuery>();
    query->Construct(points.data(), 3, 1, room);
    EXPECT_EQ(query->state(), ElevationQuery::kFailed);
    ASSERT_EQ(network->Count(), 2u);
    EXPECT_TRUE(network->WasCancelled(0));
    EXPECT_TRUE(network->WasCancelled(1));
  }
};

TEST_F(ElevationMiddleTest, FailureInTheMiddleOfSendingTellsWhereTheEndsAreKnown) {
  StartAndFail();
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationMiddleTest, FailureInTheMiddleOfSendingWaitsForEndsThatAreStillToCome) {
  network->TellCancelledOnes();
  StartAndFail();
  EXPECT_EQ(query->done_count(), 0);
  network->Complete(1, Status(net::Fetcher::kCancelled));
  EXPECT_EQ(query->done_count(), 0);
  network->Complete(0, Status(net::Fetcher::kCancelled));
  EXPECT_EQ(query->done_count(), 1);
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
