// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <map>

#include "base/export.h"
#include "host/depth_map.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/values.h"
#include "spatial/panorama/annotation.h"
#include "spatial/panorama/connected_level.h"
#include "spatial/panorama/connected_pano.h"
#include "spatial/panorama/pano_map.h"

namespace nimbara {
namespace loculus {
class PhotoOverlay;
}  // namespace loculus

namespace spatial {

/// Ascending order of bearings in which not-a-number has a place of its own, behind every number,
/// and equals itself. Plain `<` is no order once such a key is in a map.
struct BearingLess {
  bool operator()(double a, double b) const {
    const bool a_is_number = a == a;
    const bool b_is_number = b == b;
    return a_is_number && b_is_number ? a < b : a_is_number && !b_is_number;
  }
};

/// Everything the library knows about one panorama: where and how the image was taken, its texts,
/// its links to other panoramas, its levels and its two per-pixel maps.
///
/// The metadata parser makes a record from one element of the service's answer; the graph keeps it
/// against its id. Held by `RefPtr`; made on the dynamic heap:
///
/// ```
/// RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap()) PanoramaData(id));
/// ```
///
/// Threads: the reference count is plain. A record belongs to one thread, the worker that parses
/// it, until the graph has taken it in; from then on its count and its members change only under
/// the graph's lock.
///
/// Numbers are what the service sent: none is tested against a range, text that is no number is 0,
/// and not-a-number and infinities can occur in every floating-point member but `collision_radius`.
class PELORIN_EXPORT PanoramaData : public Referent {
 public:
  /// A record with the defaults given at the members. `id` can be empty.
  explicit PanoramaData(const QString& id);
  PanoramaData(const PanoramaData&) = delete;
  PanoramaData& operator=(const PanoramaData&) = delete;
  /// Releases both maps and gives back the reference to `overlay`.
  ~PanoramaData() override;

  /// Takes ownership of `map`, made with `new` on any heap, and destroys the map held before. Null
  /// only clears. The map already held changes nothing.
  void set_depthmap(DepthMap* map);
  void set_panomap(PanoMap* map);

  /// The index in `levels` of the first level with this record's `level_id`. 0 also where there is
  /// none. A null id equals an empty one.
  int GetLevel() const;

  /// x is the longitude in degrees / 180, y the latitude in degrees / 180, both -1 to 1 for a sound
  /// answer (latitudes -0.5 to 0.5); z is the altitude in planet radii, 0 in a parsed record.
  Vec3<double> position;
  double pano_yaw_deg = 0.0;       ///< Heading of the image's centre, degrees clockwise from north.
  const QString pano_id;           ///< Can be empty.
  QString image_date;              ///< Capture date as the service wrote it.
  QString street_range;            ///< House numbers; can be empty.
  QString text;                    ///< Street name; can be empty.
  QString address;                 ///< Range and street name, composed for display.
  QString copyright;               ///< Line to show with the image.
  QString level_id;                ///< The level the panorama lies on; empty without levels.
  std::int32_t scene = 0;          ///< Panoramas are linked within one scene only.
  std::int32_t image_width = 0;    ///< Full image, pixels.
  std::int32_t image_height = 0;   ///< Full image, pixels.
  std::int32_t tile_width = 0;     ///< One image tile, pixels.
  std::int32_t tile_height = 0;    ///< One image tile, pixels.
  double tilt_yaw_deg = 0.0;       ///< Heading of the camera's tilt axis, degrees.
  double tilt_pitch_deg = 0.0;     ///< Size of the camera's tilt, degrees.
  std::int32_t info_level = 0;     ///< Two flag bits for the viewer, 0 to 3.
  std::int32_t info_value = 2000;  ///< The viewer's; 2000 where the service gives none.
  /// The overlay that shows this panorama. The viewer stores it; the record keeps one reference.
  RefPtr<loculus::PhotoOverlay> overlay;
  /// 12 metres in planet radii.
  double collision_radius;
  /// Labels in the image. The viewer fills it, from `DepthMapXMLParser::ParseAnnotations`.
  mmvector<Annotation> annotations;
  PanoMap* panomap = nullptr;    ///< Owned; null if unknown. Written by `set_panomap`.
  DepthMap* depthmap = nullptr;  ///< Owned; null if unknown. Written by `set_depthmap`.
  /// The panoramas this one connects to, in the order of the answer.
  mmvector<ConnectedPano> links;
  /// The levels of the building, in the order of the answer.
  mmvector<ConnectedLevel> levels;
  /// From a link's bearing, in radians, to the linked panorama's id. The graph's own: filled and
  /// read under its lock.
  mutable std::map<double, QString, BearingLess> connection_lookup;
};

}  // namespace spatial
}  // namespace nimbara
