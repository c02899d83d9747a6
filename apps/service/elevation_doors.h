// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <cstddef>
#include <string>

#include "apps/dataset/dataset.h"

namespace pelorin {

/// The two doors of a service behind which heights are, both answering in JSON with
/// {"results": [{"elevation": metres, "location": {"lat", "lng"}}], "status": "OK"}, one result for
/// each place in the order of the places:
///
///     /elevation/json   what viewers ask: `locations` as "enc:" and a polyline, and a signature
///                       (request_signature.h); without a good one 403. `interpolation` can stand
///                       beside them, where the viewer's address of the service has it.
///     /v1/<set>         what open height clients ask, by GET, or by POST as a form or as JSON:
///                       `locations` or `path`, `samples`, `interpolation` (height_request.h). A
///                       set is the name of one or more grids, several sets with commas between
///                       them, the first that knows the place answering, or "heights" for all. A
///                       result also names its grid under "dataset".
///
/// There is a height for every place, since readers take no other than a number: one where samples
/// are missing is filled from those around, or is sea level, and then says "filled": true.
///
/// What goes wrong is told as {"status", "error"}: 400 for a request that makes no sense, 403, 404
/// for a set that is not there, 500 where the dataset cannot be read.
///
/// The dataset outlives it. Safe from any thread.
class ElevationDoors {
 public:
  /// `key` is the one that requests are signed with.
  ElevationDoors(const Dataset& dataset, std::string key)
      : dataset_(dataset), key_(std::move(key)) {}

  /// True if requests for `path` are for `Serve`.
  static bool Owns(const std::string& path);
  /// True if a body of a request for `path` is read.
  static bool TakesBody(const std::string& path);

  struct Reply {
    int status = 200;
    std::string body;
    std::size_t heights = 0;
  };
  /// The reply to a request whose path it owns, of any method that the service lets through.
  Reply Serve(const httplib::Request& request) const;

 private:
  Reply ServeViewer(const httplib::Request& request) const;
  Reply ServeSet(const httplib::Request& request) const;

  const Dataset& dataset_;
  const std::string key_;
};

}  // namespace pelorin
