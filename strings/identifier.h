// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"

/// Whether the whole of `text`, up to its terminator, is an identifier: an ASCII letter or
/// underscore, then any number of ASCII letters, digits and underscores. Null is none.
PELORIN_EXPORT bool IsIdentifier(const char* text);

/// The position behind the longest identifier that `text` starts with; null when it starts with
/// none, or is null.
PELORIN_EXPORT const char* AdvanceIdentifier(const char* text);
