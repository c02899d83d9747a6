// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"

namespace nimbara {
namespace spatial {

class IPanoramaFetcher;

/// Decides what to ask the panorama service for, given where the viewer is. Called on the one
/// thread that drives the viewer; answers arrive later, on a worker thread.
class PELORIN_EXPORT IPanoramaFetchManager {
 public:
  virtual ~IPanoramaFetchManager() = default;

  /// Forgets which places have been asked for. Does nothing at this level.
  virtual void Reset() {}

  /// Asks for what lies near a point. `lat` and `lng` in degrees, `radius` in metres.
  virtual void FetchNearestMetaData(double lat, double lng, double radius) = 0;

  /// Asks for whole map tiles around a point. Units as above.
  virtual void FetchAllMetaData(double lat, double lng, double radius) = 0;

  /// Asks for the unknown panoramas around a known one.
  virtual void EnsureNeighborsFetched(const QString& pano_id) = 0;

  /// The fetcher through which requests go. Owned by the manager.
  virtual IPanoramaFetcher* fetcher() = 0;
};

}  // namespace spatial
}  // namespace nimbara
