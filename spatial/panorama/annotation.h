// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace nimbara {
namespace spatial {

/// One label in the image of a panorama, as the service gave it. A plain value. No number is tested
/// against a range; text that is no number has become 0, and not-a-number and infinities can occur.
struct Annotation {
  QString title;  ///< Text of the label.
  QString id;
  float yaw = 0.0f;    ///< Direction in the image: heading, in degrees.
  float pitch = 0.0f;  ///< Direction in the image: elevation, in degrees.
  float d = 0.0f;      ///< The service's third number for the label, carried as it came.
};

}  // namespace spatial
}  // namespace nimbara
