// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QtEndian>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace nimbara {
namespace test_support {

/// `bytes` as the service sends them: a zlib stream in Base64.
inline QByteArray CompressedMapText(const QByteArray& bytes) {
  // The toolkit puts four bytes of its own, the length, ahead of the stream.
  return qCompress(bytes).mid(4).toBase64();
}

template <typename T>
void AppendLittleEndian(T value, QByteArray* bytes) {
  std::array<char, sizeof(T)> raw;
  qToLittleEndian(value, raw.data());
  bytes->append(raw.data(), static_cast<int>(raw.size()));
}

/// The head that both payloads begin with. Sizes are written as they are given, true or not.
struct MapPayloadHead {
  std::uint8_t first_byte = 8;
  std::uint16_t count = 1;
  std::uint16_t width = 1;
  std::uint16_t height = 1;
  std::uint8_t second_byte = 8;

  QByteArray ToBytes() const {
    QByteArray bytes;
    AppendLittleEndian(first_byte, &bytes);
    AppendLittleEndian(count, &bytes);
    AppendLittleEndian(width, &bytes);
    AppendLittleEndian(height, &bytes);
    AppendLittleEndian(second_byte, &bytes);
    return bytes;
  }
};

/// A depth map payload: `head.width * head.height` cells, then planes of x, y, z and distance as
/// they stand in the file.
struct DepthPayload {
  DepthPayload(std::uint16_t width, std::uint16_t height, std::vector<std::uint8_t> all_cells,
               std::vector<std::array<float, 4>> all_planes)
      : cells(std::move(all_cells)), planes(std::move(all_planes)) {
    head.count = static_cast<std::uint16_t>(planes.size());
    head.width = width;
    head.height = height;
  }

  QByteArray ToBytes() const {
    QByteArray bytes = head.ToBytes();
    for (const std::uint8_t cell : cells) {
      AppendLittleEndian(cell, &bytes);
    }
    for (const std::array<float, 4>& plane : planes) {
      for (const float number : plane) {
        AppendLittleEndian(number, &bytes);
      }
    }
    return bytes;
  }
  QByteArray ToText() const { return CompressedMapText(ToBytes()); }

  MapPayloadHead head;
  std::vector<std::uint8_t> cells;
  std::vector<std::array<float, 4>> planes;
};

/// A pano map payload: `head.width * head.height` cells, then the entries from 1 on, each an id of
/// 22 Latin-1 characters and a position.
struct PanoMapPayload {
  struct Entry {
    QByteArray id;
    float x = 0.0f;
    float y = 0.0f;
  };

  PanoMapPayload(std::uint16_t width, std::uint16_t height, std::vector<std::uint8_t> all_cells,
                 std::vector<Entry> all_entries)
      : cells(std::move(all_cells)), entries(std::move(all_entries)) {
    head.count = static_cast<std::uint16_t>(entries.size() + 1);
    head.width = width;
    head.height = height;
  }

  QByteArray ToBytes() const {
    QByteArray bytes = head.ToBytes();
    for (const std::uint8_t cell : cells) {
      AppendLittleEndian(cell, &bytes);
    }
    for (const Entry& entry : entries) {
      bytes += entry.id;
    }
    for (const Entry& entry : entries) {
      AppendLittleEndian(entry.x, &bytes);
      AppendLittleEndian(entry.y, &bytes);
    }
    return bytes;
  }
  QByteArray ToText() const { return CompressedMapText(ToBytes()); }

  MapPayloadHead head;
  std::vector<std::uint8_t> cells;
  std::vector<Entry> entries;
};

}  // namespace test_support
}  // namespace nimbara
