// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/common/internal/comment_fixture.h"

namespace test_support {

/// What a reader of comments finds in one.
struct FoundMessages {
  int blocks = 0;
  int duplicates = 0;                         ///< Families of a block that an earlier one has.
  std::map<std::string, std::string> bodies;  ///< By family.
};

/// The messages of `text`, found from the grammar of a block alone: at every start marker it is
/// tried whether a block stands there. No two blocks overlap, since nothing in a block can be a
/// start marker.
inline FoundMessages ScannerTwin(const std::string& text) {
  std::vector<std::string> tokens(1);
  for (const char c : text) {
    if (c == '*') {
      tokens.emplace_back();
    } else {
      tokens.back() += c;
    }
  }
  const auto is_identifier = [](const std::string& token) {
    const std::string ahead(token.c_str());  // Up to a zero byte.
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
    return !ahead.empty() && letters.find(ahead[0]) != std::string::npos &&
           ahead.find_first_not_of(letters + "0123456789") == std::string::npos;
  };
  FoundMessages found;
  for (std::size_t start = 0; start < tokens.size(); ++start) {
    if (tokens[start] != "#Q0#" || start + 1 >= tokens.size() || tokens[start + 1] != "0") {
      continue;
    }
    std::map<std::string, std::string> block;
    std::size_t at = start + 2;
    while (at + 1 < tokens.size() && is_identifier(tokens[at]) && tokens[at + 1] != "#Q0#" &&
           tokens[at + 1] != "#0Q#") {
      block.emplace(tokens[at], tokens[at + 1]);
      at += 2;
    }
    if (at >= tokens.size() || tokens[at] != "#0Q#" || block.empty()) {
      continue;
    }
    ++found.blocks;
    for (const auto& [family, body] : block) {
      found.duplicates += found.bodies.emplace(family, body).second ? 0 : 1;
    }
  }
  return found;
}

/// Whether the reader finds in `text` what the twin finds; otherwise the difference.
inline std::string DifferenceFromTwin(const std::string& text) {
  UseClosedFactory();
  const LogRecorder log;
  vortan::JpegCommentInputBuffer comment(text);
  FoundMessages expected;
  if (text.size() <= 65532) {
    expected = ScannerTwin(text);
  }
  std::ostringstream difference;
  if (comment.FindMessages() != (expected.blocks > 0)) {
    difference << "blocks expected: " << expected.blocks << "; ";
  }
  const std::size_t entries = text.size() > 65532 ? 1 : std::size_t(expected.duplicates);
  if (log.entries().size() != entries) {
    difference << "entries expected: " << entries << "; ";
  }
  if (expected.blocks == 0) {
    return difference.str();
  }
  for (const std::string& family : TextFamilies()) {
    const std::unique_ptr<TextMessage> message = NewText(family, "(unchanged)");
    const auto body = expected.bodies.find(family);
    const bool is_there = body != expected.bodies.end();
    if (comment.GetMessage(message.get()) != (is_there && body->second != "bad") ||
        message->body != (is_there ? body->second : "(unchanged)")) {
      difference << "body of " << family << ": " << message->body << "; ";
    }
  }
  return difference.str();
}

}  // namespace test_support
