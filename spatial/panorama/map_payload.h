// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "host/xml.h"

namespace nimbara {
namespace spatial {

/// What the depth map and the pano map have in common on their way from the answer: an element's
/// text, Base64, a zlib stream, and the head of the inflated bytes. Pure functions and a plain
/// value, on any thread.

/// Where an answer holds the Base64 text of each map.
inline QString DepthMapPath() {
  return QStringLiteral("panorama/model/depth_map");
}
inline QString PanoMapPath() {
  return QStringLiteral("panorama/model/pano_map");
}

/// The text, in Latin-1, of the element at `path` from `root`, the root of an answer. No bytes if
/// there is no such element, nor for a null `root`, which an answer that is not well-formed has.
QByteArray FindMapText(XmlNode* root, const QString& path);

/// The stream in the Base64 `text`, inflated into exactly `capacity` bytes, at least 8. Behind its
/// end stand zeros, as far as a payload with its header can be read; what lies farther is
/// undefined. No bytes if `text` is empty, is not one whole zlib stream, or holds more than
/// `capacity` bytes.
QByteArray InflateMapText(const QByteArray& text, int capacity);

/// The parts of inflated bytes. Points into the bytes that it was read from.
struct MapPayload {
  /// None if a header byte, count or size is wrong or the cells are not all there.
  static std::optional<MapPayload> Read(const QByteArray& bytes);

  /// A copy of the cells, from `new[]`.
  std::unique_ptr<std::uint8_t[]> CopyCells() const;

  std::size_t entry_count = 0;  ///< 1 to 256.
  std::int32_t width = 0;       ///< Cells in a row, 1 to 65535.
  std::int32_t height = 0;      ///< Rows, 1 to 65535.
  const char* cells = nullptr;  ///< `width * height` bytes.
  const char* table = nullptr;  ///< What stands behind the cells.
  std::size_t table_size = 0;   ///< How many bytes of that there are.
};

}  // namespace spatial
}  // namespace nimbara
