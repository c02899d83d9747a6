// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/command/tour/tour_report.h"

namespace pelorin {
namespace command {

/// The files of a tour: KML and page, and the further formats that were asked for. Looked at before
/// the work, written after it.
class TourFiles {
 public:
  /// `formats` are of "gpx" and "geojson"; one that is named twice counts once.
  TourFiles(const std::string& folder, const std::vector<std::string>& formats);

  /// Fails as `CheckMayWrite` does for the first file that may not be written.
  Outcome Check(bool overwrite) const;
  /// Writes one after the other; fails with the first that fails.
  Outcome Write(const TourReport& report, bool overwrite) const;
  /// "a, b and c".
  std::string Names() const;

 private:
  using Writer = std::function<std::string(const TourReport&)>;
  struct File {
    std::string path;
    Writer text_of;
  };

  std::vector<File> files_;
};

}  // namespace command
}  // namespace pelorin
