// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "apps/files/replaced_file.h"

namespace pelorin {

/// The file that a dataset is written into. Internal to this room. Where an `error` is taken it can
/// be null; it is written only on failure, and names the place that the file is for.

/// Begins the file. Null if its folder does not take it, or `path` is no place for a file.
std::unique_ptr<ReplacedFile> BeginDatasetFile(const std::string& path, std::string* error);

/// Brings the bytes to the disk and the file to its name, in place of an older one.
bool CommitDatasetFile(ReplacedFile* file, std::string* error);

}  // namespace pelorin
