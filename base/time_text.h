// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

#include "base/export.h"

/// Bytes that `FastTimeToBuffer` writes at most, with the terminator. Times of the years 0 to 9999
/// take 30.
constexpr int kTimeTextCapacity = 40;

/// Writes the UTC time of `t`, in seconds since 1970, to `buffer` in the form
/// "Thu, 01 Jan 1970 00:00:01 GMT" with a terminating NUL, in English in every locale. 0 means now.
/// Years from 1000 on are written with all their digits, earlier ones padded to four characters
/// (the sign of a year before 0 among them), so the text has 29 characters from year 0 to 9999 and
/// more beyond. A time whose year is beyond what the calendar of the system holds gives "Invalid:"
/// and `t` in decimal. `buffer` must have room for `kTimeTextCapacity` bytes. Safe from any thread.
PELORIN_EXPORT void FastTimeToBuffer(std::time_t t, char* buffer);
