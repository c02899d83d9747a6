// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/command/inspect/field_reader.h"

namespace pelorin {
namespace command {

/// The binary streams that are known.
enum class StreamKind { kNone, kShape, kBuilding, kAnimatedShape };

/// By the first two bytes.
StreamKind KindOfStream(const std::string& bytes);

/// Reads the fields of a stream from its magic on, as far as they are sound; false, with a reason
/// in `error`, where the next one cannot be told: an unknown version, type or offset, or the end.
bool WalkStream(StreamKind kind, FieldReader* reader, std::string* error);

}  // namespace command
}  // namespace pelorin
