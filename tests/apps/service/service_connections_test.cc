// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "apps/service/connection_threads.h"
#include "apps/service/panorama_service.h"
#include "tests/apps/service/service_support.h"

namespace pelorin {
namespace {

using service_test::Eventually;
using service_test::MakeClient;
using service_test::MakeDataset;
using service_test::MakeRecord;
using service_test::RawConnection;
using service_test::StartService;
using service_test::TestId;
using Clock = std::chrono::steady_clock;

constexpr char kHealth[] = "GET /health HTTP/1.1\r\nHost: x\r\n\r\n";

class ServiceConnections : public testing::Test {
 protected:
  ServiceConnections() : dataset_(MakeDataset(Records())) {}

  static std::vector<PanoRecord> Records() {
    std::vector<PanoRecord> records;
    for (int i = 0; i < 50; ++i) {
      records.push_back(MakeRecord(i, 50.0 + 0.0001 * i, 8.0));
      records.back().copyright = std::string(20000, 'c');
    }
    return records;
  }
  void Start(const ServiceOptions& options = {}) { service_ = StartService(*dataset_, options); }
  bool IsWell() { return MakeClient(*service_).Get("/health")->status == 200; }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
};

TEST_F(ServiceConnections, OfManyClientsAtATimeGetTheirOwnAnswers) {
  Start();
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 16; ++t) {
    threads.emplace_back([this, t, &right] {
      httplib::Client client = MakeClient(*service_);
      client.set_keep_alive(true);
      for (int i = 0; i < 25; ++i) {
        const std::string id = TestId((t * 7 + i) % 50);
        const httplib::Result answer = client.Get("/plk?output=xml&panoid=" + id);
        right += answer && answer->body.find("pano_id=\"" + id + "\"") != std::string::npos;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(right, 16 * 25);
  EXPECT_EQ(service_->statistics().by_id, 400u);
}

TEST_F(ServiceConnections, ThatIdleGiveWayWhenOthersWait) {
  ServiceOptions options;
  options.max_connections = 2;
  options.keep_alive_s = 600;
  Start(options);
  std::vector<std::unique_ptr<RawConnection>> idle;
  for (int i = 0; i < 6; ++i) {
    idle.push_back(std::make_unique<RawConnection>(service_->port()));
    ASSERT_TRUE(idle.back()->Send(kHealth));
    EXPECT_NE(idle.back()->ReadUntil("\"ok\"").find("200 OK"), std::string::npos) << i;
  }
  EXPECT_TRUE(IsWell());
}

TEST_F(ServiceConnections, ThatIdleTooLongAreClosed) {
  ServiceOptions options;
  options.keep_alive_s = 1;
  Start(options);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send(kHealth));
  connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
}

TEST_F(ServiceConnections, ThatSendTooSlowlyAreClosed) {
  ServiceOptions options;
  options.transfer_timeout_ms = 200;
  Start(options);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send("GET /heal"));
  connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
  EXPECT_TRUE(IsWell());
}

TEST_F(ServiceConnections, ThatDripTheirRequestAreClosedInTime) {
  ServiceOptions options;
  options.transfer_timeout_ms = 300;
  Start(options);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send("GET /health HTTP/1.1\r\n"));
  const bool closed = Eventually([&connection] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return !connection.Send("A: b\r\n");
  });
  EXPECT_TRUE(closed);
}

TEST_F(ServiceConnections, ThatTakeNoAnswerAreClosed) {
  ServiceOptions options;
  options.transfer_timeout_ms = 200;
  Start(options);
  RawConnection connection(service_->port());
  // Some 100 MB of answers, more than the system holds for a connection; the peer never reads.
  std::string requests;
  for (int i = 0; i < 100; ++i) {
    requests += "GET /plk?output=metatile&x=0&y=0&zoom=0 HTTP/1.1\r\nHost: x\r\n\r\n";
  }
  connection.Send(requests);
  EXPECT_TRUE(Eventually([this] { return service_->statistics().open_connections == 0; }));
  EXPECT_TRUE(IsWell());
}

TEST_F(ServiceConnections, MayAskForSeveralThingsAtOnce) {
  Start();
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send(std::string(kHealth) + kHealth +
                              "GET /version HTTP/1.1\r\nConnection: close\r\n\r\n"));
  const std::string answers = connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
  std::size_t count = 0;
  for (std::size_t at = 0; (at = answers.find("200 OK", at)) != std::string::npos; ++at)
    ++count;
  EXPECT_EQ(count, 3u);
}

TEST_F(ServiceConnections, ThatBringABodyAreAnsweredAndClosed) {
  Start();
  RawConnection connection(service_->port());
  ASSERT_TRUE(
      connection.Send("GET /health HTTP/1.1\r\nContent-Length: 39\r\n\r\n" + std::string(kHealth)));
  const std::string answer = connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
  // The body is no second request.
  EXPECT_EQ(answer.find("200 OK"), answer.rfind("200 OK"));
  EXPECT_NE(answer.find("Connection: close"), std::string::npos);
}

struct BadInput {
  const char* name;
  std::string text;
  const char* status;  // What the answer holds; null if it may close without one.
};

class BadServiceInput : public testing::TestWithParam<BadInput> {};

TEST_P(BadServiceInput, IsAnsweredOrClosedAndHarmsNobody) {
  const auto dataset = MakeDataset({MakeRecord(0, 50, 8)});
  ServiceOptions options;
  options.transfer_timeout_ms = 500;
  const auto service = StartService(*dataset, options);
  RawConnection connection(service->port());
  connection.Send(GetParam().text);
  const std::string answer = connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
  if (GetParam().status != nullptr) {
    EXPECT_EQ(answer.find(std::string("HTTP/1.1 ") + GetParam().status), 0u) << answer;
  }
  EXPECT_EQ(MakeClient(*service).Get("/health")->status, 200);
}

std::string Noise() {
  std::mt19937 random(20261121);
  std::string text;
  for (int i = 0; i < 20000; ++i)
    text.push_back(static_cast<char>(random()));
  return text + "\r\n\r\n";
}

std::string ManyHeaders() {
  std::string text = "GET /health HTTP/1.1\r\n";
  for (int i = 0; i < 20000; ++i)
    text += "Header-" + std::to_string(i) + ": value\r\n";
  return text + "\r\n";
}

// A request with a body, to a path that takes one.
std::string Post(const std::string& type, const std::string& body,
                 const std::string& headers = "") {
  return "POST /v1/heights HTTP/1.1\r\nContent-Type: " + type +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body;
}

std::string Part(const std::string& header) {
  return Post("multipart/form-data; boundary=x", "--x\r\n" + header + "\r\n\r\ntext\r\n--x--\r\n");
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, BadServiceInput,
    testing::Values(
        BadInput{"Empty", Post("application/json", ""), "400"},
        BadInput{"DeepJson", Post("application/json", std::string(50000, '[')), "400"},
        BadInput{"DeepPlaces",
                 Post("application/json",
                      "{\"locations\":" + std::string(30000, '[') + std::string(30000, ']') + "}"),
                 "400"},
        BadInput{"NumberBeyondAll",
                 Post("application/json", "{\"locations\":[{\"latitude\":1e999,\"longitude\":0}]}"),
                 "400"},
        BadInput{"NotUtf8", Post("application/json", "{\"locations\":\"\xff\xfe,\xc3\"}"), "400"},
        BadInput{"LongForm",
                 Post("application/x-www-form-urlencoded", "locations=" + std::string(60000, '|')),
                 nullptr},
        BadInput{"LargerThanARequestMayBe", Post("application/json", std::string(200000, ' ')),
                 nullptr},
        BadInput{"HugeLengthOfBody",
                 "POST /v1/heights HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n{}",
                 nullptr},
        BadInput{"HugeChunk",
                 "POST /v1/heights HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                 "FFFFFFFFFFFFFFFF\r\n{}",
                 nullptr},
        BadInput{"MultipartWithoutBoundary", Post("multipart/form-data", "--\r\n\r\n--"), nullptr},
        BadInput{"MultipartWithLongBoundary",
                 Post("multipart/form-data; boundary=" + std::string(7000, 'b'), "--b\r\n"),
                 nullptr},
        BadInput{"MultipartWithLongName",
                 Part("Content-Disposition: form-data; name=\"" + std::string(8000, 'n') + "\""),
                 nullptr},
        BadInput{"MultipartWithOpenName",
                 Part("Content-Disposition: form-data; name=\"" + std::string(8000, 'n')), nullptr},
        BadInput{"MultipartWithBlanks",
                 Part("Content-Disposition: form-data; name=\"n\"" + std::string(8000, ' ') + "x"),
                 nullptr},
        BadInput{"MultipartWithLongPart", Part(std::string(60000, 'h')), nullptr}),
    [](const testing::TestParamInfo<BadInput>& table_row) {
      return std::string(table_row.param.name);
    });

INSTANTIATE_TEST_SUITE_P(
    Table, BadServiceInput,
    testing::Values(
        BadInput{"Nonsense", "nonsense\r\n\r\n", "400"},
        BadInput{"NoVersion", "GET /health\r\n\r\n", "400"},
        BadInput{"OddVersion", "GET /health HTTP/9.9\r\n\r\n", nullptr},
        BadInput{"EmptyLines", "\r\n\r\n\r\n", nullptr},
        BadInput{"ZeroBytes", std::string(100, '\0') + "\r\n\r\n", nullptr},
        BadInput{"Noise", Noise(), nullptr},
        BadInput{"TlsHello", std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11),
                 nullptr},
        BadInput{"LongAddress", "GET /plk?output=" + std::string(9000, 'x') + " HTTP/1.1\r\n\r\n",
                 "414"},
        BadInput{"EndlessAddress", "GET /" + std::string(200000, 'x'), nullptr},
        BadInput{"LongHeader", "GET /health HTTP/1.1\r\nA: " + std::string(20000, 'x') + "\r\n\r\n",
                 nullptr},
        BadInput{"ManyHeaders", ManyHeaders(), nullptr},
        BadInput{"BadEscapes",
                 "GET /plk?output=%zz%&panoid=%u12%uD800 HTTP/1.1\r\nConnection: close\r\n\r\n",
                 "400"},
        BadInput{"HugeLength", "POST /plk HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n",
                 "405"},
        BadInput{"NegativeLength", "GET /health HTTP/1.1\r\nContent-Length: -1\r\n\r\n", nullptr},
        BadInput{"Chunks",
                 "POST /plk HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFF\r\n", "405"},
        BadInput{"Continue",
                 "POST /plk HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 5\r\n\r\n",
                 nullptr},
        BadInput{"Upgrade", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", nullptr}),
    [](const testing::TestParamInfo<BadInput>& table_row) {
      return std::string(table_row.param.name);
    });

TEST_F(ServiceConnections, ThatComeAndGoLeaveNothing) {
  Start();
  for (int i = 0; i < 200; ++i) {
    RawConnection connection(service_->port());
    ASSERT_TRUE(connection.connected());
    if (i % 3 == 1)
      connection.Send("GET /plk?output=metatile&x=0&y=0&zoom=0 HTTP/1.1\r\n\r\n");
    if (i % 3 == 2)
      connection.Send("GET /");
  }
  EXPECT_TRUE(Eventually([this] { return service_->statistics().open_connections == 0; }));
  EXPECT_TRUE(IsWell());
}

TEST_F(ServiceConnections, StopWithTheServiceWhenIdle) {
  Start();
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send(kHealth));
  connection.ReadUntil("\"ok\"");
  const Clock::time_point start = Clock::now();
  service_->Stop();
  // Far below the 15 seconds for which it may idle.
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
  connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
}

TEST_F(ServiceConnections, StopWithTheServiceInTheMiddleOfARequest) {
  Start();
  RawConnection silent(service_->port());
  RawConnection half(service_->port());
  ASSERT_TRUE(half.Send("GET /health HTTP/1.1\r\nHo"));
  ASSERT_TRUE(Eventually([this] { return service_->statistics().open_connections == 2; }));
  service_->Stop();
  EXPECT_EQ(service_->statistics().open_connections, 0u);
}

TEST_F(ServiceConnections, StopWithTheServiceWhenTheAnswerIsNotTaken) {
  Start();
  RawConnection connection(service_->port());
  std::string requests;
  for (int i = 0; i < 100; ++i) {
    requests += "GET /plk?output=metatile&x=0&y=0&zoom=0 HTTP/1.1\r\n\r\n";
  }
  connection.Send(requests);
  ASSERT_TRUE(Eventually([this] { return service_->statistics().by_tile > 0; }));
  const Clock::time_point start = Clock::now();
  service_->Stop();
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(8));
  EXPECT_EQ(service_->statistics().open_connections, 0u);
}

TEST_F(ServiceConnections, StopWithTheServiceWhenAnAnswerIsDelayed) {
  ServiceOptions options;
  ASSERT_TRUE(options.faults.SetLatency("60000", nullptr));
  Start(options);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send("GET /plk?output=xml&panoid=a HTTP/1.1\r\n\r\n"));
  ASSERT_TRUE(Eventually([this] { return service_->statistics().by_id > 0; }));
  const Clock::time_point start = Clock::now();
  service_->Stop();
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
}

TEST_F(ServiceConnections, StopWithTheServiceUnderFullLoad) {
  for (int round = 0; round < 5; ++round) {
    Start();
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([this, &stop] {
        while (!stop) {
          httplib::Client client("127.0.0.1", service_->port());
          // Once the service is gone its port may be another's, who is not to be flooded.
          if (!client.Get("/plk?output=xml&ll=50,8"))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
      });
    }
    EXPECT_TRUE(Eventually([this] { return service_->statistics().by_position > 10; }))
        << "round " << round << ", " << service_->statistics().by_position << " answers";
    service_->Stop();
    stop = true;
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(service_->statistics().open_connections, 0u);
  }
}

TEST_F(ServiceConnections, MayBeStoppedByManyAndAgain) {
  Start();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([this] { service_->Stop(); });
  for (std::thread& thread : threads)
    thread.join();
  service_->Stop();
  const RawConnection connection(service_->port());
  EXPECT_FALSE(connection.connected());
}

TEST_F(ServiceConnections, MayBeStoppedAtOnce) {
  for (int i = 0; i < 50; ++i)
    Start();
  EXPECT_TRUE(IsWell());
}

TEST(ConnectionThreads, RunEachJobOnAThreadOfItsOwn) {
  std::atomic<int> waiting{0};
  std::atomic<int> running{0};
  std::atomic<int> met{0};
  ConnectionThreads threads(8, &waiting);
  for (int i = 0; i < 8; ++i) {
    threads.enqueue([&] {
      ++running;
      met += Eventually([&running] { return running == 8; });
    });
  }
  threads.shutdown();
  EXPECT_EQ(met, 8);
  EXPECT_EQ(waiting, 0);
}

TEST(ConnectionThreads, LetJobsBeyondTheLimitWaitAndSayHowMany) {
  std::atomic<int> waiting{0};
  std::atomic<bool> open{false};
  std::atomic<int> ran{0};
  ConnectionThreads threads(2, &waiting);
  for (int i = 0; i < 5; ++i) {
    threads.enqueue([&] {
      Eventually([&open] { return open.load(); });
      ++ran;
    });
  }
  EXPECT_TRUE(Eventually([&waiting] { return waiting == 3; }));
  open = true;
  threads.shutdown();
  EXPECT_EQ(ran, 5);
  EXPECT_EQ(waiting, 0);
}

}  // namespace
}  // namespace pelorin
