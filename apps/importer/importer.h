// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/dataset/dataset.h"

namespace pelorin {

/// The kinds of file that can be imported. All but PBF (compressed within) may be packed with gzip
/// or bzip2.
enum class ImportFormat {
  kAuto,     ///< From the file's name; failing that, from its first bytes.
  kOsmXml,   ///< OpenStreetMap XML: streets with names, classes and levels.
  kOsmPbf,   ///< The same as protocol buffers.
  kGeoJson,  ///< Lines of any GeoJSON object; `name`, `highway`, `level` and dates are read.
  kGpx,      ///< GPX 1.0 and 1.1: each track segment and each route is a street.
  kHeights,  ///< A grid of heights: SRTM tile (.hgt), GeoTIFF or ESRI ASCII grid. Not packed.
};

/// "osm", "pbf", "geojson", "gpx" and "heights", in lower case; nothing for any other name.
std::optional<ImportFormat> ImportFormatFromName(std::string_view name);

/// One file to import.
struct ImportInput {
  std::string path;
  ImportFormat format = ImportFormat::kAuto;
};

/// What is being done, for a progress line.
struct ImportProgress {
  enum class Phase {
    kReading,   ///< `done` and `total` count bytes of the inputs.
    kBuilding,  ///< `done` and `total` count streets.
    kWriting,   ///< `done` and `total` count panoramas.
  };
  Phase phase = Phase::kReading;
  std::uint64_t done = 0;
  std::uint64_t total = 0;  ///< At least `done`.
};

/// How to import. The defaults are good.
struct ImportOptions {
  /// At least one. All streets go into one network; each grid of heights stays one by itself, named
  /// after its file.
  std::vector<ImportInput> inputs;
  std::string output;       ///< The dataset file, made or replaced.
  double spacing_m = 10.0;  ///< Metres between panoramas along a street, 1 to 1000.
  /// A simple depth map for every panorama: the ground and a facade on each side of the street.
  bool depth_maps = true;
  std::string name;  ///< The dataset's name; empty: the first input's file name.
  /// The credit; empty: "© OpenStreetMap contributors" if any input is OpenStreetMap data, else
  /// what the files say about themselves.
  std::string attribution;
  /// When the streets were seen whose source says no date of their own: "2026-05-17", "2026-05" or
  /// "2026"; empty: their panoramas have none.
  std::string date;
  /// Called on the importing thread from time to time, at least once in every phase; returning
  /// false cancels. Can be empty.
  std::function<bool(const ImportProgress&)> on_progress;
};

/// How an import ended.
enum class ImportStatus {
  kDone,
  kBadOptions,   ///< No input, no output, a number outside its range, or no date.
  kBadInput,     ///< An input cannot be opened, is damaged or is of no known kind.
  kNoStreets,    ///< All inputs were read, and there are neither streets nor heights in them.
  kWriteFailed,  ///< The dataset cannot be written.
  kCancelled,
};

/// What an import did. Whatever the status, a dataset file that was there before is whole; it has
/// been replaced if the status is `kDone`.
struct ImportResult {
  ImportStatus status = ImportStatus::kDone;
  /// One line: what was wrong, with the file and, where it is known, the line or byte. Empty if
  /// done.
  std::string error;
  /// Oddities that were stepped over, at most 100, each one line; `warning_count` counts all.
  std::vector<std::string> warnings;
  std::uint64_t warning_count = 0;
  std::uint64_t lines_read = 0;       ///< Ways, lines and tracks in the inputs, of any kind.
  std::uint64_t streets_used = 0;     ///< Those of them that became streets.
  std::uint64_t junctions = 0;        ///< Places where at least three street pieces meet.
  double street_metres = 0.0;         ///< Total length of the streets.
  std::uint64_t dated_panoramas = 0;  ///< Those that say when they were taken.
  std::uint64_t height_samples = 0;   ///< In all grids of heights together,
  std::uint64_t missing_heights = 0;  ///< and those of them that are not known.
  DatasetCounts counts;               ///< What the dataset now holds.
};

/// Reads street lines and makes a dataset of panoramas along them: one at every junction and at
/// every end, others between them at even distances of about `spacing_m`; headings along the street
/// at the place; links both ways with heading and a colour by road class; a scene for each
/// connected piece (1 upwards, the largest first). A street's panoramas have the date on which the
/// source saw it: of a track segment or route the day of its first point with a time, of an
/// OpenStreetMap way its `survey:date` or else `check_date`, of a GeoJSON line the first of its
/// properties `date`, `capture_time`, `survey:date` and `check_date` that is one. Grids of heights
/// go in as they are. Equal inputs and options give equal datasets, ids included, also if one input
/// is OpenStreetMap XML and the other the same data as PBF.
///
/// Runs to its end on the calling thread; several imports into different files may run at a time.
/// Nothing throws. No input, however damaged, does harm beyond an error.
ImportResult Import(const ImportOptions& options);

}  // namespace pelorin
