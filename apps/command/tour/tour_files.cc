// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_files.h"

#include <filesystem>
#include <set>

#include "apps/command/output_file.h"
#include "apps/command/tour/tour_kml.h"
#include "apps/command/tour/tour_page.h"
#include "apps/command/tour/tour_twins.h"
#include "apps/command/versions.h"

namespace pelorin {
namespace command {
namespace {

std::string PageOf(const TourReport& report) {
  return TourPage(report, VersionLine());
}

}  // namespace

TourFiles::TourFiles(const std::string& folder, const std::vector<std::string>& formats) {
  const auto path = [&folder](const std::string& name) {
    return (std::filesystem::path(folder) / name).string();
  };
  files_.push_back({path("tour.kml"), TourKml});
  files_.push_back({path("tour.html"), PageOf});
  for (const std::string& format : std::set<std::string>(formats.begin(), formats.end())) {
    files_.push_back({path("tour." + format), format == "gpx" ? TourGpx : TourGeoJson});
  }
}

Outcome TourFiles::Check(bool overwrite) const {
  for (const File& file : files_) {
    if (Outcome outcome = CheckMayWrite(file.path, overwrite); !outcome.ok()) {
      return outcome;
    }
  }
  return Outcome::Done();
}

Outcome TourFiles::Write(const TourReport& report, bool overwrite) const {
  for (const File& file : files_) {
    if (Outcome outcome = WriteOutput(file.path, overwrite, file.text_of(report)); !outcome.ok()) {
      return outcome;
    }
  }
  return Outcome::Done();
}

std::string TourFiles::Names() const {
  std::string names;
  for (std::size_t i = 0; i < files_.size(); ++i) {
    names += (i == 0 ? "" : i + 1 == files_.size() ? " and " : ", ") + files_[i].path;
  }
  return names;
}

}  // namespace command
}  // namespace pelorin
