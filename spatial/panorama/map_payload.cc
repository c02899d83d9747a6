// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/map_payload.h"

#include <zlib.h>

#include <QtEndian>
#include <algorithm>

#include "host/text.h"

namespace nimbara {
namespace spatial {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr char kHeaderByte = 8;
constexpr std::size_t kMaxEntryCount = 256;
constexpr std::size_t kMaxEntrySize = 30;

std::size_t CellCount(const char* header) {
  return std::size_t{qFromLittleEndian<quint16>(header + 3)} *
         std::size_t{qFromLittleEndian<quint16>(header + 5)};
}

// Without a way out in the middle, so that it goes many bytes at a time.
bool IsAscii(const QByteArray& text) {
  int bits = 0;
  for (const char c : text) {
    bits |= c;
  }
  return (bits & 0x80) == 0;
}

// Puts zeros behind the `size` bytes that a stream has given, as far as any reader of the payload
// will look. The rest of the buffer is as long as the memory clear of a whole map, and nobody reads
// it.
void ClearBehind(std::size_t size, QByteArray* bytes) {
  char* const data = bytes->data();
  const std::size_t capacity = static_cast<std::size_t>(bytes->size());
  if (size < kHeaderSize) {
    std::fill(data + size, data + kHeaderSize, '\0');
  }
  const std::size_t read = kHeaderSize + CellCount(data) + kMaxEntryCount * kMaxEntrySize;
  if (size < std::min(read, capacity)) {
    std::fill(data + size, data + std::min(read, capacity), '\0');
  }
}

}  // namespace

QByteArray FindMapText(XmlNode* root, const QString& path) {
  const XmlNode* const node = XmlPathFinder().Find(root, path);
  if (node == nullptr) {
    return QByteArray();
  }
  const QByteArray utf8(node->text.data, node->text.size);
  return IsAscii(utf8) ? utf8 : QString::fromUtf8(utf8).toLatin1();
}

QByteArray InflateMapText(const QByteArray& text, int capacity) {
  if (text.isEmpty()) {
    return QByteArray();
  }
  // A copy, since bytes that are merely pointed to may have no NUL behind them.
  const QByteArray stream = Base64Decode(QByteArray(text.constData(), text.size()).constData());
  QByteArray bytes(capacity, Qt::Uninitialized);
  uLongf size = static_cast<uLongf>(capacity);
  const int status = uncompress(reinterpret_cast<Bytef*>(bytes.data()), &size,
                                reinterpret_cast<const Bytef*>(stream.constData()),
                                static_cast<uLong>(stream.size()));
  if (status != Z_OK) {
    return QByteArray();
  }
  ClearBehind(size, &bytes);
  return bytes;
}

std::optional<MapPayload> MapPayload::Read(const QByteArray& bytes) {
  const char* const data = bytes.constData();
  const std::size_t size = static_cast<std::size_t>(bytes.size());
  if (size < kHeaderSize || data[0] != kHeaderByte) {
    return std::nullopt;
  }
  MapPayload payload;
  payload.entry_count = qFromLittleEndian<quint16>(data + 1);
  payload.width = qFromLittleEndian<quint16>(data + 3);
  payload.height = qFromLittleEndian<quint16>(data + 5);
  if (payload.entry_count < 1 || payload.entry_count > kMaxEntryCount || payload.width == 0 ||
      payload.height == 0 || data[7] != kHeaderByte) {
    return std::nullopt;
  }
  const std::size_t cell_count = CellCount(data);
  if (cell_count > size - kHeaderSize) {
    return std::nullopt;
  }
  payload.cells = data + kHeaderSize;
  payload.table = payload.cells + cell_count;
  payload.table_size = size - kHeaderSize - cell_count;
  return payload;
}

std::unique_ptr<std::uint8_t[]> MapPayload::CopyCells() const {
  std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[static_cast<std::size_t>(table - cells)]);
  std::copy(cells, table, copy.get());
  return copy;
}

}  // namespace spatial
}  // namespace nimbara
