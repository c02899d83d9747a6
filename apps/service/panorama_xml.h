// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// Which maps an answer carries, of those that its record has loaded.
struct MapChoice {
  bool depth_map = false;
  bool pano_map = false;
};

/// The answer that is one panorama: an XML document with the root `panorama`, in UTF-8. Every
/// number reads back as exactly the record's. Texts that are empty, numbers that are none or
/// infinite, and empty lists leave no trace. Safe from any thread.
std::string WritePanorama(const PanoRecord& record, MapChoice maps);

/// The answer that is a list: the root `panoramas` with one child for each record, in order,
/// without maps. An empty list is the answer that says that nothing is there.
std::string WritePanoramas(const std::vector<PanoRecord>& records);

/// A map's payload as an answer carries it: a zlib stream in Base64 (RFC 4648, section 4, no line
/// ends). Empty only if memory runs out.
std::string PackMap(const std::string& payload);

}  // namespace pelorin
