// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/heading_correction.h"

#include <algorithm>
#include <cmath>

#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

double Radians(const FloatSetting& degrees) {
  return static_cast<double>(degrees.Get()) * (3.14159265358979323846 / 180.0);
}

// From 0 up to 1, level at both ends. Not-a-number, as of 0 / 0, is 0.
double SmoothStep(double s) {
  if (s > 1.0) {
    return 1.0;
  }
  return s > 0.0 ? 3.0 * s * s - 2.0 * s * s * s : 0.0;
}

}  // namespace

double HeadingCorrectionLimit(double angle) {
  const PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
  const double low = Radians(options.angle_of_min_correction);
  const double high = Radians(options.angle_of_max_correction);
  const double weight = SmoothStep((angle - low) / (high - low));
  return Radians(options.min_angular_correction_per_sec) * (1.0 - weight) +
         Radians(options.max_angular_correction_per_sec) * weight;
}

double LimitedHeadingCorrection(double delta) {
  const double limit = HeadingCorrectionLimit(std::abs(delta));
  return delta == delta && limit > 0.0 ? std::clamp(delta, -limit, limit) : 0.0;
}

}  // namespace spatial
}  // namespace nimbara
