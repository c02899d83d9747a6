// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/inspect/field_reader.h"

namespace pelorin {
namespace command {

/// The fields of a shape stream behind its magic. `prefix` goes before every path. False, with a
/// reason in `error` unless the reader met the end, where the next field cannot be told.
bool WalkShape(const std::string& prefix, FieldReader* reader, std::string* error);

}  // namespace command
}  // namespace pelorin
