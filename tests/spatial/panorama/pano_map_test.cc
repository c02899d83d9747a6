// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pano_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A map whose cell number n names entry n; entry n has the id "n" and the position (n, -n).
class NumberedMap {
 public:
  NumberedMap(std::int32_t width, std::int32_t height) {
    const int count = width * height;
    map_.width = width;
    map_.height = height;
    map_.indices = new std::uint8_t[static_cast<std::size_t>(count)];
    for (int i = 0; i < count; ++i) {
      map_.indices[i] = static_cast<std::uint8_t>(i);
      map_.pano_ids.push_back(QString::number(i));
      map_.positions.push_back({static_cast<float>(i), static_cast<float>(-i)});
    }
  }
  PanoMap& map() { return map_; }

  QString At(float x, float y) const {
    QString id = "untouched";
    EXPECT_TRUE(map_.GetPano(x, y, &id, nullptr));
    return id;
  }

 private:
  PanoMap map_;
};

TEST(PanoMap, ReadsTheTopLeftCellAtZeroOne) {
  EXPECT_EQ(NumberedMap(4, 3).At(0.0f, 1.0f), "0");
}

TEST(PanoMap, ReadsTheBottomRightCellAtOneZero) {
  EXPECT_EQ(NumberedMap(4, 3).At(1.0f, 0.0f), "11");
}

TEST(PanoMap, ReadsTheOtherTwoCorners) {
  EXPECT_EQ(NumberedMap(4, 3).At(1.0f, 1.0f), "3");
  EXPECT_EQ(NumberedMap(4, 3).At(0.0f, 0.0f), "8");
}

TEST(PanoMap, CountsACellFromItsLeftAndItsUpperEdge) {
  const NumberedMap map(4, 4);
  EXPECT_EQ(map.At(0.25f, 1.0f), "1");
  EXPECT_EQ(map.At(std::nextafter(0.25f, 0.0f), 1.0f), "0");
  EXPECT_EQ(map.At(0.0f, 0.75f), "4");
  EXPECT_EQ(map.At(0.0f, std::nextafter(0.75f, 1.0f)), "0");
}

TEST(PanoMap, ComputesInSinglePrecision) {
  // The products round up to 7 in single precision; in double precision they stay below.
  EXPECT_EQ(NumberedMap(10, 1).At(0.699999988f, 0.0f), "7");
  EXPECT_EQ(NumberedMap(1, 10).At(0.0f, 0.300000012f), "7");
}

TEST(PanoMap, ReadsTheNearestCellOutsideTheImage) {
  const NumberedMap map(4, 3);
  EXPECT_EQ(map.At(-0.5f, 0.5f), "4");
  EXPECT_EQ(map.At(7.0f, 0.5f), "7");
  EXPECT_EQ(map.At(0.3f, 5.0f), "1");
  EXPECT_EQ(map.At(0.3f, -5.0f), "9");
  EXPECT_EQ(map.At(std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()), "11");
  EXPECT_EQ(map.At(std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max()), "0");
}

TEST(PanoMap, ReadsTheNearestCellAtInfinity) {
  const NumberedMap map(4, 3);
  EXPECT_EQ(map.At(-kInfinity, 0.5f), "4");
  EXPECT_EQ(map.At(kInfinity, 0.5f), "7");
  EXPECT_EQ(map.At(0.3f, kInfinity), "1");
  EXPECT_EQ(map.At(0.3f, -kInfinity), "9");
}

TEST(PanoMap, ReadsColumnOrRowZeroAtNotANumber) {
  const NumberedMap map(4, 3);
  EXPECT_EQ(map.At(kNan, 0.5f), "4");
  EXPECT_EQ(map.At(0.3f, kNan), "1");
  EXPECT_EQ(map.At(kNan, kNan), "0");
}

TEST(PanoMap, AgreesWithAPlainLookUpInsideTheImage) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<float> coordinate(0.0f, 1.0f);
  for (const auto& size : {std::pair(1, 1), std::pair(7, 11), std::pair(16, 16)}) {
    const NumberedMap map(size.first, size.second);
    for (int i = 0; i < 20000; ++i) {
      const float x = coordinate(random);
      const float y = coordinate(random);
      const int col =
          std::min(static_cast<int>(static_cast<float>(size.first) * x), size.first - 1);
      const int row =
          std::min(static_cast<int>((1.0f - y) * static_cast<float>(size.second)), size.second - 1);
      ASSERT_EQ(map.At(x, y), QString::number(row * size.first + col)) << x << " " << y;
    }
  }
}

TEST(PanoMap, GivesThePositionOfTheEntry) {
  NumberedMap numbered(4, 3);
  Vec2<float> position{9.0f, 9.0f};
  EXPECT_TRUE(numbered.map().GetPano(1.0f, 0.0f, nullptr, &position));
  EXPECT_EQ(position, (Vec2<float>{11.0f, -11.0f}));
}

TEST(PanoMap, TakesNoOutputsAtAll) {
  NumberedMap numbered(4, 3);
  EXPECT_TRUE(numbered.map().GetPano(0.5f, 0.5f, nullptr, nullptr));
}

TEST(PanoMap, GivesAnEmptyIdWhereNoPanoramaLies) {
  NumberedMap numbered(2, 1);
  numbered.map().pano_ids[0].clear();
  QString id = "untouched";
  EXPECT_TRUE(numbered.map().GetPano(0.0f, 1.0f, &id, nullptr));
  EXPECT_TRUE(id.isEmpty());
}

TEST(PanoMap, ReadsEntryZeroForACellBeyondTheTable) {
  NumberedMap numbered(4, 3);
  numbered.map().indices[0] = 200;
  numbered.map().indices[1] = 12;
  Vec2<float> position{9.0f, 9.0f};
  QString id = "untouched";
  EXPECT_TRUE(numbered.map().GetPano(0.0f, 1.0f, &id, &position));
  EXPECT_EQ(id, "0");
  EXPECT_EQ(position, Vec2<float>::Zero());
  EXPECT_EQ(numbered.At(0.25f, 1.0f), "0");
}

TEST(PanoMap, GivesTheZeroPositionWhereTheListOfPositionsIsShort) {
  NumberedMap numbered(4, 3);
  numbered.map().positions.clear();
  Vec2<float> position{9.0f, 9.0f};
  EXPECT_TRUE(numbered.map().GetPano(1.0f, 0.0f, nullptr, &position));
  EXPECT_EQ(position, Vec2<float>::Zero());
}

TEST(PanoMap, WithoutEntriesTouchesNoOutput) {
  NumberedMap numbered(4, 3);
  numbered.map().pano_ids.clear();
  QString id = "untouched";
  Vec2<float> position{9.0f, 9.0f};
  EXPECT_FALSE(numbered.map().GetPano(0.0f, 1.0f, &id, &position));
  EXPECT_EQ(id, "untouched");
  EXPECT_EQ(position, (Vec2<float>{9.0f, 9.0f}));
}

TEST(PanoMap, WithoutCellsTouchesNoOutput) {
  PanoMap map;
  map.pano_ids.resize(1);
  map.positions.resize(1);
  QString id = "untouched";
  EXPECT_FALSE(map.GetPano(0.0f, 1.0f, &id, nullptr));
  EXPECT_EQ(id, "untouched");
}

TEST(PanoMap, LeavesNothingOnTheHeaps) {
  const test_support::HeapSnapshot before;
  { NumberedMap numbered(16, 16); }
  EXPECT_EQ(test_support::HeapSnapshot(), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
