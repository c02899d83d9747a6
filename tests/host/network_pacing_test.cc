// SPDX-License-Identifier: Apache-2.0
// When requests start: pacing, and further attempts after 429 and 503.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <string>

#include "host/reference/network/pacing.h"
#include "host/reference/network/retry_policy.h"
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

class NetworkPacing : public testing_support::NetworkTest {
 protected:
  RefPtr<Fetcher> FetchPaced(const std::string& url, double interval_s) {
    auto params = recorder.Params(url);
    params.pacing_interval_s = interval_s;
    return Fetcher::fetch(params, nullptr);
  }
  CompletionRecorder recorder;
};

// Requests arrive later than they start, by a way that is not the same each time. So intervals are
// measured from a moment before the first start, or from the arrival that was answered first.
using Moment = std::chrono::steady_clock::time_point;

TEST_F(NetworkPacing, KeepsTheIntervalBetweenRequestsToOneServer) {
  LoopbackServer server(ReplyOk);
  const Moment begin = std::chrono::steady_clock::now();
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 4; ++i) {
    requests.push_back(FetchPaced(server.Url("/"), 0.05));
  }
  ASSERT_TRUE(recorder.Await(4));
  const auto sent = server.requests();
  for (std::size_t i = 0; i < sent.size(); ++i) {
    EXPECT_GE(sent[i].arrived - begin, milliseconds(50) * i) << i;
  }
}

TEST_F(NetworkPacing, KeepsTheOrderOfStarting) {
  options.max_connections_per_server = 1;  // Two connections could overtake one another.
  UseOptions();
  LoopbackServer server(ReplyOk);
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 5; ++i) {
    requests.push_back(FetchPaced(server.Url("/" + std::to_string(i)), 0.01));
  }
  ASSERT_TRUE(recorder.Await(5));
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(server.requests()[i].target, "/" + std::to_string(i));
  }
}

TEST_F(NetworkPacing, OfOneServerDoesNotHoldUpAnother) {
  LoopbackServer slow(ReplyOk);
  LoopbackServer free(ReplyOk);
  const RefPtr<Fetcher> first = FetchPaced(slow.Url("/"), 30.0);
  const RefPtr<Fetcher> waiting = FetchPaced(slow.Url("/"), 30.0);
  const RefPtr<Fetcher> other = FetchPaced(free.Url("/"), 30.0);
  ASSERT_TRUE(recorder.Await(2));
  EXPECT_EQ(other->status(), Fetcher::kSucceeded);
  EXPECT_EQ(waiting->status(), Fetcher::kRunning);
  waiting->cancel();
}

TEST_F(NetworkPacing, HoldsUpNoRequestWithoutAnInterval) {
  LoopbackServer server(ReplyOk);
  const RefPtr<Fetcher> first = FetchPaced(server.Url("/"), 30.0);
  const RefPtr<Fetcher> waiting = FetchPaced(server.Url("/"), 30.0);
  for (const double none : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    const RefPtr<Fetcher> free = FetchPaced(server.Url("/"), none);
    ASSERT_TRUE(recorder.Await(2));
  }
  ASSERT_TRUE(recorder.Await(4));
  EXPECT_EQ(waiting->status(), Fetcher::kRunning);
  waiting->cancel();
}

TEST_F(NetworkPacing, OutlivesTheLastRequest) {
  options.idle_linger_s = 0.0;
  UseOptions();
  LoopbackServer server(ReplyOk);
  const Moment begin = std::chrono::steady_clock::now();
  const RefPtr<Fetcher> first = FetchPaced(server.Url("/"), 0.1);
  ASSERT_TRUE(recorder.Await(1));
  const RefPtr<Fetcher> second = FetchPaced(server.Url("/"), 0.1);
  ASSERT_TRUE(recorder.Await(2));
  EXPECT_GE(server.requests().at(1).arrived - begin, milliseconds(100));
}

TEST(PacingGate, IsOpenBeforeTheFirstRequest) {
  const net::PacingGate gate;
  EXPECT_EQ(gate.Earliest(std::chrono::hours(1)), net::Clock::time_point::min());
}

TEST(PacingGate, MeasuresTheIntervalOfTheNextRequestFromTheLastStart) {
  net::PacingGate gate;
  const net::Clock::time_point start{std::chrono::seconds(100)};
  gate.Started(start, std::chrono::seconds(1));
  EXPECT_EQ(gate.Earliest(std::chrono::seconds(3)), start + std::chrono::seconds(3));
  EXPECT_EQ(gate.OpenFrom(), start + std::chrono::seconds(1));
}

TEST(PacingInterval, IsNothingForNumbersThatAreNoInterval) {
  EXPECT_EQ(net::ToDuration(0.0, 10.0).count(), 0);
  EXPECT_EQ(net::ToDuration(-3.0, 10.0).count(), 0);
  EXPECT_EQ(net::ToDuration(std::nan(""), 10.0).count(), 0);
  EXPECT_EQ(net::ToDuration(std::numeric_limits<double>::infinity(), 10.0),
            std::chrono::seconds(10));
  EXPECT_EQ(net::ToDuration(0.25, 10.0), milliseconds(250));
  EXPECT_GT(net::ToDuration(1e-300, 10.0).count(), 0);
}

TEST(RetryPolicy, RepeatsOnly429And503AndOnlyUpToItsCount) {
  const net::RetryPolicy policy{2, 1.0, 8.0, 30.0};
  EXPECT_TRUE(policy.Retries(429, 0));
  EXPECT_TRUE(policy.Retries(503, 1));
  EXPECT_FALSE(policy.Retries(503, 2));
  for (const int status : {2, 6, 8, 10, 404, 500, 502, 504}) {
    EXPECT_FALSE(policy.Retries(status, 0)) << status;
  }
}

TEST(RetryPolicy, DoublesTheDelayUpToItsMaximum) {
  const net::RetryPolicy policy{100, 0.5, 3.0, 30.0};
  const double almost_one = std::nextafter(1.0, 0.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, 0.0, almost_one), 0.5);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(1, 0.0, almost_one), 1.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(2, 0.0, almost_one), 2.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(3, 0.0, almost_one), 3.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(99, 0.0, almost_one), 3.0);
}

TEST(RetryPolicy, DrawsTheDelayFromItsUpperHalf) {
  const net::RetryPolicy policy{3, 1.0, 8.0, 30.0};
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, 0.0, 0.0), 0.5);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, 0.0, 0.5), 0.75);
}

TEST(RetryPolicy, HonoursTheServersWishUpToItsLimit) {
  const net::RetryPolicy policy{3, 1.0, 8.0, 30.0};
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, 7.0, 0.0), 7.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, 1e9, 0.0), 30.0);
  EXPECT_DOUBLE_EQ(policy.DelaySeconds(0, -5.0, 0.0), 0.5);
}

class NetworkRetry : public testing_support::NetworkTest {
 protected:
  /// A server that answers `status` with `headers` `failures` times, and 200 from then on.
  LoopbackServer::Handler FailsFirst(int failures, int status, const std::string& headers = "") {
    return [this, failures, status, headers](const Request&, Answer& answer) {
      if (++attempts <= failures) {
        answer.Reply(status, "busy", headers);
      } else {
        answer.Reply(200, "served");
      }
    };
  }

  /// From the arrival of the first attempt to that of the second.
  std::chrono::steady_clock::duration Gap(const LoopbackServer& server) {
    const auto sent = server.requests();
    return sent.at(1).arrived - sent.at(0).arrived;
  }

  std::atomic<int> attempts{0};
  CompletionRecorder recorder;
};

TEST_F(NetworkRetry, BringsTheAnswerThatABusyServerGivesLater) {
  for (const int status : {429, 503}) {
    attempts = 0;
    LoopbackServer server(FailsFirst(2, status));
    const auto event = recorder.FetchAndAwait(server.Url("/"));
    EXPECT_EQ(event.status, Fetcher::kSucceeded);
    EXPECT_EQ(event.body, QByteArray("served"));
    EXPECT_EQ(server.requests().size(), 3u);
  }
  EXPECT_EQ(Counted().retried, 4u);
  EXPECT_EQ(Counted().started, 2u);
  EXPECT_EQ(Counted().succeeded, 2u);
}

TEST_F(NetworkRetry, GivesTheLastStatusWhenItsCountIsUsedUp) {
  options.max_retries = 2;
  UseOptions();
  LoopbackServer server(FailsFirst(100, 503));
  const auto event = recorder.FetchAndAwait(server.Url("/"));
  EXPECT_EQ(event.status, 503);
  EXPECT_EQ(server.requests().size(), 3u);
  EXPECT_EQ(recorder.events().size(), 1u);
}

TEST_F(NetworkRetry, CanBeSwitchedOff) {
  options.max_retries = 0;
  UseOptions();
  LoopbackServer server(FailsFirst(1, 503));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, 503);
}

TEST_F(NetworkRetry, LeavesOtherFailuresAsTheyAre) {
  LoopbackServer server(FailsFirst(1, 500));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, 500);
  EXPECT_EQ(Counted().retried, 0u);
}

TEST_F(NetworkRetry, WaitsTheSecondsThatTheServerAsksFor) {
  LoopbackServer server(FailsFirst(1, 503, "Retry-After: 1\r\n"));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
  EXPECT_GE(Gap(server), milliseconds(1000));
}

TEST_F(NetworkRetry, WaitsForTheDateThatTheServerNames) {
  const std::time_t when = std::time(nullptr) + 3;
  std::tm parts{};
  gmtime_r(&when, &parts);
  char date[64];
  std::strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S GMT", &parts);
  LoopbackServer server(FailsFirst(1, 429, std::string("Retry-After: ") + date + "\r\n"));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
  // Dates have whole seconds, so up to one of the three has gone before the answer was read.
  EXPECT_GE(Gap(server), milliseconds(1500));
}

TEST_F(NetworkRetry, WaitsNoLongerThanItsLimitWhateverTheServerAsksFor) {
  options.retry_after_limit_s = 0.05;
  UseOptions();
  for (const char* wish : {"86400", "Fri, 31 Dec 9999 23:59:59 GMT", "999999999999999999999"}) {
    attempts = 0;
    LoopbackServer server(FailsFirst(1, 503, std::string("Retry-After: ") + wish + "\r\n"));
    EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded) << wish;
  }
}

TEST_F(NetworkRetry, UsesItsOwnDelayForAWishWithoutSense) {
  for (const char* wish : {"soon", "-1", "0", "Thu, 01 Jan 1970 00:00:01 GMT", ""}) {
    attempts = 0;
    LoopbackServer server(FailsFirst(1, 503, std::string("Retry-After: ") + wish + "\r\n"));
    EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded) << wish;
  }
}

// One handle serves both attempts.
TEST_F(NetworkRetry, ForgetsAWishThatTheNextAnswerDoesNotRepeat) {
  options.retry_after_limit_s = 1.0;
  UseOptions();
  LoopbackServer server([this](const Request&, Answer& answer) {
    switch (++attempts) {
    case 1:
      return answer.Reply(503, "busy", "Retry-After: 86400\r\n");
    case 2:
      return answer.Reply(503, "busy");
    default:
      return answer.Reply(200, "served");
    }
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
  const auto sent = server.requests();
  EXPECT_GE(sent.at(1).arrived - sent.at(0).arrived, milliseconds(1000));
  EXPECT_LT(sent.at(2).arrived - sent.at(1).arrived, milliseconds(900));
}

// The redirect and what it leads to are one transfer of curl's, which keeps the wish of either.
TEST_F(NetworkRetry, KeepsNoWishOfARedirect) {
  options.retry_after_limit_s = 1.0;
  UseOptions();
  LoopbackServer server([this](const Request& request, Answer& answer) {
    if (request.target == "/") {
      return answer.Reply(302, "", "Location: /there\r\nRetry-After: 86400\r\n");
    }
    return ++attempts == 1 ? answer.Reply(503, "busy") : answer.Reply(200, "served");
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kSucceeded);
  const auto sent = server.requests();
  EXPECT_LT(sent.at(2).arrived - sent.at(1).arrived, milliseconds(900));
}

TEST_F(NetworkRetry, KeepsThePacingIntervalToo) {
  options.retry_base_delay_s = 0.0;
  UseOptions();
  LoopbackServer server(FailsFirst(1, 503));
  const Moment begin = std::chrono::steady_clock::now();
  auto params = recorder.Params(server.Url("/"));
  params.pacing_interval_s = 0.1;
  EXPECT_EQ(recorder.FetchAndAwait(params).status, Fetcher::kSucceeded);
  EXPECT_GE(server.requests().at(1).arrived - begin, milliseconds(100));
}

TEST_F(NetworkRetry, EndsWithACancelBetweenTwoAttempts) {
  options.retry_after_limit_s = 3600.0;
  UseOptions();
  LoopbackServer server(FailsFirst(100, 503, "Retry-After: 3600\r\n"));
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  while (Counted().retried == 0) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  EXPECT_EQ(fetcher->status(), Fetcher::kRunning);
  fetcher->cancel();
  EXPECT_EQ(fetcher->status(), Fetcher::kCancelled);
}

}  // namespace
}  // namespace nimbara
