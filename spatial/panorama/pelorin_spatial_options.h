// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"
#include "host/settings.h"

namespace nimbara {
namespace spatial {

/// The run-time settings of panoramas, roads and navigation: the group "PelorinSpatial".
///
/// There is one instance, `s_settings_`, built when the library is loaded and destroyed when it is
/// unloaded; everything that reads a setting reads it there, at each use and without keeping a
/// copy, so that a change takes effect at once. Each setting can be read and written from any
/// thread. Hosts find and store settings by key, so the keys are literal, blanks and all.
///
/// The members register in the order in which they stand here.
class PELORIN_EXPORT PelorinSpatialOptions : public SettingGroup {
 public:
  static PelorinSpatialOptions s_settings_;

  PelorinSpatialOptions();
  ~PelorinSpatialOptions() override;

  /// "numMetaDataPanoIdFetches": metadata requests sent by panorama id. A kept total.
  CountSetting num_meta_data_pano_id_fetches;
  /// "numMetaDataPanoTileFetches": metadata requests sent by map tile. A kept total.
  CountSetting num_meta_data_pano_tile_fetches;
  /// "numMetaDataPanoLatLonFetches": metadata requests sent by position. A kept total.
  CountSetting num_meta_data_pano_lat_lon_fetches;
  /// "numMetaDataPanosProcessed": records entered into the graph, in this session only.
  CountSetting num_meta_data_panos_processed;

  /// "metaDataFetchServer": base URL of every metadata and depth map request.
  StringSetting meta_data_fetch_server;
  /// "depthMapFetchServer": kept for the host. No request of the library reads it: depth maps come
  /// from "metaDataFetchServer".
  StringSetting depth_map_fetch_server;
  /// "panoTileTemplateURL": URL of an image tile. The host replaces %1 by the panorama id and
  /// $[level], $[x] and $[y] by the tile's level, column and row.
  StringSetting pano_tile_template_url;

  /// "maxImageryQps": most image tile requests per second; 0 is no ceiling. Read by the host.
  FloatSetting max_imagery_qps;
  /// "maxMetadataDepthmapQps": most metadata and depth map requests per second; 0 is no ceiling.
  FloatSetting max_metadata_depthmap_qps;
  /// "defaultSearchRadius(m)": radius of look-ups by position, in metres. Read by the host.
  FloatSetting default_search_radius_m;
  /// "MetaDataTileZoomLevel": level of the map tiles by which metadata is asked for, 0 to 30.
  IntSetting meta_data_tile_zoom_level;
  /// "MetaDataPrefetchDepth": how many links ahead the host asks. Not read by the library.
  IntSetting meta_data_prefetch_depth;
  /// "fetch metadata tiles": whether metadata is asked for by map tile at all.
  BoolSetting fetch_metadata_tiles;

  /// "maxAngularCorrectionPerSec": fastest heading restore, in degrees per second.
  FloatSetting max_angular_correction_per_sec;
  /// "minAngularCorrectionPerSec": slowest heading restore, in degrees per second.
  FloatSetting min_angular_correction_per_sec;
  /// "angleOfMinCorrection": heading error in degrees at which the slowest rate applies.
  FloatSetting angle_of_min_correction;
  /// "angleOfMaxCorrection": heading error in degrees at which the fastest rate applies. The
  /// smaller of the two angles on purpose: the correction grows as the error shrinks.
  FloatSetting angle_of_max_correction;
  /// "maxPositionCorrectionPerSec": kept for the host.
  FloatSetting max_position_correction_per_sec;

  /// "zoffsetForRoads": added to each clamped altitude of a road, in planet radii.
  DoubleSetting z_offset_for_roads;
  /// "road distance threshold (sq)": how far from the centre panorama roads are followed, as a
  /// squared distance in planet radii squared. The default stands for about 50 m.
  DoubleSetting road_distance_threshold_sq;
  /// "render roads": make road lines.
  BoolSetting render_roads;
  /// "render roads as points": make point markers beside the lines.
  BoolSetting render_roads_as_points;
  /// "render road labels": make street name labels.
  BoolSetting render_road_labels;
  /// "fillet width mult": tangent length of the collision fillet as a multiple of the corridor's
  /// half width.
  FloatSetting fillet_width_mult;
};

}  // namespace spatial
}  // namespace nimbara
