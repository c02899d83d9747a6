// SPDX-License-Identifier: Apache-2.0
#include "host/reference/xml_plain_document.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/reference/xml_limits.h"

namespace nimbara {
namespace {

// Beyond this many attributes in one element the comparison of each with each would show.
constexpr int kMaxPlainAttributes = 32;

// What a byte is to the reader. Bytes from 0x80 on are parts of characters that are in no class.
enum CharacterClass : std::uint8_t {
  kSpace = 1,
  kNameStart = 2,
  kNamePart = 4,
  kTextStop = 8,           // Ends a run of text.
  kDoubleQuotedStop = 16,  // Ends a run of a value in double quotes.
  kSingleQuotedStop = 32,
};

constexpr bool IsOneOf(char c, std::string_view set) {
  return set.find(c) != set.npos;
}

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int i = 0; i < 128; ++i) {
    const char c = static_cast<char>(i);
    const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const bool is_control = i < 0x20;
    int bits = 0;
    bits |= IsOneOf(c, " \t\r\n") ? kSpace : 0;
    bits |= is_letter ? kNameStart | kNamePart : 0;
    bits |= (c >= '0' && c <= '9') || IsOneOf(c, "-.") ? kNamePart : 0;
    bits |= (is_control && !IsOneOf(c, "\t\n")) || IsOneOf(c, "<&]") ? kTextStop : 0;
    bits |= is_control || IsOneOf(c, "<&\"") ? kDoubleQuotedStop : 0;
    bits |= is_control || IsOneOf(c, "<&'") ? kSingleQuotedStop : 0;
    classes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bits);
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

bool Is(char c, CharacterClass wanted) {
  return (kClasses[static_cast<unsigned char>(c)] & wanted) != 0;
}

std::string_view ViewOf(const XmlText& text) {
  return std::string_view(text.data, static_cast<std::size_t>(text.size));
}

XmlText TextOf(const char* begin, const char* end) {
  XmlText text;
  text.data = begin;
  text.size = static_cast<std::int32_t>(end - begin);
  return text;
}

bool IsXmlCharacter(std::uint32_t code) {
  return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
         (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

// The length of the sound UTF-8 sequence of a character beyond ASCII at `in`, or 0.
std::ptrdiff_t SequenceLength(const char* in, const char* end) {
  const auto byte = [in](int i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(in[i]));
  };
  const int length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (byte(0) < 0xC2 || byte(0) > 0xF4 || end - in < length) {
    return 0;
  }
  std::uint32_t code = byte(0) & (0x7Fu >> length);
  for (int i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      return 0;
    }
    code = code << 6 | (byte(i) & 0x3F);
  }
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  return code >= kLeast[length] && IsXmlCharacter(code) ? length : 0;
}

bool IsUtf8(const char* in, const char* end) {
  while (in != end) {
    std::uint64_t eight = 0;
    if (end - in >= 8 && (std::memcpy(&eight, in, 8), (eight & 0x8080808080808080u) == 0)) {
      in += 8;
    } else if (static_cast<unsigned char>(*in) < 0x80) {
      ++in;
    } else if (const std::ptrdiff_t length = SequenceLength(in, end); length > 0) {
      in += length;
    } else {
      return false;
    }
  }
  return true;
}

void AppendUtf8(std::uint32_t code, std::string* out) {
  const auto append = [out](std::uint32_t byte) { out->push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    append(code);
    return;
  }
  if (code >= 0x10000) {
    append(0xF0 | code >> 18);
    append(0x80 | (code >> 12 & 0x3F));
  } else if (code >= 0x800) {
    append(0xE0 | code >> 12);
  }
  append(code < 0x800 ? 0xC0 | code >> 6 : 0x80 | (code >> 6 & 0x3F));
  append(0x80 | (code & 0x3F));
}

// Character data in the making: one slice of the document as long as its pieces adjoin there, and
// otherwise a copy.
class TextParts {
 public:
  void Clear() {
    slice_ = XmlText();
    joined_.clear();
  }
  void Append(const char* begin, const char* end) {
    if (begin == end) {
      return;
    }
    if (!joined_.empty()) {
      joined_.append(begin, end);
    } else if (slice_.size == 0) {
      slice_ = TextOf(begin, end);
    } else if (slice_.data + slice_.size == begin) {
      slice_.size += static_cast<std::int32_t>(end - begin);
    } else {
      Joined()->append(begin, end);
    }
  }
  // The copy, to append to.
  std::string* Joined() {
    if (joined_.empty()) {
      joined_.assign(ViewOf(slice_));
    }
    return &joined_;
  }
  XmlText Finish(XmlArena* arena) const {
    if (joined_.empty()) {
      return slice_;
    }
    char* const copy = arena->AllocateBytes(joined_.size());
    std::memcpy(copy, joined_.data(), joined_.size());
    return TextOf(copy, copy + joined_.size());
  }

 private:
  XmlText slice_;
  std::string joined_;
};

class PlainReader {
 public:
  PlainReader(const QByteArray& document, XmlArena* arena)
      : in_(document.constData()), end_(in_ + document.size()), arena_(arena) {}

  XmlNode* Read() {
    if (!IsUtf8(in_, end_)) {
      return nullptr;
    }
    SkipDeclaration();
    SkipSpace();
    if (!Take('<') || !ReadStartTag()) {
      return nullptr;
    }
    while (depth_ > 0) {
      if (!ReadCharacters(kTextStop, &open_[depth_ - 1].text) || !Take('<') ||
          !(Take('/') ? ReadEndTag() : ReadStartTag())) {
        return nullptr;
      }
    }
    SkipSpace();
    return in_ == end_ ? root_ : nullptr;
  }

 private:
  // An element whose end has not come.
  struct OpenElement {
    XmlNode* node = nullptr;
    XmlNode* last_child = nullptr;
    TextParts text;
  };

  // The next byte; zero, which no plain document has, at the end.
  char Peek() const { return in_ == end_ ? '\0' : *in_; }
  bool Take(char c) {
    if (Peek() != c) {
      return false;
    }
    ++in_;
    return true;
  }
  void SkipSpace() {
    while (Is(Peek(), kSpace)) {
      ++in_;
    }
  }

  void SkipDeclaration();
  bool ReadName(XmlText* name);
  bool ReadStartTag();
  bool ReadEndTag();
  bool ReadAttributes(XmlNode* node);
  bool ReadAttribute(XmlAttribute* attribute);
  bool ReadCharacters(CharacterClass stop, TextParts* text);
  bool ReadReference(TextParts* text);
  void Open(XmlNode* node);

  const char* in_;
  const char* const end_;
  XmlArena* const arena_;
  XmlNode* root_ = nullptr;
  std::vector<OpenElement> open_;  // The first depth_ are open; the rest keep their storage.
  std::size_t depth_ = 0;
  std::size_t nodes_ = 0;
  std::size_t attributes_ = 0;
  TextParts value_;
};

void PlainReader::SkipDeclaration() {
  const std::string_view rest(in_, static_cast<std::size_t>(end_ - in_));
  for (const std::string_view declaration :
       {R"(<?xml version="1.0" encoding="UTF-8"?>)", R"(<?xml version="1.0" encoding="utf-8"?>)",
        R"(<?xml version="1.0"?>)", R"(<?xml version='1.0' encoding='UTF-8'?>)",
        R"(<?xml version='1.0' encoding='utf-8'?>)", R"(<?xml version='1.0'?>)"}) {
    if (rest.substr(0, declaration.size()) == declaration) {
      in_ += declaration.size();
      return;
    }
  }
}

bool PlainReader::ReadName(XmlText* name) {
  const char* const begin = in_;
  if (!Is(Peek(), kNameStart)) {
    return false;
  }
  while (Is(Peek(), kNamePart)) {
    ++in_;
  }
  *name = TextOf(begin, in_);
  return true;
}

bool PlainReader::ReadStartTag() {
  XmlText name;
  if (!ReadName(&name) || depth_ == static_cast<std::size_t>(kXmlMaxDepth) ||
      ++nodes_ > kXmlMaxNodes) {
    return false;
  }
  XmlNode* const node = new (arena_->AllocateAligned(sizeof(XmlNode))) XmlNode();
  node->name = name;
  if (depth_ == 0) {
    root_ = node;
  } else {
    OpenElement& parent = open_[depth_ - 1];
    node->parent = parent.node;
    (parent.last_child == nullptr ? parent.node->first_child : parent.last_child->next_sibling) =
        node;
    parent.last_child = node;
  }
  if (!ReadAttributes(node)) {
    return false;
  }
  if (Take('/')) {
    return Take('>');
  }
  Open(node);
  return Take('>');
}

void PlainReader::Open(XmlNode* node) {
  if (depth_ == open_.size()) {
    open_.emplace_back();
  }
  OpenElement& element = open_[depth_++];
  element.node = node;
  element.last_child = nullptr;
  element.text.Clear();
}

bool PlainReader::ReadEndTag() {
  XmlText name;
  const OpenElement& element = open_[--depth_];
  if (!ReadName(&name) || ViewOf(name) != ViewOf(element.node->name)) {
    return false;
  }
  SkipSpace();
  element.node->text = element.text.Finish(arena_);
  return Take('>');
}

bool PlainReader::ReadAttributes(XmlNode* node) {
  XmlAttribute* last = nullptr;
  for (int count = 0;; ++count) {
    const char* const end_of_last = in_;
    SkipSpace();
    if (!Is(Peek(), kNameStart)) {
      return true;
    }
    if (in_ == end_of_last || count == kMaxPlainAttributes || ++attributes_ > kXmlMaxAttributes) {
      return false;
    }
    XmlAttribute* const attribute =
        new (arena_->AllocateAligned(sizeof(XmlAttribute))) XmlAttribute();
    if (!ReadAttribute(attribute)) {
      return false;
    }
    for (const XmlAttribute* other = node->first_attribute; other != nullptr; other = other->next) {
      if (ViewOf(other->name) == ViewOf(attribute->name)) {
        return false;
      }
    }
    (last == nullptr ? node->first_attribute : last->next) = attribute;
    last = attribute;
  }
}

bool PlainReader::ReadAttribute(XmlAttribute* attribute) {
  if (!ReadName(&attribute->name)) {
    return false;
  }
  SkipSpace();
  if (!Take('=')) {
    return false;
  }
  SkipSpace();
  const char quote = Peek();
  if (!Take('"') && !Take('\'')) {
    return false;
  }
  value_.Clear();
  if (!ReadCharacters(quote == '"' ? kDoubleQuotedStop : kSingleQuotedStop, &value_)) {
    return false;
  }
  attribute->value = value_.Finish(arena_);
  return Take(quote);
}

// Adds the characters up to the next that is of class `stop` and neither a reference nor a bracket.
bool PlainReader::ReadCharacters(CharacterClass stop, TextParts* text) {
  for (;;) {
    const char* const begin = in_;
    while (in_ != end_ && !Is(*in_, stop)) {
      ++in_;
    }
    text->Append(begin, in_);
    if (Peek() == '&') {
      if (!ReadReference(text)) {
        return false;
      }
    } else if (Peek() == ']') {
      if (std::string_view(in_, static_cast<std::size_t>(end_ - in_)).substr(0, 3) == "]]>") {
        return false;
      }
      text->Append(in_, in_ + 1);
      ++in_;
    } else {
      return true;
    }
  }
}

bool PlainReader::ReadReference(TextParts* text) {
  constexpr std::size_t kLongest = sizeof("&#x10FFFF;") - 1;
  const std::string_view rest(in_, static_cast<std::size_t>(end_ - in_));
  const std::size_t size = rest.substr(0, kLongest).find(';');
  if (size == rest.npos) {
    return false;
  }
  const std::string_view body = rest.substr(1, size - 1);
  std::uint32_t code = 0;
  if (body.substr(0, 1) == "#") {
    const bool is_hex = body.substr(1, 1) == "x";
    const char* const first = body.data() + (is_hex ? 2 : 1);
    const char* const last = body.data() + body.size();
    const std::from_chars_result result = std::from_chars(first, last, code, is_hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != last || !IsXmlCharacter(code)) {
      return false;
    }
  } else {
    code = body == "lt"     ? '<'
           : body == "gt"   ? '>'
           : body == "amp"  ? '&'
           : body == "quot" ? '"'
           : body == "apos" ? '\''
                            : 0;
    if (code == 0) {
      return false;
    }
  }
  AppendUtf8(code, text->Joined());
  in_ += size + 1;
  return true;
}

}  // namespace

XmlNode* ReadPlainDocument(const QByteArray& document, XmlArena* arena) {
  return PlainReader(document, arena).Read();
}

}  // namespace nimbara
