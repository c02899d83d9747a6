// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "apps/dataset/street_network.h"
#include "apps/importer/importer.h"

namespace pelorin {

/// What the readers of the importer share. Internal to this room. Inside it, faults are thrown;
/// `Import` turns them into results.

/// An input that cannot be read; the message names file and place.
class InputFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Whoever asked for the import does not want it any more.
class Cancelled : public std::exception {};

/// What the readers gather.
struct StreetSource {
  std::vector<Street> streets;
  std::uint64_t lines_read = 0;
  std::vector<std::string> warnings;  ///< The first ones.
  std::uint64_t warning_count = 0;
  std::string attribution;  ///< What the files say about themselves; empty if nothing.
  bool has_osm_data = false;
  /// Called with bytes read since the last call; throws `Cancelled`.
  std::function<void(std::uint64_t)> on_bytes;

  void Warn(const std::string& warning);
};

/// Readers of one file each; `path` is a regular file.
void ReadOsm(const std::string& path, ImportFormat format, StreetSource* source);
void ReadGeoJsonLines(const std::string& path, StreetSource* source);
void ReadGpx(const std::string& path, StreetSource* source);

/// How the bytes of a file are packed, by its first bytes.
enum class Packing { kNone, kGzip, kBzip2 };
Packing PackingOf(const std::string& path);

/// Hands the unpacked bytes of a file to `take`, piece by piece, until it returns false. Throws
/// `InputFault` if the file cannot be read or unpacked.
void ReadUnpacked(const std::string& path, const std::function<bool(const std::string&)>& take);

}  // namespace pelorin
