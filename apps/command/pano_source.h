// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "apps/command/fault_flags.h"
#include "apps/command/outcome.h"
#include "apps/command/session.h"
#include "apps/dataset/dataset.h"
#include "apps/service/panorama_service.h"

namespace CLI {
class App;
}

namespace pelorin {
namespace command {

/// Where a verb gets its panoramas from, as it stands on the command line.
struct PanoSourceFlags {
  std::string dataset;  ///< A file, or "town".
  std::string server;   ///< A URL; at most one of the two is given. Neither: the town.
  FaultFlags faults;
};

/// `--dataset` and `--server`, of which one can be given. `flags` outlives the parsing.
void AddPanoSourceFlags(CLI::App& verb, PanoSourceFlags* flags);

/// Opens a dataset: a file, or the town that is compiled in for "town" and for an empty name.
Outcome OpenDataset(const std::string& name, std::unique_ptr<Dataset>* dataset);

/// A panorama service that the library asks: somebody else's, or one that this process runs over a
/// dataset on a free loopback port for as long as the object lives. There is one setting for the
/// service's address, so there can be one object at a time.
class PanoSource {
 public:
  PanoSource() = default;
  /// Ends the service, and the requests that the network layer still has under way.
  ~PanoSource();
  PanoSource(const PanoSource&) = delete;
  PanoSource& operator=(const PanoSource&) = delete;

  /// Opens what the flags name and points the library's setting to it. Fails with a data error for
  /// a dataset that cannot be read and with wrong usage for a URL that is none. To be called once.
  Outcome Open(const PanoSourceFlags& flags, const Session& session);

  /// The base of all requests, such as "http://127.0.0.1:40123/plk".
  const std::string& url() const { return url_; }
  /// Null where the panoramas come from a server.
  const Dataset* dataset() const { return dataset_.get(); }
  /// The service that this process runs; null likewise.
  const PanoramaService* service() const { return service_.get(); }

 private:
  Outcome StartService(const PanoSourceFlags& flags, const Session& session);

  std::string url_;
  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
};

}  // namespace command
}  // namespace pelorin
