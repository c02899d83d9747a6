// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <vector>

#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace test_support {

/// A finished panorama record at `position` (stored scale) with links to `linked_ids`.
inline RefPtr<spatial::PanoramaData> MakeRecord(const QString& pano_id,
                                                const Vec3<double>& position = {},
                                                const std::vector<QString>& linked_ids = {},
                                                std::int32_t scene = 0) {
  RefPtr<spatial::PanoramaData> record(new (HeapManager::GetDynamicHeap())
                                           spatial::PanoramaData(pano_id));
  record->position = position;
  record->scene = scene;
  for (const QString& linked : linked_ids) {
    spatial::ConnectedPano link;
    link.pano_id = linked;
    record->links.push_back(link);
  }
  return record;
}

}  // namespace test_support
}  // namespace nimbara
