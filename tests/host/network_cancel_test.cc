// SPDX-License-Identifier: Apache-2.0
// The promises about completions and cancel, under threads.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <string>
#include <thread>

#include "tests/support/network_test_base.h"

namespace nimbara {
namespace {

using std::chrono::milliseconds;
using testing_support::CompletionRecorder;
using testing_support::LoopbackServer;
using Request = LoopbackServer::Request;
using Answer = LoopbackServer::Answer;

void ReplyOk(const Request&, Answer& answer) {
  answer.Reply(200, "ok");
}

class NetworkCompletions : public testing_support::NetworkTest {};
class NetworkCancel : public testing_support::NetworkTest {};
class NetworkShutDown : public testing_support::NetworkTest {};

TEST_F(NetworkCompletions, AllRunOnOneThreadThatIsNotTheCallers) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t) {
    callers.emplace_back([&] {
      for (int i = 0; i < 20; ++i) {
        recorder.Fetch(server.Url("/"));
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  ASSERT_TRUE(recorder.Await(80));
  const auto events = recorder.events();
  for (const auto& event : events) {
    EXPECT_EQ(event.thread, events[0].thread);
    EXPECT_NE(event.thread, System::GetCurrentThread());
    EXPECT_EQ(event.status, Fetcher::kSucceeded);
  }
}

TEST_F(NetworkCompletions, SeeAFinalStatusAndBody) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(recorder.Await(1));
  EXPECT_EQ(recorder.events()[0].fetcher, fetcher.get());
  EXPECT_EQ(recorder.events()[0].status, fetcher->status());
  EXPECT_EQ(recorder.events()[0].body, fetcher->body());
}

TEST_F(NetworkCompletions, ComeForRequestsThatNobodyHolds) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  recorder.Fetch(server.Url("/"));
  EXPECT_TRUE(recorder.Await(1));
}

TEST_F(NetworkCompletions, NeverRunInsideFetchEvenOnTheirOwnThread) {
  LoopbackServer server(ReplyOk);
  std::atomic<bool> in_fetch{false};
  std::atomic<int> inside{0};
  std::atomic<int> left{20};
  CompletionRecorder* self = nullptr;
  CompletionRecorder recorder([&](Fetcher&) {
    inside += in_fetch ? 1 : 0;
    if (--left > 0) {
      in_fetch = true;
      self->Fetch(left % 2 == 0 ? server.Url("/") : "bad address");
      in_fetch = false;
    }
  });
  self = &recorder;
  recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(recorder.Await(20));
  EXPECT_EQ(inside, 0);
}

TEST_F(NetworkCompletions, MayRunWhileAnotherThreadStartsRequestsUnderALockThatTheyTake) {
  LoopbackServer server(ReplyOk);
  SpinLock lock;
  int under_lock = 0;
  CompletionRecorder recorder([&](Fetcher&) {
    std::lock_guard<SpinLock> hold(lock);
    ++under_lock;
  });
  for (int i = 0; i < 200; ++i) {
    std::lock_guard<SpinLock> hold(lock);
    recorder.Fetch(server.Url("/"));
  }
  ASSERT_TRUE(recorder.Await(200));
  std::lock_guard<SpinLock> hold(lock);
  EXPECT_EQ(under_lock, 200);
}

TEST_F(NetworkCompletions, MayCancelOtherRequests) {
  LoopbackServer server([](const Request& request, Answer& answer) {
    if (request.target == "/slow") {
      answer.Stall();
    } else {
      answer.Reply(200, "ok");
    }
  });
  CompletionRecorder never;
  const RefPtr<Fetcher> slow = never.Fetch(server.Url("/slow"));
  CompletionRecorder recorder([&](Fetcher&) { slow->cancel(); });
  recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(recorder.Await(1));
  EXPECT_EQ(slow->status(), Fetcher::kCancelled);
  net::ShutDownNetwork();
  EXPECT_TRUE(never.events().empty());
}

TEST_F(NetworkCompletions, MayCancelAndReleaseTheirOwnRequest) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder([](Fetcher& fetcher) { fetcher.cancel(); });
  {
    const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
    ASSERT_TRUE(recorder.Await(1));
    EXPECT_EQ(fetcher->status(), Fetcher::kSucceeded);
  }
  EXPECT_EQ(Counted().cancelled, 0u);
}

TEST_F(NetworkCancel, EndsAStalledRequestAtOnceWithoutACompletion) {
  LoopbackServer server([](const Request&, Answer& answer) { answer.Stall(); });
  CompletionRecorder recorder;
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(server.AwaitRequests(1));
  EXPECT_EQ(fetcher->status(), Fetcher::kRunning);
  fetcher->cancel();
  EXPECT_EQ(fetcher->status(), Fetcher::kCancelled);
  EXPECT_TRUE(fetcher->body().isEmpty());
  net::ShutDownNetwork();
  EXPECT_TRUE(recorder.events().empty());
  EXPECT_EQ(Counted().cancelled, 1u);
}

TEST_F(NetworkCancel, FreesThePlaceOfTheRequestForOneThatWaits) {
  options.max_connections_per_server = 1;
  UseOptions();
  LoopbackServer server([](const Request& request, Answer& answer) {
    if (request.target == "/slow") {
      answer.Stall();
    } else {
      answer.Reply(200, "ok");
    }
  });
  CompletionRecorder recorder;
  const RefPtr<Fetcher> slow = recorder.Fetch(server.Url("/slow"));
  ASSERT_TRUE(server.AwaitRequests(1));
  const RefPtr<Fetcher> waiting = recorder.Fetch(server.Url("/"));
  slow->cancel();
  ASSERT_TRUE(recorder.Await(1));
  EXPECT_EQ(waiting->status(), Fetcher::kSucceeded);
}

TEST_F(NetworkCancel, EndsARequestThatStillWaitsForItsTurn) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  auto params = recorder.Params(server.Url("/"));
  params.pacing_interval_s = 60.0;
  const RefPtr<Fetcher> first = Fetcher::fetch(params, nullptr);
  std::vector<RefPtr<Fetcher>> waiting;
  for (int i = 0; i < 100; ++i) {
    waiting.push_back(Fetcher::fetch(params, nullptr));
  }
  ASSERT_TRUE(recorder.Await(1));
  for (const RefPtr<Fetcher>& fetcher : waiting) {
    fetcher->cancel();
  }
  EXPECT_EQ(Counted().cancelled, 100u);
  net::ShutDownNetwork();
  EXPECT_EQ(server.requests().size(), 1u);
  EXPECT_EQ(recorder.events().size(), 1u);
}

TEST_F(NetworkCancel, ChangesNothingAboutARequestThatHasEnded) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(recorder.Await(1));
  fetcher->cancel();
  fetcher->cancel();
  EXPECT_EQ(fetcher->status(), Fetcher::kSucceeded);
  EXPECT_EQ(fetcher->body(), QByteArray("ok"));
}

TEST_F(NetworkCancel, WaitsForACompletionThatHasBegun) {
  LoopbackServer server(ReplyOk);
  std::promise<void> begun;
  std::promise<void> may_end;
  std::atomic<bool> ended{false};
  std::atomic<bool> ended_before_return{false};
  CompletionRecorder recorder([&](Fetcher&) {
    begun.set_value();
    may_end.get_future().wait();
    ended = true;
  });
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  begun.get_future().wait();
  std::thread canceller([&] {
    fetcher->cancel();
    ended_before_return = ended.load();
  });
  std::this_thread::sleep_for(milliseconds(20));
  may_end.set_value();
  canceller.join();
  EXPECT_TRUE(ended_before_return);
}

TEST_F(NetworkCancel, FromManyThreadsAtOnceCountsOnce) {
  LoopbackServer server([](const Request&, Answer& answer) { answer.Stall(); });
  CompletionRecorder recorder;
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  std::vector<std::thread> cancellers;
  for (int t = 0; t < 8; ++t) {
    cancellers.emplace_back([&] { fetcher->cancel(); });
  }
  for (std::thread& canceller : cancellers) {
    canceller.join();
  }
  EXPECT_EQ(Counted().cancelled, 1u);
}

// The object that waits dies right behind cancel, as the owner of a depth request does.
TEST_F(NetworkCancel, LeavesNoCompletionWithADanglingPointer) {
  constexpr unsigned kSeed = 20240917;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::minstd_rand draw(kSeed);
  LoopbackServer server(ReplyOk);
  int completed = 0;
  for (int i = 0; i < 400; ++i) {
    auto waiter = std::make_unique<CompletionRecorder>();
    const RefPtr<Fetcher> fetcher = waiter->Fetch(server.Url("/"));
    if (i % 2 == 0) {
      std::this_thread::sleep_for(std::chrono::microseconds(draw() % 300));
    }
    fetcher->cancel();
    const bool cancelled = fetcher->status() == Fetcher::kCancelled;
    EXPECT_EQ(waiter->events().size(), cancelled ? 0u : 1u);
    completed += cancelled ? 0 : 1;
    waiter.reset();
  }
  EXPECT_EQ(Counted().succeeded, static_cast<std::uint64_t>(completed));
}

TEST_F(NetworkCancel, OfANameLookUpDoesNotHoldUpOtherRequests) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  for (int i = 0; i < 10; ++i) {
    const RefPtr<Fetcher> lost = recorder.Fetch("http://host-" + std::to_string(i) + ".invalid/");
    lost->cancel();
  }
  const std::size_t before = recorder.events().size();
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  ASSERT_TRUE(recorder.Await(before + 1));
}

TEST_F(NetworkShutDown, EndsRequestsInEveryStageWithoutACompletion) {
  options.max_connections_per_server = 2;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) { answer.Stall(); });
  CompletionRecorder recorder;
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 5; ++i) {
    requests.push_back(recorder.Fetch(server.Url("/")));
  }
  ASSERT_TRUE(server.AwaitRequests(2));
  net::ShutDownNetwork();
  EXPECT_TRUE(recorder.events().empty());
  for (const RefPtr<Fetcher>& fetcher : requests) {
    EXPECT_EQ(fetcher->status(), Fetcher::kCancelled);
  }
  EXPECT_EQ(Counted().cancelled, 5u);
}

TEST_F(NetworkShutDown, LetsALaterRequestStartAnew) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
    net::ShutDownNetwork();
  }
}

TEST_F(NetworkShutDown, FromACompletionDoesNotWaitForItself) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder([](Fetcher&) { net::ShutDownNetwork(); });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
}

TEST_F(NetworkShutDown, BesideStartsAndCancelsOnOtherThreadsLosesNoRequest) {
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) {
        const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
        if ((i + t) % 3 == 0) {
          fetcher->cancel();
        }
      }
    });
  }
  std::thread stopper([&] {
    while (!stop) {
      net::ShutDownNetwork();
    }
  });
  for (std::thread& thread : threads) {
    thread.join();
  }
  stop = true;
  stopper.join();
  net::ShutDownNetwork();
  EXPECT_EQ(Counted().started, 300u);
  EXPECT_EQ(Counted().succeeded + Counted().failed, recorder.events().size());
}

TEST_F(NetworkShutDown, ComesByItselfWhenNothingIsLeftToDo) {
  options.idle_linger_s = 0.0;
  UseOptions();
  LoopbackServer server(ReplyOk);
  CompletionRecorder recorder;
  // Each round may meet the thread alive, ending or gone.
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
  }
  EXPECT_EQ(Counted().succeeded, 200u);
  EXPECT_GT(server.connections(), 1);
}

}  // namespace
}  // namespace nimbara
