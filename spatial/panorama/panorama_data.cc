// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_data.h"

#include <algorithm>
#include <iterator>

#include "host/loculus/photo_overlay.h"
#include "host/units.h"

namespace nimbara {
namespace spatial {

namespace {

constexpr double kCollisionRadiusMetres = 12.0;

}  // namespace

PanoramaData::PanoramaData(const QString& id)
    : pano_id(id), collision_radius(kCollisionRadiusMetres * Units::s_inv_planet_radius),
      links(HeapManager::GetDynamicHeap()), levels(HeapManager::GetDynamicHeap()) {}

PanoramaData::~PanoramaData() {
  delete depthmap;
  delete panomap;
}

void PanoramaData::set_depthmap(DepthMap* map) {
  if (map != depthmap) {
    delete depthmap;
    depthmap = map;
  }
}

void PanoramaData::set_panomap(PanoMap* map) {
  if (map != panomap) {
    delete panomap;
    panomap = map;
  }
}

int PanoramaData::GetLevel() const {
  const auto own = std::find_if(levels.begin(), levels.end(), [this](const ConnectedLevel& level) {
    return level.level_id == level_id;
  });
  return own == levels.end() ? 0 : static_cast<int>(std::distance(levels.begin(), own));
}

}  // namespace spatial
}  // namespace nimbara
