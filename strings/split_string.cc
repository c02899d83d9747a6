// SPDX-License-Identifier: Apache-2.0
#include "strings/split_string.h"

#include <cstddef>

#include "strings/split.h"

using strings::delimiter::AnyOf;

namespace {

std::string ToString(StringPiece piece) {
  std::string text;
  piece.CopyToString(&text);
  return text;
}

}  // namespace

void SplitStringUsing(const std::string& text, const char* delimiters,
                      std::vector<std::string>* pieces) {
  for (const StringPiece piece : strings::Split(text, AnyOf(delimiters))) {
    if (!piece.empty()) {
      pieces->push_back(ToString(piece));
    }
  }
}

void SplitStringAllowEmpty(const std::string& text, const char* delimiters,
                           std::vector<std::string>* pieces) {
  for (const StringPiece piece : strings::Split(text, AnyOf(delimiters))) {
    pieces->push_back(ToString(piece));
  }
}

void SplitStringIntoNPiecesAllowEmpty(const std::string& text, const char* delimiters,
                                      int max_pieces, std::vector<std::string>* pieces) {
  const AnyOf delimiter(delimiters);
  StringPiece rest(text);
  for (int count = 1; count < max_pieces; ++count) {
    const StringPiece found = delimiter.Find(rest);
    if (found.empty()) {
      break;
    }
    pieces->emplace_back(rest.begin(), found.begin());
    rest = StringPiece(found.end(), static_cast<int>(rest.end() - found.end()));
  }
  pieces->push_back(ToString(rest));
}

bool SplitStringIntoKeyValues(const std::string& text, const char* key_delimiters,
                              const char* value_delimiters, std::string* key,
                              std::vector<std::string>* values) {
  const StringPiece whole(text);
  const StringPiece::size_type key_end = whole.find_first_of(key_delimiters);
  const StringPiece::size_type values_begin = whole.find_first_not_of(key_delimiters, key_end);
  whole.substr(0, key_end).CopyToString(key);
  values->clear();
  if (key_end == StringPiece::npos || values_begin == StringPiece::npos) {
    return false;
  }
  SplitStringUsing(ToString(whole.substr(values_begin)), value_delimiters, values);
  return !values->empty();
}

bool SplitStringIntoKeyValuePairs(const std::string& text, const char* key_delimiters,
                                  const char* pair_delimiters,
                                  std::vector<std::pair<std::string, std::string>>* pairs) {
  bool all_have_values = true;
  for (const StringPiece piece : strings::Split(text, AnyOf(pair_delimiters))) {
    if (piece.empty()) {
      continue;
    }
    std::string key;
    std::vector<std::string> values;
    if (!SplitStringIntoKeyValues(ToString(piece), key_delimiters, "", &key, &values)) {
      all_have_values = false;
      values.assign(1, std::string());
    }
    pairs->emplace_back(std::move(key), std::move(values.front()));
  }
  return all_have_values;
}

void SplitStringPieceToVector(StringPiece text, const char* delimiters,
                              std::vector<StringPiece>* pieces, bool omit_empty_strings) {
  for (const StringPiece piece : strings::Split(text, AnyOf(delimiters))) {
    if (!piece.empty() || !omit_empty_strings) {
      pieces->push_back(piece);
    }
  }
}

void SplitStringWithEscapingToSet(const std::string& text, const char* delimiters,
                                  std::set<std::string>* pieces) {
  const StringPiece delimiter(delimiters);
  std::string piece;
  const auto end_piece = [&] {
    if (!piece.empty()) {
      pieces->insert(piece);
    }
    piece.clear();
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      piece.push_back(text[++i]);
    } else if (delimiter.find(text[i]) != StringPiece::npos) {
      end_piece();
    } else {
      piece.push_back(text[i]);
    }
  }
  end_piece();
}
