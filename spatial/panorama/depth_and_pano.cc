// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_and_pano.h"

#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/map_payload.h"
#include "spatial/panorama/pano_map_xml_parser.h"

namespace nimbara {
namespace spatial {

void ParseDepthAndPano(const QByteArray& xml, PanoramaData* data) {
  if (data != nullptr && (data->depthmap == nullptr || data->panomap == nullptr)) {
    ReadDepthAndPano(XmlReader(xml).GetRoot(), data);
  }
}

void ReadDepthAndPano(XmlNode* root, PanoramaData* data) {
  if (data->depthmap == nullptr) {
    data->set_depthmap(
        DepthMapXMLParser::ReadCompressedDepthMapData(FindMapText(root, DepthMapPath())));
  }
  if (data->panomap == nullptr) {
    data->set_panomap(
        PanoMapXMLParser::ReadCompressedPanoMapData(FindMapText(root, PanoMapPath())));
  }
}

}  // namespace spatial
}  // namespace nimbara
