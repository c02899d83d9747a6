// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace spatial {

/// True if the status of an ended `net::Fetcher` means that no answer came: 3 to 11 without 4, or
/// 400 to 505. Everything else counts as an answer, whose bytes then speak for themselves: also 4,
/// and the protocol's own codes from 506 up.
constexpr bool RequestFailed(int status) {
  return (status >= 3 && status <= 11 && status != 4) || (status >= 400 && status <= 505);
}

}  // namespace spatial
}  // namespace nimbara
