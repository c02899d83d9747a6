// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace nimbara {
namespace spatial {

/// Holds docs/solar-system.md to a run: expects that in the table under `heading` the row that
/// begins with `name` has the numbers `measured`, each with three decimals. A failure shows the row
/// as it should be.
void ExpectDocumented(const std::string& heading, const std::string& name,
                      const std::vector<double>& measured);

}  // namespace spatial
}  // namespace nimbara
