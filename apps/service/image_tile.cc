// SPDX-License-Identifier: Apache-2.0
#include "apps/service/image_tile.h"

#include <algorithm>
#include <cstdint>

#include "apps/jpeg/acquisition_date.h"
#include "apps/jpeg/jpeg_writer.h"
#include "apps/service/view_lettering.h"
#include "apps/service/view_pixels.h"
#include "apps/service/view_scene.h"

namespace pelorin {
namespace {

constexpr int kQuality = 85;

// `size` halved `times` times, rounded up.
int Halved(int size, int times) {
  return static_cast<int>((std::int64_t{size} + (std::int64_t{1} << times) - 1) >> times);
}

bool HasImage(const PanoRecord& record) {
  const auto is_side = [](std::int32_t side) { return side >= 1 && side <= kMaxImageTileSide; };
  return record.image_width >= 1 && record.image_height >= 1 && is_side(record.tile_width) &&
         is_side(record.tile_height);
}

// The part of the image that a tile shows; of no width if there is no such tile.
ViewPart PartOf(const PanoRecord& record, const ImageTileAddress& address) {
  const int highest = HighestImageLevel(record);
  ViewPart part;
  if (address.level < 0 || address.level > highest || address.x < 0 || address.y < 0) {
    return part;
  }
  part.image_width = Halved(record.image_width, highest - address.level);
  part.image_height = Halved(record.image_height, highest - address.level);
  const std::int64_t left = std::int64_t{address.x} * record.tile_width;
  const std::int64_t top = std::int64_t{address.y} * record.tile_height;
  if (left >= part.image_width || top >= part.image_height) {
    return part;
  }
  part.left = static_cast<int>(left);
  part.top = static_cast<int>(top);
  part.width = std::min(record.tile_width, part.image_width - part.left);
  part.height = std::min(record.tile_height, part.image_height - part.top);
  return part;
}

}  // namespace

int HighestImageLevel(const PanoRecord& record) {
  if (!HasImage(record)) {
    return -1;
  }
  int level = 0;
  while (Halved(record.image_width, level) > record.tile_width ||
         Halved(record.image_height, level) > record.tile_height) {
    ++level;
  }
  return level;
}

std::string DrawImageTile(const PanoRecord& record, const ImageTileAddress& address) {
  const ViewPart part = PartOf(record, address);
  if (part.width < 1) {
    return {};
  }
  const ViewScene scene = SceneOf(record);
  RgbImage image = DrawView(scene, part);
  LetterView(scene, part, &image);
  vortan::JpegCommentDate date;
  ParseDate(record.image_date, &date);
  return WriteJpeg(image, DateComment(date), kQuality);
}

}  // namespace pelorin
