// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/command/session.h"
#include "apps/dataset/dataset.h"
#include "apps/service/panorama_service.h"

namespace CLI {
class App;
}

namespace pelorin {
namespace command {

/// Where heights come from, as it stands on the command line.
struct HeightSourceFlags {
  std::string dataset;        ///< A file, or "town".
  std::string server;         ///< A URL; at most one of the two is given. Neither: the town.
  std::string key_file;       ///< Holds the key of the service; empty: the development key.
  std::string interpolation;  ///< Its name, or empty for the service's own.
};

/// `--dataset`, `--server`, `--key` and `--interpolation`. `flags` outlives the parsing.
void AddHeightSourceFlags(CLI::App& verb, HeightSourceFlags* flags);

/// Reads the key of a deployment: all bytes of a file but for line ends at its end. Fails with a
/// data error if there is none, or more than 4096 bytes.
Outcome ReadKeyFile(const std::string& path, std::string* key);

/// An elevation service that the library's queries ask: somebody else's, or one that this process
/// runs over a dataset on a free loopback port for as long as the object lives. There is one
/// address and one key for all queries of a process, so there can be one object at a time.
class HeightSource {
 public:
  HeightSource() = default;
  /// Ends the service and the network.
  ~HeightSource();
  HeightSource(const HeightSource&) = delete;
  HeightSource& operator=(const HeightSource&) = delete;

  /// Opens what the flags name. Fails with a data error for a dataset or key that cannot be read,
  /// with wrong usage for a URL that is none, and with nothing found for a dataset without heights.
  /// To be called once.
  Outcome Open(const HeightSourceFlags& flags, const Session& session);

  /// How many of `places` no grid of the dataset knows, so that their heights are sea level for
  /// want of better; 0 where somebody else's service is asked, which does not say.
  std::size_t CountUnknown(const std::vector<LatLng>& places) const;

  /// Appends the heights of `places` in metres, in their order, asking for some thousands at a
  /// time; `on_progress` (can be empty) is told how many have come.
  Outcome Fetch(const std::vector<LatLng>& places, std::vector<double>* heights,
                const std::function<void(std::size_t)>& on_progress) const;

 private:
  Outcome StartService(const HeightSourceFlags& flags, const std::string& key);
  Outcome FetchSome(const LatLng* places, std::size_t count, std::vector<double>* heights) const;

  std::string url_;
  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
};

}  // namespace command
}  // namespace pelorin
