// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// What a request under `/plk` asks for.
struct PlkRequest {
  enum class Kind {
    kById,
    kByPosition,
    kByTile,
    kImageTile,
    kUsageReport,
  };

  /// The radius of a position query that names none, in metres.
  static constexpr double kDefaultRadiusM = 50.0;
  static constexpr int kMaxZoom = 30;

  Kind kind = Kind::kById;
  std::string pano_id;                  ///< By id and of an image tile; never empty.
  LatLng place;                         ///< By position; within its ranges.
  double radius_m = kDefaultRadiusM;    ///< By position; 0 or above, finite.
  std::optional<std::string> level_id;  ///< By position; never empty.
  /// By tile: 0 up to 2 to the power of `zoom`, not included. Of an image tile: column and row, 0
  /// or above.
  int x = 0;
  int y = 0;
  int zoom = 0;            ///< By tile and of an image tile (its level); 0 to 30.
  bool depth_map = false;  ///< By id and by position: `dm=1`.
  bool pano_map = false;   ///< By id and by position: `pm=1`.
};

/// Reads the parameters of an address, decoded. Of a name that is there twice the first counts;
/// names that mean nothing here are passed over. False, with one line in `error` and `request` as
/// it was, if something is missing, out of its range or no number.
bool ParsePlkRequest(const std::multimap<std::string, std::string>& parameters, PlkRequest* request,
                     std::string* error);

}  // namespace pelorin
