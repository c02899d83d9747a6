// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "apps/command/outcome.h"

namespace pelorin {
namespace command {

/// What a file holds, told by its first bytes and then by the reader of its kind, as an object
/// whose first field is "kind". `where` names the file in messages. Fails for a file of no known
/// kind and for one that its reader refuses; `facts` is then as before.
Outcome TellFacts(const std::string& bytes, const std::string& where,
                  nlohmann::ordered_json* facts);

}  // namespace command
}  // namespace pelorin
