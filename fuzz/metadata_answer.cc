// SPDX-License-Identifier: Apache-2.0
// An answer of the panorama service, as it comes from the network.
#include <cstddef>
#include <cstdint>

#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/panorama_xml_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbara;
  const QByteArray xml(reinterpret_cast<const char*>(data), static_cast<int>(size));
  mmvector<RefPtr<spatial::PanoramaData>> records(HeapManager::GetTransientHeap());
  spatial::PanoramaXMLParser::Parse(xml, &records);
  for (const RefPtr<spatial::PanoramaData>& record : records) {
    record->GetLevel();
    if (record->panomap != nullptr) {
      record->panomap->GetPano(0.5f, 0.5f, nullptr, nullptr);
    }
  }
  spatial::DepthMapXMLParser::ParseAnnotations(xml);
  return 0;
}
