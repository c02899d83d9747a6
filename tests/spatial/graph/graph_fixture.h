// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "host/units.h"
#include "spatial/graph/pano_graph.h"
#include "tests/support/record_builder.h"

namespace nimbara {
namespace spatial {

using Ids = std::vector<QString>;
using test_support::MakeRecord;

/// A graph and the shortest ways to fill it and to look at it.
class GraphFixture : public testing::Test {
 protected:
  /// Enters a record that only the graph holds, and returns it.
  PanoramaData* Add(const QString& id, const Vec3<double>& position = {}, const Ids& links = {},
                    std::int32_t scene = 0) {
    graph.AddPano(id, MakeRecord(id, position, links, scene).get());
    return graph.GetPanoramaData(id);
  }
  void* HandleOf(const QString& id) const {
    void* handle = nullptr;
    graph.GetHandle(id, &handle);
    return handle;
  }
  std::set<QString> NeighboursOf(const QString& id) const {
    mmvector<ConnectedPano> linked(HeapManager::GetTransientHeap());
    graph.GetLinkedPanos(id, &linked);
    std::set<QString> ids;
    for (const ConnectedPano& each : linked) {
      ids.insert(each.pano_id);
    }
    EXPECT_EQ(ids.size(), linked.size()) << "parallel edges";
    return ids;
  }
  /// `ids` in ascending order of their handles, the order in which edges are listed.
  Ids InHandleOrder(Ids ids) const {
    std::sort(ids.begin(), ids.end(), [this](const QString& a, const QString& b) {
      return std::less<void*>()(HandleOf(a), HandleOf(b));
    });
    return ids;
  }

  PanoGraph graph;
};

using IdSet = std::set<QString>;

/// Metres as the graph's own thresholds count them, in planet radii.
inline double Radii(double metres) {
  return metres * Units::s_inv_planet_radius;
}

}  // namespace spatial
}  // namespace nimbara
