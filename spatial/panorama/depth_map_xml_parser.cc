// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_map_xml_parser.h"

#include <QtEndian>
#include <cmath>
#include <memory>

#include "host/xml.h"
#include "spatial/panorama/map_payload.h"
#include "spatial/panorama/panorama_xml_parser.h"

namespace nimbara {
namespace spatial {

namespace {

constexpr std::size_t kPlaneSize = 16;

// Lengths and squared lengths closer than this to 1 count as 1, and to 0 as 0.
constexpr double kLengthTolerance = 1.0 / (std::uint64_t{1} << 45);

double ReadFloat(const char* bytes) {
  return static_cast<double>(qFromLittleEndian<float>(bytes));
}

Plane<double> ReadPlane(const char* bytes) {
  Plane<double> plane({-ReadFloat(bytes), -ReadFloat(bytes + 4), -ReadFloat(bytes + 8)},
                      ReadFloat(bytes + 12));
  Vec3<double>& normal = plane.normal;
  const double squared = normal.x * normal.x + normal.y * normal.y + normal.z * normal.z;
  if (std::abs(squared - 1.0) < kLengthTolerance) {
    return plane;
  }
  const double length = std::sqrt(squared);
  if (length >= kLengthTolerance) {
    normal = {normal.x / length, normal.y / length, normal.z / length};
    plane.distance /= length;
  }
  return plane;
}

}  // namespace

DepthMap* DepthMapXMLParser::ParseDepthMap(const QByteArray& xml) {
  return ReadCompressedDepthMapData(FindMapText(XmlReader(xml).GetRoot(), DepthMapPath()));
}

DepthMap* DepthMapXMLParser::ReadCompressedDepthMapData(const QByteArray& text) {
  return ReadDepthMapData(InflateMapText(text, kInflatedSize));
}

DepthMap* DepthMapXMLParser::ReadDepthMapData(const QByteArray& bytes) {
  const std::optional<MapPayload> payload = MapPayload::Read(bytes);
  if (!payload || payload->table_size / kPlaneSize < payload->entry_count) {
    return nullptr;
  }
  std::unique_ptr<DepthMap> map(new (HeapManager::GetDynamicHeap()) DepthMap);
  map->indices = payload->CopyCells().release();
  map->width = payload->width;
  map->height = payload->height;
  map->planes = new Plane<double>[payload->entry_count];
  map->plane_count = static_cast<std::int32_t>(payload->entry_count);
  for (std::size_t i = 0; i < payload->entry_count; ++i) {
    map->planes[i] = ReadPlane(payload->table + i * kPlaneSize);
  }
  return map.release();
}

mmvector<Annotation> DepthMapXMLParser::ParseAnnotations(const QByteArray& xml) {
  mmvector<Annotation> annotations;
  const XmlReader reader(xml);
  if (reader.GetErrorsOccurred()) {
    return annotations;
  }
  XmlNode* node =
      XmlPathFinder().Find(reader.GetRoot(), QStringLiteral("/panorama/annotations/annotation"));
  for (; node != nullptr; node = node->next_sibling) {
    annotations.push_back(ExtractAnnotation(node));
  }
  return annotations;
}

}  // namespace spatial
}  // namespace nimbara
