// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>
#include <vector>

#include "base/export.h"

/// Text formatted as by `printf`. Formats and arguments must match, as there; compilers check what
/// they can see. A format that fails (a wide character without a form in the locale, a length
/// beyond 2147483647) gives no text.

/// A new string.
PELORIN_EXPORT std::string StringPrintf(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

/// Replaces `*dst` and returns it; arguments may point into it. A format that fails leaves `*dst`
/// empty.
PELORIN_EXPORT const std::string& SStringPrintf(std::string* dst, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Appends to `*dst`; arguments may point into it. A format that fails leaves `*dst` as it was.
PELORIN_EXPORT void StringAppendF(std::string* dst, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// The same for an argument list, which is left as it was. Text of up to 1023 bytes takes no heap
/// memory beside that of `*dst`.
PELORIN_EXPORT void StringAppendV(std::string* dst, const char* format, std::va_list ap)
    __attribute__((format(printf, 2, 0)));

/// The most strings that `StringPrintfVector` passes on.
constexpr std::size_t kStringPrintfVectorMaxArgs = 32;

/// Formats with the strings of `v`, each up to its first NUL, for the "%s" of `format` in order. A
/// "%s" beyond the size of `v` and up to the 32nd gets an empty string. Of more than 32 strings the
/// first 32 are passed, after a fatal entry. `format` must hold no conversion but "%s" (with flags,
/// width and precision) and "%%", and no more than 32 of the former.
PELORIN_EXPORT std::string StringPrintfVector(const char* format,
                                              const std::vector<std::string>& v);
