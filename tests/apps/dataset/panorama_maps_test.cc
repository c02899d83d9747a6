// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/panorama_maps.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <memory>
#include <string>

#include "host/depth_map.h"
#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/pano_map.h"
#include "spatial/panorama/pano_map_xml_parser.h"

namespace pelorin {
namespace {

using nimbara::DepthMap;
using nimbara::spatial::DepthMapXMLParser;
using nimbara::spatial::PanoMap;
using nimbara::spatial::PanoMapXMLParser;

// As the library reads it.
std::unique_ptr<DepthMap> ReadDepth(const DepthScene& scene) {
  return std::unique_ptr<DepthMap>(
      DepthMapXMLParser::ReadDepthMapData(QByteArray::fromStdString(MakeDepthMap(scene))));
}

std::unique_ptr<PanoMap> ReadNeighbours(const std::vector<PanoMapEntry>& entries) {
  return std::unique_ptr<PanoMap>(
      PanoMapXMLParser::ReadPanoMapData(QByteArray::fromStdString(MakePanoMap(entries))));
}

// Azimuth 0 is the centre, elevation 90 the top.
int PlaneAt(const DepthMap& map, double azimuth_deg, double elevation_deg) {
  const int column = static_cast<int>((azimuth_deg + 180.0) / 360.0 * map.width);
  const int row = static_cast<int>((90.0 - elevation_deg) / 180.0 * map.height);
  return map.indices[row * map.width + column];
}

TEST(PanoramaMaps, ADepthMapOfAStreetHasGroundSkyAndTwoFacades) {
  DepthScene scene;
  scene.left_m = 5.0;
  scene.right_m = 7.0;
  const std::unique_ptr<DepthMap> map = ReadDepth(scene);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->plane_count, 4);
  EXPECT_EQ(PlaneAt(*map, 3.0, 85.0), 0);
  EXPECT_EQ(PlaneAt(*map, 3.0, -80.0), 1);
  EXPECT_EQ(PlaneAt(*map, -90.0, 3.0), 2);
  EXPECT_EQ(PlaneAt(*map, 90.0, 3.0), 3);
  EXPECT_EQ(map->planes[1].distance, 2.5);
  EXPECT_EQ(map->planes[2].distance, 5.0);
  EXPECT_EQ(map->planes[3].distance, 7.0);
}

TEST(PanoramaMaps, AFacadeOnTheRightAloneIsThePlaneAfterTheGround) {
  DepthScene scene;
  scene.right_m = 7.0;
  const std::unique_ptr<DepthMap> map = ReadDepth(scene);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->plane_count, 3);
  EXPECT_EQ(PlaneAt(*map, 90.0, 3.0), 2);
  EXPECT_EQ(PlaneAt(*map, -90.0, 3.0), 0);
}

TEST(PanoramaMaps, EveryCellNamesAPlaneThatThereIs) {
  for (const double left : {0.0, 3.0}) {
    for (const double right : {0.0, 30.0}) {
      DepthScene scene;
      scene.left_m = left;
      scene.right_m = right;
      const std::unique_ptr<DepthMap> map = ReadDepth(scene);
      ASSERT_NE(map, nullptr);
      for (int i = 0; i < map->width * map->height; ++i) {
        ASSERT_LT(map->indices[i], map->plane_count);
      }
    }
  }
}

TEST(PanoramaMaps, APanoMapFindsTheNeighbourInItsDirection) {
  const QString ahead = QString(22, 'a');
  const QString behind = QString(22, 'b');
  const std::unique_ptr<PanoMap> map = ReadNeighbours(
      {{ahead.toStdString(), 0.0, 0.0, 10.0}, {behind.toStdString(), 180.0, 0.0, -9.0}});
  ASSERT_NE(map, nullptr);
  QString id;
  nimbara::Vec2<float> position;
  ASSERT_TRUE(map->GetPano(0.5f, 0.45f, &id, &position));
  EXPECT_EQ(id, ahead);
  EXPECT_EQ(position.y, 10.0f);
  ASSERT_TRUE(map->GetPano(0.0f, 0.45f, &id, &position));
  EXPECT_EQ(id, behind);
  ASSERT_TRUE(map->GetPano(1.0f, 0.45f, &id, &position));
  EXPECT_EQ(id, behind);
  map->GetPano(0.25f, 0.45f, &id, &position);
  EXPECT_TRUE(id.isEmpty());
}

TEST(PanoramaMaps, APanoMapWithoutNeighboursIsStillAMap) {
  EXPECT_NE(ReadNeighbours({}), nullptr);
}

TEST(PanoramaMaps, NeighboursBeyondTheTableAreLeftOut) {
  std::vector<PanoMapEntry> entries(300, {std::string(22, 'x'), 10.0, 1.0, 1.0});
  const std::unique_ptr<PanoMap> map = ReadNeighbours(entries);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->pano_ids.size(), 256u);
}

}  // namespace
}  // namespace pelorin
