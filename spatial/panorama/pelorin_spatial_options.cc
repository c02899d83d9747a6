// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

// Heap strings and not literals of the data segment: a host may keep a key or a value for longer
// than this library stays loaded.
QString Text(const char* ascii) {
  return QString::fromLatin1(ascii);
}

constexpr char kDefaultServer[] = "http://panorama.pelorin.example/plk";
constexpr char kDefaultTileTemplate[] =
    "http://panorama.pelorin.example/plk?output=tile&panoid=%1&zoom=$[level]&x=$[x]&y=$[y]"
    "&pl_client=nimbara&v=4";

}  // namespace

PelorinSpatialOptions PelorinSpatialOptions::s_settings_;

PelorinSpatialOptions::PelorinSpatialOptions()
    : SettingGroup(Text("PelorinSpatial")),
      num_meta_data_pano_id_fetches(*this, Text("numMetaDataPanoIdFetches"), Setting::kUsageFigure,
                                    0),
      num_meta_data_pano_tile_fetches(*this, Text("numMetaDataPanoTileFetches"),
                                      Setting::kUsageFigure, 0),
      num_meta_data_pano_lat_lon_fetches(*this, Text("numMetaDataPanoLatLonFetches"),
                                         Setting::kUsageFigure, 0),
      num_meta_data_panos_processed(*this, Text("numMetaDataPanosProcessed"),
                                    Setting::kSessionFigure, 0),
      meta_data_fetch_server(*this, Text("metaDataFetchServer"), Setting::kPreference,
                             Text(kDefaultServer)),
      depth_map_fetch_server(*this, Text("depthMapFetchServer"), Setting::kPreference,
                             Text(kDefaultServer)),
      pano_tile_template_url(*this, Text("panoTileTemplateURL"), Setting::kPreference,
                             Text(kDefaultTileTemplate)),
      max_imagery_qps(*this, Text("maxImageryQps"), Setting::kPreference, 0.0f),
      max_metadata_depthmap_qps(*this, Text("maxMetadataDepthmapQps"), Setting::kPreference, 0.0f),
      default_search_radius_m(*this, Text("defaultSearchRadius(m)"), Setting::kPreference, 50.0f),
      meta_data_tile_zoom_level(*this, Text("MetaDataTileZoomLevel"), Setting::kPreference, 16),
      meta_data_prefetch_depth(*this, Text("MetaDataPrefetchDepth"), Setting::kPreference, 5),
      fetch_metadata_tiles(*this, Text("fetch metadata tiles"), Setting::kPreference, true),
      max_angular_correction_per_sec(*this, Text("maxAngularCorrectionPerSec"),
                                     Setting::kPreference, 90.0f),
      min_angular_correction_per_sec(*this, Text("minAngularCorrectionPerSec"),
                                     Setting::kPreference, 2.0f),
      angle_of_min_correction(*this, Text("angleOfMinCorrection"), Setting::kPreference, 35.0f),
      angle_of_max_correction(*this, Text("angleOfMaxCorrection"), Setting::kPreference, 5.0f),
      max_position_correction_per_sec(*this, Text("maxPositionCorrectionPerSec"),
                                      Setting::kPreference, 2.0f),
      z_offset_for_roads(*this, Text("zoffsetForRoads"), Setting::kPreference, 5e-08),
      road_distance_threshold_sq(*this, Text("road distance threshold (sq)"), Setting::kPreference,
                                 6.2e-11),
      render_roads(*this, Text("render roads"), Setting::kPreference, true),
      render_roads_as_points(*this, Text("render roads as points"), Setting::kPreference, false),
      render_road_labels(*this, Text("render road labels"), Setting::kPreference, true),
      fillet_width_mult(*this, Text("fillet width mult"), Setting::kPreference, 2.0f) {}

PelorinSpatialOptions::~PelorinSpatialOptions() = default;

}  // namespace spatial
}  // namespace nimbara
