// SPDX-License-Identifier: Apache-2.0
#include "strings/identifier.h"

namespace {

bool IsStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsRest(char c) {
  return IsStart(c) || (c >= '0' && c <= '9');
}

}  // namespace

bool IsIdentifier(const char* text) {
  const char* const end = AdvanceIdentifier(text);
  return end != nullptr && *end == '\0';
}

const char* AdvanceIdentifier(const char* text) {
  if (text == nullptr || !IsStart(*text)) {
    return nullptr;
  }
  do {
    ++text;
  } while (IsRest(*text));
  return text;
}
