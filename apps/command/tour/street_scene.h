// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/command/tour/tour_streets.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/pano_road_creator.h"
#include "spatial/panorama/photo_overlay_generator.h"

namespace pelorin {
namespace command {

/// What a viewer builds around each stop: the photo overlay with the surface that the stop's depth
/// map describes, the roads let down onto it, and the names of the streets that leave.
///
/// A viewer drops the roads of one stop for those of the next. This keeps a road if it shows a link
/// that no road before it showed, and a name if that street has had none within 100 metres, so that
/// the whole walk can be drawn at once.
///
/// For one thread; the graph outlives it and is not cleared before the last `Enter`.
class StreetScene {
 public:
  /// What is kept goes to `*streets`, which outlives this.
  StreetScene(const nimbara::spatial::PanoGraph& graph, TourStreets* streets);

  /// The viewer has come to a panorama. Reads and writes its record under the graph's lock. One
  /// without a record leaves nothing; one that had an overlay already keeps it and makes no second.
  void Enter(int stop, const QString& id);

 private:
  void AddOverlay(int stop, nimbara::spatial::PanoramaData* record);
  void AddRoads(int stop);
  void AddLabels(int stop);
  bool ShowsNewLink(const nimbara::spatial::PanoRoad& road);
  bool IsLabelledNear(const std::string& street, const LatLng& place) const;

  const nimbara::spatial::PanoGraph& graph_;
  TourStreets* const streets_;
  const nimbara::spatial::PhotoOverlayGenerator generator_;
  nimbara::spatial::PanoRoadCreator creator_;
  std::set<std::pair<QString, QString>> shown_links_;
  std::multimap<std::string, LatLng> labelled_;
};

}  // namespace command
}  // namespace pelorin
