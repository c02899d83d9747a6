// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/dataset/height_grid.h"

namespace pelorin {

/// Reads the heights in a regular file: an SRTM tile (.hgt, whose place is its name), a GeoTIFF or
/// an ESRI ASCII grid, by its contents. Of several bands the first counts; heights in feet become
/// metres; a grid that is not in degrees is carried over to them. The name of the grid is left
/// empty. Throws `InputFault`, with the file's name, for anything else and for damaged files.
/// Internal to this room.
///
/// Reading is the work of GDAL, which reads all three better than we would. It is a hundred shared
/// libraries that take longer to load than most runs of the command, so it comes in a module of its
/// own, `libpelorin_height_files.so` beside the library, that is loaded by the first call.
HeightGrid ReadHeightFile(const std::string& path);

/// The entry of the module. False, with one line in `error`, on failure. Never throws.
using HeightFileReader = bool (*)(const char* path, HeightGrid* grid, std::string* error);
constexpr char kHeightFileReaderName[] = "PelorinReadHeightFile";

}  // namespace pelorin
