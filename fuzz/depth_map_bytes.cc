// SPDX-License-Identifier: Apache-2.0
// The inflated bytes of a depth map. They are read in place, so that a read behind their end shows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "spatial/panorama/depth_map_xml_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::unique_ptr<nimbara::DepthMap> map(
      nimbara::spatial::DepthMapXMLParser::ReadDepthMapData(
          QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size))));
  if (map &&
      (map->plane_count < 1 || map->plane_count > 256 || map->width < 1 || map->height < 1)) {
    std::abort();
  }
  return 0;
}
