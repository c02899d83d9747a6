// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pelorin {

/// One comment or application segment of a JPEG file.
struct JpegSegment {
  int code = 0;              ///< 0xFE for a comment, 0xE0 to 0xEF for APP0 to APP15.
  std::size_t begin = 0;     ///< Of the marker, in bytes from the start of the file.
  std::size_t end = 0;       ///< Behind the segment.
  std::string_view content;  ///< Behind the length; a view of the file.

  bool is_comment() const { return code == 0xFE; }
};

/// What stands ahead of the image data of a JPEG file.
struct JpegHeader {
  int width = 0;                      ///< Pixels.
  int height = 0;                     ///< Pixels.
  std::vector<JpegSegment> segments;  ///< Comments and application segments, in order.
};

/// Reads the header of the JPEG file `bytes`, up to its first scan, with the marker reader of
/// libjpeg. `bytes` may end anywhere behind that. False, with `header` as it was and the reason in
/// `error`, if it is no JPEG file or damaged. The views live as long as the bytes. Safe from any
/// thread.
bool ReadJpegHeader(std::string_view bytes, JpegHeader* header, std::string* error);

}  // namespace pelorin
