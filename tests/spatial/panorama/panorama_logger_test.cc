// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_logger.h"

#include <gtest/gtest.h>

#include <QUrlQuery>
#include <set>
#include <string>

#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/support/fake_network.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::FakeNetwork;

constexpr double kDefaultFov = 1.0471975511965976;

class FakeClock : public ITimingSource {
 public:
  double GetTime() const override {
    ++asked;
    return now;
  }
  double now = 1000.0;
  mutable int asked = 0;
};

class PanoramaLoggerTest : public testing::Test {
 protected:
  std::string EventsOf(std::size_t report) const {
    const QUrl url(network.Urls().at(report));
    return QUrlQuery(url).queryItemValue("ed").toStdString();
  }
  void Count(int events, bool flag = true) {
    for (int i = 0; i < events; ++i) {
      logger.NewPanoramaEvent(flag);
    }
  }
  /// Uses up the report that a new logger is due.
  void SendTheFirst() {
    Count(1);
    EXPECT_EQ(network.Count(), 1u);
  }

  FakeNetwork network;
  FakeClock clock;
  PanoramaLogger logger{&clock};
};

TEST_F(PanoramaLoggerTest, ReportsTheFirstEventAtOnce) {
  EXPECT_EQ(logger.last_send_time, 900.0);
  logger.NewViewEvent(1.0, 0.0, kDefaultFov, true);
  ASSERT_EQ(network.Count(), 1u);
  EXPECT_EQ(EventsOf(0), "68:0;1");
  EXPECT_EQ(logger.last_send_time, 1000.0);
}

TEST_F(PanoramaLoggerTest, ReportsNothingForAFirstViewThatDoesNotCount) {
  logger.NewViewEvent(0.0, 0.0, kDefaultFov, true);
  EXPECT_EQ(network.Count(), 0u);
  EXPECT_EQ(logger.last_send_time, 900.0);
}

TEST_F(PanoramaLoggerTest, ReportsAtThe21stEventWithinHalfAMinute) {
  SendTheFirst();
  Count(20);
  EXPECT_EQ(network.Count(), 1u);
  Count(1);
  ASSERT_EQ(network.Count(), 2u);
  EXPECT_EQ(EventsOf(1), "68:2;21");
}

TEST_F(PanoramaLoggerTest, ReportsWhenTheSumPasses20ByAViewThatCountsTwice) {
  SendTheFirst();
  Count(20);
  logger.NewViewEvent(1.0, 0.0, 0.5, true);
  ASSERT_EQ(network.Count(), 2u);
  EXPECT_EQ(EventsOf(1), "68:0;1;1;1;2;20");
}

TEST_F(PanoramaLoggerTest, AddsUpTheCountsOfBothFlags) {
  SendTheFirst();
  Count(10, true);
  Count(10, false);
  EXPECT_EQ(network.Count(), 1u);
  Count(1, false);
  ASSERT_EQ(network.Count(), 2u);
  EXPECT_EQ(EventsOf(1), "67:2;11,68:2;10");
}

TEST_F(PanoramaLoggerTest, ReportsAfterMoreThan30Seconds) {
  SendTheFirst();
  clock.now += 30.0;
  Count(1);
  EXPECT_EQ(network.Count(), 1u) << "exactly 30 seconds are not more";
  clock.now += 0.25;
  Count(1);
  ASSERT_EQ(network.Count(), 2u);
  EXPECT_EQ(EventsOf(1), "68:2;2");
}

TEST_F(PanoramaLoggerTest, StaysDueWhenThereWasNothingToReport) {
  SendTheFirst();
  clock.now += 31.0;
  logger.NewViewEvent(0.0, 0.0, kDefaultFov, true);
  logger.ForceSendData();
  EXPECT_EQ(network.Count(), 1u);
  EXPECT_EQ(logger.last_send_time, 1000.0);
  EXPECT_TRUE(logger.ShouldSendData());
  Count(1);
  EXPECT_EQ(network.Count(), 2u);
}

TEST_F(PanoramaLoggerTest, AsksTheClockOnlyWhereTheCountDoesNotDecide) {
  SendTheFirst();
  clock.asked = 0;
  logger.stats_67.num_fovs = 21;
  EXPECT_TRUE(logger.ShouldSendData());
  EXPECT_EQ(clock.asked, 0);
  logger.stats_67.num_fovs = 20;
  EXPECT_FALSE(logger.ShouldSendData());
  EXPECT_EQ(clock.asked, 1);
}

TEST_F(PanoramaLoggerTest, CountsFalseIn67AndTrueIn68) {
  logger.last_send_time = clock.now;
  logger.NewPanoramaEvent(false);
  logger.NewViewEvent(1.0, 0.0, kDefaultFov, true);
  EXPECT_EQ(logger.stats_67.num_panoramas, 1);
  EXPECT_EQ(logger.stats_68.num_viewpoints, 1);
  logger.ForceSendData();
  EXPECT_EQ(EventsOf(0), "67:2;1,68:0;1");
}

TEST_F(PanoramaLoggerTest, ReportsAsOnePartWhereOnlyOneFlagCounted) {
  logger.NewPanoramaEvent(false);
  EXPECT_EQ(EventsOf(0), "67:2;1");
}

TEST_F(PanoramaLoggerTest, WritesItsItemsInOrderAndItsTextPlainly) {
  logger.stats_67.num_viewpoints = 3;
  logger.stats_67.num_panoramas = 1;
  logger.stats_68.num_fovs = 2;
  const std::string url = logger.CreateUrl().toString().toStdString();
  EXPECT_EQ(url.substr(0, url.rfind('=') + 1),
            "http://panorama.pelorin.example/plk?output=plrep&ed=67:0;3;2;1,68:1;2"
            "&pl_client=nimbara&v=4&s=");
}

TEST_F(PanoramaLoggerTest, EndsEachAddressWithARandomNumber) {
  std::set<int> numbers;
  for (int i = 0; i < 50; ++i) {
    bool ok = false;
    numbers.insert(QUrlQuery(logger.CreateUrl()).queryItemValue("s").toInt(&ok));
    EXPECT_TRUE(ok);
  }
  EXPECT_GT(numbers.size(), 1u);
  EXPECT_GE(*numbers.begin(), 0);
  EXPECT_LE(*numbers.rbegin(), 10000);
}

TEST_F(PanoramaLoggerTest, GoesToItsOwnServerWhateverTheSettings) {
  PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
  options.meta_data_fetch_server.Set("http://elsewhere.example/plk");
  options.max_metadata_depthmap_qps.Set(4.0f);
  Count(1);
  options.ResetToDefault();
  const net::Fetcher::FetchParams params = network.Params(0);
  EXPECT_TRUE(params.url.startsWith("http://panorama.pelorin.example/plk?output=plrep&"));
  EXPECT_EQ(params.pacing_interval_s, 0.0);
}

TEST_F(PanoramaLoggerTest, WaitsForNoAnswer) {
  Count(1);
  const net::Fetcher::FetchParams params = network.Params(0);
  EXPECT_EQ(params.completion, nullptr);
  EXPECT_EQ(params.user_data, &logger);
  EXPECT_TRUE(params.user_agent.isEmpty());
  EXPECT_TRUE(params.referrer.isNull());
  EXPECT_TRUE(params.headers.empty());
  EXPECT_FALSE(params.bypass_caches);
  EXPECT_EQ(logger.fetcher, network.Request(0));
}

TEST_F(PanoramaLoggerTest, ResetsTheCountsAndKeepsTheView) {
  logger.NewViewEvent(1.0, 0.25, 0.5, true);
  EXPECT_EQ(network.Count(), 1u);
  EXPECT_EQ(logger.stats_68.num_viewpoints, 0);
  EXPECT_EQ(logger.stats_68.num_fovs, 0);
  EXPECT_EQ(logger.stats_68.last_heading, 1.0);
  EXPECT_EQ(logger.stats_68.last_tilt, 0.25);
  EXPECT_EQ(logger.stats_68.last_fov, 0.5);
}

TEST_F(PanoramaLoggerTest, KeepsTheViewsOfBothFlagsApart) {
  SendTheFirst();
  logger.NewViewEvent(1.0, 0.0, kDefaultFov, true);
  logger.NewViewEvent(1.0, 0.0, kDefaultFov, false);
  EXPECT_EQ(logger.stats_68.num_viewpoints, 1);
  EXPECT_EQ(logger.stats_67.num_viewpoints, 1);
}

TEST_F(PanoramaLoggerTest, LosesTheCountsOfAReportThatFails) {
  Count(1);
  network.Complete(0, {503, {}});
  EXPECT_EQ(logger.stats_68.num_panoramas, 0);
  logger.ForceSendData();
  EXPECT_EQ(network.Count(), 1u);
}

TEST_F(PanoramaLoggerTest, TakesAReportThatCannotStartForSent) {
  network.RefuseStarts();
  Count(1);
  EXPECT_EQ(network.RefusedStarts(), 1u);
  EXPECT_FALSE(logger.fetcher);
  EXPECT_EQ(logger.stats_68.num_panoramas, 0);
  EXPECT_EQ(logger.last_send_time, 1000.0);
}

TEST_F(PanoramaLoggerTest, CancelsTheLastReportAtItsEndAndNoOther) {
  {
    PanoramaLogger other(&clock);
    other.NewPanoramaEvent(true);
    other.NewPanoramaEvent(true);
    other.ForceSendData();
    EXPECT_EQ(network.Count(), 2u);
    EXPECT_FALSE(network.WasCancelled(0)) << "the next report only lets go of it";
  }
  EXPECT_FALSE(network.WasCancelled(0));
  EXPECT_TRUE(network.WasCancelled(1));
}

TEST_F(PanoramaLoggerTest, SendsThroughTheOperationOfADerivedClass) {
  class Counting : public PanoramaLogger {
   public:
    using PanoramaLogger::PanoramaLogger;
    void SendData() override { ++sent; }
    int sent = 0;
  };
  Counting counting(&clock);
  counting.NewPanoramaEvent(true);
  counting.NewViewEvent(0.0, 0.0, kDefaultFov, false);
  counting.ForceSendData();
  EXPECT_EQ(counting.sent, 3);
  EXPECT_EQ(network.Count(), 0u);
}

TEST(PanoramaLoggerMemory, LeavesNothingBehind) {
  const test_support::HeapSnapshot before;
  {
    FakeNetwork network;
    FakeClock clock;
    PanoramaLogger logger(&clock);
    for (int i = 0; i < 100; ++i) {
      logger.NewPanoramaEvent(i % 2 == 0);
    }
    EXPECT_EQ(network.Count(), 5u);
  }
  EXPECT_TRUE(test_support::HeapSnapshot() == before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
