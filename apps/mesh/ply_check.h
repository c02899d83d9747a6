// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace mesh {

/// Whether a PLY file, text or binary, has a sound header and all the elements that it promises.
/// The reader behind it believes counts as they stand, and would go on for hours over a damaged
/// one. False with a reason in `*error`.
bool CheckPly(const std::string& bytes, std::string* error);

}  // namespace mesh
}  // namespace pelorin
