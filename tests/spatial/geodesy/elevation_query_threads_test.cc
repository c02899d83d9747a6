// SPDX-License-Identifier: Apache-2.0
// Hosts that complete on a thread of their own.
#include <atomic>
#include <random>
#include <thread>

#include "tests/spatial/geodesy/elevation_fixture.h"

namespace nimbara {
namespace spatial {
namespace {

// Two heights for each request, or a failure for every twentieth, by chance.
FakeAnswer SomeAnswer(std::mt19937* draw, bool may_fail) {
  return may_fail && (*draw)() % 20 == 0 ? Status(503) : Heights(0, 2);
}

TEST_F(ElevationTest, CompletionsBesideTheSendingThreadAreAllCounted) {
  network->AnswerAtOnce(Heights(0, 2));
  for (int round = 0; round < 50; ++round) {
    Start(100, 2);
    ASSERT_TRUE(query->AwaitDone()) << round;
    EXPECT_EQ(query->state(), ElevationQuery::kDone) << round;
    EXPECT_EQ(query->heights().size(), 100u) << round;
    query.reset();
    RenewNetwork();
    network->AnswerAtOnce(Heights(0, 2));
  }
}

TEST_F(ElevationTest, FailuresBesideTheSendingThreadTellOnce) {
  for (int round = 0; round < 50; ++round) {
    RenewNetwork();
    auto draw = std::make_shared<std::mt19937>(round);
    network->AnswerAtOnce([draw](const QString&) { return SomeAnswer(draw.get(), true); });
    Start(60, 2);
    ASSERT_TRUE(query->AwaitDone()) << round;
    const ElevationQuery::State state = query->state();
    EXPECT_TRUE(state == ElevationQuery::kDone || state == ElevationQuery::kServiceUnavailable);
    query.reset();
  }
}

TEST_F(ElevationTest, CanBeDestroyedAtAnyMomentBesideTheNetworkThread) {
  std::mt19937 draw(5);
  for (int round = 0; round < 200; ++round) {
    RenewNetwork();
    Start(20, 2);
    for (std::size_t request = 0; request < network->Count(); ++request) {
      network->CompleteLater(request, SomeAnswer(&draw, true));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(draw() % 300));
    query.reset();
  }
}

/// Destroys itself when it is done.
class SelfEndingQuery final : public ElevationQuery {
 public:
  explicit SelfEndingQuery(std::atomic<int>* ended) : ended_(ended) {}
  ~SelfEndingQuery() override {
    DoCancelFetch(kCancelled);
    ++*ended_;
  }
  void FetchDone() override { delete this; }

 private:
  std::atomic<int>* const ended_;
};

TEST_F(ElevationTest, MayDestroyItselfWhenItIsDone) {
  std::atomic<int> ended{0};
  for (int round = 0; round < 50; ++round) {
    RenewNetwork();
    network->AnswerAtOnce(round % 2 == 0 ? Heights(0, 2) : Status(404));
    (new SelfEndingQuery(&ended))->Construct(Points(20).data(), 20, 2, 2048);
    network.reset();  // Lets the completions run.
    EXPECT_EQ(ended, round + 1);
  }
}

// A host with several threads: every request is ended from a thread of its own.
TEST_F(ElevationTest, CompletionsOfSeveralThreadsAreAllCounted) {
  for (int round = 0; round < 30; ++round) {
    RenewNetwork();
    Start(16, 2);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < network->Count(); ++i) {
      threads.emplace_back([&, i] {
        network->CompleteHere(i, i == 3 && round % 2 == 1 ? Status(503) : Heights(0, 2));
      });
    }
    ASSERT_TRUE(query->AwaitDone());
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(query->state(),
              round % 2 == 0 ? ElevationQuery::kDone : ElevationQuery::kServiceUnavailable);
    EXPECT_EQ(query->done_count(), 1);
    query.reset();
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
