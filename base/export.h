// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what libpelorin offers to its viewer; everything else in it is hidden.
#define PELORIN_EXPORT __attribute__((visibility("default")))
