// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QUrl>
#include <QUrlQuery>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "spatial/geodesy/elevation_query.h"
#include "tests/support/fake_connection.h"
#include "tests/support/fake_network.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {

using test_support::ConnectionStatus;
using test_support::FakeAnswer;
using test_support::FakeNetwork;
using test_support::HeapSnapshot;

/// A reply with these texts for numbers.
inline QByteArray ReplyOf(const std::vector<std::string>& elevations) {
  std::string body = "{\"status\": \"OK\", \"results\": [";
  for (std::size_t i = 0; i < elevations.size(); ++i) {
    body += std::string(i == 0 ? "" : ", ") + "{\"elevation\": " + elevations[i] +
            ", \"resolution\": 30}";
  }
  return QByteArray::fromStdString(body + "]}");
}

/// The good reply to `count` points of which the first is point number `first`: heights are the
/// points' numbers.
inline FakeAnswer Heights(int first, int count) {
  std::vector<std::string> elevations;
  for (int i = 0; i < count; ++i) {
    elevations.push_back(std::to_string(first + i));
  }
  return {net::Fetcher::kSucceeded, ReplyOf(elevations)};
}

inline FakeAnswer Status(int status) {
  return {status, {}};
}

/// `count` points along a line.
inline std::vector<Vec3<double>> Points(int count) {
  std::vector<Vec3<double>> points(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    points[static_cast<std::size_t>(i)] = {0.04 + 1e-6 * i, 0.24 - 2e-6 * i, 0.0};
  }
  return points;
}

/// A query that counts the calls of `FetchDone` and keeps what it found then.
class RecordedQuery : public ElevationQuery {
 public:
  using ElevationQuery::ElevationQuery;
  ~RecordedQuery() override { DoCancelFetch(kCancelled); }

  void FetchDone() override {
    const std::lock_guard<std::mutex> hold(mutex_);
    ++done_count_;
    changed_.notify_all();
  }

  int done_count() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return done_count_;
  }
  /// False after 20 s.
  bool AwaitDone() {
    std::unique_lock<std::mutex> hold(mutex_);
    return changed_.wait_for(hold, std::chrono::seconds(20), [this] { return done_count_ > 0; });
  }
  std::vector<float> Heights() const { return {heights().begin(), heights().end()}; }
  std::vector<int> Chunks() const { return {chunk_sizes().begin(), chunk_sizes().end()}; }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int done_count_ = 0;
};

/// A network that holds requests, a service address, and heaps that must be as they were.
class ElevationTest : public testing::Test {
 protected:
  ElevationTest() { ElevationQuery::s_url_ = QUrl("http://heights.example/elevation/"); }
  ~ElevationTest() override {
    ElevationQuery::s_url_ = QUrl();
    query.reset();
    network.reset();
    EXPECT_EQ(HeapSnapshot(), before) << "something is left on a heap";
  }

  void RenewNetwork() {
    network.reset();  // There can be one at a time.
    network = std::make_unique<FakeNetwork>();
  }

  /// Starts `query` for `count` points with at most `max_points` in a request.
  void Start(int count, int max_points = 512, int max_url_length = 1 << 20) {
    query = std::make_unique<RecordedQuery>();
    query->Construct(Points(count).data(), count, max_points, max_url_length);
  }

  /// The numbers from 0 up to `count`: the heights of `Heights`.
  static std::vector<float> Numbers(int count) {
    std::vector<float> numbers;
    for (int i = 0; i < count; ++i) {
      numbers.push_back(static_cast<float>(i));
    }
    return numbers;
  }

  const HeapSnapshot before;
  std::unique_ptr<FakeNetwork> network = std::make_unique<FakeNetwork>();
  std::unique_ptr<RecordedQuery> query;
};

}  // namespace spatial
}  // namespace nimbara
