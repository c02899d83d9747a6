// SPDX-License-Identifier: Apache-2.0
// Any document: a fault gives no tree, and a comment behind a document never changes what it means.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/xml.h"

namespace nimbara {
namespace {

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void RequireSameText(const XmlText& a, const XmlText& b) {
  Require(a.size == b.size &&
          (a.size == 0 ||
           std::char_traits<char>::compare(a.data, b.data, static_cast<std::size_t>(a.size)) == 0));
}

// The same elements, attributes and texts in the same order, with their pointers in agreement.
void RequireSameTree(const XmlNode* a, const XmlNode* b, const XmlNode* parent) {
  for (; a != nullptr && b != nullptr; a = a->next_sibling, b = b->next_sibling) {
    Require(a->parent == parent);
    RequireSameText(a->name, b->name);
    RequireSameText(a->text, b->text);
    const XmlAttribute* a_attribute = a->first_attribute;
    const XmlAttribute* b_attribute = b->first_attribute;
    for (; a_attribute != nullptr && b_attribute != nullptr;
         a_attribute = a_attribute->next, b_attribute = b_attribute->next) {
      RequireSameText(a_attribute->name, b_attribute->name);
      RequireSameText(a_attribute->value, b_attribute->value);
    }
    Require(a_attribute == b_attribute);
    RequireSameTree(a->first_child, b->first_child, a);
  }
  Require(a == b);
}

}  // namespace
}  // namespace nimbara

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray document(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const nimbara::XmlReader reader(document);
  nimbara::Require(reader.GetErrorsOccurred() == (reader.GetRoot() == nullptr));
  nimbara::Require(reader.GetErrorsOccurred() != reader.GetErrorText().isEmpty());
  // A comment in ASCII is no comment behind a document in UTF-16, which has zeros or a mark in it.
  if (!document.contains('\0') && !document.contains('\xfe')) {
    const nimbara::XmlReader commented(document + "<!-- -->");
    nimbara::RequireSameTree(reader.GetRoot(), commented.GetRoot(), nullptr);
  }
  return 0;
}
