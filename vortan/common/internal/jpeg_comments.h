// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "base/export.h"
#include "util/gtl/inlined_vector.h"

/// Metadata in the comment segment of an imagery tile: a block of named messages, as plain text.
///
///     *#Q0#*0*AD*2017:12:31*#0Q#*
///
/// A block is a separator, the start marker, a separator and the format version; then a separator,
/// a family, a separator and a body for each message; then a separator, the end marker and a
/// separator. Nothing is escaped: a body holds no separator and is no marker. A family is an
/// identifier (`IsIdentifier`). A comment can hold several blocks with other text around them.
///
/// Every family has one prototype, registered before the first comment is read or written; then
/// registration is closed for the life of the process:
///
///     vortan::JpegCommentRegisterFamily(
///         vortan::JpegCommentFamilyAggregatedTileAcquisitionDate(),
///         new vortan::JpegCommentMessageDominantTileAcquisitionDate(0.5f));
///     vortan::JpegCommentSetRegistrationClosed();
///
/// A misuse makes an entry at the fatal severity of the log path, which stops nothing; each
/// operation says what it does behind it. Damaged text never makes one: it is skipped, logged as an
/// error or answered with false.
///
/// Registration belongs to one thread, ahead of all others. Afterwards the factory is only read, so
/// that comments may be read and written on any threads; a buffer or message belongs to one thread.
namespace vortan {

/// "#Q0#".
PELORIN_EXPORT const std::string& JpegCommentQuillonStart();
/// "#0Q#".
PELORIN_EXPORT const std::string& JpegCommentQuillonEnd();
/// "*".
PELORIN_EXPORT const std::string& JpegCommentQuillonSeparator();
/// What ends a block: separator, end marker, separator.
PELORIN_EXPORT const std::string& JpegCommentQuillonTrailer();

/// One message: a family and a body. Derived classes give the body its meaning. Made by
/// `JpegCommentMessageFactory` from the prototype of its family; one that was made otherwise has no
/// family and cannot be written or read.
class PELORIN_EXPORT JpegCommentMessage {
 public:
  JpegCommentMessage() = default;
  JpegCommentMessage(const JpegCommentMessage&) = delete;
  JpegCommentMessage& operator=(const JpegCommentMessage&) = delete;
  virtual ~JpegCommentMessage();

  /// A new object of the same class with the settings of this one, owned by the caller.
  virtual JpegCommentMessage* CreateNewMessage() const = 0;
  /// Bytes of the body. As it stands here it writes the body and measures it.
  virtual std::size_t BodyLengthInChars() const;
  /// Appends the body to `*output`.
  virtual void AppendToString(std::string* output) const = 0;
  /// Takes a body in; false if it is invalid.
  virtual bool FromString(const std::string& body) = 0;

  /// Empty unless the factory made this.
  const std::string& family() const { return family_; }

 private:
  friend class JpegCommentMessageFactory;

  std::string family_;
};

/// Closes registration, for good. Fatal if it is closed already.
PELORIN_EXPORT void JpegCommentSetRegistrationClosed();

/// The prototypes of all families, and the messages made from them.
class PELORIN_EXPORT JpegCommentMessageFactory {
 public:
  JpegCommentMessageFactory() = delete;

  /// Takes over `instance` as the prototype of `family` and gives it that family. It lives until
  /// the library is unloaded. Fatal if `instance` is null, if registration is closed, if `family`
  /// is no identifier, or if it has a prototype already. Behind these a null `instance` is not
  /// stored; anything else is stored all the same, in place of the earlier prototype. One object
  /// may be registered several times: it stands for its last family, and is deleted once.
  static void RegisterFamily(const std::string& family, JpegCommentMessage* instance);

  /// A new message of `family`, owned by the caller. Fatal unless registration is closed, which
  /// does not keep the message from being made; fatal, and null, if there is no prototype or it
  /// makes nothing.
  static JpegCommentMessage* CreateMessage(const std::string& family);

  static bool IsFamilyNameRegistered(const std::string& family);
  static bool registration_closed() { return registration_closed_; }

 private:
  friend void JpegCommentSetRegistrationClosed();

  static void CloseRegistration();

  static std::map<std::string, std::shared_ptr<JpegCommentMessage>> message_map_;
  static bool registration_closed_;
};

/// `JpegCommentMessageFactory::RegisterFamily`, with a fatal entry of its own for a null
/// `instance`.
PELORIN_EXPORT void JpegCommentRegisterFamily(const std::string& family,
                                              JpegCommentMessage* instance);

/// Writes one block.
///
///     JpegCommentOutputBuffer block;
///     if (block.AppendMessage(*message)) {
///       block.Finalize();
///       WriteCommentSegment(block.buffer());
///     }
class PELORIN_EXPORT JpegCommentOutputBuffer {
 public:
  /// The most that the comment segment of a JPEG file holds, in bytes. A block stays below it.
  static constexpr long long kDefaultMaxSize = 65533;

  JpegCommentOutputBuffer();
  /// The block stays below `max_size` bytes. Fatal unless header and trailer, 13 bytes, do; then
  /// the buffer takes no message.
  explicit JpegCommentOutputBuffer(long long max_size);

  /// Appends one message. False, with the buffer as it was and an error entry, if a message of its
  /// family is in the block already or the block would become too long.
  ///
  /// Fatal, but written all the same, on a finalized buffer (the message then stands behind the
  /// trailer, where no reader looks for it), while registration is open, of a message without a
  /// family or with one that is not registered, and with a body that is a marker or holds a
  /// separator (which readers will take for something else).
  bool AppendMessage(const JpegCommentMessage& message);

  /// Ends the block. Fatal, but done all the same, if it was ended before or the trailer does not
  /// fit.
  void Finalize();

  /// The block so far; the whole of it after `Finalize`.
  const std::string& buffer() const { return buffer_; }
  bool finalized() const { return finalized_; }
  long long max_size() const { return max_size_; }

 private:
  void CheckRoomForTrailer() const;

  long long max_size_;
  bool finalized_ = false;
  std::string buffer_;
  std::set<std::string> families_;
};

/// Reads the messages of one comment: all that stand in well-formed blocks. Everything else is
/// passed over, so any text can be read. `FindMessages` is called once, then `GetMessage` as often
/// as need be.
///
///     JpegCommentInputBuffer comment(segment);
///     if (comment.FindMessages() && comment.GetMessage(message.get())) ...
class PELORIN_EXPORT JpegCommentInputBuffer {
 public:
  /// A copy of at most the first 65533 bytes of `comment`. A comment of more than 65532 bytes is
  /// an error entry, and no message is found in it.
  explicit JpegCommentInputBuffer(const std::string& comment);
  /// Finds the messages; true if there is a block with at least one.
  ///
  /// Markers, families and bodies are whole tokens between separators, so a block needs no
  /// separator at the ends of the text, and two blocks may share one. A block of another version, a
  /// block without an end, one with a family that is no identifier or that lacks a body (a marker
  /// stands in its place) and one without messages count for nothing; the search goes on at the
  /// token that spoilt the block. A family that is no identifier only behind a NUL passes, and is
  /// kept in full. Of two messages of one family in a block the first counts, silently; of two in
  /// different blocks the first, with an error entry, and the second block counts as one all the
  /// same.
  ///
  /// Fatal while registration is open, and at a second call that follows a successful one; that one
  /// finds everything again and discards it as duplicates.
  bool FindMessages();

  /// Hands the body of the message with the family of `message_to_fill` to its `FromString`. False
  /// if there is none, or, with an error entry, if the body is invalid. Fatal, and false, on null
  /// or on a message without a family; fatal while no message was found.
  bool GetMessage(JpegCommentMessage* message_to_fill) const;

 private:
  // A message by its places in `buffer_`, all of which fit 16 bits: finding messages copies no
  // text, and thousands of them stay in the nearest cache.
  struct Message {
    std::uint16_t family_begin;
    std::uint16_t body_begin;  // Behind the separator that ends the family.
    std::uint16_t body_end;
    std::uint16_t block;  // Where it was found, counted from 1 in each search; 0 by an earlier one.
  };
  // In an order in which the first message of a family is the one that counts. Flat, because a
  // comment has one message or two and a node for each would cost more than the whole search.
  using MessageMap = util::gtl::InlinedVector<Message, 4>;

  Message MessageAt(std::string_view family, std::string_view body, int block) const;
  std::string_view FamilyOf(const Message& message) const;
  void DiscardDuplicates();

  std::string buffer_;
  bool too_long_;
  MessageMap message_map_;
};

}  // namespace vortan
