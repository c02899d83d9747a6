// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "host/reference/network_options.h"

namespace nimbara {
namespace net {

/// The most bytes that any limit of a body can allow; a `QByteArray` of it can still be made.
constexpr std::uint64_t kLargestBodyBytes = std::uint64_t{1} << 30;

/// The present options without a copy. Safe from any thread.
std::shared_ptr<const NetworkOptions> CurrentOptions();

}  // namespace net
}  // namespace nimbara
