// SPDX-License-Identifier: Apache-2.0
// Fetches what lies around a place from a running service, as a viewer does while it stands there:
//
//     pelorin serve --port 8080 &
//     example_fetch_around http://127.0.0.1:8080/plk 47.498 -24.500
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/panorama_fetch_manager.h"
#include "spatial/panorama/pelorin_spatial_options.h"

using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaFetchManager;
using nimbara::spatial::PelorinSpatialOptions;

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s SERVER_URL LAT LNG\n", argv[0]);
    return 2;
  }
  const double lat = std::atof(argv[2]);
  const double lng = std::atof(argv[3]);
  PelorinSpatialOptions::s_settings_.meta_data_fetch_server.Set(QString::fromLocal8Bit(argv[1]));

  PanoGraph graph;  // Outlives the manager, which fills it.
  PanoramaFetchManager manager(&graph);
  QString nearest;
  // A viewer does this once a frame; answers arrive on the manager's worker meanwhile, and a
  // request that failed is asked for again by the next call.
  for (int frame = 0; frame < 200 && nearest.isEmpty(); ++frame) {
    manager.FetchNearestMetaData(lat, lng, 200.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    nearest = graph.GetClosestPanoToPoint({lng / 180.0, lat / 180.0, 0.0});
  }
  if (nearest.isEmpty()) {
    std::fprintf(stderr, "nothing within 200 m, or no service at %s\n", argv[1]);
    return 1;
  }

  std::lock_guard<nimbara::SpinLock> hold(graph.lock);  // The worker may still add records.
  const nimbara::spatial::PanoramaData* record = graph.GetPanoramaData(nearest);
  std::printf("%s stands on %s and links to %zu panoramas\n", qPrintable(nearest),
              qPrintable(record->address), record->links.size());
  return 0;
}
