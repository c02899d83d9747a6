// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace nimbara {
namespace testing_support {

/// `text` as one gzip stream.
std::string Gzip(const std::string& text);

}  // namespace testing_support
}  // namespace nimbara
