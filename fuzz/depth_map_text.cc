// SPDX-License-Identifier: Apache-2.0
// The Base64 text of a depth map, as it stands in an answer.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "spatial/panorama/depth_map_xml_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const std::unique_ptr<nimbara::DepthMap> map(
      nimbara::spatial::DepthMapXMLParser::ReadCompressedDepthMapData(text));
  return 0;
}
