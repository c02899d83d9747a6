// SPDX-License-Identifier: Apache-2.0
// The factory from its first registration to its closing. It closes once for a process, so each of
// these tests runs in a process of its own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/common/internal/comment_fixture.h"
#include "vortan/common/internal/jpeg_comments-inl.h"

namespace vortan {
namespace {

using test_support::BarrenMessage;
using test_support::LogRecorder;
using test_support::TextMessage;
using Factory = JpegCommentMessageFactory;
using Lines = std::vector<std::string>;

// A test that runs in a copy of the process; its failures are printed by that copy.
#define OWN_PROCESS_TEST(suite, name)                                                              \
  void suite##name##Body();                                                                        \
  TEST(suite, name) {                                                                              \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
          suite##name##Body();                                                                     \
          std::exit(testing::Test::HasFailure() ? 1 : 0);                                          \
        },                                                                                         \
        testing::ExitedWithCode(0), "");                                                           \
  }                                                                                                \
  void suite##name##Body()

constexpr char kClosedTwice[] = "3 Check failed: !registration_closed_";
constexpr char kOpen[] = "3 Check failed: registration_closed_";

OWN_PROCESS_TEST(JpegCommentRegistration, IsOpenAtStart) {
  EXPECT_FALSE(Factory::registration_closed());
  EXPECT_FALSE(Factory::IsFamilyNameRegistered("AD"));
}

OWN_PROCESS_TEST(JpegCommentRegistration, GivesThePrototypeItsFamily) {
  const LogRecorder log;
  auto* const prototype = new TextMessage;
  JpegCommentRegisterFamily("AD", prototype);
  EXPECT_TRUE(Factory::IsFamilyNameRegistered("AD"));
  EXPECT_EQ(prototype->family(), "AD");
  EXPECT_TRUE(log.lines().empty());
}

OWN_PROCESS_TEST(JpegCommentRegistration, ClosesOnceAndForGood) {
  const LogRecorder log;
  JpegCommentSetRegistrationClosed();
  EXPECT_TRUE(Factory::registration_closed());
  EXPECT_TRUE(log.lines().empty());
  JpegCommentSetRegistrationClosed();
  EXPECT_TRUE(Factory::registration_closed());
  EXPECT_EQ(log.lines(), Lines{kClosedTwice});
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsALateFamilyAndRegistersIt) {
  JpegCommentSetRegistrationClosed();
  const LogRecorder log;
  JpegCommentRegisterFamily("Late", new TextMessage);
  EXPECT_EQ(log.lines(), Lines{kClosedTwice});
  EXPECT_TRUE(Factory::IsFamilyNameRegistered("Late"));
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsAnInvalidFamilyAndRegistersIt) {
  for (const char* family : {"", "a-b", "1a", "\xC3\xA4"}) {
    const LogRecorder log;
    JpegCommentRegisterFamily(family, new TextMessage);
    EXPECT_EQ(log.lines(), Lines{"3 Fatal attempt to register invalid message family."}) << family;
    EXPECT_TRUE(Factory::IsFamilyNameRegistered(family)) << family;
  }
}

OWN_PROCESS_TEST(JpegCommentRegistration, TakesAFamilyByWhatIsAheadOfAZeroByte) {
  const LogRecorder log;
  JpegCommentRegisterFamily(std::string("A\0-", 3), new TextMessage);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_TRUE(Factory::IsFamilyNameRegistered(std::string("A\0-", 3)));
  EXPECT_FALSE(Factory::IsFamilyNameRegistered("A"));
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsADoubledFamilyAndReplacesThePrototype) {
  JpegCommentRegisterFamily("T", new TextMessage("first"));
  const LogRecorder log;
  JpegCommentRegisterFamily("T", new TextMessage("second"));
  EXPECT_EQ(log.lines(), Lines{"3 Fatal attempt to register message family already in use."});
  JpegCommentSetRegistrationClosed();
  const auto message = JpegCommentCreateMessage<TextMessage>("T");
  EXPECT_EQ(message->setting(), "second");
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsANullPrototypeAndStoresNothing) {
  const LogRecorder log;
  Factory::RegisterFamily("T", nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: instance"});
  JpegCommentRegisterFamily("T", nullptr);
  EXPECT_EQ(log.lines(), Lines(3, "3 Check failed: instance"));
  EXPECT_FALSE(Factory::IsFamilyNameRegistered("T"));
}

OWN_PROCESS_TEST(JpegCommentRegistration, KeepsAPrototypeThatIsRegisteredAgainAlive) {
  auto* const prototype = new TextMessage("shared");
  JpegCommentRegisterFamily("T", prototype);
  JpegCommentRegisterFamily("T", prototype);
  JpegCommentRegisterFamily("U", prototype);
  JpegCommentSetRegistrationClosed();
  for (const char* family : {"T", "U"}) {
    const auto message = JpegCommentCreateMessage<TextMessage>(family);
    EXPECT_EQ(message->setting(), "shared");
    EXPECT_EQ(message->family(), "U");
  }
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsACreationWhileOpenAndMakesTheMessage) {
  JpegCommentRegisterFamily("T", new TextMessage("kept"));
  const LogRecorder log;
  const auto message = JpegCommentCreateMessage<TextMessage>("T");
  EXPECT_EQ(log.lines(), Lines{kOpen});
  EXPECT_EQ(message->setting(), "kept");
  EXPECT_EQ(message->family(), "T");
}

OWN_PROCESS_TEST(JpegCommentRegistration, LogsReadingAndWritingWhileOpen) {
  JpegCommentRegisterFamily("T", new TextMessage);
  const std::unique_ptr<JpegCommentMessage> message(Factory::CreateMessage("T"));
  const LogRecorder log;
  JpegCommentOutputBuffer block;
  EXPECT_TRUE(block.AppendMessage(*message));
  JpegCommentInputBuffer comment("*#Q0#*0*T*x*#0Q#*");
  EXPECT_TRUE(comment.FindMessages());
  EXPECT_EQ(log.lines(),
            Lines(2, "3 Check failed: JpegCommentMessageFactory::registration_closed()"));
}

OWN_PROCESS_TEST(JpegCommentRegistration, HasADatePrototypeWithABoundAboveOneReadAsUnknown) {
  JpegCommentRegisterFamily("AD", new JpegCommentMessageDominantTileAcquisitionDate(1.5f));
  JpegCommentSetRegistrationClosed();
  const std::unique_ptr<JpegCommentDate> date(
      JpegCommentAggregatedTileDateIn("*#Q0#*0*AD*2017:12:31*#0Q#*"));
  ASSERT_NE(date, nullptr);
  EXPECT_EQ(date->year(), 0);
}

// Dates whose messages are finished from the start and come down to nothing.
class FinishedDates : public JpegCommentMessageTileAcquisitionDates {
 public:
  JpegCommentMessage* CreateNewMessage() const override {
    auto* const message = new FinishedDates;
    message->Finalize();
    return message;
  }
  JpegCommentDate* AggregatedDate() const override { return nullptr; }
};

OWN_PROCESS_TEST(JpegCommentRegistration, HasADatePrototypeThatComesDownToNothing) {
  JpegCommentRegisterFamily("AD", new FinishedDates);
  JpegCommentSetRegistrationClosed();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentTileAcquisitionDatesOut(new std::map<unsigned int, float>), nullptr);
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: !finalized_", "3 Check failed: !finalized_",
                                "3 Check failed: date.get()"}));
  EXPECT_EQ(JpegCommentAggregatedTileDateIn("*#Q0#*0*AD*2017:12:31*#0Q#*"), nullptr);
}

OWN_PROCESS_TEST(JpegCommentRegistration, LacksTheDateFamilySoNoDateIsReadOrWritten) {
  JpegCommentRegisterFamily("AD", new TextMessage);  // Of another class, which is as bad as none.
  JpegCommentSetRegistrationClosed();
  const LogRecorder log;
  EXPECT_EQ(JpegCommentAggregatedTileDateIn("*#Q0#*0*AD*2017:12:31*#0Q#*"), nullptr);
  EXPECT_EQ(JpegCommentTileAcquisitionDatesOut(new std::map<unsigned int, float>), nullptr);
  EXPECT_EQ(log.lines(), Lines(2, "3 Check failed: message"));
  const std::string header = "vortan/common/internal/jpeg_comments-inl.h";
  const std::string file = log.entries().front().file;  // Below the folder of published headers.
  ASSERT_GE(file.size(), header.size());
  EXPECT_EQ(file.substr(file.size() - header.size()), header);
}

}  // namespace
}  // namespace vortan
