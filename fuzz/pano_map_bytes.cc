// SPDX-License-Identifier: Apache-2.0
// The inflated bytes of a pano map and look-ups in what becomes of them. The bytes are read in
// place, so that a read behind their end shows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include "spatial/panorama/pano_map_xml_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::unique_ptr<nimbara::spatial::PanoMap> map(
      nimbara::spatial::PanoMapXMLParser::ReadPanoMapData(
          QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size))));
  if (!map) {
    return 0;
  }
  for (const float x : {0.0f, 0.4f, 1.0f, std::numeric_limits<float>::quiet_NaN()}) {
    QString id;
    nimbara::Vec2<float> position;
    if (!map->GetPano(x, 1.0f - x, &id, &position) || (!id.isEmpty() && id.size() != 22)) {
      std::abort();
    }
  }
  return 0;
}
