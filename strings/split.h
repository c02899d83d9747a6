// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "base/export.h"
#include "strings/stringpiece.h"

namespace strings {
namespace delimiter {

/// A delimiter of one byte: any of the given characters. Without characters it is found nowhere.
class PELORIN_EXPORT AnyOf {
 public:
  /// `characters` is copied; it may hold NULs.
  explicit AnyOf(StringPiece characters);
  /// The first delimiter in `text`; an empty view at the end of `text` where there is none.
  StringPiece Find(StringPiece text) const;

 private:
  std::array<bool, 256> is_delimiter_{};
};

/// A delimiter that is the whole of a given text. An empty one is found nowhere.
class PELORIN_EXPORT Literal {
 public:
  /// `text` is copied.
  explicit Literal(StringPiece text);
  /// As with `AnyOf`.
  StringPiece Find(StringPiece text) const;

 private:
  std::string delimiter_;
};

}  // namespace delimiter

namespace internal {

/// Keeps every piece, empty ones too.
struct NoFilter {
  bool operator()(StringPiece /*piece*/) const { return true; }
};

/// The pieces of a text between its delimiters, in order, of those that `Filter` keeps. With
/// `NoFilter` there is one piece more than there are delimiters, so an empty text has one, empty,
/// piece. The text is not copied and must outlive the splitter and its pieces.
///
///     for (StringPiece piece : strings::Split(text, strings::delimiter::AnyOf("*"))) ...
///     std::vector<std::string> tokens = strings::Split(text, strings::delimiter::AnyOf("*"));
template <typename Delimiter, typename Filter>
class Splitter {
 public:
  explicit Splitter(StringPiece text, Delimiter delimiter, Filter filter = Filter())
      : text_(text), delimiter_(std::move(delimiter)), filter_(std::move(filter)) {}

  /// Walks the pieces; valid as long as its splitter.
  class const_iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = StringPiece;
    using difference_type = std::ptrdiff_t;
    using pointer = const StringPiece*;
    using reference = const StringPiece&;

    const StringPiece& operator*() const { return piece_; }
    const StringPiece* operator->() const { return &piece_; }
    const_iterator& operator++() {
      do {
        Advance();
      } while (!at_end_ && !splitter_->filter_(piece_));
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) {
      return a.at_end_ == b.at_end_ && (a.at_end_ || a.piece_.data() == b.piece_.data());
    }
    friend bool operator!=(const const_iterator& a, const const_iterator& b) { return !(a == b); }

   private:
    friend class Splitter;

    const_iterator(const Splitter* splitter, bool at_end)
        : splitter_(splitter), rest_(splitter->text_), at_end_(at_end) {}

    void Advance() {
      if (was_last_) {
        at_end_ = true;
        return;
      }
      const StringPiece found = splitter_->delimiter_.Find(rest_);
      piece_ = StringPiece(rest_.begin(), static_cast<int>(found.begin() - rest_.begin()));
      rest_ = StringPiece(found.end(), static_cast<int>(rest_.end() - found.end()));
      was_last_ = found.empty();
    }

    const Splitter* splitter_;
    StringPiece piece_;
    StringPiece rest_;
    bool was_last_ = false;
    bool at_end_;
  };

  const_iterator begin() const { return ++const_iterator(this, false); }
  const_iterator end() const { return const_iterator(this, true); }

  operator std::vector<std::string>() const {
    std::vector<std::string> pieces;
    for (const StringPiece piece : *this) {
      pieces.emplace_back();
      piece.CopyToString(&pieces.back());
    }
    return pieces;
  }

 private:
  StringPiece text_;
  Delimiter delimiter_;
  Filter filter_;
};

}  // namespace internal

/// All pieces of `text`, empty ones too.
template <typename Delimiter>
internal::Splitter<Delimiter, internal::NoFilter> Split(StringPiece text, Delimiter delimiter) {
  return internal::Splitter<Delimiter, internal::NoFilter>(text, std::move(delimiter));
}

}  // namespace strings
