// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <initializer_list>

#include "base/export.h"
#include "host/loculus/placemark.h"
#include "host/memory.h"
#include "host/referent.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/pano_road.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// Makes the streets around the panorama in which the viewer stands: chains of panoramas, their
/// lines or markers, and a label for each street that leaves the centre. The viewer owns it, calls
/// it whenever the centre changes, and attaches what `roads` and `labels` hold to its scene.
///
///     PanoRoadCreator creator;
///     creator.CreateRoadsOutward(*record, graph);
///     for (const PanoRoad* road : creator.roads) {
///       if (road != nullptr && road->geometry) { folder->AddFeature(road->geometry.get()); }
///     }
///
/// Has no lock. The graph is asked through its locking queries, but records are read without its
/// lock, and roads hold plain pointers to them: clear this before the graph is cleared, and hold
/// the graph's `lock` around the calls if another thread can replace records. KML objects belong to
/// the thread that calls and are announced there through `loculus::CreationObserver`.
///
/// Settings are read at each call: "road distance threshold (sq)", "zoffsetForRoads", "render
/// roads", "render roads as points" and "render road labels".
class PELORIN_EXPORT PanoRoadCreator {
 public:
  PanoRoadCreator();
  PanoRoadCreator(const PanoRoadCreator&) = delete;
  PanoRoadCreator& operator=(const PanoRoadCreator&) = delete;
  /// Clears.
  ~PanoRoadCreator();

  /// Walks the graph breadth first from `centre` along the links of records, and builds everything
  /// anew. `centre` need not be in the graph.
  ///
  /// A panorama is followed further if its squared Cartesian distance from `centre` is not above
  /// the threshold, and only while fewer than 42 have been found; the links of the last one
  /// followed can bring in more. A panorama that continues no chain starts one at the panorama that
  /// led to it, which so stands in two chains.
  ///
  /// With lines on, each road gets its line, clamped to the surface of the overlay of `centre`, and
  /// a road left without one is destroyed and its slot null. With points on, each road left gets
  /// markers too; roads without a line are destroyed again, so points without lines leave none.
  /// Points do not clamp the line a second time.
  void CreateRoadsOutward(const PanoramaData& centre, const PanoGraph& graph);

  /// Builds anew, without chains: a road of one for each panorama of the same scene within three
  /// hops of `centre`, without `centre` itself, each with its marker. Nothing is clamped, nothing
  /// taken out, and no setting read.
  void CreatePointsOutward(const PanoramaData& centre, const PanoGraph& graph);

  /// A label with the street name of `pano`, at its position, without an icon.
  RefPtr<loculus::Placemark> CreateRoadLabel(const PanoramaData& pano);

  /// True if a panorama that `pano` links to has a record in `graph`.
  bool AnyNeighborsLoaded(const PanoramaData& pano, const PanoGraph& graph) const;

  /// True if a road holds the panorama. Roads that were destroyed hold none.
  bool IsPanoInRoads(const QString& id) const;

  /// Destroys all roads and gives back all labels.
  void Clear();

  /// Owned. A slot can be null.
  mmvector<PanoRoad*> roads;
  /// One for each link of the centre, in the order of the links; null where the panorama it leads
  /// to has no record. Empty with labels off.
  mmvector<RefPtr<loculus::Placemark>> labels;

 private:
  void FindRoads(const PanoramaData& centre, const PanoGraph& graph);
  void Enter(const PanoramaData* from, const PanoramaData* found);
  void AddRoad(std::initializer_list<const PanoramaData*> panos);
  void DropRoadsWithoutLine();
  void CreateLabels(const PanoramaData& centre, const PanoGraph& graph);
};

}  // namespace spatial
}  // namespace nimbara
