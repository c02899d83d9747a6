// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// Reads all of the file at `path`, or of standard input for "-", into `*bytes`. Fails (data error)
/// for what cannot be read, a folder, and more than `most_bytes`; `*bytes` is then as it was.
Outcome ReadInput(const std::string& path, std::size_t most_bytes, std::string* bytes);

/// How an input is named in messages: its path, or "standard input".
std::string InputName(const std::string& path);

}  // namespace command
}  // namespace pelorin
