// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// One tile of the pyramid of a panorama's image. At the highest level the image has its full size,
/// at each level below half of that, down to level 0, where one tile holds it all.
struct ImageTileAddress {
  int level = 0;
  int x = 0;  ///< Column, from the left.
  int y = 0;  ///< Row, from the top.
};

/// The largest tiles that are drawn, pixels a side.
constexpr int kMaxImageTileSide = 2048;

/// The highest level of a record's pyramid, or -1 if it has no image of a size that can be drawn.
int HighestImageLevel(const PanoRecord& record);

/// The tile as a JPEG file: the view that the record, its maps loaded, tells of. Its comment names
/// the date on which the panorama was taken, if the record knows one. Tiles on the right and lower
/// edge end where the image does. Empty if there is no such tile. Safe from any thread.
std::string DrawImageTile(const PanoRecord& record, const ImageTileAddress& address);

}  // namespace pelorin
