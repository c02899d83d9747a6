// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <cmath>
#include <vector>

#include "apps/command/stored_place.h"
#include "host/memory.h"
#include "host/referent.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// A graph of streets in metres on the ground around a place.
class StreetFixture : public testing::Test {
 protected:
  using Path = nimbara::spatial::PathPlanner::Path;

  LatLng At(double east_m, double north_m) const {
    return {origin.lat_deg + north_m / kMetresPerDegree,
            origin.lng_deg + east_m / (kMetresPerDegree * std::cos(origin.lat_deg * kPi / 180.0))};
  }
  nimbara::Vec2<double> FlatAt(double east_m, double north_m) const {
    return FlatFrom(At(east_m, north_m));
  }

  /// Enters a panorama that the graph alone holds, and returns it.
  nimbara::spatial::PanoramaData* Add(const QString& id, double east_m, double north_m,
                                      const std::vector<QString>& links) {
    nimbara::RefPtr<nimbara::spatial::PanoramaData> record(
        new (nimbara::HeapManager::GetDynamicHeap()) nimbara::spatial::PanoramaData(id));
    record->position = StoredFrom(At(east_m, north_m));
    record->text = street;
    for (const QString& link : links) {
      nimbara::spatial::ConnectedPano connected;
      connected.pano_id = link;
      connected.road_color = 0xFF4EC1F2;
      record->links.push_back(connected);
    }
    graph.AddPano(id, record.get());
    return graph.GetPanoramaData(id);
  }

  /// A street to the east with panoramas every 10 metres: "p00", "p01", ... Returns their ids.
  Path AddStreet(int count) {
    Path path;
    for (int i = 0; i < count; ++i) {
      path.push_back(IdOf(i));
    }
    for (int i = 0; i < count; ++i) {
      std::vector<QString> links;
      if (i > 0) {
        links.push_back(IdOf(i - 1));
      }
      if (i + 1 < count) {
        links.push_back(IdOf(i + 1));
      }
      Add(IdOf(i), 10.0 * i, 0.0, links);
    }
    return path;
  }
  static QString IdOf(int number) { return QString("p%1").arg(number, 2, 10, QChar('0')); }

  /// Two streets of 30 metres each that meet at "c" in a right angle: "w2 w1 c n1 n2" and so on.
  Path AddCorner() {
    Add("w3", -30, 0, {"w2"});
    Add("w2", -20, 0, {"w3", "w1"});
    Add("w1", -10, 0, {"w2", "c"});
    Add("c", 0, 0, {"w1", "n1"});
    Add("n1", 0, 10, {"c", "n2"});
    Add("n2", 0, 20, {"n1", "n3"});
    Add("n3", 0, 30, {"n2"});
    return {"w3", "w2", "w1", "c", "n1", "n2", "n3"};
  }

  LatLng origin{0.0, 10.0};
  QString street = "A Street";
  nimbara::spatial::PanoGraph graph;
};

}  // namespace command
}  // namespace pelorin
