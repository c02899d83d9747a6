// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "spatial/panorama/panorama_fetch_observer.h"

namespace nimbara {
namespace test_support {

/// Opens once; whoever waits goes on from then on.
class Gate {
 public:
  void Open() {
    {
      const std::lock_guard<std::mutex> hold(mutex_);
      open_ = true;
    }
    opened_.notify_all();
  }
  void Wait() {
    std::unique_lock<std::mutex> hold(mutex_);
    opened_.wait(hold, [this] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  bool open_ = false;
};

/// Writes down what it hears, for the main thread to judge: "pano ID", "empty" and "tile X/Y/ZOOM".
/// Records are dropped at once.
class RecordingObserver final : public spatial::IPanoramaFetchObserver {
 public:
  /// Runs on the worker after each call was written down.
  std::function<void(const std::string& call)> on_call;

  void OnMetaDataFetched(const QString& pano_id, RefPtr<spatial::PanoramaData> data) override {
    data.reset();
    Record("pano " + pano_id.toStdString());
  }
  void OnEmptyResponse() override { Record("empty"); }
  void OnMapTileFetched(const spatial::MapTile& tile) override {
    Record("tile " + std::to_string(tile.x) + "/" + std::to_string(tile.y) + "/" +
           std::to_string(tile.zoom));
  }

  /// The calls so far, once there are at least `count` of them; fewer after 30 seconds.
  std::vector<std::string> Calls(std::size_t count = 0) {
    std::unique_lock<std::mutex> hold(mutex_);
    recorded_.wait_for(hold, std::chrono::seconds(30), [&] { return calls_.size() >= count; });
    return calls_;
  }
  /// The threads on which calls came.
  std::set<std::thread::id> Threads() {
    const std::lock_guard<std::mutex> hold(mutex_);
    return threads_;
  }

 private:
  void Record(const std::string& call) {
    {
      const std::lock_guard<std::mutex> hold(mutex_);
      calls_.push_back(call);
      threads_.insert(std::this_thread::get_id());
    }
    recorded_.notify_all();
    if (on_call) {
      on_call(call);
    }
  }

  std::mutex mutex_;  // Guards what follows.
  std::condition_variable recorded_;
  std::vector<std::string> calls_;
  std::set<std::thread::id> threads_;
};

}  // namespace test_support
}  // namespace nimbara
