// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// In which of `formats` a verb writes to `output`: `wanted`, which `-f` says, unless it is empty;
/// then json, if `json` says so; then what the file's name ends in, where ".htm" stands for html
/// and
/// ".jsonl" for json; text for the terminal, ".txt" and a name without an ending. Fails (wrong
/// usage), naming them, for any other ending, with `*format` untouched.
Outcome ChooseFormat(const std::string& wanted, bool json, const std::string& output,
                     const std::vector<std::string>& formats, std::string* format);

}  // namespace command
}  // namespace pelorin
