// SPDX-License-Identifier: Apache-2.0
// The heights of 100,000 points through the elevation service over loopback: the library's query
// from points to heights, beside bare curl that fetches the very same addresses and throws the
// answers away. The service runs in this process and takes its share of the machine from both.
// Below them what the query does on its own: addresses with their signatures, and one reply read.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <QUrl>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/elevation/awaited_query.h"
#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "spatial/geodesy/elevation_query.h"
#include "spatial/geodesy/elevation_reply.h"
#include "spatial/geodesy/elevation_request.h"

namespace {

using nimbara::Vec3;
using nimbara::spatial::ElevationQuery;
using pelorin::command::AwaitedQuery;

constexpr int kPoints = 100000;
constexpr int kMaxUrlLength = 2048;

// A walk over the town's ground: each step a few metres, as tracks have them.
std::vector<Vec3<double>> Walk(const pelorin::BoundingBox& box) {
  std::vector<Vec3<double>> points;
  for (int i = 0; i < kPoints; ++i) {
    const double turn = 2.0 * 3.14159265358979 * i / kPoints;
    const double reach = 0.45 * (0.6 + 0.4 * std::cos(97.0 * turn));
    const double lng = (box.west_deg + box.east_deg) / 2.0 +
                       reach * (box.east_deg - box.west_deg) * std::cos(71.0 * turn);
    const double lat = (box.south_deg + box.north_deg) / 2.0 +
                       reach * (box.north_deg - box.south_deg) * std::sin(71.0 * turn);
    points.push_back({lng / 180.0, lat / 180.0, 0.0});
  }
  return points;
}

struct Service {
  std::unique_ptr<pelorin::Dataset> dataset;
  std::unique_ptr<pelorin::PanoramaService> service;
  std::vector<Vec3<double>> points;
  std::vector<std::string> urls;  // Of the query's own requests.

  Service() {
    std::string error;
    dataset = pelorin::MakeHarbourTown(&error);
    service = pelorin::PanoramaService::Start(*dataset, {}, &error);
    points = Walk(dataset->bounds());
    ElevationQuery::s_url_ = QUrl(QString::fromStdString(service->url() + "/elevation/"));
    urls = Addresses();
  }

  // As the query splits: each request begins again at the greatest number of points.
  std::vector<std::string> Addresses() const {
    std::vector<std::string> addresses;
    for (int done = 0; done < kPoints;) {
      int chunk = std::min(kPoints - done, ElevationQuery::kDefaultMaxPointsPerRequest);
      QByteArray url;
      while (url.isEmpty()) {
        url = nimbara::spatial::ElevationRequestUrl(ElevationQuery::s_url_, points.data() + done,
                                                    chunk, kMaxUrlLength);
        chunk = url.isEmpty() ? chunk * 4 / 5 : chunk;
      }
      addresses.push_back(url.toStdString());
      done += chunk;
    }
    return addresses;
  }

  static const Service& Get() {
    static const Service service;
    return service;
  }
};

void CountPoints(benchmark::State& state) {
  state.counters["points"] =
      benchmark::Counter(kPoints, benchmark::Counter::kIsIterationInvariantRate);
}

void Ours(benchmark::State& state) {
  const Service& service = Service::Get();
  for (auto _ : state) {
    const auto query = std::make_unique<AwaitedQuery>();
    query->Construct(service.points.data(), kPoints, ElevationQuery::kDefaultMaxPointsPerRequest,
                     kMaxUrlLength);
    query->Await();
    if (query->state() != ElevationQuery::kDone) {
      return state.SkipWithError("the heights did not come");
    }
  }
  state.counters["requests"] = static_cast<double>(service.urls.size());
  CountPoints(state);
}

std::size_t Discard(char*, std::size_t size, std::size_t count, void*) {
  return size * count;
}

// Fetches every address, on as many connections as there are handles. False if any fetch failed.
bool FetchAll(const std::vector<std::string>& urls, CURLM* multi,
              const std::vector<CURL*>& handles) {
  std::size_t started = 0;
  std::size_t ended = 0;
  bool all_good = true;
  const auto start_next = [&](CURL* handle) {
    if (started < urls.size()) {
      curl_easy_setopt(handle, CURLOPT_URL, urls[started++].c_str());
      curl_multi_add_handle(multi, handle);
    }
  };
  for (CURL* const handle : handles) {
    start_next(handle);
  }
  while (ended < started) {
    int running = 0;
    curl_multi_perform(multi, &running);
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi, &left)) {
      CURL* const handle = message->easy_handle;
      all_good = all_good && message->data.result == CURLE_OK;
      ++ended;
      curl_multi_remove_handle(multi, handle);
      start_next(handle);
    }
    // Ends at once where a handle has just been started, which is due without delay.
    if (running > 0) {
      curl_multi_poll(multi, nullptr, 0, 100, nullptr);
    }
  }
  return all_good;
}

// As many connections as the library's network opens to one server.
void BareCurl(benchmark::State& state) {
  const Service& service = Service::Get();
  constexpr int kWidth = 6;
  CURLM* const multi = curl_multi_init();
  std::vector<CURL*> handles;
  for (int i = 0; i < kWidth; ++i) {
    handles.push_back(curl_easy_init());
    curl_easy_setopt(handles.back(), CURLOPT_WRITEFUNCTION, &Discard);
    curl_easy_setopt(handles.back(), CURLOPT_FAILONERROR, 1L);
  }
  for (auto _ : state) {
    if (!FetchAll(service.urls, multi, handles)) {
      state.SkipWithError("the answers did not come");
      break;
    }
  }
  for (CURL* const handle : handles) {
    curl_easy_cleanup(handle);
  }
  curl_multi_cleanup(multi);
  CountPoints(state);
}

void SignedAddresses(benchmark::State& state) {
  const Service& service = Service::Get();
  for (auto _ : state) {
    benchmark::DoNotOptimize(service.Addresses());
  }
  CountPoints(state);
}

void OneReply(benchmark::State& state) {
  QByteArray body = "{\"results\":[";
  for (int i = 0; i < 200; ++i) {
    body += QByteArray(i == 0 ? "" : ",") + "{\"elevation\":" + QByteArray::number(i * 0.125) +
            ",\"location\":{\"lat\":47.49812,\"lng\":-24.50187}}";
  }
  body += "],\"status\":\"OK\"}\n";
  nimbara::mmvector<float> heights(200);
  for (auto _ : state) {
    int read = 0;
    nimbara::spatial::ReadElevationReply(body, 0, &heights, &read);
    benchmark::DoNotOptimize(heights.data());
  }
  state.counters["points"] = benchmark::Counter(200, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(Ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BareCurl)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SignedAddresses)->Unit(benchmark::kMillisecond);
BENCHMARK(OneReply)->Unit(benchmark::kMicrosecond);

}  // namespace
