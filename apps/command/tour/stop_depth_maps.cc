// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/stop_depth_maps.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

#include "apps/command/tour/stop_requests.h"
#include "host/reference/network_statistics.h"
#include "spatial/panorama/depth_map_fetcher.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::spatial::DepthMapFetcher;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;

using stop_requests::kAtATime;
// A request counts as ended a moment before its completion has run.
constexpr int kLooksAfterTheEnd = 20;

class StopDepthMap : public DepthMapFetcher {
 public:
  void OnDepthMapReady(nimbara::Panorama*, bool) override {}
};

bool IsNetworkIdle() {
  const nimbara::net::NetworkStatistics now = nimbara::net::GetNetworkStatistics();
  return now.started == now.succeeded + now.failed + now.cancelled;
}

/// Nobody tells that a request failed; where nothing is under way any more, it did.
void WaitFor(const std::deque<StopDepthMap>& maps) {
  const auto have_all = [&maps] {
    return std::all_of(maps.begin(), maps.end(),
                       [](const StopDepthMap& map) { return map.finished.load(); });
  };
  for (int idle = 0; idle < kLooksAfterTheEnd && !have_all(); idle += IsNetworkIdle() ? 1 : 0) {
    std::this_thread::sleep_for(stop_requests::kLook);
  }
}

/// Asks for the maps of some records; returns those whose answer did not come.
std::vector<PanoramaData*> FetchSome(const PanoGraph& graph,
                                     const std::vector<PanoramaData*>& records) {
  std::deque<StopDepthMap> maps(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    maps[i].FetchDepthMap(nullptr, records[i]);
  }
  WaitFor(maps);
  std::vector<PanoramaData*> missed;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (maps[i].finished) {
      const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
      maps[i].ProcessDepthMap();
    } else {
      missed.push_back(records[i]);
    }
  }
  return missed;
}

std::vector<PanoramaData*> RecordsWithoutMap(const PanoGraph& graph,
                                             const nimbara::spatial::PathPlanner::Path& path) {
  const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
  std::vector<PanoramaData*> records;
  std::unordered_set<const PanoramaData*> listed;
  for (const QString& id : path) {
    PanoramaData* const record = graph.GetPanoramaData(id);
    if (record != nullptr && record->depthmap == nullptr && listed.insert(record).second) {
      records.push_back(record);
    }
  }
  return records;
}

}  // namespace

std::uint64_t FetchDepthMaps(const PanoGraph& graph,
                             const nimbara::spatial::PathPlanner::Path& path) {
  std::uint64_t requests = 0;
  std::vector<PanoramaData*> wanted = RecordsWithoutMap(graph, path);
  for (int round = 0; round < stop_requests::kTries && !wanted.empty(); ++round) {
    std::vector<PanoramaData*> missed;
    for (std::size_t first = 0; first < wanted.size(); first += kAtATime) {
      const std::size_t count = std::min(kAtATime, wanted.size() - first);
      const auto begin = wanted.begin() + static_cast<std::ptrdiff_t>(first);
      const std::vector<PanoramaData*> again =
          FetchSome(graph, {begin, begin + static_cast<std::ptrdiff_t>(count)});
      missed.insert(missed.end(), again.begin(), again.end());
      requests += count;
    }
    wanted = missed;
  }
  return requests;
}

}  // namespace command
}  // namespace pelorin
