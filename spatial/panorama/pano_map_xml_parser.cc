// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pano_map_xml_parser.h"

#include <QtEndian>
#include <memory>

#include "spatial/panorama/map_payload.h"

namespace nimbara {
namespace spatial {

namespace {

constexpr std::size_t kIdSize = 22;
constexpr std::size_t kPositionSize = 8;

}  // namespace

PanoMap* PanoMapXMLParser::ParsePanoMap(const QByteArray& xml) {
  return ReadCompressedPanoMapData(FindMapText(XmlReader(xml).GetRoot(), PanoMapPath()));
}

PanoMap* PanoMapXMLParser::ReadCompressedPanoMapData(const QByteArray& text) {
  return ReadPanoMapData(InflateMapText(text, kInflatedSize));
}

PanoMap* PanoMapXMLParser::ReadPanoMapData(const QByteArray& bytes) {
  const std::optional<MapPayload> payload = MapPayload::Read(bytes);
  if (!payload) {
    return nullptr;
  }
  const std::size_t stored_count = payload->entry_count - 1;
  if (payload->table_size / (kIdSize + kPositionSize) < stored_count) {
    return nullptr;
  }
  std::unique_ptr<PanoMap> map(new (HeapManager::GetDynamicHeap()) PanoMap);
  map->indices = payload->CopyCells().release();
  map->width = payload->width;
  map->height = payload->height;
  map->pano_ids.reserve(payload->entry_count);
  map->positions.reserve(payload->entry_count);
  map->pano_ids.push_back(QString());
  map->positions.push_back(Vec2<float>::Zero());
  const char* id = payload->table;
  const char* position = payload->table + stored_count * kIdSize;
  for (std::size_t i = 0; i < stored_count; ++i) {
    map->pano_ids.push_back(QString::fromLatin1(id, static_cast<int>(kIdSize)));
    map->positions.push_back(
        {qFromLittleEndian<float>(position), qFromLittleEndian<float>(position + 4)});
    id += kIdSize;
    position += kPositionSize;
  }
  return map.release();
}

}  // namespace spatial
}  // namespace nimbara
