// SPDX-License-Identifier: Apache-2.0
// Usage reports, from the logger over the reference host's network to the service's own count.
#include <gtest/gtest.h>

#include <QString>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "host/threads.h"
#include "spatial/panorama/panorama_logger.h"

namespace pelorin {
namespace {

using nimbara::spatial::PanoramaLogger;
namespace net = nimbara::net;

class FakeClock : public nimbara::ITimingSource {
 public:
  double GetTime() const override { return now; }
  double now = 0.0;
};

class UsageReports : public testing::Test {
 protected:
  UsageReports() : dataset_(MakeHarbourTown(nullptr)) {
    std::string error;
    service_ = PanoramaService::Start(*dataset_, {}, &error);
    EXPECT_NE(service_, nullptr) << error;
    // A report has one fixed address; here the service stands elsewhere.
    net::NetworkOptions options;
    options.connect_to.append(
        QString("panorama.pelorin.example:80:127.0.0.1:%1").arg(service_->port()));
    net::SetNetworkOptions(options);
  }
  ~UsageReports() override {
    net::ShutDownNetwork();
    net::SetNetworkOptions(net::NetworkOptions());
  }

  // Waits until the last report of `logger` has its answer; its status.
  static int AwaitAnswer(const PanoramaLogger& logger) {
    for (int i = 0; i < 20000 && logger.fetcher->status() == net::Fetcher::kRunning; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return logger.fetcher->status();
  }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
  FakeClock clock_;
};

TEST_F(UsageReports, AreAllCountedByTheService) {
  PanoramaLogger logger(&clock_);
  std::uint64_t sent = 0;
  const nimbara::RefPtr<net::Fetcher>* last = &logger.fetcher;
  nimbara::RefPtr<net::Fetcher> before;
  for (int event = 0; event < 500; ++event) {
    clock_.now += 2.0;  // Some reports are due by time, some by number.
    for (int more = 0; more < event % 40; more += 7)
      logger.NewPanoramaEvent(more % 2 == 0);
    logger.NewViewEvent(0.1 * event, 0.2, event % 3 == 0 ? 0.5 : 1.1, event % 5 == 0);
    if (*last != before) {
      ++sent;
      before = *last;
      ASSERT_EQ(AwaitAnswer(logger), net::Fetcher::kSucceeded);
    }
  }
  EXPECT_GT(sent, 10u);
  const ServiceStatistics statistics = service_->statistics();
  EXPECT_EQ(statistics.usage_reports, sent);
  EXPECT_EQ(statistics.requests, sent);
  EXPECT_EQ(statistics.bad_requests, 0u);
}

TEST_F(UsageReports, AreLostWithTheServiceAndComeAgainWithIt) {
  PanoramaLogger logger(&clock_);
  const int port = service_->port();
  service_->Stop();
  logger.NewPanoramaEvent(true);
  EXPECT_EQ(AwaitAnswer(logger), net::Fetcher::kConnectionFailed);
  ServiceOptions options;
  options.port = port;
  std::string error;
  service_ = PanoramaService::Start(*dataset_, options, &error);
  ASSERT_NE(service_, nullptr) << error;
  logger.NewPanoramaEvent(true);
  logger.ForceSendData();
  EXPECT_EQ(AwaitAnswer(logger), net::Fetcher::kSucceeded);
  EXPECT_EQ(service_->statistics().usage_reports, 1u);
}

}  // namespace
}  // namespace pelorin
