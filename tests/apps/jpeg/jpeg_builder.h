// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/jpeg/jpeg_header.h"
#include "apps/jpeg/jpeg_writer.h"

namespace pelorin {
namespace test_support {

/// A small picture with some structure.
inline RgbImage SmallPicture(int width = 24, int height = 16) {
  RgbImage image{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const int value : {x * 10, y * 15, (x ^ y) * 8}) {
        image.pixels.push_back(static_cast<std::uint8_t>(value & 255));
      }
    }
  }
  return image;
}

inline std::string SmallJpeg(const std::string& comment = "") {
  return WriteJpeg(SmallPicture(), comment, 90);
}

/// A segment with its marker and length.
inline std::string Segment(int code, const std::string& content) {
  const std::size_t length = content.size() + 2;
  return std::string{'\xFF', static_cast<char>(code), static_cast<char>(length >> 8),
                     static_cast<char>(length & 0xFF)} +
         content;
}

/// `file` with segments put in behind its first segment.
inline std::string WithSegments(const std::string& file, const std::string& segments) {
  JpegHeader header;
  std::string error;
  if (!ReadJpegHeader(file, &header, &error) || header.segments.empty()) {
    return error;
  }
  return std::string(file).insert(header.segments.front().end, segments);
}

/// The bytes of all comment segments of a file, in order.
inline std::vector<std::string> CommentsOf(const std::string& file) {
  JpegHeader header;
  std::string error;
  std::vector<std::string> comments;
  if (!ReadJpegHeader(file, &header, &error)) {
    return {"(" + error + ")"};
  }
  for (const JpegSegment& segment : header.segments) {
    if (segment.is_comment()) {
      comments.emplace_back(segment.content);
    }
  }
  return comments;
}

}  // namespace test_support
}  // namespace pelorin
