// SPDX-License-Identifier: Apache-2.0
// What a request gives back for each kind of answer.
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

class NetworkAnswers : public testing_support::NetworkTest {
 protected:
  CompletionRecorder recorder;
};

TEST_F(NetworkAnswers, GiveStatusTwoAndTheBytesOfACompleteAnswer) {
  LoopbackServer server([](const Request&, Answer& answer) { answer.Reply(200, "panorama"); });
  const auto event = recorder.FetchAndAwait(server.Url("/plk?output=xml"));
  EXPECT_EQ(event.status, 2);
  EXPECT_EQ(event.body, QByteArray("panorama"));
  ASSERT_EQ(server.requests().size(), 1u);
  EXPECT_EQ(server.requests()[0].method, "GET");
  EXPECT_EQ(server.requests()[0].target, "/plk?output=xml");
}

TEST_F(NetworkAnswers, WithoutContentAreSuccessesWithoutBytes) {
  LoopbackServer server(
      [](const Request&, Answer& answer) { answer.Send("HTTP/1.1 204 No Content\r\n\r\n"); });
  const auto event = recorder.FetchAndAwait(server.Url("/"));
  EXPECT_EQ(event.status, 2);
  EXPECT_TRUE(event.body.isEmpty());
}

TEST_F(NetworkAnswers, KeepTheProtocolsOwnCodeWhereItIsNoSuccess) {
  LoopbackServer server([](const Request& request, Answer& answer) {
    answer.Reply(std::stoi(request.target.substr(1)), "why");
  });
  for (const int code : {304, 400, 404, 500, 505, 506}) {
    const auto event = recorder.FetchAndAwait(server.Url("/" + std::to_string(code)));
    EXPECT_EQ(event.status, code);
  }
}

TEST_F(NetworkAnswers, ComeInChunksToo) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n");
    answer.Send("0\r\n\r\n");
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).body, QByteArray("abcde"));
}

TEST_F(NetworkAnswers, MayEndWithTheConnectionWhereNoLengthIsGiven) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.0 200 OK\r\n\r\nall of it");
    answer.Close();
  });
  const auto event = recorder.FetchAndAwait(server.Url("/"));
  EXPECT_EQ(event.status, Fetcher::kSucceeded);
  EXPECT_EQ(event.body, QByteArray("all of it"));
}

TEST_F(NetworkAnswers, ShorterThanTheirContentLengthAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    answer.Close();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
  EXPECT_EQ(Counted().failed, 1u);
}

TEST_F(NetworkAnswers, WithoutTheirLastChunkAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n");
    answer.Close();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, ThatNeverComeBecauseTheServerHangsUpAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) { answer.Close(); });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, CutOffByAResetAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nsome");
    answer.Reset();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, InAnotherProtocolAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Send("220 mail.example ready\r\n");
    answer.Close();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, WithACodeThatTheProtocolDoesNotHaveAreBroken) {
  LoopbackServer server([](const Request& request, Answer& answer) {
    answer.Send("HTTP/1.1 " + request.target.substr(1) + " Odd\r\nContent-Length: 2\r\n\r\nok");
    answer.Close();
  });
  for (const char* code : {"000", "002", "010", "099", "2", "20"}) {
    EXPECT_EQ(recorder.FetchAndAwait(server.Url(std::string("/") + code)).status,
              Fetcher::kBrokenAnswer)
        << code;
  }
}

TEST_F(NetworkAnswers, ThatAreCompressedArriveUnpacked) {
  const std::string text(5000, 'x');
  LoopbackServer server([&](const Request& request, Answer& answer) {
    const bool asked = request.Header("accept-encoding").find("gzip") != std::string::npos;
    answer.Reply(asked ? 200 : 500, Gzip(text), "Content-Encoding: gzip\r\n");
  });
  const auto event = recorder.FetchAndAwait(server.Url("/"));
  EXPECT_EQ(event.status, Fetcher::kSucceeded);
  EXPECT_EQ(event.body.toStdString(), text);
  EXPECT_EQ(Counted().bytes_received, 5000u);
}

TEST_F(NetworkAnswers, ThatClaimACompressionTheyDoNotHaveAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    answer.Reply(200, "this is no gzip stream", "Content-Encoding: gzip\r\n");
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, OfACompressedStreamThatIsCutShortAreBroken) {
  LoopbackServer server([](const Request&, Answer& answer) {
    const std::string whole = Gzip(std::string(1000, 'y') + "tail");
    answer.Send("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                std::to_string(whole.size()) + "\r\n\r\n" + whole.substr(0, whole.size() / 2));
    answer.Close();
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kBrokenAnswer);
}

TEST_F(NetworkAnswers, FromNobodyAreFailedConnections) {
  const std::string url = "http://127.0.0.1:" + std::to_string(testing_support::FreePort()) + "/";
  const auto event = recorder.FetchAndAwait(url);
  EXPECT_EQ(event.status, 10);
  EXPECT_TRUE(event.body.isEmpty());
}

TEST_F(NetworkAnswers, FromANameThatNobodyHasAreFailedConnections) {
  EXPECT_EQ(recorder.FetchAndAwait("http://no-such-host.invalid/").status,
            Fetcher::kConnectionFailed);
}

TEST_F(NetworkAnswers, FromAServerThatDoesNotSpeakTlsAreFailedConnections) {
  options.connect_timeout_s = 0.3;
  UseOptions();
  LoopbackServer server([](const Request&, Answer& answer) { answer.Close(); });
  EXPECT_EQ(recorder.FetchAndAwait("https://127.0.0.1:" + std::to_string(server.port())).status,
            Fetcher::kConnectionFailed);
}

TEST_F(NetworkAnswers, BehindARedirectToNobodyAreFailedConnections) {
  const std::string nowhere =
      "http://127.0.0.1:" + std::to_string(testing_support::FreePort()) + "/";
  LoopbackServer server([&](const Request&, Answer& answer) {
    answer.Reply(302, "", "Location: " + nowhere + "\r\n");
  });
  EXPECT_EQ(recorder.FetchAndAwait(server.Url("/")).status, Fetcher::kConnectionFailed);
}

TEST_F(NetworkAnswers, AreHeldBackForNobodyIfTheRequestHasNoCompletion) {
  LoopbackServer server([](const Request&, Answer& answer) { answer.Reply(200, "read by none"); });
  Fetcher::FetchParams params;
  params.url = QString::fromStdString(server.Url("/report"));
  const RefPtr<Fetcher> fetcher = Fetcher::fetch(params, nullptr);
  ASSERT_TRUE(server.AwaitRequests(1));
  while (fetcher->status() == Fetcher::kRunning) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(fetcher->status(), Fetcher::kSucceeded);
  EXPECT_EQ(fetcher->body(), QByteArray("read by none"));
}

}  // namespace
}  // namespace nimbara
