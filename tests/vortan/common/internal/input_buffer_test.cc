// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/common/internal/comment_fixture.h"

namespace vortan {
namespace {

using test_support::FamilyWithNul;
using test_support::LogRecorder;
using test_support::NewText;
using test_support::TextMessage;
using test_support::UseClosedFactory;
using Lines = std::vector<std::string>;

constexpr char kDuplicate[] = "2 Discarding duplicated JPegCommentMessage.";
constexpr char kTooLong[] = "2 Input too long to be a valid JpegCommentInputBuffer.";

// What a comment holds for a family; "(none)" without one.
std::string BodyIn(const JpegCommentInputBuffer& comment, const std::string& family) {
  const auto message = NewText(family);
  return comment.GetMessage(message.get()) ? message->body : "(none)";
}

// The body of "T" in a text, or "(no block)".
std::string Read(const std::string& text, const std::string& family = "T") {
  UseClosedFactory();
  JpegCommentInputBuffer comment(text);
  return comment.FindMessages() ? BodyIn(comment, family) : "(no block)";
}

TEST(JpegCommentInputBuffer, FindsAMessage) {
  const LogRecorder log;
  EXPECT_EQ(Read("*#Q0#*0*T*2017:12:31*#0Q#*"), "2017:12:31");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentInputBuffer, FindsEveryMessageOfABlock) {
  const std::string block = "*#Q0#*0*U*2*T*1*_a1*3*#0Q#*";
  EXPECT_EQ(Read(block, "T"), "1");
  EXPECT_EQ(Read(block, "U"), "2");
  EXPECT_EQ(Read(block, "_a1"), "3");
  EXPECT_EQ(Read(block, "b"), "(none)");
}

TEST(JpegCommentInputBuffer, FindsNothingInAnEmptyComment) {
  EXPECT_EQ(Read(""), "(no block)");
}

TEST(JpegCommentInputBuffer, DoesNotCountABlockWithoutMessages) {
  const LogRecorder log;
  EXPECT_EQ(Read("*#Q0#*0*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*#0Q#*#Q0#*0*T*1*#0Q#*"), "1");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentInputBuffer, PassesOverTextAroundTheBlock) {
  EXPECT_EQ(Read("x*#Q0#*0*T*1*#0Q#*"), "1");
  EXPECT_EQ(Read("Created with care*#Q0#*0*T*1*#0Q#*by hand"), "1");
  EXPECT_EQ(Read("a*b**c*#Q0#*0*T*1*#0Q#*d**e"), "1");
  EXPECT_EQ(Read("QQQ#Q0#Q*#Q0#*0*T*1*#0Q#*"), "1");
}

TEST(JpegCommentInputBuffer, FindsABlockWhenASecondOneFollows) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("x*#Q0#*0*T*1*#0Q#* and *#Q0#*0*U*2*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  EXPECT_EQ(BodyIn(comment, "T"), "1");
  EXPECT_EQ(BodyIn(comment, "U"), "2");
}

TEST(JpegCommentInputBuffer, TakesMarkersAsWholeTokensOnly) {
  EXPECT_EQ(Read("x#Q0#*0*T*1*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#x*0*T*1*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*T*1*#0Q#x*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*T*1*x#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#q0#*0*T*1*#0q#*"), "(no block)");
}

TEST(JpegCommentInputBuffer, NeedsNoSeparatorsAtTheEndsOfTheText) {
  EXPECT_EQ(Read("#Q0#*0*T*1*#0Q#"), "1");
}

TEST(JpegCommentInputBuffer, LetsTwoBlocksShareOneSeparator) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*1*#0Q#*#Q0#*0*U*2*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  EXPECT_EQ(BodyIn(comment, "T"), "1");
  EXPECT_EQ(BodyIn(comment, "U"), "2");
}

TEST(JpegCommentInputBuffer, SkipsABlockOfAnotherVersion) {
  EXPECT_EQ(Read("*#Q0#*1*T*1*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*00*T*1*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#**T*1*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*1*T*1*#0Q#*#Q0#*0*T*2*#0Q#*"), "2");
}

TEST(JpegCommentInputBuffer, FindsABlockThatStartsInThePlaceOfAVersion) {
  EXPECT_EQ(Read("*#Q0#*#Q0#*0*T*1*#0Q#*"), "1");
}

TEST(JpegCommentInputBuffer, FindsABlockThatStartsInThePlaceOfAFamily) {
  EXPECT_EQ(Read("*#Q0#*0*U*2*#Q0#*0*T*1*#0Q#*"), "1");
  EXPECT_EQ(Read("*#Q0#*0*U*2*#Q0#*0*T*1*#0Q#*", "U"), "(none)");
}

TEST(JpegCommentInputBuffer, FindsABlockThatStartsInThePlaceOfABody) {
  EXPECT_EQ(Read("*#Q0#*0*U*#Q0#*0*T*1*#0Q#*"), "1");
  EXPECT_EQ(Read("*#Q0#*0*U*#Q0#*0*T*1*#0Q#*", "U"), "(none)");
}

TEST(JpegCommentInputBuffer, DropsABlockWithAFamilyThatLacksItsBody) {
  EXPECT_EQ(Read("*#Q0#*0*T*1*U*#0Q#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*T*1*U*#0Q#*#Q0#*0*T*2*#0Q#*"), "2");
  EXPECT_EQ(Read("*#Q0#*0*T*1*U"), "(no block)");
}

TEST(JpegCommentInputBuffer, ReadsABodyThatIsEmptyAVersionOrAFamily) {
  EXPECT_EQ(Read("*#Q0#*0*T**#0Q#*"), "");
  EXPECT_EQ(Read("*#Q0#*0*T*0*#0Q#*"), "0");
  EXPECT_EQ(Read("*#Q0#*0*T*U*#0Q#*"), "U");
  EXPECT_EQ(Read("*#Q0#*0*T*a-b*#0Q#*"), "a-b");
}

TEST(JpegCommentInputBuffer, DropsABlockWithoutAnEnd) {
  EXPECT_EQ(Read("*#Q0#*0*T*1"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*T*1*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*T*1*U*2"), "(no block)");
  EXPECT_EQ(Read("*#Q0#"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0"), "(no block)");
  EXPECT_EQ(Read("*#Q0#*0*"), "(no block)");
}

TEST(JpegCommentInputBuffer, KeepsEarlierBlocksWhenTheLastOneHasNoEnd) {
  EXPECT_EQ(Read("*#Q0#*0*T*1*#0Q#*#Q0#*0*U*2"), "1");
  EXPECT_EQ(Read("*#Q0#*0*T*1*#0Q#*#Q0#*0*U"), "1");
}

TEST(JpegCommentInputBuffer, DropsABlockWithAFamilyThatIsNoIdentifier) {
  for (const char* family : {"T-U", "1T", "", "T U", "\xC3\x84", "T.", "#Q0", "0"}) {
    const std::string bad = "*#Q0#*0*T*1*" + std::string(family) + "*2*#0Q#*";
    EXPECT_EQ(Read(bad), "(no block)") << family;
    EXPECT_EQ(Read(bad + "#Q0#*0*T*3*#0Q#*"), "3") << family;
  }
}

TEST(JpegCommentInputBuffer, TakesAFamilyByWhatIsAheadOfAZeroByteAndKeepsAllOfIt) {
  const std::string block = "*#Q0#*0*" + FamilyWithNul() + "*1*#0Q#*";
  EXPECT_EQ(Read(block, FamilyWithNul()), "1");
  EXPECT_EQ(Read("*#Q0#*0*" + std::string("\0T", 2) + "*1*#0Q#*"), "(no block)");
}

TEST(JpegCommentInputBuffer, KeepsAZeroByteInABody) {
  const std::string body("1\0002", 3);
  EXPECT_EQ(Read("*#Q0#*0*T*" + body + "*#0Q#*"), body);
}

TEST(JpegCommentInputBuffer, KeepsTheFirstOfTwoMessagesInOneBlockSilently) {
  const LogRecorder log;
  EXPECT_EQ(Read("*#Q0#*0*T*1*U*x*T*2*T*3*#0Q#*"), "1");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentInputBuffer, KeepsTheFirstOfTwoMessagesInTwoBlocksAndLogsTheSecond) {
  const LogRecorder log;
  EXPECT_EQ(Read("*#Q0#*0*T*1*#0Q#**#Q0#*0*T*2*#0Q#*"), "1");
  EXPECT_EQ(log.lines(), Lines{kDuplicate});
}

TEST(JpegCommentInputBuffer, LogsADuplicateOnceForEachFamilyOfEachBlock) {
  const LogRecorder log;
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*1*U*1*#0Q#*#Q0#*0*U*2*T*2*T*3*#0Q#*#Q0#*0*T*4*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  EXPECT_EQ(log.lines(), Lines(3, kDuplicate));
  EXPECT_EQ(BodyIn(comment, "T"), "1");
  EXPECT_EQ(BodyIn(comment, "U"), "1");
}

TEST(JpegCommentInputBuffer, CountsASpoiltBlockForNoDuplicates) {
  const LogRecorder log;
  EXPECT_EQ(Read("*#Q0#*0*T*1*-*#Q0#*0*T*2*#0Q#*"), "2");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentInputBuffer, AcceptsUpTo65532Bytes) {
  const std::string block = "*#Q0#*0*T*1*#0Q#*";
  const LogRecorder log;
  EXPECT_EQ(Read(std::string(65532 - block.size(), 'x') + block), "1");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentInputBuffer, LogsALongerCommentAndFindsNothingInIt) {
  const std::string block = "*#Q0#*0*T*1*#0Q#*";
  for (const std::size_t size : {65533u, 65534u, 200000u}) {
    const LogRecorder log;
    EXPECT_EQ(Read(block + std::string(size - block.size(), 'x')), "(no block)");
    EXPECT_EQ(log.lines(), Lines{kTooLong});
  }
}

TEST(JpegCommentInputBuffer, LogsASecondSearchAndFindsTheSameAgain) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*U*2*T*1*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  const LogRecorder log;
  EXPECT_TRUE(comment.FindMessages());
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: message_map_.empty()", kDuplicate, kDuplicate}));
  EXPECT_EQ(BodyIn(comment, "T"), "1");
  EXPECT_EQ(BodyIn(comment, "U"), "2");
}

TEST(JpegCommentInputBuffer, KeepsItsMessagesWhenItIsCopied) {
  UseClosedFactory();
  auto comment = std::make_unique<JpegCommentInputBuffer>("*#Q0#*0*T*1*#0Q#*");
  EXPECT_TRUE(comment->FindMessages());
  const JpegCommentInputBuffer copy(*comment);
  comment.reset();
  EXPECT_EQ(BodyIn(copy, "T"), "1");
}

TEST(JpegCommentInputBuffer, TellsThousandsOfFamiliesApart) {
  std::string block = "*#Q0#*0";
  for (int i = 0; i < 3000; ++i) {
    block += "*f" + std::to_string(i * 7919 % 3000) + "*x";
    block += i == 2000 ? "*T*1" : i == 2500 ? "*T*2*U*3" : "";
  }
  EXPECT_EQ(Read(block + "*#0Q#*", "T"), "1");
  EXPECT_EQ(Read(block + "*#0Q#*", "U"), "3");
  EXPECT_EQ(Read(block + "*#0Q#*", "b"), "(none)");
  const LogRecorder log;
  EXPECT_EQ(Read("#Q0#*0*U*0*#0Q#" + block + "*#0Q#*", "U"), "0");
  EXPECT_EQ(log.lines(), Lines{kDuplicate});
}

TEST(JpegCommentInputBuffer, ReadsTokensOfEveryLength) {
  for (std::size_t length = 0; length < 80; ++length) {
    const std::string body(length, 'x');
    EXPECT_EQ(Read("*#Q0#*0*T*" + body + "*U*y*#0Q#*"), body) << length;
    EXPECT_EQ(Read("*#Q0#*0*T*" + body + "*U*y*#0Q#*", "U"), "y") << length;
    EXPECT_EQ(Read("*#Q0#*0*f" + body + "*x*T*y*#0Q#"), "y") << length;
    EXPECT_EQ(Read("*#Q0#*0*T*" + body), "(no block)") << length;
  }
}

TEST(JpegCommentInputBuffer, LogsAnInvalidBody) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*bad*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  const LogRecorder log;
  EXPECT_EQ(BodyIn(comment, "T"), "(none)");
  EXPECT_EQ(log.lines(), Lines{"2 Message of family T has invalid body."});
}

TEST(JpegCommentInputBuffer, SaysNothingAboutAFamilyThatIsNotThere) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*1*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  const auto message = NewText("U", "before");
  const LogRecorder log;
  EXPECT_FALSE(comment.GetMessage(message.get()));
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(message->body, "before");
}

TEST(JpegCommentInputBuffer, LogsAQuestionForNull) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*1*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  const LogRecorder log;
  EXPECT_FALSE(comment.GetMessage(nullptr));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: message_to_fill"});
}

TEST(JpegCommentInputBuffer, LogsAQuestionWhileNothingIsFound) {
  UseClosedFactory();
  const JpegCommentInputBuffer comment("*#Q0#*0*T*1*#0Q#*");
  const LogRecorder log;
  EXPECT_EQ(BodyIn(comment, "T"), "(none)");
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: !message_map_.empty()"});
}

TEST(JpegCommentInputBuffer, LogsAQuestionForAMessageWithoutFamily) {
  UseClosedFactory();
  JpegCommentInputBuffer comment("*#Q0#*0*T*1*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  TextMessage message;
  const LogRecorder log;
  EXPECT_FALSE(comment.GetMessage(&message));
  EXPECT_EQ(log.lines(), Lines{"3 Fatal unloading of message not created by message factory."});
}

}  // namespace
}  // namespace vortan
