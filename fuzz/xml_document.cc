// SPDX-License-Identifier: Apache-2.0
// Any document, read by the reader of plain ones and by the strict parser.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "tests/support/xml_twin.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray document(reinterpret_cast<const char*>(data), static_cast<int>(size));
  // A comment in ASCII is no comment behind a document in UTF-16, which has zeros or a mark in it.
  if (document.contains('\0') || document.contains('\xfe')) {
    nimbara::XmlReader reader(document);
    return 0;
  }
  if (!nimbara::test_support::ReadsAlikeWithAComment(document)) {
    std::abort();
  }
  return 0;
}
