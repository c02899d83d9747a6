// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <cstddef>
#include <deque>

#include "base/export.h"
#include "host/loculus/placemark.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/values.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// A run of panoramas that goes on in one direction, and the KML objects that show it: one coloured
/// line, or a marker for each panorama. `PanoRoadCreator` makes and owns roads.
///
/// Holds plain pointers to records and no references, and reads the records without any lock: the
/// records must live as long as the road is used, and nobody may replace or change them meanwhile.
/// A caller with a second thread at the graph holds the graph's `lock` around its calls. The KML
/// objects belong to the thread that calls.
///
/// Positions are in the stored scale: x = longitude in degrees / 180, y = latitude in degrees /
/// 180, z = altitude in planet radii. Panorama arguments are never null.
class PELORIN_EXPORT PanoRoad {
 public:
  PanoRoad();

  static void* operator new(std::size_t size) { return doNew(size, HeapManager::GetDynamicHeap()); }
  static void operator delete(void* block) { doDelete(block); }

  /// Adds `pano` at an end whose panorama links to it, if it goes on in the chain's direction: in
  /// front if that holds there, else behind. A chain of one takes any linked panorama, in front. An
  /// empty chain takes none. False if it was not added.
  bool TryExtendRoad(const PanoramaData* pano);

  /// True if the way from `b` to `c` turns off the way from `a` to `b` by less than 44.9 degrees:
  /// if the cosine, taken in all three stored components, is above 0.708. A way of no length turns
  /// off every other, and so does one that is not finite.
  bool ExtendsRoadDirection(const PanoramaData* a, const PanoramaData* b,
                            const PanoramaData* c) const;

  /// True if the record of `a` names `b` in its links. Links that only the graph knows do not
  /// count.
  bool IsConnected(const PanoramaData* a, const PanoramaData* b) const;

  /// The colour of the first link of `a` to `b`, opaque white if there is none. Links of `b` do not
  /// count.
  loculus::Color32 LinkColor(const PanoramaData* a, const PanoramaData* b) const;

  bool ContainsPano(const QString& id) const;
  bool ContainsAnyOfPanos(const QStringList& ids) const;

  /// True if there is a line of 2 positions or more. Markers do not count.
  bool IsValidGeometryLength() const;

  /// Lets the line down onto the surface of the overlay of `centre`: each position gets the
  /// altitude at which a ray straight down, from 6.4 m above it, first meets the surface, plus the
  /// setting "zoffsetForRoads". A position under which there is no surface is cut out, so the line
  /// can end up with none. Longitudes and latitudes stay. Altitudes are absolute afterwards.
  ///
  /// The ray starts from the position's own altitude over the eye of `centre`, so a line that has
  /// been clamped before is not to be clamped again. Does nothing without a line, an overlay or a
  /// surface.
  void ClampAltitudesToDepthmap(const PanoramaData& centre);

  /// Makes the line through all panoramas, in place of the one before, in the colour of the link
  /// from the first to the second. A chain of fewer than 2 leaves `geometry` as it is.
  void CreateGeometry();

  /// Makes a marker for each panorama with an overlay, in place of those before, in the colour of
  /// its first link (opaque white without links). A marker's view is that of the overlay without
  /// roll, of which a viewer takes position, altitude and roll.
  void CreateGeometryAsPoints();

  /// The chain, front to back. Not owned.
  std::deque<const PanoramaData*, mmallocator<const PanoramaData*>> panos;
  /// What `CreateGeometryAsPoints` made.
  mmvector<RefPtr<loculus::Placemark>> points;
  /// What `CreateGeometry` made; null before.
  RefPtr<loculus::Placemark> geometry;
};

}  // namespace spatial
}  // namespace nimbara
