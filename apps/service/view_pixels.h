// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/jpeg/jpeg_writer.h"
#include "apps/service/view_scene.h"

namespace pelorin {

/// A part of the image of a whole sphere of view, which runs from half a turn left of its centre to
/// half a turn right and from the zenith to the nadir.
struct ViewPart {
  int image_width = 0;   ///< Of the whole image, pixels; 1 or above.
  int image_height = 0;  ///< Likewise.
  int left = 0;          ///< The part's place in it.
  int top = 0;
  int width = 0;  ///< Its size, within the image; 1 or above.
  int height = 0;
};

/// Draws sky, ground, roads and walls. The labels and letters come on top, from `LetterView`.
RgbImage DrawView(const ViewScene& scene, const ViewPart& part);

}  // namespace pelorin
