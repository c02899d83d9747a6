// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// One point of a recorded track.
struct TrackPoint {
  LatLng place;
  double seconds = 0.0;  ///< Since the first point; never falling.
};

/// Reads the points of all tracks of a GPX file, version 1.0 or 1.1, or of its routes if it has no
/// track, one after the other. Points without a place on the planet are stepped over. Where every
/// point has its time and time never falls, that is kept; otherwise a pace of 4 metres a second is
/// assumed.
///
/// Fails with a data error, `*track` untouched, for a file that cannot be read, is no GPX, breaks
/// off, or has no such point; the message names file and line.
Outcome ReadTrack(const std::string& path, std::vector<TrackPoint>* track);

}  // namespace command
}  // namespace pelorin
