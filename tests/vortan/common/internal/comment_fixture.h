// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vortan/common/internal/jpeg_comments.h"
#include "vortan/common/internal/jpeg_comments_dates.h"

namespace test_support {

/// A message whose body is any text; "bad" is taken for an invalid one.
class TextMessage : public vortan::JpegCommentMessage {
 public:
  explicit TextMessage(std::string setting = "") : setting_(std::move(setting)) {}
  JpegCommentMessage* CreateNewMessage() const override { return new TextMessage(setting_); }
  void AppendToString(std::string* output) const override { *output += body; }
  bool FromString(const std::string& text) override {
    body = text;
    return text != "bad";
  }
  const std::string& setting() const { return setting_; }

  std::string body;

 private:
  std::string setting_;
};

/// A prototype that makes nothing.
class BarrenMessage : public TextMessage {
 public:
  JpegCommentMessage* CreateNewMessage() const override { return nullptr; }
};

/// A family with a zero byte, which counts as an identifier by what stands ahead of it.
inline std::string FamilyWithNul() {
  return std::string("N\0-x", 4);
}

/// The families of text messages that the tests use.
inline const std::vector<std::string>& TextFamilies() {
  static const std::vector<std::string> families = {"AE", "T", "U", "_a1", "b", FamilyWithNul()};
  return families;
}

/// The factory is there once for the process, and closes for good: all tests of a program share it.
/// "AD" is the dominant date with a bound of 0.3.
inline void UseClosedFactory() {
  static const bool once = [] {
    vortan::JpegCommentRegisterFamily(
        vortan::JpegCommentFamilyAggregatedTileAcquisitionDate(),
        new vortan::JpegCommentMessageDominantTileAcquisitionDate(0.3f));
    for (const std::string& family : TextFamilies()) {
      vortan::JpegCommentRegisterFamily(family, new TextMessage("setting of " + family));
    }
    vortan::JpegCommentRegisterFamily("Barren", new BarrenMessage);
    vortan::JpegCommentSetRegistrationClosed();
    return true;
  }();
  static_cast<void>(once);
}

inline std::unique_ptr<TextMessage> NewText(const std::string& family, std::string body = "") {
  UseClosedFactory();
  std::unique_ptr<TextMessage> message(
      static_cast<TextMessage*>(vortan::JpegCommentMessageFactory::CreateMessage(family)));
  message->body = std::move(body);
  return message;
}

}  // namespace test_support
