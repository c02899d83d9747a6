// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>

namespace nimbara {
namespace spatial {

/// One level of the building that a panorama lies in. A plain value.
struct ConnectedLevel {
  QString level_id;          ///< Never empty in a parsed record.
  QString pano_id;           ///< A panorama on that level; never empty in a parsed record.
  std::int32_t ordinal = 0;  ///< The level's number as the service gave it; any value.
  QString text;              ///< Name for display; can be empty.
  QString abbreviation;      ///< Short name for display; can be empty.
};

}  // namespace spatial
}  // namespace nimbara
