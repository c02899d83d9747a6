// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/common/internal/comment_fixture.h"

namespace vortan {
namespace {

using test_support::LogRecorder;
using test_support::NewText;
using test_support::TextMessage;
using Lines = std::vector<std::string>;

std::string BlockWith(const std::string& messages) {
  return "*#Q0#*0" + messages + "*#0Q#*";
}

TEST(JpegCommentMarkers, AreTheSameTextsAtEveryCall) {
  EXPECT_EQ(JpegCommentQuillonSeparator(), "*");
  EXPECT_EQ(JpegCommentQuillonStart(), "#Q0#");
  EXPECT_EQ(JpegCommentQuillonEnd(), "#0Q#");
  EXPECT_EQ(JpegCommentQuillonTrailer(), "*#0Q#*");
  EXPECT_EQ(&JpegCommentQuillonStart(), &JpegCommentQuillonStart());
  EXPECT_EQ(&JpegCommentQuillonTrailer(), &JpegCommentQuillonTrailer());
}

TEST(JpegCommentMessage, MeasuresItsBodyByWritingIt) {
  TextMessage message;
  EXPECT_EQ(message.BodyLengthInChars(), 0u);
  message.body = "2017:12:31";
  EXPECT_EQ(message.BodyLengthInChars(), 10u);
}

TEST(JpegCommentMessageFactory, MakesMessagesWithFamilyAndSettingsOfThePrototype) {
  const LogRecorder log;
  const auto message = NewText("T");
  EXPECT_EQ(message->family(), "T");
  EXPECT_EQ(message->setting(), "setting of T");
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentMessageFactory, LogsAnUnregisteredFamilyAndMakesNothing) {
  test_support::UseClosedFactory();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentMessageFactory::CreateMessage("Nobody"), nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Fatal attempt to create unregistered JpegCommentMessage."});
}

TEST(JpegCommentMessageFactory, LogsAPrototypeThatMakesNothing) {
  test_support::UseClosedFactory();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentMessageFactory::CreateMessage("Barren"), nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: new_message.get()"});
}

TEST(JpegCommentOutputBuffer, WritesOneDateIn27Bytes) {
  const auto message = NewText("AE", "2017:12:31");
  const LogRecorder log;
  JpegCommentOutputBuffer block;
  EXPECT_TRUE(block.AppendMessage(*message));
  EXPECT_FALSE(block.finalized());
  block.Finalize();
  EXPECT_TRUE(block.finalized());
  EXPECT_EQ(block.buffer(), "*#Q0#*0*AE*2017:12:31*#0Q#*");
  EXPECT_EQ(block.buffer().size(), 27u);
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentOutputBuffer, WritesMessagesInTheOrderInWhichTheyCome) {
  JpegCommentOutputBuffer block;
  EXPECT_TRUE(block.AppendMessage(*NewText("U", "2")));
  EXPECT_TRUE(block.AppendMessage(*NewText("T", "1")));
  block.Finalize();
  EXPECT_EQ(block.buffer(), BlockWith("*U*2*T*1"));
}

TEST(JpegCommentOutputBuffer, WritesAnEmptyBody) {
  JpegCommentOutputBuffer block;
  EXPECT_TRUE(block.AppendMessage(*NewText("T")));
  block.Finalize();
  EXPECT_EQ(block.buffer(), BlockWith("*T*"));
}

TEST(JpegCommentOutputBuffer, WritesABlockWithoutMessages) {
  JpegCommentOutputBuffer block;
  block.Finalize();
  EXPECT_EQ(block.buffer(), BlockWith(""));
}

TEST(JpegCommentOutputBuffer, HasTheCapacityOfACommentSegment) {
  EXPECT_EQ(JpegCommentOutputBuffer().max_size(), 65533);
}

TEST(JpegCommentOutputBuffer, LogsACapacityThatHeaderAndTrailerFillUp) {
  const std::string check =
      "3 Check failed: buffer_.length() + JpegCommentQuillonTrailer().length()<max_size_ 13<";
  {
    const LogRecorder log;
    EXPECT_EQ(JpegCommentOutputBuffer(14).buffer(), "*#Q0#*0");
    EXPECT_TRUE(log.lines().empty());
  }
  for (const long long capacity : {13LL, 0LL, -1LL}) {
    const LogRecorder log;
    JpegCommentOutputBuffer block(capacity);
    EXPECT_EQ(log.lines(), Lines{check + std::to_string(capacity)});
    block.Finalize();
    EXPECT_EQ(log.lines(), Lines(2, check + std::to_string(capacity)));
    EXPECT_EQ(block.buffer(), BlockWith(""));
  }
}

TEST(JpegCommentOutputBuffer, RefusesAMessageThatWouldFillItUp) {
  const auto message = NewText("T", "12345");
  // 13 for header and trailer, 1 for the family, 5 for the body, 2 separators.
  JpegCommentOutputBuffer full(21);
  const LogRecorder log;
  EXPECT_FALSE(full.AppendMessage(*message));
  EXPECT_EQ(log.lines(), Lines{"2 JpegCommentOutputBuffer capacity (21 bytes) exceeded."});
  EXPECT_EQ(full.buffer(), "*#Q0#*0");
  JpegCommentOutputBuffer enough(22);
  EXPECT_TRUE(enough.AppendMessage(*message));
  enough.Finalize();
  EXPECT_EQ(enough.buffer().size(), 21u);
  EXPECT_EQ(log.entries().size(), 1u);
}

TEST(JpegCommentOutputBuffer, HoldsBlocksOfUpTo65532Bytes) {
  JpegCommentOutputBuffer block;
  EXPECT_FALSE(block.AppendMessage(*NewText("T", std::string(65533 - 16, 'x'))));
  EXPECT_TRUE(block.AppendMessage(*NewText("T", std::string(65532 - 16, 'x'))));
  block.Finalize();
  EXPECT_EQ(block.buffer().size(), 65532u);
}

TEST(JpegCommentOutputBuffer, TakesAnotherMessageAfterARefusedOne) {
  JpegCommentOutputBuffer block(30);
  EXPECT_FALSE(block.AppendMessage(*NewText("T", std::string(40, 'x'))));
  // The refused message does not use up its family.
  EXPECT_TRUE(block.AppendMessage(*NewText("T", "x")));
  block.Finalize();
  EXPECT_EQ(block.buffer(), BlockWith("*T*x"));
}

TEST(JpegCommentOutputBuffer, RefusesASecondMessageOfAFamily) {
  JpegCommentOutputBuffer block;
  EXPECT_TRUE(block.AppendMessage(*NewText("T", "1")));
  const LogRecorder log;
  EXPECT_FALSE(block.AppendMessage(*NewText("T", "2")));
  EXPECT_EQ(log.lines(), Lines{"2 Fatal loading of multiple messages of same family."});
  EXPECT_EQ(block.buffer(), "*#Q0#*0*T*1");
}

TEST(JpegCommentOutputBuffer, LogsBodiesThatReadersCannotTakeAndWritesThem) {
  const struct {
    std::string body;
    std::string line;
  } cases[] = {
      {"#Q0#", "3 Fatal loading of body = JpegCommentQuillonStart."},
      {"#0Q#", "3 Fatal loading of body = JpegCommentQuillonEnd."},
      {"a*b", "3 Fatal loading of body with JpegCommentQuillonSeparator."},
  };
  for (const auto& entry : cases) {
    JpegCommentOutputBuffer block;
    const LogRecorder log;
    EXPECT_TRUE(block.AppendMessage(*NewText("T", entry.body)));
    EXPECT_EQ(log.lines(), Lines{entry.line});
    EXPECT_EQ(block.buffer(), "*#Q0#*0*T*" + entry.body);
  }
}

TEST(JpegCommentOutputBuffer, TakesABodyThatOnlyHoldsAMarker) {
  JpegCommentOutputBuffer block;
  const LogRecorder log;
  EXPECT_TRUE(block.AppendMessage(*NewText("T", "x#Q0#")));
  EXPECT_TRUE(log.lines().empty());
}

TEST(JpegCommentOutputBuffer, LogsAMessageWithoutFamilyAndWritesItWithAnEmptyOne) {
  test_support::UseClosedFactory();
  TextMessage message;
  message.body = "x";
  JpegCommentOutputBuffer block;
  const LogRecorder log;
  EXPECT_TRUE(block.AppendMessage(message));
  EXPECT_EQ(log.lines(), (Lines{"3 Fatal loading of message not created by message factory.",
                                "3 Check failed: JpegCommentMessageFactory::"
                                "IsFamilyNameRegistered(message.family())"}));
  EXPECT_EQ(block.buffer(), "*#Q0#*0**x");
}

TEST(JpegCommentOutputBuffer, LogsAMessageBehindItsEndAndWritesItThere) {
  JpegCommentOutputBuffer block;
  block.Finalize();
  const LogRecorder log;
  EXPECT_TRUE(block.AppendMessage(*NewText("T", "x")));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: !finalized_"});
  EXPECT_EQ(block.buffer(), BlockWith("") + "*T*x");
}

TEST(JpegCommentOutputBuffer, LogsASecondEndAndWritesIt) {
  JpegCommentOutputBuffer block;
  block.Finalize();
  const LogRecorder log;
  block.Finalize();
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: !finalized_"});
  EXPECT_EQ(block.buffer(), BlockWith("") + "*#0Q#*");
}

TEST(JpegCommentOutputBuffer, NamesFileAndLineOfAFailedCheckOnly) {
  JpegCommentOutputBuffer block;
  block.AppendMessage(*NewText("T"));
  const LogRecorder log;
  block.AppendMessage(*NewText("T"));
  block.Finalize();
  block.Finalize();
  ASSERT_EQ(log.entries().size(), 2u);
  EXPECT_EQ(log.entries()[0].file, "");
  EXPECT_EQ(log.entries()[1].file, "vortan/common/internal/jpeg_comments.cc");
}

}  // namespace
}  // namespace vortan
