// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetcher.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "host/network.h"
#include "spatial/panorama/metadata_request.h"
#include "spatial/panorama/panorama_fetch.h"
#include "spatial/panorama/panorama_tile_fetch.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

QString Text(const char* literal) {
  return QString::fromLatin1(literal);
}

QString Coordinate(double degrees) {
  return QString::number(degrees, 'f', 18);
}

int WholeMetres(double radius) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const double rounded = std::floor(radius + 0.5);
  return rounded < kMost ? static_cast<int>(rounded) : kMost;
}

}  // namespace

PanoramaFetcher::PanoramaFetcher()
    : worker(new WorkerThread("PanoramFetcher", 1)), settings(&PelorinSpatialOptions::s_settings_) {
}

PanoramaFetcher::~PanoramaFetcher() {
  {
    std::lock_guard<SpinLock> hold(lock);
    ending = true;
  }
  // From here on nothing is queued any more. Jobs that never run end their requests with them.
  CancelRequests();
  delete worker;
  // Once more, for what the last job's observer has asked for: then no completion is left that
  // could touch the requests.
  CancelRequests();
  while (!fetches.empty()) {
    delete fetches.back();
  }
}

bool PanoramaFetcher::FetchMetaData(const QString& pano_id, IPanoramaFetchObserver* observer) {
  if (pano_id.isEmpty()) {
    return false;
  }
  const QUrl url = CreateUrl(pano_id);
  if (IsFetching(url)) {
    return false;
  }
  auto* fetch = new (HeapManager::GetDynamicHeap()) PanoramaFetch(this, url, observer);
  settings->num_meta_data_pano_id_fetches.Increment();
  fetch->StartEnded();
  return true;
}

bool PanoramaFetcher::FetchMetaData(const MapTile& tile, IPanoramaFetchObserver* observer) {
  if (!tile.IsValid()) {
    return false;
  }
  const QUrl url = CreateUrl(tile);
  if (IsFetching(url)) {
    return false;
  }
  auto* fetch = new (HeapManager::GetDynamicHeap()) PanoramaTileFetch(this, url, observer, tile);
  settings->num_meta_data_pano_tile_fetches.Increment();
  fetch->StartEnded();
  return true;
}

bool PanoramaFetcher::FetchMetaData(double lat, double lng, double radius, const QString& level_id,
                                    IPanoramaFetchObserver* observer) {
  PanoramaFetch* fetch = nullptr;
  {
    std::lock_guard<SpinLock> hold(lock);
    const QUrl url = CreateUrl(lat, lng, radius, level_id);
    if (IsFetching(url)) {
      return false;
    }
    fetch = new (HeapManager::GetDynamicHeap()) PanoramaFetch(this, url, observer);
    settings->num_meta_data_pano_lat_lon_fetches.Increment();
  }
  fetch->StartEnded();
  return true;
}

QUrl PanoramaFetcher::CreateUrl(const QString& pano_id) const {
  return MetaDataUrl({{QStringLiteral("output"), QStringLiteral("xml")},
                      {QStringLiteral("panoid"), pano_id},
                      {QStringLiteral("pl_client"), Text(kPLClient)},
                      {QStringLiteral("dm"), QStringLiteral("1")},
                      {QStringLiteral("pm"), QStringLiteral("1")},
                      {QStringLiteral("v"), Text(kLoggingVersion)}});
}

QUrl PanoramaFetcher::CreateUrl(double lat, double lng, double radius,
                                const QString& level_id) const {
  QueryItems items{{QStringLiteral("output"), QStringLiteral("xml")},
                   {QStringLiteral("ll"), Coordinate(lat) + QStringLiteral(",") + Coordinate(lng)}};
  // The number itself decides, not what it rounds to: 0.25 asks for a radius of 0.
  if (radius > 0.0) {
    items.append({QStringLiteral("radius"), QString::number(WholeMetres(radius))});
  }
  if (!level_id.isEmpty()) {
    items.append({QStringLiteral("level_id"), level_id});
  }
  items.append({QStringLiteral("dm"), QStringLiteral("1")});
  items.append({QStringLiteral("pm"), QStringLiteral("1")});
  items.append({QStringLiteral("pl_client"), Text(kPLClient)});
  items.append({QStringLiteral("v"), Text(kLoggingVersion)});
  return MetaDataUrl(items);
}

QUrl PanoramaFetcher::CreateUrl(const MapTile& tile) const {
  return MetaDataUrl({{QStringLiteral("output"), QStringLiteral("metatile")},
                      {QStringLiteral("x"), QString::number(tile.x)},
                      {QStringLiteral("y"), QString::number(tile.y)},
                      {QStringLiteral("zoom"), QString::number(tile.zoom)},
                      {QStringLiteral("pl_client"), Text(kPLClient)},
                      {QStringLiteral("v"), Text(kLoggingVersion)}});
}

bool PanoramaFetcher::IsFetching(const QUrl& url) {
  std::lock_guard<SpinLock> hold(lock);
  return std::any_of(fetches.begin(), fetches.end(),
                     [&url](const PanoramaFetch* fetch) { return fetch->url == url; });
}

void PanoramaFetcher::AddFetch(PanoramaFetch* fetch) {
  std::lock_guard<SpinLock> hold(lock);
  fetches.push_back(fetch);
}

void PanoramaFetcher::RemoveFetch(PanoramaFetch* fetch) {
  std::lock_guard<SpinLock> hold(lock);
  fetches.erase(std::remove(fetches.begin(), fetches.end(), fetch), fetches.end());
}

void PanoramaFetcher::UpdateTileTemplateBaseURL(const QUrl& base) {
  StringSetting& setting = PelorinSpatialOptions::s_settings_.pano_tile_template_url;
  const QString current = setting.Get();
  const int query = current.indexOf(QLatin1Char('?'));
  if (query < 0 || query == current.size() - 1) {
    return;
  }
  const QByteArray server = base.toEncoded(QUrl::RemoveQuery | QUrl::RemoveFragment);
  setting.Set(QString::fromLatin1(server.constData()) + current.mid(query));
}

// The requests are held by references of their own: while one is being cancelled, its completion
// may end the `PanoramaFetch` that stands for it.
void PanoramaFetcher::CancelRequests() {
  mmvector<RefPtr<net::Fetcher>> requests(HeapManager::GetTransientHeap());
  {
    std::lock_guard<SpinLock> hold(lock);
    for (const PanoramaFetch* fetch : fetches) {
      requests.push_back(fetch->fetcher);
    }
  }
  for (const RefPtr<net::Fetcher>& request : requests) {
    if (request) {
      request->cancel();
    }
  }
}

}  // namespace spatial
}  // namespace nimbara
