// SPDX-License-Identifier: Apache-2.0
#include "vortan/common/internal/jpeg_comments.h"

#include <endian.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "base/logging.h"
#include "strings/identifier.h"

namespace vortan {
namespace {

constexpr char kSeparator = '*';
constexpr std::string_view kStart = "#Q0#";
constexpr std::string_view kEnd = "#0Q#";
constexpr std::string_view kVersion = "0";
// The letter of the start marker that is rarest in other text, and where it stands.
constexpr char kStartLetter = 'Q';
constexpr std::size_t kStartLetterAt = 1;
static_assert(kStart[kStartLetterAt] == kStartLetter);

// Up to here a token is looked through in place; only then does a call pay.
constexpr std::ptrdiff_t kShortToken = 32;

// A comment segment takes 65533 bytes, and a comment must be shorter.
constexpr std::size_t kMaxKeptBytes = 65533;
constexpr std::size_t kMaxValidBytes = 65532;
static_assert(kMaxKeptBytes <= std::numeric_limits<std::uint16_t>::max(), "places fit 16 bits");

std::string HeaderText() {
  return JpegCommentQuillonSeparator() + JpegCommentQuillonStart() + JpegCommentQuillonSeparator() +
         std::string(kVersion);
}

// The first separator among eight bytes, or their end.
const char* FindSeparatorInWord(const char* bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = kOnes << 7;
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  word = htole64(word) ^ kOnes * static_cast<unsigned char>(kSeparator);
  // Of all bytes only 0 has its high bit set by taking 1 away; a borrow needs a 0 further down.
  const std::uint64_t found = (word - kOnes) & ~word & kHighBits;
  return bytes + (found == 0 ? 8 : __builtin_ctzll(found) / 8);
}

// The first separator from `from` on, or `end`.
const char* FindSeparator(const char* from, const char* end) {
  const char* const near = from + std::min(kShortToken, end - from);
  for (; near - from >= 8; from += 8) {
    const char* const separator = FindSeparatorInWord(from);
    if (separator != from + 8) {
      return separator;
    }
  }
  for (; from != near; ++from) {
    if (*from == kSeparator) {
      return from;
    }
  }
  const void* const separator = std::memchr(near, kSeparator, static_cast<std::size_t>(end - near));
  return separator == nullptr ? end : static_cast<const char*>(separator);
}

// Stands on one of the tokens between the separators of a text. There is one more than there are
// separators. Where a token ends is looked for only once that matters. The text has a terminator
// behind it.
class TokenIterator {
 public:
  // On the first token.
  explicit TokenIterator(std::string_view text)
      : begin_(text.data()), text_end_(text.data() + text.size()) {}

  // Behind the last token; then nothing may be taken.
  bool AtEnd() const { return begin_ == nullptr; }
  std::string_view operator*() const { return TokenTo(FindSeparator(begin_, text_end_)); }

  bool Is(std::string_view text) const {
    return !AtEnd() && text_end_ - begin_ >= static_cast<std::ptrdiff_t>(text.size()) &&
           std::memcmp(begin_, text.data(), text.size()) == 0 && IsEnd(begin_ + text.size());
  }

  // Moves to the first start marker, this token included, or behind the last token.
  void MoveToStart() {
    // Tokens that do not matter are not even told apart: a marker is found by its rare letter.
    const char* from = begin_;
    while (!AtEnd()) {
      const void* const found =
          std::memchr(from, kStartLetter, static_cast<std::size_t>(text_end_ - from));
      if (found == nullptr) {
        begin_ = nullptr;
        return;
      }
      const char* const letter = static_cast<const char*>(found);
      if (IsInStartMarker(letter)) {
        begin_ = letter - kStartLetterAt;
        return;
      }
      from = letter + 1;
    }
  }

  // The next three move on behind the token if it is what they take, and stay otherwise.

  bool Take(std::string_view text) {
    if (!Is(text)) {
      return false;
    }
    PassTo(begin_ + text.size());
    return true;
  }

  // Takes a token that is an identifier, up to the first NUL in it. The scan for one ends at the
  // separator or the terminator behind the token at the latest, so it needs no copy.
  bool TakeIdentifier(std::string_view* token) {
    const char* end = AtEnd() ? nullptr : AdvanceIdentifier(begin_);
    if (end == nullptr) {
      return false;
    }
    if (!IsEnd(end)) {
      if (*end != '\0') {
        return false;
      }
      end = FindSeparator(end, text_end_);
    }
    *token = TokenTo(end);
    PassTo(end);
    return true;
  }

  bool TakeBody(std::string_view* token) {
    if (AtEnd()) {
      return false;
    }
    const std::string_view body = **this;
    if (body == kStart || body == kEnd) {
      return false;
    }
    *token = body;
    PassTo(body.data() + body.size());
    return true;
  }

 private:
  bool IsEnd(const char* at) const { return at == text_end_ || *at == kSeparator; }
  std::string_view TokenTo(const char* end) const {
    return {begin_, static_cast<std::size_t>(end - begin_)};
  }
  void PassTo(const char* end) { begin_ = end == text_end_ ? nullptr : end + 1; }

  // Whether `letter`, at `begin_` or behind it, lies in a start marker that is a token.
  bool IsInStartMarker(const char* letter) const {
    const auto before = static_cast<std::size_t>(letter - begin_);
    const auto behind = static_cast<std::size_t>(text_end_ - letter);
    if (before < kStartLetterAt || behind < kStart.size() - kStartLetterAt) {
      return false;
    }
    const char* const marker = letter - kStartLetterAt;
    return std::memcmp(marker, kStart.data(), kStart.size()) == 0 &&
           (marker == begin_ || marker[-1] == kSeparator) && IsEnd(marker + kStart.size());
  }

  const char* begin_;  // Of the token; null behind the last one.
  const char* text_end_;
};

}  // namespace

const std::string& JpegCommentQuillonStart() {
  static const std::string text(kStart);
  return text;
}

const std::string& JpegCommentQuillonEnd() {
  static const std::string text(kEnd);
  return text;
}

const std::string& JpegCommentQuillonSeparator() {
  static const std::string text(1, kSeparator);
  return text;
}

const std::string& JpegCommentQuillonTrailer() {
  static const std::string text =
      JpegCommentQuillonSeparator() + JpegCommentQuillonEnd() + JpegCommentQuillonSeparator();
  return text;
}

JpegCommentMessage::~JpegCommentMessage() = default;

std::size_t JpegCommentMessage::BodyLengthInChars() const {
  std::string body;
  AppendToString(&body);
  return body.size();
}

std::map<std::string, std::shared_ptr<JpegCommentMessage>> JpegCommentMessageFactory::message_map_;
bool JpegCommentMessageFactory::registration_closed_ = false;

void JpegCommentMessageFactory::RegisterFamily(const std::string& family,
                                               JpegCommentMessage* instance) {
  PELORIN_CHECK(instance);
  PELORIN_CHECK(!registration_closed_);
  if (!IsIdentifier(family.c_str())) {
    PELORIN_LOG_FATAL() << "Fatal attempt to register invalid message family.";
  }
  if (IsFamilyNameRegistered(family)) {
    PELORIN_LOG_FATAL() << "Fatal attempt to register message family already in use.";
  }
  if (instance == nullptr) {
    return;
  }
  const auto owner =
      std::find_if(message_map_.begin(), message_map_.end(),
                   [instance](const auto& entry) { return entry.second.get() == instance; });
  instance->family_ = family;
  message_map_[family] =
      owner != message_map_.end() ? owner->second : std::shared_ptr<JpegCommentMessage>(instance);
}

JpegCommentMessage* JpegCommentMessageFactory::CreateMessage(const std::string& family) {
  PELORIN_CHECK(registration_closed_);
  const auto prototype = message_map_.find(family);
  if (prototype == message_map_.end() || prototype->second == nullptr) {
    PELORIN_LOG_FATAL() << "Fatal attempt to create unregistered JpegCommentMessage.";
    return nullptr;
  }
  std::unique_ptr<JpegCommentMessage> new_message(prototype->second->CreateNewMessage());
  PELORIN_CHECK(new_message.get());
  if (new_message != nullptr) {
    new_message->family_ = prototype->second->family_;
  }
  return new_message.release();
}

bool JpegCommentMessageFactory::IsFamilyNameRegistered(const std::string& family) {
  return message_map_.find(family) != message_map_.end();
}

void JpegCommentMessageFactory::CloseRegistration() {
  PELORIN_CHECK(!registration_closed_);
  registration_closed_ = true;
}

void JpegCommentRegisterFamily(const std::string& family, JpegCommentMessage* instance) {
  PELORIN_CHECK(instance);
  JpegCommentMessageFactory::RegisterFamily(family, instance);
}

void JpegCommentSetRegistrationClosed() {
  JpegCommentMessageFactory::CloseRegistration();
}

JpegCommentOutputBuffer::JpegCommentOutputBuffer() : JpegCommentOutputBuffer(kDefaultMaxSize) {}

JpegCommentOutputBuffer::JpegCommentOutputBuffer(long long max_size)
    : max_size_(max_size), buffer_(HeaderText()) {
  CheckRoomForTrailer();
}

bool JpegCommentOutputBuffer::AppendMessage(const JpegCommentMessage& message) {
  PELORIN_CHECK(!finalized_);
  PELORIN_CHECK(JpegCommentMessageFactory::registration_closed());
  if (message.family().empty()) {
    PELORIN_LOG_FATAL() << "Fatal loading of message not created by message factory.";
  }
  PELORIN_CHECK(JpegCommentMessageFactory::IsFamilyNameRegistered(message.family()));
  if (families_.count(message.family()) != 0) {
    PELORIN_LOG_ERROR() << "Fatal loading of multiple messages of same family.";
    return false;
  }

  std::string body;
  message.AppendToString(&body);
  if (body == kStart) {
    PELORIN_LOG_FATAL() << "Fatal loading of body = JpegCommentQuillonStart.";
  }
  if (body == kEnd) {
    PELORIN_LOG_FATAL() << "Fatal loading of body = JpegCommentQuillonEnd.";
  }
  if (body.find(kSeparator) != std::string::npos) {
    PELORIN_LOG_FATAL() << "Fatal loading of body with JpegCommentQuillonSeparator.";
  }

  const std::size_t size = body.length() + message.family().length() + buffer_.length() +
                           2 * JpegCommentQuillonSeparator().length() +
                           JpegCommentQuillonTrailer().length();
  if (static_cast<long long>(size) >= max_size_) {
    PELORIN_LOG_ERROR() << "JpegCommentOutputBuffer capacity (" << max_size_ << " bytes) exceeded.";
    return false;
  }
  buffer_ += kSeparator;
  buffer_ += message.family();
  buffer_ += kSeparator;
  buffer_ += body;
  families_.insert(message.family());
  return true;
}

void JpegCommentOutputBuffer::Finalize() {
  PELORIN_CHECK(!finalized_);
  CheckRoomForTrailer();
  buffer_ += JpegCommentQuillonTrailer();
  finalized_ = true;
}

// A comparison of its own, since a capacity can be negative and a length cannot.
void JpegCommentOutputBuffer::CheckRoomForTrailer() const {
  const auto size = static_cast<long long>(buffer_.length() + JpegCommentQuillonTrailer().length());
  if (size >= max_size_) {
    PELORIN_LOG_FATAL()
        << "Check failed: buffer_.length() + JpegCommentQuillonTrailer().length()<max_size_ "
        << size << '<' << max_size_;
  }
}

JpegCommentInputBuffer::JpegCommentInputBuffer(const std::string& comment)
    : buffer_(comment, 0, kMaxKeptBytes), too_long_(comment.size() > kMaxValidBytes) {
  if (too_long_) {
    PELORIN_LOG_ERROR() << "Input too long to be a valid JpegCommentInputBuffer.";
  }
}

bool JpegCommentInputBuffer::FindMessages() {
  PELORIN_CHECK(message_map_.empty());
  PELORIN_CHECK(JpegCommentMessageFactory::registration_closed());
  if (too_long_) {
    return false;
  }
  for (Message& message : message_map_) {
    message.block = 0;
  }

  const bool had_messages = !message_map_.empty();
  int blocks = 0;
  TokenIterator list_it(buffer_);
  for (list_it.MoveToStart(); list_it.Take(kStart); list_it.MoveToStart()) {
    if (!list_it.Take(kVersion)) {
      continue;
    }
    // The messages of the block stand behind those of the blocks before; one that turns out to be
    // spoilt takes them away again, and the search goes on at the token that spoilt it.
    const std::size_t found_before = message_map_.size();
    bool whole = false;
    std::string_view family;
    std::string_view body;
    while (!(whole = list_it.Is(kEnd)) && list_it.TakeIdentifier(&family) &&
           list_it.TakeBody(&body)) {
      message_map_.push_back(MessageAt(family, body, blocks + 1));
    }
    if (!whole) {
      message_map_.resize(found_before);
      continue;
    }
    PELORIN_CHECK_EQ(JpegCommentQuillonEnd(), *list_it);
    if (message_map_.size() > found_before) {
      ++blocks;
    }
  }
  if (blocks > 1 || had_messages) {
    DiscardDuplicates();
  }
  return blocks > 0;
}

JpegCommentInputBuffer::Message
JpegCommentInputBuffer::MessageAt(std::string_view family, std::string_view body, int block) const {
  const auto place = [this](const char* at) {
    return static_cast<std::uint16_t>(at - buffer_.data());
  };
  return {place(family.data()), place(body.data()), place(body.data() + body.size()),
          static_cast<std::uint16_t>(block)};
}

std::string_view JpegCommentInputBuffer::FamilyOf(const Message& message) const {
  return std::string_view(buffer_).substr(message.family_begin, std::size_t{message.body_begin} -
                                                                    message.family_begin - 1);
}

// Of the messages of one family the first found stays. Each further block that has one is an error.
void JpegCommentInputBuffer::DiscardDuplicates() {
  std::stable_sort(
      message_map_.begin(), message_map_.end(),
      [this](const Message& a, const Message& b) { return FamilyOf(a) < FamilyOf(b); });
  auto last = message_map_.begin();
  int last_block = last->block;  // Of the last message of this family, kept or not.
  for (auto message = std::next(last); message != message_map_.end(); ++message) {
    if (FamilyOf(*message) != FamilyOf(*last)) {
      *++last = *message;
    } else if (message->block != last_block) {
      PELORIN_LOG_ERROR() << "Discarding duplicated JPegCommentMessage.";
    }
    last_block = message->block;
  }
  message_map_.erase(std::next(last), message_map_.end());
}

bool JpegCommentInputBuffer::GetMessage(JpegCommentMessage* message_to_fill) const {
  PELORIN_CHECK(message_to_fill);
  PELORIN_CHECK(!message_map_.empty());
  if (message_to_fill == nullptr) {
    return false;
  }
  const std::string_view family = message_to_fill->family();
  if (family.empty()) {
    PELORIN_LOG_FATAL() << "Fatal unloading of message not created by message factory.";
  }
  const auto found =
      std::find_if(message_map_.begin(), message_map_.end(),
                   [this, family](const Message& message) { return FamilyOf(message) == family; });
  if (found == message_map_.end()) {
    return false;
  }
  if (!message_to_fill->FromString(
          buffer_.substr(found->body_begin, std::size_t{found->body_end} - found->body_begin))) {
    PELORIN_LOG_ERROR() << "Message of family " << family << " has invalid body.";
    return false;
  }
  return true;
}

}  // namespace vortan
