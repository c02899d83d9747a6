// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace command {

/// `number` with exactly so many decimals, for a text; no minus sign before a zero.
std::string SvgFixed(double number, int decimals);

/// `number` as SVG takes it: two decimals at most, a point in every locale. Finite numbers only.
std::string Svg(double number);

/// ` name="number"`.
std::string Attribute(const char* name, double number);

}  // namespace command
}  // namespace pelorin
