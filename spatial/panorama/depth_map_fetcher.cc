// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_map_fetcher.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "spatial/panorama/depth_and_pano.h"
#include "spatial/panorama/metadata_request.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/request_status.h"

namespace nimbara {
namespace spatial {

DepthMapFetcher::DepthMapFetcher() : life(std::make_shared<const int>(0)) {}

DepthMapFetcher::~DepthMapFetcher() {
  mmvector<RefPtr<net::Fetcher>> open(HeapManager::GetTransientHeap());
  {
    std::lock_guard<SpinLock> hold(lock);
    open.assign(superseded.begin(), superseded.end());
    if (fetcher) {
      open.push_back(fetcher);
    }
  }
  for (const RefPtr<net::Fetcher>& request : open) {
    request->cancel();
  }
}

void DepthMapFetcher::ParseDepthAndPano(const QByteArray& xml, PanoramaData* data) {
  spatial::ParseDepthAndPano(xml, data);
}

void DepthMapFetcher::FetchDepthMap(Panorama* host_panorama, PanoramaData* record) {
  if (record == nullptr) {
    return;
  }
  Clear();
  ++fetch_number;
  panorama = host_panorama;
  data = record;
  if (record->depthmap != nullptr) {
    finished = true;
    return;
  }
  if (record->pano_id.isEmpty()) {
    return;
  }
  const net::Fetcher::FetchParams params =
      MetaDataRequest(CreateUrl(record->pano_id), &DepthMapFinished, this);
  // Held over the start, so that a completion that comes at once finds its request stored.
  std::lock_guard<SpinLock> hold(lock);
  fetcher = net::Fetcher::fetch(params, nullptr);
}

QUrl DepthMapFetcher::CreateUrl(const QString& pano_id) const {
  const auto text = [](const char* literal) { return QString::fromLatin1(literal); };
  return MetaDataUrl({{text("output"), text("xml")},
                      {text("v"), text("4")},
                      {text("panoid"), pano_id},
                      {text("dm"), text("1")},
                      {text("pm"), text("1")},
                      {text("pl_client"), text("nimbara")}});
}

void DepthMapFetcher::DepthMapFinished(net::Fetcher& request) {
  auto* self = static_cast<DepthMapFetcher*>(request.user_data());
  if (self != nullptr) {
    self->RequestEnded(request);
  }
}

void DepthMapFetcher::RequestEnded(net::Fetcher& request) {
  std::lock_guard<SpinLock> hold(lock);
  if (&request == fetcher.get()) {
    fetcher_ended = true;
    finished = !RequestFailed(request.status()) && request.status() > 1;
    return;
  }
  const RefPtr<net::Fetcher> ended(&request);
  superseded.erase(std::remove(superseded.begin(), superseded.end(), ended), superseded.end());
}

void DepthMapFetcher::ProcessDepthMap() {
  if (data == nullptr) {
    return;
  }
  if (parse_answer && fetcher) {
    ParseDepthAndPano(fetcher->body(), data);
  }
  const std::weak_ptr<const int> this_object = life;
  const std::uint64_t this_fetch = fetch_number;
  OnDepthMapReady(panorama, data->depthmap != nullptr);
  if (!this_object.expired() && fetch_number == this_fetch) {
    Clear();
  }
}

void DepthMapFetcher::Clear() {
  std::lock_guard<SpinLock> hold(lock);
  if (fetcher && !fetcher_ended) {
    superseded.push_back(fetcher);
  }
  fetcher.reset();
  fetcher_ended = false;
  finished = false;
  panorama = nullptr;
  data = nullptr;
}

}  // namespace spatial
}  // namespace nimbara
