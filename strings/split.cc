// SPDX-License-Identifier: Apache-2.0
#include "strings/split.h"

#include <algorithm>

namespace strings {
namespace delimiter {

AnyOf::AnyOf(StringPiece characters) {
  for (const char c : characters) {
    is_delimiter_[static_cast<unsigned char>(c)] = true;
  }
}

StringPiece AnyOf::Find(StringPiece text) const {
  const char* const found = std::find_if(text.begin(), text.end(), [this](char c) {
    return is_delimiter_[static_cast<unsigned char>(c)];
  });
  return {found, found == text.end() ? 0 : 1};
}

Literal::Literal(StringPiece text) {
  text.CopyToString(&delimiter_);
}

StringPiece Literal::Find(StringPiece text) const {
  const StringPiece::size_type found =
      delimiter_.empty() ? StringPiece::npos : text.find(delimiter_);
  return found == StringPiece::npos ? StringPiece(text.end(), 0)
                                    : text.substr(found, delimiter_.size());
}

}  // namespace delimiter
}  // namespace strings
