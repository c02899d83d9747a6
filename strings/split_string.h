// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/export.h"
#include "strings/stringpiece.h"

/// Splitting into containers. In all of these a delimiter is any one byte of `delimiters`, which is
/// not null and holds no NUL; without any the text is one piece. Pieces are added behind what a
/// container holds already; no text given may lie in the container. `strings::Split` in
/// strings/split.h is the one for new code.

/// The pieces that are not empty.
PELORIN_EXPORT void SplitStringUsing(const std::string& text, const char* delimiters,
                                     std::vector<std::string>* pieces);

/// All pieces; an empty text gives one, empty, piece.
PELORIN_EXPORT void SplitStringAllowEmpty(const std::string& text, const char* delimiters,
                                          std::vector<std::string>* pieces);

/// All pieces, but no more than `max_pieces`: the last one holds the rest of the text, delimiters
/// included. Below 1 counts as 1.
PELORIN_EXPORT void SplitStringIntoNPiecesAllowEmpty(const std::string& text,
                                                     const char* delimiters, int max_pieces,
                                                     std::vector<std::string>* pieces);

/// Splits "key DELIMITERS values". The key, which replaces `*key`, is what stands ahead of the
/// first of `key_delimiters`; behind the run of such delimiters stand the values, whose pieces
/// between `value_delimiters`, those that are not empty, replace `*values`. An empty
/// `value_delimiters` takes all that is left as one value. False if there is no key delimiter (the
/// key is then the whole text) or no value.
PELORIN_EXPORT bool SplitStringIntoKeyValues(const std::string& text, const char* key_delimiters,
                                             const char* value_delimiters, std::string* key,
                                             std::vector<std::string>* values);

/// Splits the text into pieces between `pair_delimiters`, leaves out empty ones, and each into a
/// key and one value as above. A piece without a value gives a pair with an empty one, and the
/// result false; the others are still taken. True otherwise, also for no pairs at all.
PELORIN_EXPORT bool
SplitStringIntoKeyValuePairs(const std::string& text, const char* key_delimiters,
                             const char* pair_delimiters,
                             std::vector<std::pair<std::string, std::string>>* pairs);

/// The pieces as views of `text`, with or without the empty ones.
PELORIN_EXPORT void SplitStringPieceToVector(StringPiece text, const char* delimiters,
                                             std::vector<StringPiece>* pieces,
                                             bool omit_empty_strings);

/// The different pieces that are not empty. A backslash is dropped, and the byte behind it belongs
/// to its piece whatever it is; a backslash at the very end stands for itself.
PELORIN_EXPORT void SplitStringWithEscapingToSet(const std::string& text, const char* delimiters,
                                                 std::set<std::string>* pieces);
