// SPDX-License-Identifier: Apache-2.0
// The library's query through the reference host's network to the service and back.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/command/elevation/awaited_query.h"
#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "spatial/geodesy/elevation_query.h"
#include "tests/support/heap_snapshot.h"

namespace pelorin {
namespace {

using command::AwaitedQuery;
using nimbara::Vec3;
using nimbara::spatial::ElevationQuery;

class ElevationPipeline : public testing::Test {
 protected:
  ElevationPipeline() {
    nimbara::net::NetworkOptions options;
    options.retry_base_delay_s = 0.01;
    options.retry_max_delay_s = 0.05;
    nimbara::net::SetNetworkOptions(options);
  }
  ~ElevationPipeline() override {
    query_.reset();
    service_.reset();
    nimbara::net::ShutDownNetwork();
    nimbara::net::SetNetworkOptions(nimbara::net::NetworkOptions());
    ElevationQuery::s_url_ = QUrl();
    EXPECT_EQ(nimbara::test_support::HeapSnapshot(), before_);
  }

  void Start(const ServiceOptions& options = {}) {
    std::string error;
    service_ = PanoramaService::Start(*town_, options, &error);
    ASSERT_NE(service_, nullptr) << error;
    ElevationQuery::s_url_ = QUrl(QString::fromStdString(service_->url() + "/elevation/"));
  }

  // Places all over the town.
  void Ask(int count) {
    const BoundingBox& box = town_->bounds();
    places_.clear();
    std::vector<Vec3<double>> points;
    for (int i = 0; i < count; ++i) {
      const double along = static_cast<double>(i) / count;
      // As they are sent: whole units of 1e-5 degrees.
      const double lat =
          std::round((box.south_deg + along * (box.north_deg - box.south_deg)) * 1e5);
      const double lng =
          std::round((box.west_deg + (i * 7 % 11) / 11.0 * (box.east_deg - box.west_deg)) * 1e5);
      places_.push_back({lat / 1e5, lng / 1e5});
      points.push_back({lng / 1e5 / 180.0, lat / 1e5 / 180.0, 0.0});
    }
    query_ = std::make_unique<AwaitedQuery>();
    query_->Construct(points.data(), count, 512, 2048);
    ASSERT_TRUE(query_->AwaitFor(std::chrono::seconds(60)));
  }

  const nimbara::test_support::HeapSnapshot before_;
  std::string error_;
  const std::unique_ptr<Dataset> town_ = MakeHarbourTown(&error_);
  std::unique_ptr<PanoramaService> service_;
  std::vector<LatLng> places_;
  std::unique_ptr<AwaitedQuery> query_;
};

TEST_F(ElevationPipeline, BringsTheHeightsOfTheDataset) {
  Start();
  Ask(3000);
  ASSERT_EQ(query_->state(), ElevationQuery::kDone);
  std::vector<Height> expected;
  ASSERT_EQ(town_->FindHeights(places_, {}, &expected, &error_), Answer::kFound);
  for (std::size_t i = 0; i < places_.size(); ++i)
    EXPECT_NEAR(query_->heights()[i], expected[i].metres, 0.0006) << i;
}

TEST_F(ElevationPipeline, BringsThemThroughAServiceThatMisbehaves) {
  ServiceOptions options;
  ASSERT_TRUE(options.faults.AddFailures("503:0.2", &error_));
  options.faults.set_reorder(true);
  Start(options);
  Ask(3000);
  EXPECT_TRUE(query_->state() == ElevationQuery::kDone ||
              query_->state() == ElevationQuery::kServiceUnavailable);
}

TEST_F(ElevationPipeline, FailsUnderAnotherKey) {
  ServiceOptions options;
  options.elevation_key = "another";
  Start(options);
  Ask(600);
  EXPECT_EQ(query_->state(), ElevationQuery::kFailed);
  EXPECT_TRUE(query_->heights().empty());
}

TEST_F(ElevationPipeline, IsUnavailableWhereTheServiceIs) {
  ServiceOptions options;
  ASSERT_TRUE(options.faults.AddFailures("503:1", &error_));
  Start(options);
  Ask(600);
  EXPECT_EQ(query_->state(), ElevationQuery::kServiceUnavailable);
}

TEST_F(ElevationPipeline, IsOfflineWhereNobodyListens) {
  Start();
  service_.reset();
  Ask(600);
  EXPECT_EQ(query_->state(), ElevationQuery::kOffline);
}

TEST_F(ElevationPipeline, FailsOnAnswersThatAreDamaged) {
  ServiceOptions options;
  ASSERT_TRUE(options.faults.SetTruncate("1", &error_));
  Start(options);
  Ask(600);
  EXPECT_NE(query_->state(), ElevationQuery::kDone);
}

TEST_F(ElevationPipeline, CanBeLeftWhileItFetches) {
  ServiceOptions options;
  ASSERT_TRUE(options.faults.SetLatency("5-30", &error_));
  Start(options);
  const std::vector<Vec3<double>> points(5000, Vec3<double>{-0.136, 0.263, 0.0});
  for (int round = 0; round < 20; ++round) {
    query_ = std::make_unique<AwaitedQuery>();
    query_->Construct(points.data(), 5000, 64, 2048);
    std::this_thread::sleep_for(std::chrono::milliseconds(round));
    query_.reset();
  }
}

}  // namespace
}  // namespace pelorin
