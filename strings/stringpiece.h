// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "base/export.h"

/// A view of text that somebody else owns, as a pointer and an `int` length. The text may hold NULs
/// and needs no terminator; it must outlive the view. Cheap to copy, to be passed by value.
/// Operations and their positions are those of a constant `std::string`; where that one throws for
/// a position behind the end, this one takes the end.
class PELORIN_EXPORT StringPiece {
 public:
  using size_type = std::size_t;
  using value_type = char;
  using const_iterator = const char*;
  using iterator = const_iterator;

  /// "No such position", or "to the end" as a count.
  static constexpr size_type npos = static_cast<size_type>(-1);

  /// Empty, with a null pointer.
  StringPiece() = default;
  /// Up to the terminator of `text`; null gives an empty view. Of text with more than 2147483647
  /// bytes the view holds the first 2147483647, after a fatal entry as in `ToLength`.
  StringPiece(const char* text);
  /// All of `text`; too much of it is treated as above.
  StringPiece(const std::string& text);
  /// `length` bytes from `text` on; a length below 0 counts as 0.
  StringPiece(const char* text, int length) : text_(text), length_(length < 0 ? 0 : length) {}

  const char* data() const { return text_; }
  /// In bytes, 0 to 2147483647.
  int size() const { return length_; }
  int length() const { return length_; }
  bool empty() const { return length_ == 0; }
  /// `i` from 0 to `size() - 1`; not checked.
  char operator[](int i) const { return text_[i]; }
  const_iterator begin() const { return text_; }
  const_iterator end() const { return text_ + length_; }

  /// The first occurrence at `from` or behind it, or `npos`. An empty text is found at `from`, as
  /// long as that is not behind the end.
  size_type find(StringPiece text, size_type from = 0) const;
  size_type find(char c, size_type from = 0) const;
  /// The last occurrence that starts at `from` or before it, or `npos`.
  size_type rfind(StringPiece text, size_type from = npos) const;
  size_type rfind(char c, size_type from = npos) const;
  /// The first byte at `from` or behind it that is (not) one of `characters`, or `npos`.
  size_type find_first_of(StringPiece characters, size_type from = 0) const;
  size_type find_first_of(char c, size_type from = 0) const { return find(c, from); }
  size_type find_first_not_of(StringPiece characters, size_type from = 0) const;
  size_type find_first_not_of(char c, size_type from = 0) const;
  /// The last byte at `from` or before it that is (not) one of `characters`, or `npos`.
  size_type find_last_of(StringPiece characters, size_type from = npos) const;
  size_type find_last_of(char c, size_type from = npos) const { return rfind(c, from); }
  size_type find_last_not_of(StringPiece characters, size_type from = npos) const;
  size_type find_last_not_of(char c, size_type from = npos) const;

  bool contains(StringPiece text) const { return find(text) != npos; }

  /// Up to `count` bytes from `from` on; empty, at the end, when `from` is behind it.
  StringPiece substr(size_type from, size_type count = npos) const;

  /// Copies up to `count` bytes from `from` on to `buffer`, without a terminator, and returns their
  /// number; 0 when `from` is behind the end.
  size_type copy(char* buffer, size_type count, size_type from = 0) const;

  /// Replaces `*target` by this text. The view may lie in `*target`.
  void CopyToString(std::string* target) const;
  /// Appends this text to `*target`. The view may lie in `*target`.
  void AppendToString(std::string* target) const;

  /// Below 0, 0, above 0 as this text is below, equal to, above `other`, by unsigned bytes and then
  /// by length.
  int compare(StringPiece other) const;

  /// `size` as a length. A size above 2147483647 makes the entry of `LogFatalSizeTooBig` and gives
  /// 2147483647, so that the view stays inside its text.
  static int ToLength(std::size_t size, const char* details);

  /// Makes the fatal entry "size too big: SIZE details: DETAILS".
  static void LogFatalSizeTooBig(std::size_t size, const char* details);

 private:
  std::string_view view() const { return {text_, static_cast<std::size_t>(length_)}; }

  const char* text_ = nullptr;
  int length_ = 0;
};

inline bool operator==(StringPiece a, StringPiece b) {
  return a.size() == b.size() && a.compare(b) == 0;
}
inline bool operator!=(StringPiece a, StringPiece b) {
  return !(a == b);
}
inline bool operator<(StringPiece a, StringPiece b) {
  return a.compare(b) < 0;
}
inline bool operator<=(StringPiece a, StringPiece b) {
  return a.compare(b) <= 0;
}
inline bool operator>(StringPiece a, StringPiece b) {
  return a.compare(b) > 0;
}
inline bool operator>=(StringPiece a, StringPiece b) {
  return a.compare(b) >= 0;
}

/// Writes the bytes as a string is written, with the stream's width and fill.
PELORIN_EXPORT std::ostream& operator<<(std::ostream& stream, StringPiece text);

/// For hash containers: `Hash32StringWithSeed` with the seed 314159265, where 0xffffffff becomes
/// 0xfffffffe.
template <>
struct PELORIN_EXPORT std::hash<StringPiece> {
  std::size_t operator()(StringPiece text) const noexcept;
};
