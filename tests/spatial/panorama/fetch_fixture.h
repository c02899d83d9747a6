// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <cstddef>

#include "spatial/panorama/panorama_fetcher_interface.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/support/answer_builder.h"
#include "tests/support/fake_network.h"
#include "tests/support/recording_observer.h"

namespace nimbara {
namespace spatial {

using test_support::FakeAnswer;
using test_support::FakeNetwork;
using test_support::Gate;
using test_support::ListAnswer;
using test_support::PanoramaElement;
using test_support::RecordingObserver;
using test_support::SingleAnswer;

/// Default settings, a network, and observers that outlive whatever a test makes.
class FetchTest : public testing::Test {
 protected:
  FetchTest() {
    options.ResetToDefault();
    options.meta_data_fetch_server.Set("http://service.example/plk");
  }
  ~FetchTest() override { options.ResetToDefault(); }

  /// A good answer with the one panorama `id`.
  static FakeAnswer Panorama(const QString& id) {
    return {net::Fetcher::kSucceeded, SingleAnswer(PanoramaElement(id).At(1.0, 2.0))};
  }
  static FakeAnswer Status(int status) { return {status, {}}; }

  /// Returns when the worker of `fetcher` has delivered everything that was answered before. From
  /// then on requests are held.
  void DrainWorker(IPanoramaFetcher* fetcher) {
    const std::size_t before = drain_observer.Calls().size();
    network.Hold();
    fetcher->FetchMetaData(QString("drain-%1").arg(before), &drain_observer);
    network.Complete(network.Count() - 1, Status(2));
    drain_observer.Calls(before + 1);
  }

  PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
  RecordingObserver observer;
  RecordingObserver drain_observer;
  FakeNetwork network;
};

}  // namespace spatial
}  // namespace nimbara
