// SPDX-License-Identifier: Apache-2.0
// From the ends of the requests to the end of the query.
#include "tests/spatial/geodesy/elevation_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kCancelled = net::Fetcher::kCancelled;

TEST_F(ElevationTest, HeightsStandInInputOrderWhateverTheOrderOfReplies) {
  const std::vector<std::vector<std::size_t>> orders = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                                        {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
  for (const std::vector<std::size_t>& order : orders) {
    RenewNetwork();
    Start(1200);
    for (const std::size_t request : order) {
      EXPECT_EQ(query->done_count(), 0);
      network->Complete(request, Heights(static_cast<int>(request) * 512, request < 2 ? 512 : 176));
    }
    EXPECT_EQ(query->state(), ElevationQuery::kDone);
    EXPECT_EQ(query->Heights(), Numbers(1200));
    EXPECT_EQ(query->done_count(), 1);
    EXPECT_EQ(query->fetches_finished(), 3);
    EXPECT_EQ(query->heights_received(), 1200);
    query.reset();
  }
}

TEST_F(ElevationTest, ReplyWithOneHeightFewerFailsTheQuery) {
  Start(4, 2);
  network->Complete(0, Heights(0, 1));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_TRUE(query->Heights().empty());
  EXPECT_EQ(query->heights_received(), 1);
  EXPECT_TRUE(network->WasCancelled(1));
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, ReplyWithOneHeightMoreFailsTheQuery) {
  Start(4, 2);
  network->Complete(1, Heights(2, 2));
  network->Complete(0, Heights(0, 3));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->heights_received(), 5);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, SurplusOfTheLastRequestPasses) {
  Start(4, 2);
  network->Complete(0, Heights(0, 2));
  network->Complete(1, Heights(2, 5));
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(query->Heights(), Numbers(4));
}

TEST_F(ElevationTest, SurplusTextOfTheLastRequestFailsTheQuery) {
  Start(2);
  network->Complete(0, {net::Fetcher::kSucceeded, ReplyOf({"0", "1", "\"2\""})});
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->heights_received(), 2);
}

TEST_F(ElevationTest, TextInPlaceOfANumberFailsTheQuery) {
  Start(2);
  network->Complete(0, {net::Fetcher::kSucceeded, ReplyOf({"0", "\"1\""})});
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_TRUE(query->Heights().empty());
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, ReplyThatIsNoJsonFailsTheQuery) {
  for (const char* const body : {"", "<html></html>", "[]", "7", "{\"results\":5}"}) {
    Start(1);
    network->Complete(network->Count() - 1, {net::Fetcher::kSucceeded, body});
    EXPECT_EQ(query->state(), ElevationQuery::kFailed) << body;
    EXPECT_EQ(query->heights_received(), 0) << body;
    EXPECT_EQ(query->done_count(), 1) << body;
  }
}

TEST_F(ElevationTest, StatusOfAReplyIsIgnored) {
  Start(1);
  network->Complete(
      0, {net::Fetcher::kSucceeded, R"({"status":"INVALID_REQUEST","results":[{"elevation":0}]})"});
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
}

struct Failure {
  int status;
  ElevationQuery::State state;
};

TEST_F(ElevationTest, StatusOfAFailedRequestDecidesTheState) {
  for (const Failure& failure :
       {Failure{10, ElevationQuery::kOffline}, Failure{503, ElevationQuery::kServiceUnavailable},
        Failure{504, ElevationQuery::kServiceUnavailable}, Failure{500, ElevationQuery::kFailed},
        Failure{404, ElevationQuery::kFailed}, Failure{403, ElevationQuery::kFailed},
        Failure{0, ElevationQuery::kFailed}, Failure{1, ElevationQuery::kFailed},
        Failure{5, ElevationQuery::kFailed}}) {
    Start(4, 2);
    network->Complete(network->Count() - 2, Status(failure.status));
    EXPECT_EQ(query->state(), failure.state) << failure.status;
    EXPECT_TRUE(query->Heights().empty());
    EXPECT_TRUE(network->WasCancelled(network->Count() - 1)) << failure.status;
    EXPECT_EQ(query->done_count(), 1) << failure.status;
    EXPECT_EQ(query->fetches_finished(), 2) << failure.status;
  }
}

TEST_F(ElevationTest, LostConnectionIsOfflineWhateverTheStatus) {
  for (const int status : {404, 503, 10}) {
    Start(4, 2);
    const ConnectionStatus lost(0);
    network->Complete(network->Count() - 2, Status(status));
    EXPECT_EQ(query->state(), ElevationQuery::kOffline) << status;
  }
}

TEST_F(ElevationTest, GoodReplyCountsWithoutAConnection) {
  Start(1);
  const ConnectionStatus lost(0);
  network->Complete(0, Heights(0, 1));
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
}

TEST_F(ElevationTest, FailedRequestIsNotCancelledItself) {
  Start(4, 2);
  network->Complete(0, Status(404));
  EXPECT_FALSE(network->WasCancelled(0));
}

TEST_F(ElevationTest, GoodReplyBehindAFailureIsNotRead) {
  network->TellCancelledOnes();
  Start(4, 2);
  network->Complete(0, Status(404));
  network->Complete(1, Heights(2, 2));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->heights_received(), 0);
  EXPECT_TRUE(query->Heights().empty());
  EXPECT_EQ(query->done_count(), 1);
}

// Hosts that tell of the end of a cancelled request by a completion that comes later.
class ToldElevationTest : public ElevationTest {
 protected:
  ToldElevationTest() { network->TellCancelledOnes(); }
};

TEST_F(ToldElevationTest, UnavailableServiceStaysSoThroughCancelledEnds) {
  Start(6, 2);
  network->Complete(1, Status(503));
  EXPECT_TRUE(network->WasCancelled(0));
  EXPECT_TRUE(network->WasCancelled(2));
  EXPECT_EQ(query->done_count(), 0);
  network->Complete(0, Status(kCancelled));
  EXPECT_EQ(query->state(), ElevationQuery::kServiceUnavailable);
  EXPECT_EQ(query->done_count(), 0);
  network->Complete(2, Status(kCancelled));
  EXPECT_EQ(query->state(), ElevationQuery::kServiceUnavailable);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ToldElevationTest, LaterEndWithoutAConnectionTurnsUnavailableIntoOffline) {
  Start(6, 2);
  network->Complete(0, Status(503));
  network->Complete(1, Status(10));
  EXPECT_EQ(query->state(), ElevationQuery::kOffline);
  network->Complete(2, Status(503));
  EXPECT_EQ(query->state(), ElevationQuery::kServiceUnavailable);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ToldElevationTest, CancelledEndWithTheConnectionGoneTurnsUnavailableIntoOffline) {
  Start(4, 2);
  network->Complete(0, Status(503));
  const ConnectionStatus lost(0);
  network->Complete(1, Status(kCancelled));
  EXPECT_EQ(query->state(), ElevationQuery::kOffline);
}

TEST_F(ToldElevationTest, FailedStaysFailedThroughEveryOtherEnd) {
  Start(8, 2);
  network->Complete(0, Status(404));
  network->Complete(1, Status(503));
  network->Complete(2, Status(10));
  const ConnectionStatus lost(0);
  network->Complete(3, Status(kCancelled));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ToldElevationTest, RequestIsCancelledButNotForgottenBeforeItsEnd) {
  Start(4, 2);
  network->Complete(0, Status(404));
  EXPECT_EQ(query->fetches_finished(), 1);
  network->Complete(1, Status(kCancelled));
  EXPECT_EQ(query->fetches_finished(), 2);
}

TEST_F(ElevationTest, UnavailableServiceStaysSoWhereCancelledOnesAreNotHeardOf) {
  Start(6, 2);
  network->Complete(1, Status(503));
  EXPECT_EQ(query->state(), ElevationQuery::kServiceUnavailable);
  EXPECT_EQ(query->fetches_finished(), 3);
  EXPECT_EQ(query->done_count(), 1);
}

// A request of somebody else's that comes back with this query as its user data.
TEST_F(ElevationTest, UnknownRequestFailsTheQuery) {
  Start(4, 2);
  net::Fetcher::FetchParams params;
  params.completion = &ElevationQuery::InternalFetchDoneCb;
  params.user_data = query.get();
  const RefPtr<net::Fetcher> stranger = net::Fetcher::fetch(params, nullptr);
  network->Complete(2, Heights(0, 2));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_TRUE(network->WasCancelled(0));
  EXPECT_TRUE(network->WasCancelled(1));
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ToldElevationTest, UnknownRequestLeavesTheTellingToTheEndsThatFollow) {
  Start(4, 2);
  net::Fetcher::FetchParams params;
  params.completion = &ElevationQuery::InternalFetchDoneCb;
  params.user_data = query.get();
  const RefPtr<net::Fetcher> stranger = net::Fetcher::fetch(params, nullptr);
  network->Complete(2, Heights(0, 2));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->done_count(), 0);
  network->Complete(0, Status(kCancelled));
  network->Complete(1, Status(kCancelled));
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, EndThatComesTwiceFailsADoneQueryAndTellsNobody) {
  Start(1);
  network->Complete(0, Heights(0, 1));
  query->InternalFetchDone(*network->Request(0));
  EXPECT_EQ(query->state(), ElevationQuery::kFailed);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, CompletionsBeforeSendingHasEndedCountLikeLaterOnes) {
  network->AnswerBeforeReturning(Heights(0, 2));
  Start(6, 2);
  EXPECT_EQ(query->state(), ElevationQuery::kDone);
  EXPECT_EQ(query->Heights(), (std::vector<float>{0, 1, 0, 1, 0, 1}));
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, FailuresBeforeSendingHasEndedCountLikeLaterOnes) {
  network->AnswerBeforeReturning(Status(503));
  Start(6, 2);
  EXPECT_EQ(network->Count(), 3u);
  EXPECT_EQ(query->state(), ElevationQuery::kServiceUnavailable);
  EXPECT_EQ(query->done_count(), 1);
}

TEST_F(ElevationTest, DestructionCancelsWhatIsOutAndTellsNobody) {
  Start(6, 2);
  network->Complete(1, Heights(2, 2));
  query.reset();
  EXPECT_TRUE(network->WasCancelled(0));
  EXPECT_FALSE(network->WasCancelled(1));
  EXPECT_TRUE(network->WasCancelled(2));
  network->Complete(0, Heights(0, 2));
}

TEST_F(ElevationTest, CancellingLeavesTheStateThatIsAskedForAndTellsNobody) {
  Start(4, 2);
  network->Complete(0, Heights(0, 2));
  query->DoCancelFetch(ElevationQuery::kCancelled);
  EXPECT_EQ(query->state(), ElevationQuery::kCancelled);
  EXPECT_TRUE(query->Heights().empty());
  EXPECT_TRUE(network->WasCancelled(1));
  EXPECT_EQ(query->done_count(), 0);
}

TEST_F(ElevationTest, DestructionBehindTheEndIsQuiet) {
  Start(2);
  network->Complete(0, Heights(0, 2));
  query.reset();
  EXPECT_FALSE(network->WasCancelled(0));
}

TEST_F(ElevationTest, ReleasesARequestAsItEnds) {
  Start(4, 2);
  const RefPtr<net::Fetcher> request = network->Request(0);
  const int held = request->ref_count();
  network->Complete(0, Heights(0, 2));
  EXPECT_EQ(request->ref_count(), held - 1);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
