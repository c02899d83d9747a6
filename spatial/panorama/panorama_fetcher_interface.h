// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "spatial/panorama/map_tile.h"

namespace nimbara {
namespace spatial {

class IPanoramaFetchObserver;

/// Asks the panorama service for metadata. Safe from any thread, also with the graph's lock held.
///
/// Each operation returns true if a request was started and false if it was refused. After a
/// refusal `observer` hears nothing of it. After a start it hears of the answer if one comes (see
/// `IPanoramaFetchObserver`), and of nothing if the request fails. A null `observer` is allowed:
/// the answer is then dropped unread. A request for what is already under way is refused, and its
/// observer is not joined to the one that was first.
class PELORIN_EXPORT IPanoramaFetcher {
 public:
  virtual ~IPanoramaFetcher() = default;

  /// One panorama. An empty id is refused.
  virtual bool FetchMetaData(const QString& pano_id, IPanoramaFetchObserver* observer) = 0;

  /// All panoramas of one map tile. A tile that does not exist is refused.
  virtual bool FetchMetaData(const MapTile& tile, IPanoramaFetchObserver* observer) = 0;

  /// The panoramas near a point. `lat` and `lng` in degrees, positive north and east; no value is
  /// refused, the service judges them. `radius` in metres, rounded to whole metres; 0 or less and
  /// not-a-number leave the reach to the service, and no more than 2147483647 is asked for.
  /// `level_id` restricts the answer to one level; it can be empty.
  virtual bool FetchMetaData(double lat, double lng, double radius, const QString& level_id,
                             IPanoramaFetchObserver* observer) = 0;
};

}  // namespace spatial
}  // namespace nimbara
