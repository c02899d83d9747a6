// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/heading_correction.h"

#include <gtest/gtest.h>

#include <limits>

#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;

class HeadingCorrection : public testing::Test {
 protected:
  HeadingCorrection() { options.ResetToDefault(); }
  ~HeadingCorrection() override { options.ResetToDefault(); }

  static double LimitDegrees(double angle_deg) {
    return HeadingCorrectionLimit(angle_deg * kDegree) / kDegree;
  }
  static double CorrectionDegrees(double delta_deg) {
    return LimitedHeadingCorrection(delta_deg * kDegree) / kDegree;
  }

  PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
};

TEST_F(HeadingCorrection, Allows46DegreesPerSecondAt20Degrees) {
  EXPECT_NEAR(LimitDegrees(20.0), 46.0, 1e-9);
}

TEST_F(HeadingCorrection, IsFastNearTheStreetAndSlowFarFromIt) {
  EXPECT_NEAR(LimitDegrees(0.0), 90.0, 1e-9);
  EXPECT_NEAR(LimitDegrees(5.0), 90.0, 1e-9);
  EXPECT_NEAR(LimitDegrees(35.0), 2.0, 1e-9);
  EXPECT_NEAR(LimitDegrees(90.0), 2.0, 1e-9);
  for (int angle = 5; angle < 35; ++angle) {
    EXPECT_GT(LimitDegrees(angle), LimitDegrees(angle + 1.0)) << angle;
  }
}

TEST_F(HeadingCorrection, IsLevelAtBothEndsOfItsRange) {
  // 3 s^2 - 2 s^3 at s = 0.1, which is 32 degrees.
  EXPECT_NEAR(LimitDegrees(32.0), 2.0 + 88.0 * 0.028, 1e-9);
}

TEST_F(HeadingCorrection, NeverGoesPastTheStreet) {
  EXPECT_NEAR(CorrectionDegrees(20.0), 20.0, 1e-9);
  EXPECT_NEAR(CorrectionDegrees(-4.0), -4.0, 1e-9);
}

TEST_F(HeadingCorrection, IsLimitedToBothSides) {
  EXPECT_NEAR(CorrectionDegrees(80.0), 2.0, 1e-9);
  EXPECT_NEAR(CorrectionDegrees(-80.0), -2.0, 1e-9);
}

TEST_F(HeadingCorrection, ReadsItsSettingsAtEachUse) {
  options.max_angular_correction_per_sec.Set(9.0f);
  options.min_angular_correction_per_sec.Set(1.0f);
  EXPECT_NEAR(CorrectionDegrees(20.0), 5.0, 1e-6);
  options.angle_of_max_correction.Set(25.0f);
  EXPECT_NEAR(CorrectionDegrees(20.0), 9.0, 1e-6);
}

TEST_F(HeadingCorrection, StepsWhereBothAnglesAreEqual) {
  options.angle_of_min_correction.Set(10.0f);
  options.angle_of_max_correction.Set(10.0f);
  EXPECT_NEAR(LimitDegrees(11.0), 90.0, 1e-9);
  EXPECT_NEAR(LimitDegrees(9.0), 2.0, 1e-9);
  EXPECT_NEAR(HeadingCorrectionLimit(static_cast<double>(10.0f) * kDegree) / kDegree, 2.0, 1e-9);
}

TEST_F(HeadingCorrection, TurnsNothingForOddNumbers) {
  EXPECT_EQ(LimitedHeadingCorrection(std::numeric_limits<double>::quiet_NaN()), 0.0);
  options.min_angular_correction_per_sec.Set(-2.0f);
  EXPECT_EQ(LimitedHeadingCorrection(1.0), 0.0);
  options.min_angular_correction_per_sec.Set(std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(LimitedHeadingCorrection(1.0), 0.0);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
