// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_data.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

#include "host/loculus/photo_overlay.h"
#include "host/units.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::HeapSnapshot;

RefPtr<PanoramaData> MakeRecord(const QString& id = "id") {
  return RefPtr<PanoramaData>(new (HeapManager::GetDynamicHeap()) PanoramaData(id));
}

DepthMap* MakeDepthMap() {
  return new (HeapManager::GetDynamicHeap()) DepthMap;
}
PanoMap* MakePanoMap() {
  return new (HeapManager::GetDynamicHeap()) PanoMap;
}

ConnectedLevel Level(const QString& level_id) {
  ConnectedLevel level;
  level.level_id = level_id;
  return level;
}

static_assert(!std::is_copy_constructible_v<PanoramaData>);
static_assert(!std::is_copy_assignable_v<PanoramaData>);
static_assert(!std::is_copy_constructible_v<PanoMap>);

TEST(PanoramaData, BeginsWithItsDefaults) {
  const RefPtr<PanoramaData> record = MakeRecord("abc");
  EXPECT_EQ(record->pano_id, "abc");
  EXPECT_EQ(record->position, (Vec3<double>{0.0, 0.0, 0.0}));
  EXPECT_EQ(record->pano_yaw_deg, 0.0);
  EXPECT_EQ(record->tilt_yaw_deg, 0.0);
  EXPECT_EQ(record->tilt_pitch_deg, 0.0);
  EXPECT_EQ(record->scene, 0);
  EXPECT_EQ(record->image_width, 0);
  EXPECT_EQ(record->image_height, 0);
  EXPECT_EQ(record->tile_width, 0);
  EXPECT_EQ(record->tile_height, 0);
  EXPECT_EQ(record->info_level, 0);
  EXPECT_EQ(record->info_value, 2000);
}

TEST(PanoramaData, BeginsWithNullTextsEmptyListsAndNoMaps) {
  const RefPtr<PanoramaData> record = MakeRecord();
  for (const QString* text : {&record->image_date, &record->street_range, &record->text,
                              &record->address, &record->copyright, &record->level_id}) {
    EXPECT_TRUE(text->isNull());
  }
  EXPECT_TRUE(record->links.empty());
  EXPECT_TRUE(record->levels.empty());
  EXPECT_TRUE(record->annotations.empty());
  EXPECT_TRUE(record->connection_lookup.empty());
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_EQ(record->panomap, nullptr);
  EXPECT_FALSE(record->overlay);
}

TEST(PanoramaData, KeepsItsListsOnTheDynamicHeapAndItsAnnotationsOnTheDefaultOne) {
  const RefPtr<PanoramaData> record = MakeRecord();
  EXPECT_EQ(record->links.get_allocator().heap(), HeapManager::GetDynamicHeap());
  EXPECT_EQ(record->levels.get_allocator().heap(), HeapManager::GetDynamicHeap());
  EXPECT_EQ(record->annotations.get_allocator().heap(), nullptr);
}

TEST(PanoramaData, HasACollisionRadiusOfTwelveMetres) {
  EXPECT_EQ(MakeRecord()->collision_radius, 12.0 * Units::s_inv_planet_radius);
}

TEST(PanoramaData, AcceptsAnEmptyId) {
  EXPECT_TRUE(MakeRecord(QString())->pano_id.isEmpty());
}

TEST(PanoramaData, IsOnLevelZeroWithoutLevels) {
  const RefPtr<PanoramaData> record = MakeRecord();
  record->level_id = "ground";
  EXPECT_EQ(record->GetLevel(), 0);
}

TEST(PanoramaData, IsOnLevelZeroIfItsLevelIsNotListed) {
  const RefPtr<PanoramaData> record = MakeRecord();
  record->level_id = "roof";
  record->levels.assign({Level("a"), Level("b"), Level("c")});
  EXPECT_EQ(record->GetLevel(), 0);
}

TEST(PanoramaData, FindsItsLevelByItsExactId) {
  const RefPtr<PanoramaData> record = MakeRecord();
  record->level_id = "b";
  record->levels.assign({Level("a"), Level("B"), Level("b"), Level("b")});
  EXPECT_EQ(record->GetLevel(), 2);
}

TEST(PanoramaData, WithoutALevelIdIsOnALevelWithAnEmptyOne) {
  const RefPtr<PanoramaData> record = MakeRecord();
  record->levels.assign({Level("a"), Level("")});
  EXPECT_EQ(record->GetLevel(), 1);
}

TEST(PanoramaData, KeepsTheDepthMapThatItIsGivenAgain) {
  const RefPtr<PanoramaData> record = MakeRecord();
  DepthMap* const map = MakeDepthMap();
  record->set_depthmap(map);
  const HeapSnapshot before;
  record->set_depthmap(map);
  EXPECT_EQ(record->depthmap, map);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaData, KeepsThePanoMapThatItIsGivenAgain) {
  const RefPtr<PanoramaData> record = MakeRecord();
  PanoMap* const map = MakePanoMap();
  record->set_panomap(map);
  const HeapSnapshot before;
  record->set_panomap(map);
  EXPECT_EQ(record->panomap, map);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaData, FreesTheMapsThatOthersReplace) {
  const RefPtr<PanoramaData> record = MakeRecord();
  record->set_depthmap(MakeDepthMap());
  record->set_panomap(MakePanoMap());
  const HeapSnapshot before;
  record->set_depthmap(MakeDepthMap());
  record->set_panomap(MakePanoMap());
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaData, FreesTheMapsThatNullReplaces) {
  const RefPtr<PanoramaData> record = MakeRecord();
  const HeapSnapshot before;
  record->set_depthmap(MakeDepthMap());
  record->set_panomap(MakePanoMap());
  record->set_depthmap(nullptr);
  record->set_panomap(nullptr);
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_EQ(record->panomap, nullptr);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaData, LeavesNothingOnTheHeaps) {
  const HeapSnapshot before;
  {
    const RefPtr<PanoramaData> record = MakeRecord();
    record->set_depthmap(MakeDepthMap());
    record->set_panomap(MakePanoMap());
    record->panomap->indices = new std::uint8_t[4]();
    record->panomap->pano_ids.resize(3);
    record->panomap->positions.resize(3);
    record->links.resize(5);
    record->levels.resize(5);
    record->annotations.resize(5);
    record->connection_lookup[1.0] = "neighbour";
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaData, GivesItsReferenceToTheOverlayBack) {
  const RefPtr<loculus::PhotoOverlay> overlay(
      new loculus::PhotoOverlay(loculus::KmlId(), QString()));
  {
    const RefPtr<PanoramaData> record = MakeRecord();
    record->overlay = overlay;
    EXPECT_EQ(overlay->ref_count(), 2);
  }
  EXPECT_EQ(overlay->ref_count(), 1);
}

TEST(PanoramaData, OrdersNotANumberBehindEveryBearing) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const RefPtr<PanoramaData> record = MakeRecord();
  record->connection_lookup[kNan] = "nowhere";
  record->connection_lookup[1.0] = "one";
  record->connection_lookup[-kNan] = "nowhere else";
  record->connection_lookup[-3.0] = "minus three";
  record->connection_lookup[std::numeric_limits<double>::infinity()] = "far";
  ASSERT_EQ(record->connection_lookup.size(), 4u);
  EXPECT_EQ(record->connection_lookup.begin()->second, "minus three");
  EXPECT_EQ(record->connection_lookup.rbegin()->second, "nowhere else");
  EXPECT_EQ(record->connection_lookup.lower_bound(0.0)->second, "one");
  EXPECT_EQ(record->connection_lookup.lower_bound(1.5)->second, "far");
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
