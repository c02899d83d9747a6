// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "base/export.h"
#include "host/xml.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// Gives `data` the depth map and the pano map of the answer `xml`, as far as it lacks them. A map
/// that it has is neither parsed again nor replaced; one that cannot be read stays null, whatever
/// becomes of the other. Runs on the thread that `data` belongs to. A null `data` does nothing.
PELORIN_EXPORT void ParseDepthAndPano(const QByteArray& xml, PanoramaData* data);

/// The same for an answer that has been read already. A null `root` gives no maps.
void ReadDepthAndPano(XmlNode* root, PanoramaData* data);

}  // namespace spatial
}  // namespace nimbara
