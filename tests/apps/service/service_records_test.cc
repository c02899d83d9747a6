// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <QByteArray>
#include <algorithm>
#include <string>
#include <vector>

#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "host/depth_map.h"
#include "host/xml.h"
#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/map_tile.h"
#include "spatial/panorama/pano_map.h"
#include "spatial/panorama/pano_map_xml_parser.h"
#include "spatial/panorama/panorama_data.h"
#include "spatial/panorama/panorama_xml_parser.h"
#include "tests/apps/service/service_support.h"

namespace pelorin {
namespace {

using nimbara::mmvector;
using nimbara::RefPtr;
using nimbara::spatial::Annotation;
using nimbara::spatial::DepthMapXMLParser;
using nimbara::spatial::MapTile;
using nimbara::spatial::PanoMapXMLParser;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoramaXMLParser;
using service_test::MakeClient;
using service_test::StartService;

// What the library reads out of the service's answers over the built-in town.
class ServiceRecords : public testing::Test {
 protected:
  ServiceRecords() : dataset_(MakeHarbourTown(nullptr)), service_(StartService(*dataset_)) {
    dataset_->FindInBox(dataset_->bounds(), 100000, &records_, nullptr);
  }

  QByteArray Get(const std::string& query) {
    const httplib::Result answer = MakeClient(*service_).Get("/plk?" + query);
    return answer && answer->status == 200 ? QByteArray::fromStdString(answer->body) : QByteArray();
  }
  static std::vector<RefPtr<PanoramaData>> Parse(const QByteArray& xml) {
    const nimbara::XmlReader reader(xml);
    EXPECT_FALSE(reader.GetErrorsOccurred()) << reader.GetErrorText().toStdString();
    mmvector<RefPtr<PanoramaData>> parsed;
    PanoramaXMLParser::Parse(xml, &parsed);
    return std::vector<RefPtr<PanoramaData>>(parsed.begin(), parsed.end());
  }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
  std::vector<PanoRecord> records_;
};

void ExpectSameTexts(const PanoramaData& data, const PanoRecord& record) {
  EXPECT_EQ(data.pano_id.toStdString(), record.id);
  EXPECT_EQ(data.text.toStdString(), record.text);
  EXPECT_EQ(data.street_range.toStdString(), record.street_range);
  EXPECT_EQ(data.copyright.toStdString(), record.copyright);
  EXPECT_EQ(data.image_date.toStdString(), record.image_date);
  EXPECT_EQ(data.level_id.toStdString(), record.level_id);
}

void ExpectSameNumbers(const PanoramaData& data, const PanoRecord& record) {
  EXPECT_EQ(data.position.x, record.place.lng_deg / 180.0);
  EXPECT_EQ(data.position.y, record.place.lat_deg / 180.0);
  EXPECT_EQ(data.pano_yaw_deg, record.pano_yaw_deg);
  EXPECT_EQ(data.tilt_yaw_deg, record.tilt_yaw_deg);
  EXPECT_EQ(data.tilt_pitch_deg, record.tilt_pitch_deg);
  EXPECT_EQ(data.scene, record.scene);
  EXPECT_EQ(data.image_width, record.image_width);
  EXPECT_EQ(data.image_height, record.image_height);
  EXPECT_EQ(data.tile_width, record.tile_width);
  EXPECT_EQ(data.tile_height, record.tile_height);
  EXPECT_EQ(data.info_value, record.info_value);
  EXPECT_EQ(data.info_level,
            static_cast<int>((record.info_level >> 1 & 1) | (record.info_level >> 5 & 2)));
}

void ExpectSameLists(const PanoramaData& data, const PanoRecord& record) {
  ASSERT_EQ(data.links.size(), record.links.size());
  for (std::size_t i = 0; i < record.links.size(); ++i) {
    const std::uint32_t argb = record.links[i].road_argb;
    EXPECT_EQ(data.links[i].pano_id.toStdString(), record.links[i].pano_id);
    EXPECT_EQ(data.links[i].yaw_deg, static_cast<float>(record.links[i].yaw_deg));
    EXPECT_EQ(data.links[i].road_color,
              (argb & 0xFF00FF00u) | (argb & 0xFFu) << 16 | (argb >> 16 & 0xFFu));
  }
  ASSERT_EQ(data.levels.size(), record.levels.size());
  for (std::size_t i = 0; i < record.levels.size(); ++i) {
    EXPECT_EQ(data.levels[i].level_id.toStdString(), record.levels[i].level_id);
    EXPECT_EQ(data.levels[i].pano_id.toStdString(), record.levels[i].pano_id);
    EXPECT_EQ(data.levels[i].ordinal, record.levels[i].ordinal);
    EXPECT_EQ(data.levels[i].text.toStdString(), record.levels[i].text);
    EXPECT_EQ(data.levels[i].abbreviation.toStdString(), record.levels[i].abbreviation);
  }
}

void ExpectSame(const PanoramaData& data, const PanoRecord& record) {
  SCOPED_TRACE(record.id);
  ExpectSameTexts(data, record);
  ExpectSameNumbers(data, record);
  ExpectSameLists(data, record);
}

TEST_F(ServiceRecords, ByIdEqualWhatTheDatasetHolds) {
  ASSERT_GT(records_.size(), 100u);
  for (const PanoRecord& record : records_) {
    const auto parsed = Parse(Get("output=xml&panoid=" + record.id));
    ASSERT_EQ(parsed.size(), 1u);
    ExpectSame(*parsed[0], record);
  }
}

TEST_F(ServiceRecords, ByTileAreAllOfItsPanoramasAndNoOthers) {
  std::size_t found = 0;
  std::vector<MapTile> seen;
  for (const PanoRecord& record : records_) {
    const MapTile tile(record.place.lat_deg, record.place.lng_deg, 16);
    if (std::find(seen.begin(), seen.end(), tile) != seen.end())
      continue;
    seen.push_back(tile);
    const auto parsed =
        Parse(Get("output=metatile&x=" + std::to_string(tile.x) + "&y=" + std::to_string(tile.y) +
                  "&zoom=" + std::to_string(tile.zoom)));
    found += parsed.size();
    for (const RefPtr<PanoramaData>& data : parsed) {
      PanoRecord source;
      ASSERT_EQ(dataset_->FindPano(data->pano_id.toStdString(), false, &source, nullptr),
                Answer::kFound);
      EXPECT_TRUE(tile.Contains(source.place.lat_deg, source.place.lng_deg));
      ExpectSame(*data, source);
    }
  }
  EXPECT_EQ(found, records_.size());
}

TEST_F(ServiceRecords, BringTheMapsThatTheDatasetHolds) {
  int depth_maps = 0;
  int pano_maps = 0;
  for (const PanoRecord& record : records_) {
    if (!record.has_depth_map)
      continue;
    if (++depth_maps > 5)
      break;
    PanoRecord source;
    ASSERT_EQ(dataset_->FindPano(record.id, true, &source, nullptr), Answer::kFound);
    const auto parsed = Parse(Get("output=xml&panoid=" + record.id + "&dm=1&pm=1"));
    ASSERT_EQ(parsed.size(), 1u);
    const nimbara::DepthMap* const depth = parsed[0]->depthmap;
    ASSERT_NE(depth, nullptr);
    // The payload: a head of 8 bytes, then the cells.
    ASSERT_GE(source.depth_map.size(), 8u + static_cast<std::size_t>(depth->width * depth->height));
    EXPECT_TRUE(std::equal(depth->indices, depth->indices + depth->width * depth->height,
                           reinterpret_cast<const std::uint8_t*>(source.depth_map.data()) + 8));
    if (source.pano_map.empty())
      continue;
    ++pano_maps;
    const nimbara::spatial::PanoMap* const pano = parsed[0]->panomap;
    ASSERT_NE(pano, nullptr);
    EXPECT_TRUE(std::equal(pano->indices, pano->indices + pano->width * pano->height,
                           reinterpret_cast<const std::uint8_t*>(source.pano_map.data()) + 8));
    ASSERT_GT(pano->pano_ids.size(), 1u);
    EXPECT_EQ(
        pano->pano_ids[1].toStdString(),
        source.pano_map.substr(8u + static_cast<std::size_t>(pano->width * pano->height), 22));
  }
  EXPECT_GT(depth_maps, 0);
  EXPECT_GT(pano_maps, 0);
}

TEST_F(ServiceRecords, BringTheirLabels) {
  int labels = 0;
  for (const PanoRecord& record : records_) {
    if (record.annotations.empty())
      continue;
    const mmvector<Annotation> read =
        DepthMapXMLParser().ParseAnnotations(Get("output=xml&panoid=" + record.id));
    ASSERT_EQ(read.size(), record.annotations.size());
    for (std::size_t i = 0; i < record.annotations.size(); ++i, ++labels) {
      EXPECT_EQ(read[i].id.toStdString(), record.annotations[i].id);
      EXPECT_EQ(read[i].title.toStdString(), record.annotations[i].title);
      EXPECT_EQ(read[i].yaw, static_cast<float>(record.annotations[i].yaw));
      EXPECT_EQ(read[i].pitch, static_cast<float>(record.annotations[i].pitch));
      EXPECT_EQ(read[i].d, static_cast<float>(record.annotations[i].d));
    }
  }
  EXPECT_GT(labels, 0);
}

TEST_F(ServiceRecords, AreNoneWhenNothingIsThere) {
  EXPECT_TRUE(Parse(Get("output=xml&panoid=nobody&dm=1&pm=1")).empty());
  EXPECT_TRUE(Parse(Get("output=xml&ll=0,0&radius=1")).empty());
  EXPECT_TRUE(Parse(Get("output=metatile&x=0&y=0&zoom=16")).empty());
}

}  // namespace
}  // namespace pelorin
