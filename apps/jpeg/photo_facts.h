// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "apps/dataset/pano_record.h"
#include "apps/jpeg/jpeg_header.h"
#include "vortan/common/internal/jpeg_comments_dates.h"

namespace pelorin {

/// What a camera wrote into a photograph.
struct PhotoFacts {
  std::optional<LatLng> place;
  /// When it was taken, or the unknown date.
  vortan::JpegCommentDate date;
};

/// The facts in the EXIF segment of a file; nothing is known where it has none, or a damaged one.
/// Safe from any thread.
PhotoFacts FactsInHeader(const JpegHeader& header);

}  // namespace pelorin
