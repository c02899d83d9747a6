// SPDX-License-Identifier: Apache-2.0
// What no answer can do: be too large, take too long, lead astray.
#include <limits>
#include <string>

#include "tests/support/gzip.h"
#include "tests/support/network_test_base.h"

namespace nimbara {
namespace {

using testing_support::CompletionRecorder;
using testing_support::Gzip;
using testing_support::LoopbackServer;
using Request = LoopbackServer::Request;
using Answer = LoopbackServer::Answer;

class NetworkLimits : public testing_support::NetworkTest {
 protected:
  CompletionRecorder recorder;
};

LoopbackServer::Handler Redirects(const std::string& to) {
  return [to](const Request& request, Answer& answer) {
    if (request.target == "/end") {
      answer.Reply(200, "arrived");
    } else {
      answer.Reply(302, "ignored", "Location: " + to + "\r\n");
    }
  };
}

TEST_F(NetworkLimits, LetABodyOfExactlyTheLimitPass) {
  LoopbackServer server(
      [](const Request&, Answer& answer) { answer.Reply(200, std::string(1000, 'x')); });
  auto params = recorder.Params(server.Url("/"));
  params.max_body_bytes = 1000;
  const auto event = recorder.FetchAndAwait(params);
  EXPECT_EQ(event.status, Fetcher::kSucceeded);
  EXPECT_EQ(event.body.size(), 1000);
}

TEST_F(NetworkLimits, EndARequestWhoseBodyIsOneByteTooLong) {
  LoopbackServer server(
      [](const Request&, Answer& answer) { answer.Reply(200, std::string(1001, 'x')); });
  auto params = recorder.Params(server.Url("/"));
  params.max_body_bytes = 1000;
  EXPECT_EQ(recorder.FetchAndAwait(params).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, RefuseAnAnnouncedLengthWithoutReadingUpToIt) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 200000000000\r\n\r\n");
    answer.Stall();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, OfTheHostHoldWhereTheRequestNamesNone) {
  options.max_body_bytes = 10;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) { answer.Reply(200, "eleven byte"); });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, CountDecodedBytesSoThatACompressedBombIsStopped) {
  const std::string bomb = Gzip(std::string(16 << 20, '\0'));
  ASSERT_LT(bomb.size(), std::size_t{100000});
  LoopbackServer server([&](const Request&, Answer& answer) {
    answer.Reply(200, bomb, "Content-Encoding: gzip\r\n");
  });
  auto params = recorder.Params(server.Url("/"));
  params.max_body_bytes = 100000;
  EXPECT_EQ(recorder.FetchAndAwait(params).status, Fetcher::kTooLarge);
  EXPECT_LE(Counted().bytes_received, 100000u);
}

TEST_F(NetworkLimits, StopABombInsideABomb) {
  const std::string bomb = Gzip(Gzip(std::string(16 << 20, '\0')));
  LoopbackServer server([&](const Request&, Answer& answer) {
    answer.Reply(200, bomb, "Content-Encoding: gzip, gzip\r\n");
  });
  auto params = recorder.Params(server.Url("/"));
  params.max_body_bytes = 100000;
  EXPECT_EQ(recorder.FetchAndAwait(params).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, AreNotTrickedByAContentLengthBeyondAllNumbers) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\nx");
    answer.Close();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, StopAFloodOfHeaders) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\n");
    for (int i = 0; i < 20000; ++i) {
      answer.Send("X-Line: " + std::string(100, 'h') + "\r\n");
    }
    answer.Send("\r\n");
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, StopAFloodOfInterimAnswers) {
  LoopbackServer server([](const Request&, Answer& answer) {
    for (int i = 0; i < 20000; ++i) {
      answer.Send("HTTP/1.1 102 Processing\r\nX-Step: working on it\r\n\r\n");
    }
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTooLarge);
}

TEST_F(NetworkLimits, OfTimeEndAnAnswerThatNeverBegins) {
  options.total_timeout_s = 0.1;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) { answer.Stall(); });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTimedOut);
}

TEST_F(NetworkLimits, OfTimeEndAnAnswerThatStallsInItsMiddle) {
  options.total_timeout_s = 0.1;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
    answer.Stall();
  });
  const auto event = recorder.FetchAndAwait(server.Url("/"));
  EXPECT_EQ(event.status, Fetcher::kTimedOut);
}

TEST_F(NetworkLimits, EndAStalledAnswerLongBeforeTheTotalTime) {
  options.stall_timeout_s = 1;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
    answer.Stall();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kTimedOut);
}

TEST_F(NetworkLimits, OfTimeDoNotCountTheWaitForATurn) {
  options.total_timeout_s = 1.0;
  options.max_connections_per_server = 1;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) {
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    answer.Reply(200, "at last");
  });
  std::vector<RefPtr<Fetcher>> requests;
  for (int i = 0; i < 5; ++i) {
    requests.push_back(recorder.Fetch(server.Url("/")));
  }
  ASSERT_TRUE(recorder.Await(5));
  EXPECT_EQ(Counted().succeeded, 5u);
}

TEST_F(NetworkLimits, LetARedirectLeadToItsEnd) {
  LoopbackServer server(Redirects("/end"));
  const auto event = recorder.FetchAndAwait(server.Url("/start"));
  EXPECT_EQ(event.status, Fetcher::kSucceeded);
  EXPECT_EQ(event.body, QByteArray("arrived"));
}

TEST_F(NetworkLimits, EndARedirectThatTurnsInACircle) {
  options.max_redirects = 3;
  UseOptions();
  LoopbackServer server(Redirects("/start"));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/start")).status, Fetcher::kBrokenAnswer);
  EXPECT_EQ(server.requests().size(), 4u);
}

TEST_F(NetworkLimits, KeepARedirectAwayFromFiles) {
  LoopbackServer server(Redirects("file:///etc/hostname"));
  const auto event = recorder.FetchAndAwait(server.Url("/start"));
  EXPECT_EQ(event.status, Fetcher::kBrokenAnswer);
  EXPECT_FALSE(event.body.contains("root"));
}

TEST_F(NetworkLimits, KeepARedirectAwayFromEveryOtherProtocol) {
  for (const char* to : {"ftp://127.0.0.1/", "gopher://127.0.0.1/", "dict://127.0.0.1/",
                         "telnet://127.0.0.1/", "smb://127.0.0.1/"}) {
    LoopbackServer server(Redirects(to));
    EXPECT_EQ(recorder.FetchAndAwait(server.Url("/start")).status, Fetcher::kBrokenAnswer) << to;
  }
}

TEST_F(NetworkLimits, EndARedirectToNoAddressAtAll) {
  LoopbackServer server(Redirects("http://[:::::/"));
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/start")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkLimits, BringOptionsOutOfRangeToTheNearestEnd) {
  net::NetworkOptions odd;
  odd.connect_timeout_s = std::numeric_limits<double>::quiet_NaN();
  odd.total_timeout_s = std::numeric_limits<double>::infinity();
  odd.stall_timeout_s = -1;
  odd.max_body_bytes = std::numeric_limits<std::uint64_t>::max();
  odd.max_connections_per_server = 0;
  odd.max_retries = 1000000;
  odd.retry_max_delay_s = -5.0;
  net::SetNetworkOptions(odd);
  const net::NetworkOptions used = net::GetNetworkOptions();
  EXPECT_EQ(used.connect_timeout_s, net::NetworkOptions().connect_timeout_s);
  EXPECT_EQ(used.total_timeout_s, 86400.0);
  EXPECT_EQ(used.stall_timeout_s, 1);
  EXPECT_EQ(used.max_body_bytes, std::uint64_t{1} << 30);
  EXPECT_EQ(used.max_connections_per_server, 1);
  EXPECT_EQ(used.max_retries, 100);
  EXPECT_EQ(used.retry_max_delay_s, 0.0);
}

}  // namespace
}  // namespace nimbara
