// SPDX-License-Identifier: Apache-2.0
// The usage reports of a tour against the service that counts them.
#include "apps/command/tour/usage_reporter.h"

#include <gtest/gtest.h>

#include <memory>

#include "apps/dataset/dataset.h"
#include "apps/dataset/dataset_writer.h"
#include "apps/service/panorama_service.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "host/reference/network_statistics.h"

namespace pelorin {
namespace command {
namespace {

namespace net = nimbara::net;

class UsageReporters : public testing::Test {
 protected:
  UsageReporters() {
    std::string error;
    dataset_ = DatasetWriter::InMemory(&error)->Finish({}, &error);
    service_ = PanoramaService::Start(*dataset_, {}, &error);
    EXPECT_NE(service_, nullptr) << error;
  }
  ~UsageReporters() override { net::ShutDownNetwork(); }

  std::string Base() const { return service_->url() + "/plk"; }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
  WalkClock clock_;
};

TEST_F(UsageReporters, SendAsManyReportsAsTheServiceCounts) {
  UsageReporter reporter(&clock_, Base());
  for (int i = 0; i < 200; ++i) {
    clock_.seconds += 0.25;
    reporter.NewViewEvent(0.05 * i, 0.0, 1.0, true);
    if (i % 10 == 0) {
      reporter.NewPanoramaEvent(true);
    }
  }
  const TourUsage usage = reporter.Finish();
  EXPECT_EQ(usage.panoramas, 20u);
  EXPECT_EQ(usage.viewpoints, 18u) << "ten radians, half a radian at least for each";
  EXPECT_EQ(usage.fields_of_view, 0u);
  // The first event is due at once, then one each 30 s, and what is left at the end.
  EXPECT_EQ(usage.reports, 3u);
  EXPECT_EQ(usage.answered, usage.reports);
  EXPECT_EQ(service_->statistics().usage_reports, usage.reports);
  EXPECT_EQ(service_->statistics().bad_requests, 0u);
}

TEST_F(UsageReporters, CountBothKindsOfEvents) {
  UsageReporter reporter(&clock_, Base());
  reporter.NewPanoramaEvent(true);
  reporter.NewPanoramaEvent(false);
  reporter.NewViewEvent(2.0, 0.0, 3.0, false);
  const TourUsage usage = reporter.Finish();
  EXPECT_EQ(usage.panoramas, 2u);
  EXPECT_EQ(usage.viewpoints, 1u);
  EXPECT_EQ(usage.fields_of_view, 1u);
  EXPECT_EQ(service_->statistics().usage_reports, usage.reports);
}

TEST_F(UsageReporters, SendNothingWhereNothingHappened) {
  UsageReporter reporter(&clock_, Base());
  const TourUsage usage = reporter.Finish();
  EXPECT_EQ(usage.reports, 0u);
  EXPECT_EQ(service_->statistics().requests, 0u);
}

TEST_F(UsageReporters, SendNothingToAServiceThatIsNotPlainHttp) {
  const std::uint64_t started = net::GetNetworkStatistics().started;
  for (const char* base : {"", "https://service.example/plk", "service.example"}) {
    UsageReporter reporter(&clock_, base);
    for (int i = 0; i < 30; ++i) {
      reporter.NewPanoramaEvent(true);
    }
    const TourUsage usage = reporter.Finish();
    EXPECT_EQ(usage.panoramas, 30u) << base;
    EXPECT_EQ(usage.reports, 0u) << base;
  }
  EXPECT_EQ(net::GetNetworkStatistics().started, started);
}

TEST_F(UsageReporters, LeaveTheNetworkOptionsAsTheyWere) {
  net::NetworkOptions options;
  options.max_retries = 3;
  options.connect_to.append("elsewhere.example:80:127.0.0.1:9");
  net::SetNetworkOptions(options);
  UsageReporter reporter(&clock_, Base());
  reporter.NewPanoramaEvent(true);
  EXPECT_EQ(reporter.Finish().answered, 1u);
  EXPECT_EQ(net::GetNetworkOptions().connect_to, options.connect_to);
  EXPECT_EQ(net::GetNetworkOptions().max_retries, 3);
  net::SetNetworkOptions(net::NetworkOptions());
}

TEST_F(UsageReporters, TellWhatAServiceThatHasEndedDidNotTake) {
  const std::string base = Base();
  service_->Stop();
  UsageReporter reporter(&clock_, base);
  reporter.NewPanoramaEvent(true);
  const TourUsage usage = reporter.Finish();
  EXPECT_EQ(usage.reports, 1u);
  EXPECT_EQ(usage.answered, 0u);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
