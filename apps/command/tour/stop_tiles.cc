// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/stop_tiles.h"

#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "apps/command/tour/stop_requests.h"
#include "apps/jpeg/acquisition_date.h"
#include "host/network.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::RefPtr;
using nimbara::net::Fetcher;
using nimbara::spatial::PathPlanner;
using nimbara::spatial::PelorinSpatialOptions;

constexpr int kNotFound = 404;

// At level 0 the whole image is one tile.
QString UrlOfWholeImage(const QString& pano_id) {
  QString url =
      PelorinSpatialOptions::s_settings_.pano_tile_template_url.Get().arg(pano_id, 0, ' ');
  for (const char* variable : {"$[level]", "$[x]", "$[y]"}) {
    url.replace(QLatin1String(variable), QLatin1String("0"));
  }
  return url;
}

RefPtr<Fetcher> Ask(const QString& pano_id) {
  const float per_second = PelorinSpatialOptions::s_settings_.max_imagery_qps.Get();
  Fetcher::FetchParams params;
  params.url = UrlOfWholeImage(pano_id);
  params.pacing_interval_s = per_second > 0.0f ? 1.0 / static_cast<double>(per_second) : 0.0;
  return Fetcher::fetch(params, nullptr);
}

// Waits for the end of a request. False if it brought nothing and may be made again.
bool TakeAnswer(const RefPtr<Fetcher>& request, TourTile* tile) {
  if (!request) {
    return true;
  }
  while (request->status() == Fetcher::kRunning) {
    std::this_thread::sleep_for(stop_requests::kLook);
  }
  if (request->status() == Fetcher::kSucceeded) {
    ReadTile(request->body(), tile);
    return true;
  }
  return request->status() == kNotFound;
}

// Asks for some of the tiles; returns the numbers of those whose answer did not come.
std::vector<std::size_t> FetchSome(const PathPlanner::Path& path,
                                   const std::vector<std::size_t>& wanted, StopTiles* stops,
                                   const std::function<void()>& on_answer) {
  std::deque<std::pair<std::size_t, RefPtr<Fetcher>>> under_way;
  std::vector<std::size_t> missed;
  const auto take_first = [&] {
    const auto [number, request] = under_way.front();
    under_way.pop_front();
    if (TakeAnswer(request, &stops->tiles[number])) {
      on_answer();
    } else {
      missed.push_back(number);
    }
  };
  for (const std::size_t number : wanted) {
    if (under_way.size() == stop_requests::kAtATime) {
      take_first();
    }
    under_way.emplace_back(number, Ask(path[static_cast<std::size_t>(stops->tiles[number].stop)]));
    ++stops->requests;
  }
  while (!under_way.empty()) {
    take_first();
  }
  return missed;
}

}  // namespace

StopTiles FetchStopTiles(const PathPlanner::Path& path,
                         const std::function<void(std::int64_t, std::int64_t)>& on_progress) {
  StopTiles stops;
  std::set<QString> known;
  std::vector<std::size_t> wanted;
  for (std::size_t stop = 0; stop < path.size(); ++stop) {
    if (known.insert(path[stop]).second) {
      wanted.push_back(stops.tiles.size());
      TourTile tile;
      tile.stop = static_cast<int>(stop);
      stops.tiles.push_back(tile);
    }
  }
  std::int64_t done = 0;
  const auto on_answer = [&] {
    ++done;
    if (on_progress) {
      on_progress(done, static_cast<std::int64_t>(stops.tiles.size()));
    }
  };
  for (int round = 0; round < stop_requests::kTries && !wanted.empty(); ++round) {
    wanted = FetchSome(path, wanted, &stops, on_answer);
  }
  return stops;
}

void ReadTile(const QByteArray& file, TourTile* tile) {
  const std::string_view bytes(file.constData(), static_cast<std::size_t>(file.size()));
  JpegHeader header;
  std::string error;
  if (!ReadJpegHeader(bytes, &header, &error)) {
    tile->state = TourTile::State::kUnreadable;
    return;
  }
  tile->date = DateForPeople(DateInHeader(header));
  tile->state = tile->date.empty() ? TourTile::State::kUndated : TourTile::State::kDated;
}

}  // namespace command
}  // namespace pelorin
