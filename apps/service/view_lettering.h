// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/service/view_pixels.h"

namespace pelorin {

/// Writes on `image`, which shows `part` of a view: the street's name along its roads, the labels,
/// a compass with ticks every 15 degrees along the horizon, and the caption. A text that crosses
/// the image's edge goes on at the other. Safe from any threads; they draw their letters in turn.
void LetterView(const ViewScene& scene, const ViewPart& part, RgbImage* image);

}  // namespace pelorin
