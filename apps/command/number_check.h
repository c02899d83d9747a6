// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace pelorin {
namespace command {

/// The check of an option for a decimal number from `least` to `most`, both included. Infinity and
/// not-a-number are outside of every range.
CLI::Validator NumberFrom(double least, double most);

/// The same for finite numbers above 0.
CLI::Validator NumberAboveZero();

}  // namespace command
}  // namespace pelorin
