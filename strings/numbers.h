// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "base/export.h"
#include "strings/stringpiece.h"

/// Whole numbers from text. Each function says whether the whole text is one number of the type,
/// and leaves `*value` alone unless it is. All are free of the process locale: white space is
/// blank, tab, line feed, vertical tab, form feed and carriage return. Safe from any thread.
///
/// On `StringPiece` and `std::string`: white space at both ends is skipped; one sign, minus or
/// plus, is taken, but an unsigned type fails on a minus; then there is at least one digit, and
/// nothing but digits of the base. What does not fit the type fails. A NUL inside the text is no
/// digit.
///
/// On `const char*` (null fails): as `strtol` and `strtoul` read it, with nothing but white space
/// behind the number. So an unsigned type takes a minus and negates modulo 2^64, after which 32-bit
/// types still fail on what is above 4294967295. "0b" is no prefix, whatever the C library.
///
/// `base` is 2 to 36, or 0: then 0x or 0X ahead of the digits means base 16, another 0 ahead base
/// 8, anything else base 10. In base 16 a leading 0x or 0X is skipped. Behind 0x a digit must
/// follow. Any other base fails. Without `_base` the base is 10. Letters of both cases are digits.
PELORIN_EXPORT bool safe_strto32_base(StringPiece text, int* value, int base);
PELORIN_EXPORT bool safe_strto32_base(const char* text, int* value, int base);
PELORIN_EXPORT bool safe_strto32_base(const std::string& text, int* value, int base);
PELORIN_EXPORT bool safe_strto64_base(StringPiece text, long long* value, int base);
PELORIN_EXPORT bool safe_strto64_base(const char* text, long long* value, int base);
PELORIN_EXPORT bool safe_strto64_base(const std::string& text, long long* value, int base);
PELORIN_EXPORT bool safe_strtou32_base(StringPiece text, unsigned int* value, int base);
PELORIN_EXPORT bool safe_strtou32_base(const char* text, unsigned int* value, int base);
PELORIN_EXPORT bool safe_strtou32_base(const std::string& text, unsigned int* value, int base);
PELORIN_EXPORT bool safe_strtou64_base(StringPiece text, unsigned long long* value, int base);
PELORIN_EXPORT bool safe_strtou64_base(const char* text, unsigned long long* value, int base);
PELORIN_EXPORT bool safe_strtou64_base(const std::string& text, unsigned long long* value,
                                       int base);

PELORIN_EXPORT bool safe_strto32(StringPiece text, int* value);
PELORIN_EXPORT bool safe_strto32(const char* text, int* value);
PELORIN_EXPORT bool safe_strto32(const std::string& text, int* value);
PELORIN_EXPORT bool safe_strto64(StringPiece text, long long* value);
PELORIN_EXPORT bool safe_strto64(const char* text, long long* value);
PELORIN_EXPORT bool safe_strto64(const std::string& text, long long* value);
PELORIN_EXPORT bool safe_strtou32(StringPiece text, unsigned int* value);
PELORIN_EXPORT bool safe_strtou32(const char* text, unsigned int* value);
PELORIN_EXPORT bool safe_strtou32(const std::string& text, unsigned int* value);
PELORIN_EXPORT bool safe_strtou64(StringPiece text, unsigned long long* value);
PELORIN_EXPORT bool safe_strtou64(const char* text, unsigned long long* value);
PELORIN_EXPORT bool safe_strtou64(const std::string& text, unsigned long long* value);

/// The decimal number that `text` starts with, behind white space and a sign, clamped to
/// -2147483648 to 2147483647; `default_value` where there is no digit or `text` is null. What
/// follows the number is ignored.
PELORIN_EXPORT int ParseLeadingDec32Value(const char* text, int default_value);

/// The same in base 0: 0x or 0X and a digit mean base 16, another leading 0 base 8.
PELORIN_EXPORT int ParseLeadingInt32Value(const char* text, int default_value);
