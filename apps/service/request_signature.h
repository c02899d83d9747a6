// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {

/// The key of a service and of viewers to whom none is given; good on one machine only.
constexpr char kDevelopmentElevationKey[] = "pelorin development key";

/// True if `target`, the path and query of a request as they came over the wire, ends with an item
/// "signature" that was made with `key` over everything ahead of it: HMAC-SHA1 over a fixed block
/// of 64 bytes and the text from its 65th byte on (a shorter text counts as filled up with zero
/// bytes), as Base64 in either alphabet. Computed with the hash of a library, and not with the code
/// of viewers, so that each of the two shows a fault of the other.
bool HasGoodSignature(const std::string& target, const std::string& key);

}  // namespace pelorin
