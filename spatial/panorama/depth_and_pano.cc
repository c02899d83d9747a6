// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_and_pano.h"

#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/pano_map_xml_parser.h"

namespace nimbara {
namespace spatial {

void ParseDepthAndPano(const QByteArray& xml, PanoramaData* data) {
  if (data == nullptr) {
    return;
  }
  if (data->depthmap == nullptr) {
    data->set_depthmap(DepthMapXMLParser::ParseDepthMap(xml));
  }
  if (data->panomap == nullptr) {
    data->set_panomap(PanoMapXMLParser::ParsePanoMap(xml));
  }
}

}  // namespace spatial
}  // namespace nimbara
