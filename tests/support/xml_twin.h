// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <string>

#include "host/xml.h"

namespace nimbara {
namespace test_support {

inline bool SameText(const XmlText& a, const XmlText& b) {
  return a.size == b.size &&
         (a.size == 0 ||
          std::char_traits<char>::compare(a.data, b.data, static_cast<std::size_t>(a.size)) == 0);
}

/// True if both trees have the same elements, attributes and texts in the same order.
inline bool SameTree(const XmlNode* a, const XmlNode* b) {
  for (; a != nullptr && b != nullptr; a = a->next_sibling, b = b->next_sibling) {
    const XmlAttribute* a_attribute = a->first_attribute;
    const XmlAttribute* b_attribute = b->first_attribute;
    for (; a_attribute != nullptr && b_attribute != nullptr;
         a_attribute = a_attribute->next, b_attribute = b_attribute->next) {
      if (!SameText(a_attribute->name, b_attribute->name) ||
          !SameText(a_attribute->value, b_attribute->value)) {
        return false;
      }
    }
    if (a_attribute != b_attribute || !SameText(a->name, b->name) || !SameText(a->text, b->text) ||
        !SameTree(a->first_child, b->first_child)) {
      return false;
    }
  }
  return a == b;
}

/// True if the document reads the same, sound or faulty, as with a comment behind it. Plain
/// documents have a reader of their own, and a comment takes a document away from that one and to
/// the strict parser, without changing what it means.
inline bool ReadsAlikeWithAComment(const QByteArray& document) {
  const XmlReader reader(document);
  const XmlReader strict(document + "<!-- -->");
  return SameTree(reader.GetRoot(), strict.GetRoot());
}

}  // namespace test_support
}  // namespace nimbara
