// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_fetch.h"

#include <mutex>
#include <utility>

#include "spatial/panorama/metadata_request.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/panorama_fetch_observer.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/panorama_xml_parser.h"
#include "spatial/panorama/request_status.h"

namespace nimbara {
namespace spatial {

PanoramaFetch::PanoramaFetch(PanoramaFetcher* fetch_owner, const QUrl& request_url,
                             IPanoramaFetchObserver* fetch_observer)
    : owner(fetch_owner), url(request_url), observer(fetch_observer) {
  owner->AddFetch(this);
  RefPtr<net::Fetcher> request =
      net::Fetcher::fetch(MetaDataRequest(url, &PanoramaFinished, this), nullptr);
  std::lock_guard<SpinLock> hold(owner->lock);
  fetcher = std::move(request);
}

PanoramaFetch::~PanoramaFetch() {
  owner->RemoveFetch(this);
}

void PanoramaFetch::StartProcessJob(net::Fetcher&) {
  FetchProcessor::CreateAndQueue(owner->worker, this);
}

void PanoramaFetch::PanoramaFinished(net::Fetcher& request) {
  auto* fetch = static_cast<PanoramaFetch*>(request.user_data());
  if (fetch != nullptr && fetch->ArriveSecond()) {
    fetch->Conclude(request);
  }
}

void PanoramaFetch::StartEnded() {
  // A starter that comes first does not touch the object again: the completion may end it now.
  if (ArriveSecond()) {
    Conclude(*fetcher);
  }
}

void PanoramaFetch::Conclude(net::Fetcher& request) {
  {
    // Held while the job is queued: the owner's destructor then comes after the whole call, also
    // where the worker has ended this fetch before the call returns. No observer runs under it,
    // since an owner that is not ending has its worker.
    std::lock_guard<SpinLock> hold(owner->lock);
    if (owner->ending) {
      return;  // The destructor ends this fetch.
    }
    if (!RequestFailed(request.status())) {
      StartProcessJob(request);
      return;
    }
  }
  delete this;
}

PanoramaFetch::FetchProcessor::FetchProcessor(WorkerThread* worker, PanoramaFetch* job_fetch)
    : Job("PanoramaFetchProcessor", worker), fetch(job_fetch) {}

PanoramaFetch::FetchProcessor::~FetchProcessor() {
  delete fetch;
}

void PanoramaFetch::FetchProcessor::CreateAndQueue(WorkerThread* worker, PanoramaFetch* fetch) {
  if (worker == nullptr) {
    ProcessImmediately(fetch, fetch->observer);
    return;
  }
  (new (HeapManager::GetTransientHeap()) FetchProcessor(worker, fetch))->Queue();
}

void PanoramaFetch::FetchProcessor::Queue() {
  ref();
  AddToQueue(thread());
}

void PanoramaFetch::FetchProcessor::ProcessImmediately(PanoramaFetch* fetch,
                                                       IPanoramaFetchObserver* observer) {
  if (observer == nullptr) {
    return;
  }
  mmvector<RefPtr<PanoramaData>> records(HeapManager::GetTransientHeap());
  if (fetch->fetcher) {
    PanoramaXMLParser::Parse(fetch->fetcher->body(), &records);
  }
  if (records.empty()) {
    observer->OnEmptyResponse();
  }
  for (RefPtr<PanoramaData>& record : records) {
    // The id by itself, since the observer gets the last reference and may end the record.
    const QString id = record->pano_id;
    observer->OnMetaDataFetched(id, std::move(record));
  }
}

void PanoramaFetch::FetchProcessor::Run() {
  ProcessImmediately(fetch, fetch->observer);
  unref();
}

}  // namespace spatial
}  // namespace nimbara
