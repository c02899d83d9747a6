// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "base/export.h"

namespace vortan {

/// What a `ShapeEncoder` wrote, section by section. Bytes are counted between registrations, a
/// partly filled byte whole; the counts of indices are summed over all index sets. The header, the
/// last flush and the counters' own rest are in `total_bytes` alone.
struct PELORIN_EXPORT ShapeEncoderStats {
  /// The fifteen counters in the order of their declaration, in decimal, one blank between two.
  std::string AsString() const;

  int total_bytes = 0;  ///< Size of the stream at the last registration.
  int material_bytes = 0;
  int point_bytes = 0;
  int normal_bytes = 0;
  int tex_coord_bytes = 0;
  /// The first index set also pays for the count of the sets, and each set for its own head.
  int point_index_bytes = 0;
  int normal_index_bytes = 0;
  int tex_coord_index_bytes = 0;
  int material_count = 0;
  int point_count = 0;  ///< Of the shape's pool, though a format may leave entries out.
  int normal_count = 0;
  int tex_coord_count = 0;
  int point_index_count = 0;
  int normal_index_count = 0;
  int tex_coord_index_count = 0;
};

}  // namespace vortan
