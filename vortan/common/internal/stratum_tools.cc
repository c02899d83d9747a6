// SPDX-License-Identifier: Apache-2.0
#include "vortan/common/internal/stratum_tools.h"

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/logging.h"

namespace vortan {
namespace {

constexpr int kLevels = 32;
constexpr double kPlanetRadiusMetres = 6371010.0;
constexpr double kLowestAltitude = -1.0;
constexpr double kAltitudeRange = 6.0;
constexpr unsigned kEntryEvery = 100;

struct Level {
  int zero_stratum = 0;
  double thickness = 0.0;
  double base_of_zero = 0.0;
};

// Exact: thicknesses are 6 over a power of two, and a zero stratum has at most 29 bits.
constexpr std::array<Level, kLevels> MakeLevels() {
  std::array<Level, kLevels> levels{};
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const std::uint32_t count = 1u << i;
    const double thickness = kAltitudeRange / count;
    const int zero = static_cast<int>(count / 6);
    levels[i] = {zero, thickness, zero * thickness + kLowestAltitude};
  }
  return levels;
}

constexpr std::array<Level, kLevels> kTable = MakeLevels();

// Makes the entries of a level outside the table.
bool LevelExists(int level) {
  PELORIN_CHECK_GE(level, 0);
  PELORIN_CHECK_LT(level, 32);
  return level >= 0 && level < kLevels;
}

const Level& At(int level) {
  return kTable[static_cast<std::size_t>(level)];
}

// 2^level in 32 bits, which at level 31 is negative: no row, column or stratum is below it.
int CountAtLevel(int level) {
  return static_cast<int>(1u << level);
}

// Sums of 32 bits that wrap around, as strata near the limits of `int` make them.
int WrappingSum(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

int WrappingDifference(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

// For whole numbers and infinities; not-a-number gives 0.
int SaturatedInt(double number) {
  if (number >= std::numeric_limits<int>::max()) {
    return std::numeric_limits<int>::max();
  }
  if (number <= std::numeric_limits<int>::min()) {
    return std::numeric_limits<int>::min();
  }
  return std::isnan(number) ? 0 : static_cast<int>(number);
}

R1Interval Converted(const R1Interval& range, double (*convert)(double)) {
  return range.is_empty() ? range : R1Interval{convert(range.low), convert(range.high)};
}

void LogOverlongPath(int level) {
  static std::atomic<unsigned> events{0};
  if (events.fetch_add(1, std::memory_order_relaxed) % kEntryEvery == 0) {
    PELORIN_LOG_ERROR() << "Level (" << level << ") out of range.";
  }
}

int Bit(int number, int position) {
  return (number >> position) & 1;
}

}  // namespace

int StratumTools::ZeroStratumForLevel(int level) {
  return LevelExists(level) ? At(level).zero_stratum : 0;
}

double StratumTools::ThicknessOfStratumInNativeAltitude(int level) {
  return LevelExists(level) ? At(level).thickness : 0.0;
}

double StratumTools::ThicknessOfStratumInMeters(int level) {
  return NativeAltitudeToKmlAltitude(ThicknessOfStratumInNativeAltitude(level));
}

double StratumTools::BaseAltitudeOfStratum(int stratum, int level) {
  if (!LevelExists(level)) {
    return 0.0;
  }
  return stratum * At(level).thickness + At(level).base_of_zero;
}

double StratumTools::BaseKmlAltitudeOfStratum(int stratum, int level) {
  return NativeAltitudeToKmlAltitude(BaseAltitudeOfStratum(stratum, level));
}

int StratumTools::StratumContainingAltitude(double altitude, int level) {
  PELORIN_CHECK_GE(altitude, -1.0);
  PELORIN_CHECK_LT(altitude, 5.0);
  if (!LevelExists(level)) {
    return 0;
  }
  return SaturatedInt(std::floor((altitude - At(level).base_of_zero) / At(level).thickness));
}

int StratumTools::StratumContainingKmlAltitude(double altitude, int level) {
  return StratumContainingAltitude(KmlAltitudeToNativeAltitude(altitude), level);
}

bool StratumTools::ValidStratum(int stratum, int level) {
  if (!LevelExists(level)) {
    return false;
  }
  const int absolute = WrappingSum(stratum, At(level).zero_stratum);
  return absolute >= 0 && absolute < CountAtLevel(level);
}

int StratumTools::ParentStratumForStratum(int stratum, int level) {
  if (!LevelExists(level)) {
    return 0;
  }
  const int absolute = WrappingSum(At(level).zero_stratum, stratum);
  return (absolute >> 1) - ZeroStratumForLevel(level - 1);
}

std::pair<int, int> StratumTools::ChildStrataForStratum(int stratum, int level) {
  if (!LevelExists(level)) {
    return {0, 0};
  }
  const int absolute = WrappingSum(At(level).zero_stratum, stratum);
  const int lower =
      WrappingDifference(WrappingSum(absolute, absolute), ZeroStratumForLevel(level + 1));
  return {lower, WrappingSum(lower, 1)};
}

double StratumTools::NativeAltitudeToKmlAltitude(double altitude) {
  return altitude * kPlanetRadiusMetres;
}

double StratumTools::KmlAltitudeToNativeAltitude(double altitude) {
  return altitude / kPlanetRadiusMetres;
}

R1Interval StratumTools::NativeAltitudeRangeToKmlAltitudeRange(const R1Interval& range) {
  return Converted(range, &NativeAltitudeToKmlAltitude);
}

R1Interval StratumTools::KmlAltitudeRangeToNativeAltitudeRange(const R1Interval& range) {
  return Converted(range, &KmlAltitudeToNativeAltitude);
}

bool TraversalPathToLevelRowColumnStratum(const std::string& path, int* level, int* row,
                                          int* column, int* stratum) {
  constexpr std::size_t kMaxInt = std::numeric_limits<int>::max();
  *level = static_cast<int>(path.size() < kMaxInt ? path.size() : kMaxInt);
  *row = 0;
  *column = 0;
  *stratum = 0;
  if (*level >= kLevels) {
    LogOverlongPath(*level);
    return false;
  }
  for (const char c : path) {
    if (c < '0' || c > '7') {
      return false;
    }
    const int digit = c - '0';
    *stratum = 2 * *stratum + (digit >> 2);
    *row = 2 * *row + ((digit >> 1) & 1);
    *column = 2 * *column + (digit & 1);
  }
  *stratum -= At(*level).zero_stratum;
  // Unsigned, since 2^31 is beyond `int`; what is left of it is not.
  *row = static_cast<int>((1u << *level) - 1u - static_cast<unsigned>(*row));
  return true;
}

bool LevelRowColumnStratumToTraversalPath(int level, int row, int column, int stratum,
                                          std::string* path) {
  if (level < 0 || level >= kLevels) {
    return false;
  }
  const int count = CountAtLevel(level);
  const int absolute = WrappingSum(stratum, At(level).zero_stratum);
  const auto exists = [count](int number) { return number >= 0 && number < count; };
  if (!exists(row) || !exists(column) || !exists(absolute)) {
    return false;
  }
  const int flipped_row = count - 1 - row;
  path->clear();
  for (int bit = level - 1; bit >= 0; --bit) {
    const int digit = 4 * Bit(absolute, bit) + 2 * Bit(flipped_row, bit) + Bit(column, bit);
    *path += static_cast<char>('0' + digit);
  }
  return true;
}

}  // namespace vortan
