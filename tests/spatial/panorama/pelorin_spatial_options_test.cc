// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pelorin_spatial_options.h"

#include <gtest/gtest.h>

#include <string>

namespace nimbara {
namespace spatial {
namespace {

struct Row {
  const char* key;
  const char* class_name;
  const char* default_text;
  int behavior;
};

constexpr char kServer[] = "http://panorama.pelorin.example/plk";

// The promise to hosts, which find and store settings by key.
constexpr Row kTable[] = {
    {"numMetaDataPanoIdFetches", "CountSetting", "0", 2},
    {"numMetaDataPanoTileFetches", "CountSetting", "0", 2},
    {"numMetaDataPanoLatLonFetches", "CountSetting", "0", 2},
    {"numMetaDataPanosProcessed", "CountSetting", "0", 1},
    {"metaDataFetchServer", "StringSetting", kServer, 0},
    {"depthMapFetchServer", "StringSetting", kServer, 0},
    {"panoTileTemplateURL", "StringSetting",
     "http://panorama.pelorin.example/plk?output=tile&panoid=%1&zoom=$[level]&x=$[x]&y=$[y]"
     "&pl_client=nimbara&v=4",
     0},
    {"maxImageryQps", "FloatSetting", "0", 0},
    {"maxMetadataDepthmapQps", "FloatSetting", "0", 0},
    {"defaultSearchRadius(m)", "FloatSetting", "50", 0},
    {"MetaDataTileZoomLevel", "IntSetting", "16", 0},
    {"MetaDataPrefetchDepth", "IntSetting", "5", 0},
    {"fetch metadata tiles", "BoolSetting", "1", 0},
    {"maxAngularCorrectionPerSec", "FloatSetting", "90", 0},
    {"minAngularCorrectionPerSec", "FloatSetting", "2", 0},
    {"angleOfMinCorrection", "FloatSetting", "35", 0},
    {"angleOfMaxCorrection", "FloatSetting", "5", 0},
    {"maxPositionCorrectionPerSec", "FloatSetting", "2", 0},
    {"zoffsetForRoads", "DoubleSetting", "5e-08", 0},
    {"road distance threshold (sq)", "DoubleSetting", "6.2e-11", 0},
    {"render roads", "BoolSetting", "1", 0},
    {"render roads as points", "BoolSetting", "0", 0},
    {"render road labels", "BoolSetting", "1", 0},
    {"fillet width mult", "FloatSetting", "2", 0},
};

TEST(PelorinSpatialOptions, RegistersEverySettingInOrderWithItsDefault) {
  const PelorinSpatialOptions options;
  ASSERT_EQ(options.GetSettingCount(), static_cast<int>(std::size(kTable)));
  for (int i = 0; i < options.GetSettingCount(); ++i) {
    const Row& row = kTable[i];
    const Setting& setting = *options.GetSetting(i);
    EXPECT_EQ(setting.key().toStdString(), row.key);
    EXPECT_EQ(std::string(setting.getClassName()), row.class_name) << row.key;
    EXPECT_EQ(setting.toString().toStdString(), row.default_text) << row.key;
    EXPECT_EQ(setting.behavior(), row.behavior) << row.key;
  }
}

TEST(PelorinSpatialOptions, IsFoundByItsLiteralKeys) {
  PelorinSpatialOptions options;
  EXPECT_EQ(options.GetSetting(QStringLiteral("defaultSearchRadius(m)")),
            &options.default_search_radius_m);
  EXPECT_EQ(options.GetSetting(QStringLiteral("road distance threshold (sq)")),
            &options.road_distance_threshold_sq);
  EXPECT_EQ(options.GetSetting(QStringLiteral("Render roads")), nullptr);
}

TEST(PelorinSpatialOptions, HoldsTheDoublesNearestItsDecimals) {
  const PelorinSpatialOptions options;
  EXPECT_EQ(options.z_offset_for_roads.Get(), 5e-08);
  EXPECT_EQ(options.road_distance_threshold_sq.Get(), 6.2e-11);
}

TEST(PelorinSpatialOptions, IsBuiltWhenTheLibraryIsLoaded) {
  EXPECT_EQ(PelorinSpatialOptions::s_settings_.name(), QStringLiteral("PelorinSpatial"));
  EXPECT_EQ(PelorinSpatialOptions::s_settings_.GetSettingCount(),
            static_cast<int>(std::size(kTable)));
}

TEST(PelorinSpatialOptions, GoesBackToItsDefaultsAsAGroup) {
  PelorinSpatialOptions options;
  options.meta_data_fetch_server.Set(QStringLiteral("http://127.0.0.1:1/plk"));
  options.num_meta_data_pano_id_fetches.Increment();
  options.render_roads.Set(false);
  options.ResetToDefault();
  EXPECT_EQ(options.meta_data_fetch_server.Get(), QString::fromLatin1(kServer));
  EXPECT_EQ(options.num_meta_data_pano_id_fetches.Get(), 0);
  EXPECT_TRUE(options.render_roads.Get());
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
