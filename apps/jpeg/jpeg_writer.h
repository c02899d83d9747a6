// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pelorin {

/// An image in memory, row by row from the top left.
struct RgbImage {
  int width = 0;                     ///< Pixels, 1 to 65500.
  int height = 0;                    ///< Pixels, likewise.
  std::vector<std::uint8_t> pixels;  ///< Red, green, blue; `width * height * 3` bytes.
};

/// The image as a baseline JPEG file. A `comment` that is not empty, of at most 65533 bytes,
/// becomes its comment segment. `quality` is 1 to 100. Empty if libjpeg refuses. Safe from any
/// thread.
std::string WriteJpeg(const RgbImage& image, std::string_view comment, int quality);

}  // namespace pelorin
