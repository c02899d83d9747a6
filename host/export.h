// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what a host provides to the library. A host is a shared library of its own, so its classes
/// keep default visibility on both sides of the seam.
#define PELORIN_HOST_EXPORT __attribute__((visibility("default")))
