// SPDX-License-Identifier: Apache-2.0
// The road of a panorama from the service to the graph: the real manager, over the reference host's
// network, against the service on loopback.
#include <gtest/gtest.h>

#include <QString>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "host/memory.h"
#include "host/reference/heap_statistics.h"
#include "host/reference/network_options.h"
#include "host/reference/network_shutdown.h"
#include "host/reference/network_statistics.h"
#include "host/threads.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/map_tile.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/panorama_fetch_manager.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace {

using nimbara::GetHeapStatistics;
using nimbara::HeapManager;
using nimbara::HeapStatistics;
using nimbara::SpinLock;
using nimbara::spatial::MapTile;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoramaFetcher;
using nimbara::spatial::PanoramaFetchManager;
using nimbara::spatial::PelorinSpatialOptions;
using Clock = std::chrono::steady_clock;
namespace net = nimbara::net;

class Pipeline : public testing::Test {
 protected:
  Pipeline() : dataset_(MakeHarbourTown(nullptr)) {
    std::vector<PanoRecord> records;
    dataset_->FindInBox(dataset_->bounds(), 100000, &records, nullptr);
    for (PanoRecord& record : records)
      town_.emplace(record.id, std::move(record));
    start_ = dataset_->info().tour_from.value();
    NearestQuery nearest;
    nearest.place = start_;
    nearest.radius_m = 1000.0;
    PanoRecord record;
    dataset_->FindNearest(nearest, false, &record, nullptr);
    start_id_ = record.id;

    net::NetworkOptions options;
    options.max_retries = 1;
    options.retry_base_delay_s = 0.01;
    options.retry_max_delay_s = 0.02;
    net::SetNetworkOptions(options);
    dynamic_heap_ = GetHeapStatistics(HeapManager::GetDynamicHeap());
    transient_heap_ = GetHeapStatistics(HeapManager::GetTransientHeap());
  }

  // Everything ends here by itself, and nothing may be left.
  ~Pipeline() override {
    manager_.reset();
    graph_.reset();
    net::ShutDownNetwork();
    service_.reset();
    EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()).blocks, dynamic_heap_.blocks);
    EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()).blocks, transient_heap_.blocks);
    Settings().meta_data_fetch_server.ResetToDefault();
    net::SetNetworkOptions(net::NetworkOptions());
  }

  static PelorinSpatialOptions& Settings() { return PelorinSpatialOptions::s_settings_; }

  void Start(const FaultPlan& faults = {}) {
    ServiceOptions options;
    options.faults = faults;
    std::string error;
    service_ = PanoramaService::Start(*dataset_, options, &error);
    ASSERT_NE(service_, nullptr) << error;
    Settings().meta_data_fetch_server.Set(QString::fromStdString(service_->url() + "/plk"));
    graph_ = std::make_unique<PanoGraph>();
    manager_ = std::make_unique<PanoramaFetchManager>(graph_.get());
    ListAddresses();
  }

  // Waits until no request is under way in the network, and none that this test can have made waits
  // for the worker; false after a minute.
  bool Settle() {
    auto* const fetcher = static_cast<PanoramaFetcher*>(manager_->fetcher());
    const Clock::time_point end = Clock::now() + std::chrono::minutes(1);
    while (Clock::now() < end) {
      const net::NetworkStatistics now = net::GetNetworkStatistics();
      if (now.started == now.succeeded + now.failed + now.cancelled &&
          std::none_of(addresses_.begin(), addresses_.end(),
                       [&](const QUrl& url) { return fetcher->IsFetching(url); })) {
        return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  // Everything that the tests that settle can ask for.
  void ListAddresses() {
    const auto* const fetcher = static_cast<PanoramaFetcher*>(manager_->fetcher());
    addresses_.clear();
    addresses_.push_back(fetcher->CreateUrl(start_.lat_deg, start_.lng_deg, 50.0, QString()));
    for (const auto& entry : town_) {
      addresses_.push_back(fetcher->CreateUrl(QString::fromStdString(entry.first)));
    }
    const MapTile centre = StartTile();
    for (int x = centre.x - 1; x <= centre.x + 1; ++x) {
      for (int y = centre.y - 1; y <= centre.y + 1; ++y) {
        MapTile tile = centre;
        tile.x = x;
        tile.y = y;
        addresses_.push_back(fetcher->CreateUrl(tile));
      }
    }
  }

  MapTile StartTile() const {
    return MapTile(start_.lat_deg, start_.lng_deg, Settings().meta_data_tile_zoom_level.Get());
  }

  // The ids in the graph that have a record.
  std::set<std::string> Loaded() {
    const std::lock_guard<SpinLock> hold(graph_->lock);
    std::set<std::string> ids;
    for (const auto& entry : graph_->handles) {
      if (graph_->GetPanoramaData(entry.first) != nullptr)
        ids.insert(entry.first.toStdString());
    }
    return ids;
  }

  // What can be reached from the start over links and levels.
  std::set<std::string> Reachable() const {
    std::set<std::string> ids{start_id_};
    std::vector<std::string> open{start_id_};
    const auto visit = [&](const std::string& id) {
      if (town_.count(id) > 0 && ids.insert(id).second)
        open.push_back(id);
    };
    while (!open.empty()) {
      const PanoRecord& record = town_.at(open.back());
      open.pop_back();
      for (const PanoLink& link : record.links)
        visit(link.pano_id);
      for (const PanoLevel& level : record.levels)
        visit(level.pano_id);
    }
    return ids;
  }

  // Asks on and on for the neighbours of all that is known until `wanted` is there. True if it
  // came.
  bool Crawl(const std::set<std::string>& wanted) {
    for (int round = 0; round < 400; ++round) {
      const std::set<std::string> loaded = Loaded();
      if (std::includes(loaded.begin(), loaded.end(), wanted.begin(), wanted.end()))
        return true;
      if (loaded.empty())
        manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
      for (const std::string& id : loaded) {
        manager_->EnsureNeighborsFetched(QString::fromStdString(id));
      }
      if (!Settle())
        return false;
    }
    return false;
  }

  // Every record of the graph stands in the town, and where the town has it.
  void ExpectSoundRecords() {
    const std::lock_guard<SpinLock> hold(graph_->lock);
    for (const auto& entry : graph_->handles) {
      const PanoramaData* const data = graph_->GetPanoramaData(entry.first);
      if (data == nullptr)
        continue;
      const auto record = town_.find(entry.first.toStdString());
      ASSERT_NE(record, town_.end()) << entry.first.toStdString();
      EXPECT_EQ(data->position.x, record->second.place.lng_deg / 180.0);
      EXPECT_EQ(data->position.y, record->second.place.lat_deg / 180.0);
      EXPECT_EQ(data->links.size(), record->second.links.size());
    }
  }

  std::unique_ptr<Dataset> dataset_;
  std::map<std::string, PanoRecord> town_;
  LatLng start_;
  std::string start_id_;
  std::unique_ptr<PanoramaService> service_;
  std::unique_ptr<PanoGraph> graph_;
  std::unique_ptr<PanoramaFetchManager> manager_;
  std::vector<QUrl> addresses_;
  HeapStatistics dynamic_heap_;
  HeapStatistics transient_heap_;
};

TEST_F(Pipeline, BringsTheNearestPanoramaAndNamesItsNeighbours) {
  Start();
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Loaded(), std::set<std::string>{start_id_});
  EXPECT_EQ(service_->statistics().by_position, 1u);
  EXPECT_EQ(service_->statistics().requests, 1u);
  for (const PanoLink& link : town_.at(start_id_).links) {
    EXPECT_TRUE(graph_->GetHandle(QString::fromStdString(link.pano_id), nullptr));
  }
  ExpectSoundRecords();
}

TEST_F(Pipeline, StepsUpToTilesAtTheSeventhCall) {
  Start();
  for (int call = 1; call <= 6; ++call) {
    manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
    ASSERT_TRUE(Settle());
  }
  EXPECT_EQ(service_->statistics().by_tile, 0u);
  EXPECT_EQ(service_->statistics().by_position, 6u);
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  EXPECT_GT(service_->statistics().by_tile, 0u);
  const std::set<std::string> loaded = Loaded();
  std::vector<PanoRecord> in_tile;
  const MapTile tile = StartTile();
  dataset_->FindInTile(tile.x, tile.y, tile.zoom, 100000, &in_tile, nullptr);
  ASSERT_GT(in_tile.size(), 1u);
  for (const PanoRecord& record : in_tile)
    EXPECT_EQ(loaded.count(record.id), 1u) << record.id;
  ExpectSoundRecords();

  const std::uint64_t asked = service_->statistics().requests;
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(service_->statistics().requests, asked);
}

TEST_F(Pipeline, BringsTheNeighboursOfAPanorama) {
  Start();
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  manager_->EnsureNeighborsFetched(QString::fromStdString(start_id_));
  ASSERT_TRUE(Settle());
  const std::set<std::string> loaded = Loaded();
  for (const PanoLink& link : town_.at(start_id_).links) {
    EXPECT_EQ(loaded.count(link.pano_id), town_.count(link.pano_id)) << link.pano_id;
  }
  ExpectSoundRecords();
}

TEST_F(Pipeline, BringsAllThatCanBeReached) {
  Start();
  const std::set<std::string> wanted = Reachable();
  ASSERT_GT(wanted.size(), 50u);
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  ExpectSoundRecords();
}

TEST_F(Pipeline, LosesNothingToFailures) {
  FaultPlan faults;
  ASSERT_TRUE(faults.AddFailures("503:0.2,500:0.1", nullptr));
  Start(faults);
  const std::set<std::string> wanted = Reachable();
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  EXPECT_GT(service_->statistics().failed, 0u);
  ExpectSoundRecords();
}

TEST_F(Pipeline, LosesNothingToTruncation) {
  FaultPlan faults;
  ASSERT_TRUE(faults.SetTruncate("0.3", nullptr));
  Start(faults);
  const std::set<std::string> wanted = Reachable();
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  EXPECT_GT(service_->statistics().truncated, 0u);
  ExpectSoundRecords();
}

TEST_F(Pipeline, LosesNothingToCorruption) {
  FaultPlan faults;
  ASSERT_TRUE(faults.SetCorrupt("0.3", nullptr));
  Start(faults);
  const std::set<std::string> wanted = Reachable();
  // Positions are not compared: a changed digit is as good as another.
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  EXPECT_GT(service_->statistics().corrupted, 0u);
}

TEST_F(Pipeline, LosesNothingToStalls) {
  net::NetworkOptions options = net::GetNetworkOptions();
  options.total_timeout_s = 0.5;
  options.max_connections_per_server = 32;
  net::SetNetworkOptions(options);
  FaultPlan faults;
  ASSERT_TRUE(faults.SetStall("0.02", nullptr));
  Start(faults);
  const std::set<std::string> wanted = Reachable();
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  EXPECT_GT(service_->statistics().stalled, 0u);
  ExpectSoundRecords();
}

TEST_F(Pipeline, LosesNothingToAnswersOutOfOrder) {
  FaultPlan faults;
  faults.set_reorder(true);
  Start(faults);
  const std::set<std::string> wanted = Reachable();
  EXPECT_TRUE(Crawl(wanted)) << Loaded().size() << " of " << wanted.size();
  EXPECT_GT(service_->statistics().reordered, 0u);
  ExpectSoundRecords();
}

TEST_F(Pipeline, AsksForATileAgainThatDidNotCome) {
  FaultPlan faults;
  ASSERT_TRUE(faults.AddFailures("404:0.5", nullptr));
  Start(faults);
  const MapTile tile = StartTile();
  for (int call = 0; call < 100 && !manager_->IsMetaDataTileFetched(tile); ++call) {
    manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
    ASSERT_TRUE(Settle());
  }
  EXPECT_TRUE(manager_->IsMetaDataTileFetched(tile));
  EXPECT_GT(service_->statistics().failed, 0u);
}

TEST_F(Pipeline, EndsWithRequestsUnderWay) {
  FaultPlan faults;
  ASSERT_TRUE(faults.SetLatency("60000", nullptr));
  Start(faults);
  for (int i = 0; i < 10; ++i) {
    manager_->FetchNearestMetaData(start_.lat_deg + 0.001 * i, start_.lng_deg, 50.0);
  }
  const Clock::time_point begin = Clock::now();
  manager_.reset();
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
  EXPECT_TRUE(Loaded().empty());
}

TEST_F(Pipeline, EndsInTheMiddleOfACrawl) {
  for (int round = 0; round < 5; ++round) {
    Start();
    manager_->FetchAllMetaData(start_.lat_deg, start_.lng_deg, 100.0);
    manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(3 * round));
    manager_.reset();
    ExpectSoundRecords();
    graph_.reset();
  }
}

TEST_F(Pipeline, GoesOnWhenTheServiceComesBack) {
  Start();
  const int port = service_->port();
  service_->Stop();
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(Loaded().empty());
  ServiceOptions options;
  options.port = port;
  std::string error;
  service_ = PanoramaService::Start(*dataset_, options, &error);
  ASSERT_NE(service_, nullptr) << error;
  manager_->FetchNearestMetaData(start_.lat_deg, start_.lng_deg, 50.0);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Loaded(), std::set<std::string>{start_id_});
}

}  // namespace
}  // namespace pelorin
