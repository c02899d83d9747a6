// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <string>
#include <vector>

#include "apps/command/tour/tour_streets.h"
#include "host/threads.h"
#include "spatial/panorama/panorama_logger.h"

namespace pelorin {
namespace command {

/// The clock of a walk, which goes as fast as the walk is computed.
class WalkClock : public nimbara::ITimingSource {
 public:
  double GetTime() const override { return seconds; }
  double seconds = 0.0;
};

/// A usage logger that keeps count of what it reports, and whose reports go to the service in use,
/// though they have one fixed address. All of it runs on one thread, that which starts all other
/// requests too.
class UsageReporter : public nimbara::spatial::PanoramaLogger {
 public:
  /// `service` is the base address of the service's requests. Reports are plain HTTP: to any other
  /// address none is sent, but everything is counted. `clock` outlives this.
  UsageReporter(nimbara::ITimingSource* clock, const std::string& service);

  void SendData() override;

  /// Sends what is left and waits for the answers to all reports, as long as the network takes; the
  /// counts are complete then. `received` stays 0.
  TourUsage Finish();

 private:
  const QString redirection_;  // An entry of `NetworkOptions::connect_to`; empty: none is sent.
  TourUsage usage_;            // Of the reports that were sent.
  std::vector<nimbara::RefPtr<nimbara::net::Fetcher>> reports_;
};

}  // namespace command
}  // namespace pelorin
