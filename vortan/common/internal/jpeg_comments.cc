// SPDX-License-Identifier: Apache-2.0
#include "vortan/common/internal/jpeg_comments.h"

#include <algorithm>
#include <cstring>

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

// Up to here tokens are looked through byte by byte.
constexpr std::ptrdiff_t kShortToken = 6;

// A comment segment takes 65533 bytes, and a comment must be shorter.
constexpr std::size_t kMaxKeptBytes = 65533;
constexpr std::size_t kMaxValidBytes = 65532;

std::string HeaderText() {
  return JpegCommentQuillonSeparator() + JpegCommentQuillonStart() + JpegCommentQuillonSeparator() +
         std::string(kVersion);
}

// The tokens between the separators of a text, found one at a time. There is one more than there
// are separators. The text has a terminator behind it.
class TokenIterator {
 public:
  // Ahead of the first token: `MoveToStart` comes next.
  explicit TokenIterator(std::string_view text)
      : text_end_(text.data() + text.size()), begin_(text.data()), end_(begin_) {}

  // Behind the last token; then there is nothing to take.
  bool AtEnd() const { return begin_ == nullptr; }
  std::string_view operator*() const { return {begin_, static_cast<std::size_t>(end_ - begin_)}; }
  TokenIterator& operator++() {
    if (end_ == text_end_) {
      begin_ = nullptr;
    } else {
      SetTo(end_ + 1);
    }
    return *this;
  }

  // Whether the token is an identifier, up to the first NUL in it. The scan for one ends at the
  // separator or the terminator behind the token at the latest, so it needs no copy.
  bool IsIdentifier() const {
    const char* const identifier_end = AdvanceIdentifier(begin_);
    return identifier_end != nullptr && (identifier_end == end_ || *identifier_end == '\0');
  }

  // Moves to the first start marker, this token included, or to the end.
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
        end_ = begin_ + kStart.size();
        return;
      }
      from = letter + 1;
    }
  }

 private:
  void SetTo(const char* begin) {
    begin_ = begin;
    // Versions, families and markers are short: most end before a call would pay.
    const char* const near = begin + std::min<std::ptrdiff_t>(kShortToken, text_end_ - begin);
    for (end_ = begin; end_ != near; ++end_) {
      if (*end_ == kSeparator) {
        return;
      }
    }
    const void* const separator =
        std::memchr(near, kSeparator, static_cast<std::size_t>(text_end_ - near));
    end_ = separator == nullptr ? text_end_ : static_cast<const char*>(separator);
  }

  // Whether `letter`, at `begin_` or behind it, lies in a start marker that is a token.
  bool IsInStartMarker(const char* letter) const {
    const auto before = static_cast<std::size_t>(letter - begin_);
    const auto behind = static_cast<std::size_t>(text_end_ - letter);
    if (before < kStartLetterAt || behind < kStart.size() - kStartLetterAt) {
      return false;
    }
    const char* const marker = letter - kStartLetterAt;
    const char* const marker_end = marker + kStart.size();
    return std::memcmp(marker, kStart.data(), kStart.size()) == 0 &&
           (marker == begin_ || marker[-1] == kSeparator) &&
           (marker_end == text_end_ || *marker_end == kSeparator);
  }

  const char* text_end_;
  const char* begin_;  // Null behind the last token.
  const char* end_;
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

  int blocks = 0;
  TokenIterator list_it(buffer_);
  for (list_it.MoveToStart(); !list_it.AtEnd(); list_it.MoveToStart()) {
    if ((++list_it).AtEnd() || *list_it != kVersion) {
      continue;
    }
    ++list_it;

    // The messages of the block stand behind those of the blocks before; one that turns out to be
    // spoilt takes them away again. Each turn leaves by `break` with `list_it` on the token where
    // the search goes on.
    const std::size_t found_before = message_map_.size();
    bool whole = false;
    while (!list_it.AtEnd()) {
      whole = *list_it == kEnd;
      if (whole || !list_it.IsIdentifier()) {
        break;
      }
      const std::string_view family = *list_it;
      if ((++list_it).AtEnd()) {
        break;
      }
      const std::string_view body = *list_it;
      if (body == kStart || body == kEnd) {
        break;
      }
      message_map_.push_back({family, body, blocks + 1});
      ++list_it;
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
  MergeMessages();
  return blocks > 0;
}

// Brings the map in order: of the messages of one family the first found stays.
void JpegCommentInputBuffer::MergeMessages() {
  const auto out_of_order = [](const Message& a, const Message& b) { return a.family >= b.family; };
  if (std::adjacent_find(message_map_.begin(), message_map_.end(), out_of_order) ==
      message_map_.end()) {
    return;
  }
  std::stable_sort(message_map_.begin(), message_map_.end(),
                   [](const Message& a, const Message& b) { return a.family < b.family; });
  auto last = message_map_.begin();
  int last_block = last->block;  // Of the last message of this family, kept or not.
  for (auto message = std::next(last); message != message_map_.end(); ++message) {
    if (message->family != last->family) {
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
  const auto found = std::lower_bound(
      message_map_.begin(), message_map_.end(), family,
      [](const Message& message, std::string_view sought) { return message.family < sought; });
  if (found == message_map_.end() || found->family != family) {
    return false;
  }
  if (!message_to_fill->FromString(std::string(found->body))) {
    PELORIN_LOG_ERROR() << "Message of family " << family << " has invalid body.";
    return false;
  }
  return true;
}

}  // namespace vortan
