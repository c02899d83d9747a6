// SPDX-License-Identifier: Apache-2.0
#include "vortan/common/internal/stratum_tools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_recorder.h"

namespace vortan {
namespace {

using test_support::LogRecorder;
using Lines = std::vector<std::string>;

constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The strata of a level, laid one on the other from the bottom of the range: exact, since a
// thickness is 6 over a power of two.
struct Layer {
  double base;
  double top;
  std::int64_t absolute;
};

std::vector<Layer> LayersOf(int level) {
  const std::int64_t count = std::int64_t{1} << level;
  std::vector<Layer> layers;
  double base = -1.0;
  for (std::int64_t i = 0; i < count; ++i) {
    const double top = base + 6.0 / static_cast<double>(count);
    layers.push_back({base, top, i});
    base = top;
  }
  return layers;
}

TEST(StratumTools, HasAZeroStratumForEachLevel) {
  const int first[] = {0, 0, 0, 1, 2, 5, 10, 21, 42, 85, 170, 341, 682, 1365};
  for (int level = 0; level < 14; ++level) {
    EXPECT_EQ(StratumTools::ZeroStratumForLevel(level), first[level]) << level;
  }
  for (int level = 0; level < 32; ++level) {
    EXPECT_EQ(StratumTools::ZeroStratumForLevel(level), (std::int64_t{1} << level) / 6) << level;
  }
  EXPECT_EQ(StratumTools::ZeroStratumForLevel(31), 357913941);
}

TEST(StratumTools, HalvesTheThicknessAtEachLevel) {
  double thickness = 6.0;
  for (int level = 0; level < 32; ++level) {
    EXPECT_EQ(StratumTools::ThicknessOfStratumInNativeAltitude(level), thickness) << level;
    EXPECT_EQ(StratumTools::ThicknessOfStratumInMeters(level), thickness * 6371010.0) << level;
    thickness /= 2.0;
  }
}

TEST(StratumTools, PutsTheBaseOfStratum0AtOrBelowTheSurface) {
  const double first[] = {-1.0, -1.0, -1.0, -0.25, -0.25, -0.0625, -0.0625, -0.015625};
  for (int level = 0; level < 8; ++level) {
    EXPECT_EQ(StratumTools::BaseAltitudeOfStratum(0, level), first[level]) << level;
  }
  for (int level = 0; level < 32; ++level) {
    const double base = StratumTools::BaseAltitudeOfStratum(0, level);
    EXPECT_LE(base, 0.0) << level;
    EXPECT_GT(base + StratumTools::ThicknessOfStratumInNativeAltitude(level), 0.0) << level;
  }
}

TEST(StratumTools, LaysStrataOneOnTheOther) {
  for (int level = 0; level <= 12; ++level) {
    const int zero = StratumTools::ZeroStratumForLevel(level);
    for (const Layer& layer : LayersOf(level)) {
      const int stratum = static_cast<int>(layer.absolute) - zero;
      EXPECT_EQ(StratumTools::BaseAltitudeOfStratum(stratum, level), layer.base);
      EXPECT_EQ(StratumTools::BaseKmlAltitudeOfStratum(stratum, level), layer.base * 6371010.0);
      EXPECT_TRUE(StratumTools::ValidStratum(stratum, level));
    }
    EXPECT_FALSE(StratumTools::ValidStratum(-zero - 1, level));
    EXPECT_FALSE(StratumTools::ValidStratum((1 << level) - zero, level));
  }
}

TEST(StratumTools, FindsTheStratumThatALinearSearchFinds) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> any_altitude(-1.0, 5.0);
  for (int level = 0; level <= 10; ++level) {
    const std::vector<Layer> layers = LayersOf(level);
    for (int i = 0; i < 200; ++i) {
      const double altitude = any_altitude(random);
      std::int64_t absolute = 0;
      while (altitude >= layers[static_cast<std::size_t>(absolute)].top) {
        ++absolute;
      }
      EXPECT_EQ(StratumTools::StratumContainingAltitude(altitude, level),
                absolute - StratumTools::ZeroStratumForLevel(level));
    }
  }
}

TEST(StratumTools, ClosesAStratumBelowAndOpensItAbove) {
  for (int level = 0; level < 32; ++level) {
    const double thickness = StratumTools::ThicknessOfStratumInNativeAltitude(level);
    const double base = StratumTools::BaseAltitudeOfStratum(0, level);
    EXPECT_EQ(StratumTools::StratumContainingAltitude(base, level), 0) << level;
    if (base + thickness < 5.0) {
      EXPECT_EQ(StratumTools::StratumContainingAltitude(base + thickness, level), 1) << level;
    }
  }
}

TEST(StratumTools, RoundsDownBelowTheZeroStratum) {
  EXPECT_EQ(StratumTools::StratumContainingAltitude(0.0, 3), 0);
  EXPECT_EQ(StratumTools::StratumContainingAltitude(-0.5, 3), -1);
  EXPECT_EQ(StratumTools::StratumContainingKmlAltitude(0.0, 3), 0);
  EXPECT_EQ(StratumTools::StratumContainingKmlAltitude(-0.5 * 6371010.0, 3), -1);
}

TEST(StratumTools, PutsTheBottomOfTheRangeIntoTheLowestStratumOfEveryLevel) {
  const LogRecorder log;
  for (int level = 0; level < 32; ++level) {
    EXPECT_EQ(StratumTools::StratumContainingAltitude(-1.0, level),
              -StratumTools::ZeroStratumForLevel(level));
  }
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(StratumTools, NumbersAltitudesOutsideTheRangeAfterItsComplaint) {
  const LogRecorder log;
  EXPECT_EQ(StratumTools::StratumContainingAltitude(5.0, 3), 7);
  EXPECT_EQ(StratumTools::StratumContainingAltitude(-1.5, 3), -2);
  EXPECT_EQ(StratumTools::StratumContainingKmlAltitude(5.0 * 6371010.0, 3), 7);
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: altitude<5.0 5<5", "3 Check failed: altitude>=-1.0 -1.5>=-1",
                   "3 Check failed: altitude<5.0 5<5"}));
}

TEST(StratumTools, SaturatesAtTheLimitsOfInt) {
  EXPECT_EQ(StratumTools::StratumContainingAltitude(1e300, 3), kMaxInt);
  EXPECT_EQ(StratumTools::StratumContainingAltitude(-1e300, 3), kMinInt);
  EXPECT_EQ(StratumTools::StratumContainingAltitude(kInfinity, 31), kMaxInt);
  EXPECT_EQ(StratumTools::StratumContainingAltitude(-kInfinity, 0), kMinInt);
}

TEST(StratumTools, GivesNotANumberStratum0AfterBothComplaints) {
  const LogRecorder log;
  EXPECT_EQ(StratumTools::StratumContainingAltitude(kNaN, 3), 0);
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: altitude>=-1.0 nan>=-1",
                                "3 Check failed: altitude<5.0 nan<5"}));
}

TEST(StratumTools, HasNoValidStratumAtLevel31) {
  const LogRecorder log;
  for (const int stratum : {0, 1, -1, -357913941, 1000000, kMaxInt, kMinInt}) {
    EXPECT_FALSE(StratumTools::ValidStratum(stratum, 31)) << stratum;
  }
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(StratumTools, WrapsSumsAroundTheLimitsOfInt) {
  EXPECT_FALSE(StratumTools::ValidStratum(kMaxInt, 30));
  EXPECT_FALSE(StratumTools::ValidStratum(kMinInt, 30));
  EXPECT_TRUE(StratumTools::ValidStratum(0, 30));
  StratumTools::ParentStratumForStratum(kMaxInt, 30);
  StratumTools::ParentStratumForStratum(kMinInt, 30);
  const auto [lower, upper] = StratumTools::ChildStrataForStratum(kMaxInt, 30);
  EXPECT_EQ(static_cast<unsigned>(upper), static_cast<unsigned>(lower) + 1u);
}

TEST(StratumTools, FindsTheParentThatHoldsAStratum) {
  for (int level = 1; level <= 12; ++level) {
    for (const Layer& layer : LayersOf(level)) {
      const int stratum =
          static_cast<int>(layer.absolute) - StratumTools::ZeroStratumForLevel(level);
      const int parent = StratumTools::ParentStratumForStratum(stratum, level);
      EXPECT_EQ(parent, StratumTools::StratumContainingAltitude(layer.base, level - 1));
    }
  }
}

TEST(StratumTools, ShiftsStrataBelowTheRangeArithmetically) {
  // Absolute -3 at level 3 belongs to absolute -2 at level 2, whose zero stratum is 0.
  EXPECT_EQ(StratumTools::ParentStratumForStratum(-4, 3), -2);
}

TEST(StratumTools, SplitsAStratumIntoTheTwoOfTheNextLevel) {
  for (int level = 0; level <= 12; ++level) {
    for (const Layer& layer : LayersOf(level)) {
      const int stratum =
          static_cast<int>(layer.absolute) - StratumTools::ZeroStratumForLevel(level);
      const auto [lower, upper] = StratumTools::ChildStrataForStratum(stratum, level);
      EXPECT_EQ(upper, lower + 1);
      EXPECT_EQ(StratumTools::BaseAltitudeOfStratum(lower, level + 1), layer.base);
      EXPECT_EQ(StratumTools::ParentStratumForStratum(lower, level + 1), stratum);
      EXPECT_EQ(StratumTools::ParentStratumForStratum(upper, level + 1), stratum);
    }
  }
}

TEST(StratumTools, ComplainsAboutLevelsOutsideTheTablesAndAnswers0) {
  for (const int level : {-1, 32, kMinInt, kMaxInt}) {
    const LogRecorder log;
    EXPECT_EQ(StratumTools::ZeroStratumForLevel(level), 0);
    EXPECT_EQ(StratumTools::ThicknessOfStratumInNativeAltitude(level), 0.0);
    EXPECT_EQ(StratumTools::ThicknessOfStratumInMeters(level), 0.0);
    EXPECT_EQ(StratumTools::BaseAltitudeOfStratum(3, level), 0.0);
    EXPECT_EQ(StratumTools::BaseKmlAltitudeOfStratum(3, level), 0.0);
    EXPECT_EQ(StratumTools::StratumContainingAltitude(0.0, level), 0);
    EXPECT_EQ(StratumTools::StratumContainingKmlAltitude(0.0, level), 0);
    EXPECT_FALSE(StratumTools::ValidStratum(0, level));
    EXPECT_EQ(StratumTools::ParentStratumForStratum(3, level), 0);
    EXPECT_EQ(StratumTools::ChildStrataForStratum(3, level), std::pair(0, 0));
    const std::string number = std::to_string(level);
    EXPECT_EQ(log.lines(), Lines(10, level < 0 ? "3 Check failed: level>=0 " + number + ">=0"
                                               : "3 Check failed: level<32 " + number + "<32"));
  }
}

TEST(StratumTools, ComplainsAboutTheParentOfLevel0ByTheLevelAboveIt) {
  const LogRecorder log;
  EXPECT_EQ(StratumTools::ParentStratumForStratum(0, 0), 0);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: level>=0 -1>=0"});
  EXPECT_EQ(log.entries().at(0).file, "vortan/common/internal/stratum_tools.cc");
}

TEST(StratumTools, ComplainsAboutTheChildrenOfLevel31ByTheLevelBelowIt) {
  const LogRecorder log;
  StratumTools::ChildStrataForStratum(0, 31);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: level<32 32<32"});
}

TEST(StratumTools, ConvertsAltitudesByThePlanetsRadius) {
  EXPECT_EQ(StratumTools::NativeAltitudeToKmlAltitude(2.0), 12742020.0);
  EXPECT_EQ(StratumTools::KmlAltitudeToNativeAltitude(12742020.0), 2.0);
  EXPECT_EQ(StratumTools::KmlAltitudeToNativeAltitude(8848.0), 8848.0 / 6371010.0);
}

TEST(StratumTools, ConvertsBothEndsOfARange) {
  EXPECT_EQ(StratumTools::NativeAltitudeRangeToKmlAltitudeRange({-1.0, 5.0}),
            (R1Interval{-6371010.0, 31855050.0}));
  EXPECT_EQ(StratumTools::KmlAltitudeRangeToNativeAltitudeRange({-6371010.0, 31855050.0}),
            (R1Interval{-1.0, 5.0}));
  EXPECT_EQ(StratumTools::NativeAltitudeRangeToKmlAltitudeRange({1.0, 1.0}),
            (R1Interval{6371010.0, 6371010.0}));
}

TEST(StratumTools, KeepsAnEmptyRangeUnconverted) {
  const R1Interval empty{1.0, 0.0};
  EXPECT_TRUE(empty.is_empty());
  EXPECT_EQ(StratumTools::NativeAltitudeRangeToKmlAltitudeRange(empty), empty);
  EXPECT_EQ(StratumTools::KmlAltitudeRangeToNativeAltitudeRange(empty), empty);
}

TEST(StratumTools, ConvertsARangeWithAnEndThatIsNotANumber) {
  const R1Interval range = StratumTools::NativeAltitudeRangeToKmlAltitudeRange({kNaN, 1.0});
  EXPECT_TRUE(std::isnan(range.low));
  EXPECT_EQ(range.high, 6371010.0);
}

}  // namespace
}  // namespace vortan
