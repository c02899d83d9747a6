// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// A GPX file of version 1.0 or 1.1 whose heights can be replaced: everything else in it,
/// extensions and comments included, is kept as it is. For one thread.
class GpxTrack {
 public:
  struct Point {
    LatLng place;
    /// What the file says, in metres.
    std::optional<double> recorded_m;
    /// The track segment, or route, that it belongs to, counted from 0 in document order; -1 for a
    /// waypoint.
    int line = -1;
  };

  GpxTrack();
  ~GpxTrack();
  GpxTrack(const GpxTrack&) = delete;
  GpxTrack& operator=(const GpxTrack&) = delete;

  /// Reads a file. Fails with a data error, naming the file and where in it, if it cannot be read,
  /// is no GPX, or has a point without a place on the planet. To be called once.
  Outcome Open(const std::string& path);

  /// All waypoints, route points and track points, in document order.
  const std::vector<Point>& points() const { return points_; }
  /// The name of the first track or route that has one; empty if none has.
  const std::string& name() const { return name_; }

  /// The document as UTF-8 with these heights, one for each point, in centimetres.
  std::string WithHeights(const std::vector<double>& heights_m);

 private:
  struct Document;
  class Collector;

  std::unique_ptr<Document> document_;
  std::vector<Point> points_;
  std::string name_;
};

}  // namespace command
}  // namespace pelorin
