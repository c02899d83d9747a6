// SPDX-License-Identifier: Apache-2.0
// Requests by id to the panorama service over loopback: the whole way to finished records at an
// observer, beside bare curl that throws the same answers away, and beside the one-thread program
// that one would write instead: curl, pugixml, Base64 and zlib to the same records and map cells.
// The service runs in this process and takes its share of the machine from all alike.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <zlib.h>

#include <QString>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "bench/record_by_hand.h"
#include "spatial/panorama/panorama_fetch_observer.h"
#include "spatial/panorama/panorama_fetcher.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace {

using nimbara::RefPtr;
using nimbara::spatial::IPanoramaFetchObserver;
using nimbara::spatial::MapTile;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoramaFetcher;
using nimbara::spatial::PelorinSpatialOptions;

// The town's service, and the ids of its panoramas.
struct Town {
  std::unique_ptr<pelorin::Dataset> dataset;
  std::unique_ptr<pelorin::PanoramaService> service;
  std::vector<QString> ids;

  Town() {
    std::string error;
    dataset = pelorin::MakeHarbourTown(&error);
    service = pelorin::PanoramaService::Start(*dataset, {}, &error);
    std::vector<pelorin::PanoRecord> records;
    dataset->FindInBox(dataset->bounds(), 1000, &records, &error);
    for (const pelorin::PanoRecord& record : records) {
      ids.push_back(QString::fromStdString(record.id));
    }
    PelorinSpatialOptions::s_settings_.meta_data_fetch_server.Set(
        QString::fromStdString(service->url() + "/plk"));
  }

  static const Town& Get() {
    static const Town town;
    return town;
  }
};

// Asks for every panorama of the town once, `width` at one time; a delivered record starts the next
// request, on the worker.
class Round final : public IPanoramaFetchObserver {
 public:
  explicit Round(PanoramaFetcher* fetcher) : fetcher_(fetcher) {}

  std::size_t Run(int width) {
    for (int i = 0; i < width; ++i) {
      StartNext();
    }
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait(hold, [this] { return ended_ == Town::Get().ids.size(); });
    return delivered_;
  }

  void OnMetaDataFetched(const QString&, RefPtr<PanoramaData> data) override {
    benchmark::DoNotOptimize(data->links.data());
    End(true);
  }
  void OnEmptyResponse() override { End(false); }
  void OnMapTileFetched(const MapTile&) override {}

 private:
  void StartNext() {
    QString id;
    {
      std::lock_guard<std::mutex> hold(mutex_);
      if (started_ == Town::Get().ids.size()) {
        return;
      }
      id = Town::Get().ids[started_++];
    }
    fetcher_->FetchMetaData(id, this);
  }

  void End(bool delivered) {
    StartNext();
    std::lock_guard<std::mutex> hold(mutex_);
    delivered_ += delivered ? 1 : 0;
    // Only the last wakes the waiting thread, which would take a core at every record otherwise.
    if (++ended_ == Town::Get().ids.size()) {
      changed_.notify_all();
    }
  }

  PanoramaFetcher* fetcher_;
  std::mutex mutex_;  // Guards what follows.
  std::condition_variable changed_;
  std::size_t started_ = 0;
  std::size_t ended_ = 0;
  std::size_t delivered_ = 0;
};

void Pipeline(benchmark::State& state) {
  const std::size_t count = Town::Get().ids.size();
  PanoramaFetcher fetcher;
  for (auto _ : state) {
    if (Round(&fetcher).Run(static_cast<int>(state.range(0))) != count) {
      state.SkipWithError("an answer without its record");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

// What one transfer of a peer gathers.
struct Answer {
  QByteArray body;
  std::size_t bytes = 0;
};

std::size_t ThrowAway(char*, std::size_t size, std::size_t count, void* answer) {
  static_cast<Answer*>(answer)->bytes += size * count;
  return size * count;
}

std::size_t Gather(char* bytes, std::size_t size, std::size_t count, void* answer) {
  static_cast<Answer*>(answer)->body.append(bytes, static_cast<int>(size * count));
  return ThrowAway(bytes, size, count, answer);
}

// The cells of a map from its Base64 text.
std::vector<char> CellsByHand(const char* text, std::vector<char>* buffer) {
  const QByteArray stream = QByteArray::fromBase64(QByteArray(text));
  uLongf size = static_cast<uLongf>(buffer->size());
  if (uncompress(reinterpret_cast<Bytef*>(buffer->data()), &size,
                 reinterpret_cast<const Bytef*>(stream.constData()),
                 static_cast<uLong>(stream.size())) != Z_OK) {
    return {};
  }
  return {buffer->begin(), buffer->begin() + static_cast<std::ptrdiff_t>(size)};
}

// True if the answer held a record.
bool ReadByHand(Answer* answer, std::vector<char>* buffer) {
  pugi::xml_document document;
  document.load_buffer_inplace(answer->body.data(), static_cast<std::size_t>(answer->body.size()));
  const pugi::xml_node panorama = document.child("panorama");
  const auto record = nimbara::spatial::RecordByHand<nimbara::spatial::Pugi>(panorama);
  const pugi::xml_node model = panorama.child("model");
  const std::vector<char> depth = CellsByHand(model.child_value("depth_map"), buffer);
  const std::vector<char> pano = CellsByHand(model.child_value("pano_map"), buffer);
  benchmark::DoNotOptimize(depth.data());
  benchmark::DoNotOptimize(pano.data());
  const bool read = !record->pano_id.isEmpty();
  answer->body.resize(0);
  return read;
}

// The same requests by curl's multi interface on this thread, handles used again.
void PeerRounds(benchmark::State& state, bool reads) {
  std::vector<QByteArray> urls;
  PanoramaFetcher fetcher;
  for (const QString& id : Town::Get().ids) {
    urls.push_back(fetcher.CreateUrl(id).toEncoded());
  }
  std::vector<char> buffer(0x81008);
  CURLM* multi = curl_multi_init();
  std::vector<Answer> answers(static_cast<std::size_t>(state.range(0)));
  std::vector<CURL*> handles;
  for (Answer& answer : answers) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, reads ? &Gather : &ThrowAway);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, &answer);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    handles.push_back(easy);
  }
  std::size_t faults = 0;
  for (auto _ : state) {
    std::size_t started = 0;
    std::size_t ended = 0;
    const auto start = [&](CURL* easy) {
      if (started < urls.size()) {
        curl_easy_setopt(easy, CURLOPT_URL, urls[started++].constData());
        curl_multi_add_handle(multi, easy);
      }
    };
    for (CURL* easy : handles) {
      start(easy);
    }
    while (ended < urls.size()) {
      int running = 0;
      curl_multi_perform(multi, &running);
      int queued = 0;
      while (CURLMsg* message = curl_multi_info_read(multi, &queued)) {
        CURL* easy = message->easy_handle;
        curl_multi_remove_handle(multi, easy);
        ++ended;
        Answer* answer = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, &answer);
        faults += answer->bytes == 0 || (reads && !ReadByHand(answer, &buffer)) ? 1 : 0;
        start(easy);
      }
      if (ended < urls.size()) {
        curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
      }
    }
  }
  for (CURL* easy : handles) {
    curl_easy_cleanup(easy);
  }
  curl_multi_cleanup(multi);
  if (faults != 0) {
    state.SkipWithError("an answer without its record");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(urls.size()));
}

void BareCurl(benchmark::State& state) {
  PeerRounds(state, false);
}

void ByHand(benchmark::State& state) {
  PeerRounds(state, true);
}

BENCHMARK(Pipeline)->Arg(1)->Arg(6)->UseRealTime()->MeasureProcessCPUTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(BareCurl)->Arg(1)->Arg(6)->UseRealTime()->MeasureProcessCPUTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(ByHand)->Arg(1)->Arg(6)->UseRealTime()->MeasureProcessCPUTime()->Unit(
    benchmark::kMillisecond);

}  // namespace
