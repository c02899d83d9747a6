// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "apps/service/panorama_service.h"
#include "apps/service/panorama_xml.h"
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

class ServiceFaults : public testing::Test {
 protected:
  ServiceFaults() : dataset_(MakeDataset({MakeRecord(0, 50, 8)})) {
    PanoRecord record;
    if (dataset_->FindPano(TestId(0), false, &record, nullptr) == Answer::kFound) {
      body_ = WritePanorama(record, {});
    }
  }

  void Start(const FaultPlan& plan) {
    ServiceOptions options;
    options.faults = plan;
    service_ = StartService(*dataset_, options);
  }
  httplib::Result Get() { return MakeClient(*service_).Get(address_); }
  ServiceStatistics statistics() const { return service_->statistics(); }

  const std::string address_ = "/plk?output=xml&panoid=" + TestId(0);
  std::unique_ptr<Dataset> dataset_;
  std::string body_;
  std::unique_ptr<PanoramaService> service_;
};

TEST_F(ServiceFaults, AreAnnouncedWithEveryAnswer) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetTruncate("0.000001", nullptr));
  plan.set_seed(3);
  Start(plan);
  for (const char* path : {"/health", "/version", "/nothing", "/plk"}) {
    const httplib::Result answer = MakeClient(*service_).Get(path);
    ASSERT_TRUE(answer) << path;
    EXPECT_EQ(answer->get_header_value("X-Pelorin-Faults"), "truncate=1e-06 seed=3") << path;
  }
  const httplib::Result health = MakeClient(*service_).Get("/health");
  EXPECT_EQ(nlohmann::json::parse(health->body)["faults"], "truncate=1e-06 seed=3");
}

TEST_F(ServiceFaults, FailWithTheStatusThatWasAskedFor) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("503:1:7", nullptr));
  Start(plan);
  const httplib::Result answer = Get();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 503);
  EXPECT_EQ(answer->get_header_value("Retry-After"), "7");
  EXPECT_EQ(answer->body, "failed on request\n");
  EXPECT_EQ(statistics().failed, 1u);
  EXPECT_EQ(statistics().by_id, 1u);
  EXPECT_EQ(statistics().panoramas, 0u);
  EXPECT_EQ(statistics().bad_requests, 0u);
}

TEST_F(ServiceFaults, FailWithoutARetryTimeUnlessOneIsGiven) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("500:1", nullptr));
  Start(plan);
  const httplib::Result answer = Get();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 500);
  EXPECT_FALSE(answer->has_header("Retry-After"));
}

TEST_F(ServiceFaults, LeaveHealthAndBadRequestsAlone) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("503:1", nullptr));
  Start(plan);
  EXPECT_EQ(MakeClient(*service_).Get("/health")->status, 200);
  EXPECT_EQ(MakeClient(*service_).Get("/plk?output=xml")->status, 400);
  EXPECT_EQ(statistics().failed, 0u);
}

TEST_F(ServiceFaults, DelayAnAnswerByAtLeastTheLatency) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetLatency("120", nullptr));
  Start(plan);
  const Clock::time_point start = Clock::now();
  const httplib::Result answer = Get();
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(120));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, body_);
  EXPECT_EQ(statistics().delayed, 1u);
}

TEST_F(ServiceFaults, TruncateTheBodyAndCloseTheConnection) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetTruncate("1", nullptr));
  Start(plan);
  for (int i = 0; i < 20; ++i) {
    RawConnection connection(service_->port());
    ASSERT_TRUE(connection.Send("GET " + address_ + "&v=" + std::to_string(i) +
                                " HTTP/1.1\r\nHost: x\r\n\r\n"));
    const std::string answer = connection.ReadToEnd();
    ASSERT_TRUE(connection.closed_by_peer());
    const std::size_t head = answer.find("\r\n\r\n");
    ASSERT_NE(head, std::string::npos) << answer;
    EXPECT_NE(answer.find("Content-Length: " + std::to_string(body_.size())), std::string::npos);
    const std::string part = answer.substr(head + 4);
    EXPECT_LT(part.size(), body_.size());
    EXPECT_EQ(part, body_.substr(0, part.size()));
  }
  EXPECT_EQ(statistics().truncated, 20u);
}

TEST_F(ServiceFaults, CorruptBytesOfTheBodyAndKeepItsLength) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetCorrupt("1", nullptr));
  Start(plan);
  const httplib::Result answer = Get();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 200);
  ASSERT_EQ(answer->body.size(), body_.size());
  std::size_t changed = 0;
  for (std::size_t i = 0; i < body_.size(); ++i)
    changed += answer->body[i] != body_[i];
  EXPECT_EQ(changed, (body_.size() + 63) / 64);
  EXPECT_EQ(statistics().corrupted, 1u);
}

TEST_F(ServiceFaults, CorruptTheAnswerAndNotWhatIsKeptForLater) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetCorrupt("0.5", nullptr));
  Start(plan);
  int sound = 0;
  for (int i = 0; i < 40; ++i)
    sound += Get()->body == body_;
  EXPECT_EQ(sound + static_cast<int>(statistics().corrupted), 40);
  EXPECT_GT(sound, 5);
  EXPECT_LT(sound, 35);
}

TEST_F(ServiceFaults, StallAfterHalfOfTheBodyUntilThePeerGivesUp) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetStall("1", nullptr));
  Start(plan);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send("GET " + address_ + " HTTP/1.1\r\nHost: x\r\n\r\n"));
  const std::string answer = connection.ReadUntil("", std::chrono::milliseconds(300));
  EXPECT_FALSE(connection.closed_by_peer());
  const std::size_t head = answer.find("\r\n\r\n");
  ASSERT_NE(head, std::string::npos);
  EXPECT_EQ(answer.substr(head + 4), body_.substr(0, body_.size() / 2));
  EXPECT_EQ(statistics().stalled, 1u);
  EXPECT_EQ(statistics().open_connections, 1u);
  connection.Close();
  EXPECT_TRUE(Eventually([this] { return statistics().open_connections == 0; }));
}

TEST_F(ServiceFaults, StallUntilTheServiceStops) {
  FaultPlan plan;
  ASSERT_TRUE(plan.SetStall("1", nullptr));
  Start(plan);
  RawConnection connection(service_->port());
  ASSERT_TRUE(connection.Send("GET " + address_ + " HTTP/1.1\r\nHost: x\r\n\r\n"));
  connection.ReadUntil("<panorama>");
  service_->Stop();
  connection.ReadToEnd();
  EXPECT_TRUE(connection.closed_by_peer());
}

TEST_F(ServiceFaults, ReorderLetsLaterQuestionsBeAnsweredFirst) {
  FaultPlan plan;
  plan.set_reorder(true);
  Start(plan);
  std::mutex mutex;
  std::vector<int> order;
  std::vector<std::thread> threads;
  for (int i = 0; i < 20; ++i) {
    threads.emplace_back([&, i] {
      const httplib::Result answer =
          MakeClient(*service_).Get(address_ + "&v=" + std::to_string(i));
      const std::lock_guard<std::mutex> hold(mutex);
      if (answer && answer->body == body_)
        order.push_back(i);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  for (std::thread& thread : threads)
    thread.join();
  ASSERT_EQ(order.size(), 20u);
  EXPECT_FALSE(std::is_sorted(order.begin(), order.end()));
  EXPECT_GT(statistics().reordered, 0u);
  EXPECT_EQ(statistics().delayed, 0u);
}

TEST_F(ServiceFaults, RepeatExactlyWithTheSameSeed) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("503:0.4", nullptr));
  ASSERT_TRUE(plan.SetCorrupt("0.5", nullptr));
  plan.set_seed(99);
  std::vector<std::string> runs[2];
  for (std::vector<std::string>& run : runs) {
    Start(plan);
    for (int i = 0; i < 30; ++i) {
      const httplib::Result answer =
          MakeClient(*service_).Get(address_ + "&v=" + std::to_string(i % 10));
      run.push_back(std::to_string(answer->status) + answer->body);
    }
  }
  EXPECT_EQ(runs[0], runs[1]);
}

TEST_F(ServiceFaults, DecideAnewWhenTheSameIsAskedAgain) {
  FaultPlan plan;
  ASSERT_TRUE(plan.AddFailures("503:0.9", nullptr));
  Start(plan);
  bool answered = false;
  for (int i = 0; i < 300 && !answered; ++i)
    answered = Get()->status == 200;
  EXPECT_TRUE(answered);
}

}  // namespace
}  // namespace pelorin
