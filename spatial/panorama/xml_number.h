// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "base/export.h"
#include "host/xml.h"

namespace nimbara {
namespace spatial {

/// The numbers of an answer, read straight from its UTF-8. Each gives for every text what the
/// `QString` function of that name gives for the same text, its default arguments or base 16: white
/// space around is ignored and anything else that does not belong to the number makes it 0. Plain
/// numbers, as services write them, cost no string.
PELORIN_EXPORT double ToDouble(const XmlText& text);
PELORIN_EXPORT int ToInt(const XmlText& text);
PELORIN_EXPORT std::uint64_t ToULongLong(const XmlText& text);
/// Base 16; `*ok` says whether the text was a number.
PELORIN_EXPORT std::uint32_t ToUIntBase16(const XmlText& text, bool* ok);

}  // namespace spatial
}  // namespace nimbara
