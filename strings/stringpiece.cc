// SPDX-License-Identifier: Apache-2.0
#include "strings/stringpiece.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>

#include "base/logging.h"
#include "strings/hash.h"

namespace {

constexpr const char* kConversion = "size_t to int conversion";

}  // namespace

StringPiece::StringPiece(const char* text)
    : text_(text), length_(text == nullptr ? 0 : ToLength(std::strlen(text), kConversion)) {}

StringPiece::StringPiece(const std::string& text)
    : text_(text.data()), length_(ToLength(text.size(), kConversion)) {}

StringPiece::size_type StringPiece::find(StringPiece text, size_type from) const {
  return view().find(text.view(), from);
}

StringPiece::size_type StringPiece::find(char c, size_type from) const {
  return view().find(c, from);
}

StringPiece::size_type StringPiece::rfind(StringPiece text, size_type from) const {
  return view().rfind(text.view(), from);
}

StringPiece::size_type StringPiece::rfind(char c, size_type from) const {
  return view().rfind(c, from);
}

StringPiece::size_type StringPiece::find_first_of(StringPiece characters, size_type from) const {
  return view().find_first_of(characters.view(), from);
}

StringPiece::size_type StringPiece::find_first_not_of(StringPiece characters,
                                                      size_type from) const {
  return view().find_first_not_of(characters.view(), from);
}

StringPiece::size_type StringPiece::find_first_not_of(char c, size_type from) const {
  return view().find_first_not_of(c, from);
}

StringPiece::size_type StringPiece::find_last_of(StringPiece characters, size_type from) const {
  return view().find_last_of(characters.view(), from);
}

StringPiece::size_type StringPiece::find_last_not_of(StringPiece characters, size_type from) const {
  return view().find_last_not_of(characters.view(), from);
}

StringPiece::size_type StringPiece::find_last_not_of(char c, size_type from) const {
  return view().find_last_not_of(c, from);
}

StringPiece StringPiece::substr(size_type from, size_type count) const {
  const std::string_view part = view().substr(std::min(from, view().size()), count);
  return {part.data(), static_cast<int>(part.size())};
}

StringPiece::size_type StringPiece::copy(char* buffer, size_type count, size_type from) const {
  return view().copy(buffer, count, std::min(from, view().size()));
}

void StringPiece::CopyToString(std::string* target) const {
  target->assign(view());
}

void StringPiece::AppendToString(std::string* target) const {
  target->append(view());
}

int StringPiece::compare(StringPiece other) const {
  return view().compare(other.view());
}

int StringPiece::ToLength(std::size_t size, const char* details) {
  constexpr int kLongest = std::numeric_limits<int>::max();
  if (size > static_cast<std::size_t>(kLongest)) {
    LogFatalSizeTooBig(size, details);
    return kLongest;
  }
  return static_cast<int>(size);
}

void StringPiece::LogFatalSizeTooBig(std::size_t size, const char* details) {
  PELORIN_LOG_FATAL() << "size too big: " << size << " details: " << details;
}

std::ostream& operator<<(std::ostream& stream, StringPiece text) {
  return stream << std::string_view(text.data(), static_cast<std::size_t>(text.size()));
}

std::size_t std::hash<StringPiece>::operator()(StringPiece text) const noexcept {
  constexpr std::uint32_t kSeed = 314159265;
  constexpr std::uint32_t kReserved = 0xffffffff;
  const std::uint32_t value =
      Hash32StringWithSeed(text.data(), static_cast<std::uint32_t>(text.size()), kSeed);
  return value == kReserved ? kReserved - 1 : value;
}
