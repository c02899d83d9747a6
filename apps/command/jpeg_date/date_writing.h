// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/jpeg_date/photo_list.h"
#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// Which date files get, and where they are written.
struct DateWriting {
  std::string comment;       ///< The comment for every file; empty: of the camera's own date.
  std::string output;        ///< File or folder; empty: each file in its own place.
  bool into_folder = false;  ///< `output` is a folder.
  bool overwrite = false;    ///< Files that are there may be replaced.

  /// Where the copy of `photo` goes.
  std::string PathFor(const PhotoPath& photo) const;
};

/// Checks, before anything is written, that no two of `photos` would be written to one file and
/// that nothing is replaced without leave, and makes the folder of the output.
Outcome PrepareWriting(const DateWriting& writing, const std::vector<PhotoPath>& photos);

/// Writes one file with its date. A file that has it already and stands where it should is left
/// alone. Returns what the file then says about itself, under the path it was written to; `error`
/// says why nothing was written.
Photo WriteDate(const DateWriting& writing, const PhotoPath& photo);

}  // namespace command
}  // namespace pelorin
