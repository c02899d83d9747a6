// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "apps/dataset/dataset_writer.h"

namespace pelorin {
namespace test_support {

/// A panorama with nothing but an id, made from `seed`, and a place.
inline PanoRecord RecordAt(const std::string& seed, double lat_deg, double lng_deg,
                           const std::string& level_id = "") {
  PanoRecord record;
  record.id = PanoIdFromSeed(seed);
  record.place = {lat_deg, lng_deg};
  record.level_id = level_id;
  return record;
}

/// A panorama with a value of its own in every field.
inline PanoRecord FullRecord() {
  PanoRecord record = RecordAt("full", 12.5, -7.25, "L1");
  record.scene = 3;
  record.text = "K\xC3\xB6nigsweg & <Sons>";
  record.street_range = "12-13";
  record.copyright = "\xC2\xA9 nobody";
  record.image_date = "2024-05";
  record.image_width = 4096;
  record.image_height = 2048;
  record.tile_width = 512;
  record.tile_height = 256;
  record.pano_yaw_deg = 12.125;
  record.tilt_yaw_deg = 359.5;
  record.tilt_pitch_deg = -1.75;
  record.info_level = 0xFFFFFFFFFFFFFFFFu;
  record.info_value = -5;
  record.links = {{PanoIdFromSeed("b"), 90.5, 0xFF112233},
                  {PanoIdFromSeed("a"), 270.0, 0xFFFFFFFF}};
  record.levels = {{"L0", PanoIdFromSeed("c"), 0, "Ground", "G"}, {"L1", record.id, 1, "Up", "1"}};
  record.annotations = {{"x", "Fountain", 45.5, -3.25, 17.0}};
  record.depth_map = std::string("\x08\0depth", 7);
  record.pano_map = std::string("\x08\0pano", 6);
  return record;
}

inline void ExpectEqual(const PanoRecord& a, const PanoRecord& b) {
  EXPECT_EQ(a.id, b.id);
  EXPECT_EQ(a.place, b.place);
  EXPECT_EQ(a.scene, b.scene);
  EXPECT_EQ(a.level_id, b.level_id);
  EXPECT_EQ(a.text, b.text);
  EXPECT_EQ(a.street_range, b.street_range);
  EXPECT_EQ(a.copyright, b.copyright);
  EXPECT_EQ(a.image_date, b.image_date);
  EXPECT_EQ(a.image_width, b.image_width);
  EXPECT_EQ(a.image_height, b.image_height);
  EXPECT_EQ(a.tile_width, b.tile_width);
  EXPECT_EQ(a.tile_height, b.tile_height);
  EXPECT_EQ(a.pano_yaw_deg, b.pano_yaw_deg);
  EXPECT_EQ(a.tilt_yaw_deg, b.tilt_yaw_deg);
  EXPECT_EQ(a.tilt_pitch_deg, b.tilt_pitch_deg);
  EXPECT_EQ(a.info_level, b.info_level);
  EXPECT_EQ(a.info_value, b.info_value);
  ASSERT_EQ(a.links.size(), b.links.size());
  for (std::size_t i = 0; i < a.links.size(); ++i) {
    EXPECT_EQ(a.links[i].pano_id, b.links[i].pano_id);
    EXPECT_EQ(a.links[i].yaw_deg, b.links[i].yaw_deg);
    EXPECT_EQ(a.links[i].road_argb, b.links[i].road_argb);
  }
  ASSERT_EQ(a.levels.size(), b.levels.size());
  for (std::size_t i = 0; i < a.levels.size(); ++i) {
    EXPECT_EQ(a.levels[i].level_id, b.levels[i].level_id);
    EXPECT_EQ(a.levels[i].pano_id, b.levels[i].pano_id);
    EXPECT_EQ(a.levels[i].ordinal, b.levels[i].ordinal);
    EXPECT_EQ(a.levels[i].text, b.levels[i].text);
    EXPECT_EQ(a.levels[i].abbreviation, b.levels[i].abbreviation);
  }
  ASSERT_EQ(a.annotations.size(), b.annotations.size());
  for (std::size_t i = 0; i < a.annotations.size(); ++i) {
    EXPECT_EQ(a.annotations[i].id, b.annotations[i].id);
    EXPECT_EQ(a.annotations[i].title, b.annotations[i].title);
    EXPECT_EQ(a.annotations[i].yaw, b.annotations[i].yaw);
    EXPECT_EQ(a.annotations[i].pitch, b.annotations[i].pitch);
    EXPECT_EQ(a.annotations[i].d, b.annotations[i].d);
  }
  EXPECT_EQ(a.depth_map, b.depth_map);
  EXPECT_EQ(a.pano_map, b.pano_map);
}

/// A dataset in memory with these panoramas.
inline std::unique_ptr<Dataset> DatasetOf(const std::vector<PanoRecord>& records) {
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(&error);
  for (const PanoRecord& record : records) {
    EXPECT_TRUE(writer->Add(record, &error)) << error;
  }
  std::unique_ptr<Dataset> dataset = writer->Finish({}, &error);
  EXPECT_NE(dataset, nullptr) << error;
  return dataset;
}

/// The same as a file.
inline void WriteDataset(const std::string& path, const std::vector<PanoRecord>& records) {
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::ToFile(path, &error);
  ASSERT_NE(writer, nullptr) << error;
  for (const PanoRecord& record : records) {
    ASSERT_TRUE(writer->Add(record, &error)) << error;
  }
  ASSERT_NE(writer->Finish({}, &error), nullptr) << error;
}

}  // namespace test_support
}  // namespace pelorin
