// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "host/loculus/photo_overlay.h"
#include "host/referent.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// Turns panorama records into the overlays by which the host shows them: a whole sphere of image
/// tiles around a camera 2.5 metres above the ground. It builds objects and fetches nothing.
///
///     const PhotoOverlayGenerator generator(QString(), options.pano_tile_template_url.Get());
///     record->overlay = generator.GenerateLanescapeOverlay(record->pano_id, record);
///
/// Nothing changes in it, so it can be used from any thread; the objects that it makes belong to
/// the thread that calls, and are announced there through `loculus::CreationObserver`.
class PELORIN_EXPORT PhotoOverlayGenerator {
 public:
  /// `kml_base_url` is what the KML ids of the overlays are relative to; empty for overlays without
  /// ids. `tile_url_template` is the URL of an image tile with %1 for the panorama id; the markers
  /// of an image pyramid, $[level], $[x] and $[y], stay for the host. Of several numbered markers
  /// the one with the lowest number is replaced, also where that is not %1, since %0A and %2F look
  /// like markers too.
  PhotoOverlayGenerator(const QString& kml_base_url, const QString& tile_url_template);

  /// A new overlay for `data`, named `pano_id`, or null if `data` is null or has an overlay
  /// already. The caller stores it in the record; nothing here does, and only that stops a second
  /// one from being made. Numbers of the record are passed on as they are, zeros and
  /// not-a-number included. `tile_height` plays no part: a pyramid has square tiles.
  RefPtr<loculus::PhotoOverlay> GenerateLanescapeOverlay(const QString& pano_id,
                                                         const PanoramaData* data) const;

  const QString base_url;
  const QString url_template;
};

}  // namespace spatial
}  // namespace nimbara
