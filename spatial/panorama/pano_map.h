// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>

#include "base/export.h"
#include "host/memory.h"
#include "host/values.h"

namespace nimbara {
namespace spatial {

/// Which neighbouring panorama lies in which direction: a grid over a panorama's sphere of view
/// whose cells each name one entry of a table of panoramas. Entry 0 stands for "none".
///
/// `PanoMapXMLParser` makes it, on the dynamic heap; a `PanoramaData` owns it. It does not change
/// once it is made, so any thread may read it while its record is kept alive.
///
/// A cell can name an entry beyond the table if the service sent unsound data; `GetPano` then
/// answers with entry 0.
class PELORIN_EXPORT PanoMap : public MemoryObject {
 public:
  PanoMap() = default;
  PanoMap(const PanoMap&) = delete;
  PanoMap& operator=(const PanoMap&) = delete;
  /// Releases `indices`.
  ~PanoMap();

  /// Looks up the panorama in one direction.
  ///
  /// `x` runs from 0 at the left edge of the image to 1 at its right edge, `y` from 0 at the bottom
  /// to 1 at the top. Values outside, infinities included, read the nearest cell; not-a-number
  /// reads column 0 or row 0. All arithmetic is in single precision.
  ///
  /// Copies the entry's id and position to `*pano_id` and `*position`; either can be null. True
  /// with an empty id means that no other panorama lies there. False, with both outputs untouched,
  /// only for a map without cells or without entries.
  bool GetPano(float x, float y, QString* pano_id, Vec2<float>* position) const;

  /// Owned, from `new[]`: `width * height` cells, row after row from the top of the image.
  std::uint8_t* indices = nullptr;
  std::int32_t width = 0;   ///< Cells in a row, 1 to 65535 in a parsed map.
  std::int32_t height = 0;  ///< Rows, 1 to 65535 in a parsed map.
  /// One id for each entry, 1 to 256 in a parsed map; entry 0 is empty. An id has 22 characters.
  mmvector<QString> pano_ids{HeapManager::GetDynamicHeap()};
  /// One position for each entry, as the service gave it; entry 0 is the zero vector. What the
  /// numbers mean lies with the viewer; not-a-number and infinities can occur.
  mmvector<Vec2<float>> positions{HeapManager::GetDynamicHeap()};
};

}  // namespace spatial
}  // namespace nimbara
