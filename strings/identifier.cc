// SPDX-License-Identifier: Apache-2.0
#include "strings/identifier.h"

#include <array>
#include <cstddef>

namespace {

// By byte: whether an identifier can start with it or go on with it. A look-up, because letters and
// digits mixed defeat the prediction of comparisons.
struct Alphabet {
  std::array<bool, 256> starts{};
  std::array<bool, 256> goes_on{};

  constexpr Alphabet() {
    for (std::size_t byte = 0; byte < starts.size(); ++byte) {
      starts[byte] = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_';
      goes_on[byte] = starts[byte] || (byte >= '0' && byte <= '9');
    }
  }
};

constexpr Alphabet kAlphabet;

}  // namespace

bool IsIdentifier(const char* text) {
  const char* const end = AdvanceIdentifier(text);
  return end != nullptr && *end == '\0';
}

const char* AdvanceIdentifier(const char* text) {
  if (text == nullptr || !kAlphabet.starts[static_cast<unsigned char>(*text)]) {
    return nullptr;
  }
  do {
    ++text;
  } while (kAlphabet.goes_on[static_cast<unsigned char>(*text)]);
  return text;
}
