// SPDX-License-Identifier: Apache-2.0
#include "apps/service/image_tile.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "apps/dataset/panorama_maps.h"
#include "apps/jpeg/acquisition_date.h"
#include "apps/jpeg/jpeg_header.h"
#include "apps/service/view_lettering.h"
#include "apps/service/view_pixels.h"
#include "apps/service/view_scene.h"

namespace pelorin {
namespace {

// A street that runs north and south with a house on its right-hand side.
PanoRecord StreetRecord() {
  PanoRecord record;
  record.id = PanoIdFromSeed("image tile test");
  record.text = "Harbour Street";
  record.image_date = "2024-05";
  record.image_width = 256;
  record.image_height = 128;
  record.tile_width = 64;
  record.tile_height = 64;
  record.pano_yaw_deg = 0.0;
  record.links = {{PanoIdFromSeed("north"), 0.0, 0xFFFFFFFF}, {PanoIdFromSeed("south"), 180.0}};
  record.depth_map = MakeDepthMap({2.5, 0.0, 5.0, 12.0});
  return record;
}

ViewPart WholeOf(const PanoRecord& record) {
  return {record.image_width, record.image_height, 0, 0, record.image_width, record.image_height};
}

struct Pixel {
  int r, g, b;
};

// The colour in a direction, by degrees clockwise from the image's centre and above the horizon.
Pixel At(const RgbImage& image, double azimuth_deg, double pitch_deg) {
  const auto x = static_cast<std::size_t>((azimuth_deg / 360.0 + 0.5) * image.width);
  const auto y = static_cast<std::size_t>((0.5 - pitch_deg / 180.0) * image.height);
  const std::uint8_t* const pixel =
      &image.pixels[(y * static_cast<std::size_t>(image.width) + x) * 3];
  return {pixel[0], pixel[1], pixel[2]};
}

// A header whose segments are views of `file`.
JpegHeader HeaderOf(const std::string& file) {
  JpegHeader header;
  std::string error;
  EXPECT_TRUE(ReadJpegHeader(file, &header, &error)) << error;
  return header;
}

TEST(ImagePyramid, HasOneTileAtItsLowestLevel) {
  PanoRecord record = StreetRecord();
  EXPECT_EQ(HighestImageLevel(record), 2);
  record.image_width = 257;
  EXPECT_EQ(HighestImageLevel(record), 3);
  record.image_width = 64;
  record.image_height = 64;
  EXPECT_EQ(HighestImageLevel(record), 0);
  record.image_height = 65;
  EXPECT_EQ(HighestImageLevel(record), 1);
}

TEST(ImagePyramid, IsThereOnlyForAnImageThatCanBeDrawn) {
  for (std::int32_t PanoRecord::*side : {&PanoRecord::image_width, &PanoRecord::image_height,
                                         &PanoRecord::tile_width, &PanoRecord::tile_height}) {
    PanoRecord record = StreetRecord();
    record.*side = 0;
    EXPECT_EQ(HighestImageLevel(record), -1);
    EXPECT_EQ(DrawImageTile(record, {0, 0, 0}), "");
  }
  PanoRecord record = StreetRecord();
  record.tile_width = kMaxImageTileSide + 1;
  EXPECT_EQ(HighestImageLevel(record), -1);
}

TEST(ImagePyramid, TakesTheLargestImageThereCanBe) {
  PanoRecord record = StreetRecord();
  record.image_width = std::numeric_limits<std::int32_t>::max();
  record.tile_width = 1;
  record.tile_height = 1;
  EXPECT_EQ(HighestImageLevel(record), 31);
  EXPECT_EQ(HeaderOf(DrawImageTile(record, {31, record.image_width - 1, 0})).width, 1);
  EXPECT_EQ(DrawImageTile(record, {31, record.image_width, 0}), "");
}

TEST(ImageTile, IsAJpegFileOfItsSize) {
  const JpegHeader whole = HeaderOf(DrawImageTile(StreetRecord(), {2, 3, 1}));
  EXPECT_EQ(whole.width, 64);
  EXPECT_EQ(whole.height, 64);
}

TEST(ImageTile, EndsWhereTheImageDoes) {
  PanoRecord record = StreetRecord();
  const JpegHeader lowest = HeaderOf(DrawImageTile(record, {0, 0, 0}));
  EXPECT_EQ(lowest.width, 64);
  EXPECT_EQ(lowest.height, 32);
  record.image_width = 200;
  record.image_height = 100;
  const JpegHeader corner = HeaderOf(DrawImageTile(record, {2, 3, 1}));
  EXPECT_EQ(corner.width, 200 - 3 * 64);
  EXPECT_EQ(corner.height, 100 - 64);
}

TEST(ImageTile, IsNotThereOutsideThePyramid) {
  const ImageTileAddress outside[] = {{3, 0, 0},  {-1, 0, 0}, {2, 4, 0}, {2, 0, 2},
                                      {2, -1, 0}, {2, 0, -1}, {0, 1, 0}, {1, 2, 0}};
  for (const ImageTileAddress& address : outside) {
    EXPECT_EQ(DrawImageTile(StreetRecord(), address), "") << address.level << " " << address.x;
  }
}

TEST(ImageTile, NamesTheDateOfThePanoramaInItsComment) {
  for (int level = 0; level <= 2; ++level) {
    const std::string file = DrawImageTile(StreetRecord(), {level, 0, 0});
    EXPECT_EQ(DateText(DateInHeader(HeaderOf(file))), "2024:05:00");
  }
}

TEST(ImageTile, HasNoCommentWithoutADate) {
  for (const char* date : {"", "spring", "2024-13"}) {
    PanoRecord record = StreetRecord();
    record.image_date = date;
    for (const JpegSegment& segment : HeaderOf(DrawImageTile(record, {0, 0, 0})).segments) {
      EXPECT_FALSE(segment.is_comment()) << date;
    }
  }
}

TEST(ImageTile, IsTheSameAtEveryCall) {
  EXPECT_EQ(DrawImageTile(StreetRecord(), {1, 1, 0}), DrawImageTile(StreetRecord(), {1, 1, 0}));
}

TEST(ImageTile, IsTheSameFromManyThreadsAtOnce) {
  const PanoRecord record = StreetRecord();
  const std::string alone = DrawImageTile(record, {2, 1, 1});
  std::array<std::string, 4> drawn;
  std::vector<std::thread> threads;
  for (std::string& tile : drawn) {
    threads.emplace_back([&record, &tile] { tile = DrawImageTile(record, {2, 1, 1}); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::string& tile : drawn) {
    EXPECT_EQ(tile, alone);
  }
}

TEST(ViewScene, HasTheWallsOfTheDepthMap) {
  const ViewScene scene = SceneOf(StreetRecord());
  EXPECT_DOUBLE_EQ(scene.camera_height_m, 2.5);
  ASSERT_EQ(scene.walls.size(), 1u);
  EXPECT_DOUBLE_EQ(scene.walls[0].x, -1.0);
  EXPECT_DOUBLE_EQ(scene.walls[0].d, 5.0);
  EXPECT_GT(scene.walls[0].top_m, 7.0);
  EXPECT_LE(scene.walls[0].top_m, 9.5);
}

TEST(ViewScene, TurnsRoadsAndLabelsWithTheImage) {
  PanoRecord record = StreetRecord();
  record.pano_yaw_deg = 350.0;
  record.annotations = {{"a", "Lighthouse", 20.0, 3.0, 100.0}};
  const ViewScene scene = SceneOf(record);
  ASSERT_EQ(scene.roads.size(), 2u);
  EXPECT_DOUBLE_EQ(scene.roads[0].azimuth_deg, 10.0);
  EXPECT_DOUBLE_EQ(scene.roads[1].azimuth_deg, 190.0);
  ASSERT_EQ(scene.labels.size(), 1u);
  EXPECT_DOUBLE_EQ(scene.labels[0].azimuth_deg, 30.0);
  EXPECT_EQ(scene.labels[0].text, "Lighthouse");
}

TEST(ViewScene, IsMadeFromDamagedDepthMapsWithoutHarm) {
  const std::string map = MakeDepthMap({2.5, 4.0, 5.0, 12.0});
  PanoRecord record = StreetRecord();
  const ViewPart part{32, 16, 0, 0, 32, 16};
  for (std::size_t size = 0; size < map.size(); ++size) {
    record.depth_map = map.substr(0, size);
    EXPECT_TRUE(SceneOf(record).walls.empty()) << size;
  }
  std::mt19937 random(20260605);
  for (int i = 0; i < 2000; ++i) {
    record.depth_map = map;
    for (int flips = 0; flips < 4; ++flips) {
      // Most damage where the numbers are.
      const std::size_t range = random() % 2 == 0 ? 8 : 64;
      const std::size_t at = range == 8 ? random() % 8 : map.size() - 1 - random() % 64;
      record.depth_map[at] = static_cast<char>(random() % 256);
    }
    const RgbImage image = DrawView(SceneOf(record), part);
    ASSERT_EQ(image.pixels.size(), 32u * 16 * 3);
  }
}

TEST(View, HasSkyAboveAndGroundBelow) {
  const PanoRecord record = StreetRecord();
  const RgbImage image = DrawView(SceneOf(record), WholeOf(record));
  const Pixel sky = At(image, -90.0, 70.0);
  EXPECT_GT(sky.b, sky.r + 40);
  const Pixel ground = At(image, -90.0, -30.0);
  EXPECT_LT(std::abs(ground.b - ground.r), 30);
}

TEST(View, HasAHouseWhereTheDepthMapHasAWall) {
  const PanoRecord record = StreetRecord();
  const RgbImage image = DrawView(SceneOf(record), WholeOf(record));
  PanoRecord open = record;
  open.depth_map.clear();
  const RgbImage without = DrawView(SceneOf(open), WholeOf(record));
  const auto differs = [&](double azimuth_deg, double pitch_deg) {
    const Pixel a = At(image, azimuth_deg, pitch_deg);
    const Pixel b = At(without, azimuth_deg, pitch_deg);
    return std::abs(a.r - b.r) + std::abs(a.g - b.g) + std::abs(a.b - b.b) > 30;
  };
  EXPECT_TRUE(differs(90.0, 30.0));
  EXPECT_FALSE(differs(-90.0, 30.0));
  EXPECT_FALSE(differs(90.0, 75.0));  // Above the eaves.
}

TEST(View, HasARoadWhereALinkLeads) {
  const PanoRecord record = StreetRecord();
  const RgbImage image = DrawView(SceneOf(record), WholeOf(record));
  EXPECT_LT(At(image, 8.0, -20.0).r + 15, At(image, -60.0, -20.0).r);
}

TEST(View, IsTheSameInPartsAsInOnePiece) {
  const PanoRecord record = StreetRecord();
  const ViewScene scene = SceneOf(record);
  RgbImage whole = DrawView(scene, WholeOf(record));
  LetterView(scene, WholeOf(record), &whole);
  const ViewPart part{256, 128, 64, 64, 64, 64};
  RgbImage tile = DrawView(scene, part);
  LetterView(scene, part, &tile);
  int off = 0;
  for (std::size_t y = 0; y < 64; ++y) {
    for (std::size_t i = 0; i < 64 * 3; ++i) {
      off +=
          std::abs(tile.pixels[y * 64 * 3 + i] - whole.pixels[((y + 64) * 256 + 64) * 3 + i]) > 2;
    }
  }
  EXPECT_EQ(off, 0);
}

TEST(ViewLettering, MarksNorthInRed) {
  PanoRecord record = StreetRecord();
  record.image_width = 1024;
  record.image_height = 512;
  record.pano_yaw_deg = 300.0;
  record.depth_map.clear();
  const ViewScene scene = SceneOf(record);
  RgbImage image = DrawView(scene, WholeOf(record));
  const Pixel before = At(image, 60.0, -0.5);
  EXPECT_LT(std::abs(before.r - before.g), 30);
  LetterView(scene, WholeOf(record), &image);
  const Pixel north = At(image, 60.0, -0.5);
  EXPECT_GT(north.r, north.g + 60);
  const Pixel between = At(image, 67.5, -0.5);
  EXPECT_LT(std::abs(between.r - between.g), 30);
}

TEST(ViewLettering, WritesTheNameOfTheStreetAlongItsRoads) {
  PanoRecord record = StreetRecord();
  record.image_width = 1024;
  record.image_height = 512;
  const ViewScene scene = SceneOf(record);
  ViewScene nameless = scene;
  nameless.street.clear();
  RgbImage with = DrawView(scene, WholeOf(record));
  RgbImage without = with;
  LetterView(scene, WholeOf(record), &with);
  LetterView(nameless, WholeOf(record), &without);
  const auto lit = [&](double azimuth_deg) {
    int pixels = 0;
    for (double azimuth = azimuth_deg - 15.0; azimuth < azimuth_deg + 15.0; azimuth += 0.3) {
      pixels += At(with, azimuth, -13.0).r != At(without, azimuth, -13.0).r ? 1 : 0;
    }
    return pixels;
  };
  EXPECT_GT(lit(0.0), 10);
  EXPECT_GT(lit(164.0), 3);  // It goes on at the other edge.
  EXPECT_GT(lit(-164.0), 3);
  EXPECT_EQ(lit(90.0), 0);
}

TEST(ViewLettering, TakesTextThatIsNoUtf8) {
  PanoRecord record = StreetRecord();
  record.text = "\xFF\xFE street";
  EXPECT_NE(DrawImageTile(record, {2, 2, 0}), "");
}

}  // namespace
}  // namespace pelorin
