// SPDX-License-Identifier: Apache-2.0
// What a request sends, and which addresses it takes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/network_test_base.h"

namespace nimbara {
namespace {

using testing_support::CompletionRecorder;
using testing_support::LoopbackServer;
using Request = LoopbackServer::Request;
using Answer = LoopbackServer::Answer;

class NetworkRequests : public testing_support::NetworkTest {
 protected:
  /// The one request that `params`, sent to the server's `target`, makes.
  Request Sent(Fetcher::FetchParams params) {
    EXPECT_EQ(recorder.FetchAndAwait(params).status, Fetcher::kSucceeded);
    return server.requests().empty() ? Request() : server.requests().back();
  }

  LoopbackServer server{[](const Request&, Answer& answer) { answer.Reply(200, "ok"); }};
  CompletionRecorder recorder;
};

TEST_F(NetworkRequests, ForNoHttpAddressCompleteWithABadUrl) {
  for (const char* url : {"", "plk?output=xml", "/plk", "//127.0.0.1/plk", "file:///etc/hostname",
                          "ftp://127.0.0.1/", "http:", "http://", "http:///plk", "http://[::1/",
                          "http://127.0.0.1:99999/", "javascript:0", "http://a b/"}) {
    EXPECT_EQ(recorder.FetchAndAwait(url).status, Fetcher::kBadUrl) << url;
  }
  EXPECT_EQ(Counted().failed, 13u);
}

TEST_F(NetworkRequests, ForANullAddressCompleteWithABadUrl) {
  auto params = recorder.Params("");
  params.url = QString();
  EXPECT_EQ(recorder.FetchAndAwait(params).status, 7);
}

TEST_F(NetworkRequests, ForAnAddressBeyondAllLengthsCompleteWithABadUrl) {
  EXPECT_EQ(recorder.FetchAndAwait("http://127.0.0.1/" + std::string(9000000, 'a')).status,
            Fetcher::kBadUrl);
}

TEST_F(NetworkRequests, GoWhereTheOptionsSayAndKeepTheNameOfTheirServer) {
  const std::string there = server.Url("");
  options.connect_to =
      QStringList({"no such text",
                   QString::fromStdString("far.example:80:" + there.substr(there.find("//") + 2))});
  UseOptions();
  const Request request = Sent(recorder.Params("http://far.example/plk"));
  EXPECT_EQ(request.Header("host"), "far.example");
  EXPECT_EQ(request.target, "/plk");
}

TEST_F(NetworkRequests, EncodeWhatAnAddressMayNotHold) {
  auto params = recorder.Params("");
  params.url =
      QString::fromStdString(server.Url("/plk?q=")) + QString::fromUtf8("Straße 1%2C\n2#x");
  EXPECT_EQ(Sent(params).target, "/plk?q=Stra%C3%9Fe%201%2C%0A2");
}

TEST_F(NetworkRequests, NameTheHostAsTheirUserAgentUnlessTheyBringOne) {
  EXPECT_EQ(Sent(recorder.Params(server.Url("/"))).Header("user-agent").substr(0, 8), "Pelorin/");
  options.user_agent = "Viewer/7";
  UseOptions();
  EXPECT_EQ(Sent(recorder.Params(server.Url("/"))).Header("user-agent"), "Viewer/7");
  auto params = recorder.Params(server.Url("/"));
  params.user_agent = "Tour/1";
  EXPECT_EQ(Sent(params).Header("user-agent"), "Tour/1");
}

TEST_F(NetworkRequests, CarryReferrerAndHeadersThatTheyBring) {
  auto params = recorder.Params(server.Url("/"));
  params.referrer = "http://viewer.example/";
  params.headers.push_back("X-Session: 12");
  const Request sent = Sent(params);
  EXPECT_EQ(sent.Header("referer"), "http://viewer.example/");
  EXPECT_EQ(sent.Header("x-session"), "12");
}

TEST_F(NetworkRequests, SendNoReferrerOfTheirOwn) {
  EXPECT_EQ(Sent(recorder.Params(server.Url("/"))).Header("referer"), "");
}

TEST_F(NetworkRequests, LeaveOutHeadersThatWouldSmuggleInOthers) {
  auto params = recorder.Params(server.Url("/"));
  params.headers.push_back("X-Good: 1\r\nX-Smuggled: 2");
  params.headers.push_back("no colon");
  params.user_agent = "Agent\r\nX-Smuggled: 3";
  params.referrer = "http://viewer.example/\nX-Smuggled: 4";
  const Request sent = Sent(params);
  EXPECT_EQ(sent.head.find("Smuggled"), std::string::npos) << sent.head;
  EXPECT_EQ(sent.head.find("no colon"), std::string::npos) << sent.head;
}

TEST_F(NetworkRequests, AskCachesForAFreshAnswerWhereTold) {
  auto params = recorder.Params(server.Url("/"));
  EXPECT_EQ(Sent(params).Header("cache-control"), "");
  params.bypass_caches = true;
  EXPECT_EQ(Sent(params).Header("cache-control"), "no-cache");
}

TEST_F(NetworkRequests, OneAfterTheOtherUseOneConnection) {
  for (int i = 0; i < 10; ++i) {
    Sent(recorder.Params(server.Url("/")));
  }
  EXPECT_EQ(server.connections(), 1);
  EXPECT_EQ(Counted().connections_opened, 1u);
}

TEST_F(NetworkRequests, SideBySideKeepToTheConnectionsAllowedAtOneServer) {
  options.max_connections_per_server = 3;
  UseOptions();
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 50; ++i) {
    requests.push_back(recorder.Fetch(server.Url("/")));
  }
  ASSERT_TRUE(recorder.Await(50));
  EXPECT_EQ(Counted().succeeded, 50u);
  EXPECT_LE(server.connections(), 3);
}

TEST_F(NetworkRequests, SideBySideKeepToTheConnectionsAllowedInAll) {
  options.max_connections = 2;
  UseOptions();
  std::mutex mutex;
  int running = 0;
  int most = 0;
  const auto slow = [&](const Request&, Answer& answer) {
    {
      std::lock_guard<std::mutex> hold(mutex);
      most = std::max(most, ++running);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    {
      std::lock_guard<std::mutex> hold(mutex);
      --running;
    }
    answer.Reply(200, "ok");
  };
  LoopbackServer first(slow);
  LoopbackServer second(slow);
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 10; ++i) {
    requests.push_back(recorder.Fetch(first.Url("/")));
    requests.push_back(recorder.Fetch(second.Url("/")));
  }
  ASSERT_TRUE(recorder.Await(20));
  EXPECT_LE(most, 2);
}

TEST_F(NetworkRequests, LiveOnTheHeapThatTheyAreGiven) {
  MemoryManager* heap = HeapManager::GetDynamicHeap();
  const HeapStatistics before = GetHeapStatistics(heap);
  {
    const RefPtr<Fetcher> fetcher = Fetcher::fetch(recorder.Params(server.Url("/")), heap);
    EXPECT_EQ(GetHeapStatistics(heap).blocks, before.blocks + 1);
    ASSERT_TRUE(recorder.Await(1));
  }
  net::ShutDownNetwork();
  EXPECT_EQ(GetHeapStatistics(heap), before);
}

TEST_F(NetworkRequests, HandBackTheirUserData) {
  const RefPtr<Fetcher> fetcher = recorder.Fetch(server.Url("/"));
  EXPECT_EQ(fetcher->user_data(), &recorder);
  ASSERT_TRUE(recorder.Await(1));
}

TEST(InternetConnectionStatus, IsNotZeroWhereALoopbackServerCanBeReached) {
  EXPECT_NE(net::GetInternetConnectionStatus(), 0);
}

}  // namespace
}  // namespace nimbara
