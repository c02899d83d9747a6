// SPDX-License-Identifier: Apache-2.0
#include "util/coding/coder.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/util/coding/bit_twins.h"

namespace {

using test_support::ExactBytes;
using test_support::LogRecorder;
using Lines = std::vector<std::string>;

std::string Content(const Encoder& encoder) {
  return encoder.length() == 0 ? std::string() : std::string(encoder.base(), encoder.length());
}

TEST(Encoder, HasNothingAtFirst) {
  const Encoder encoder;
  EXPECT_EQ(encoder.length(), 0u);
  EXPECT_EQ(encoder.avail(), 0u);
  EXPECT_TRUE(encoder.ensure_allowed());
  EXPECT_EQ(encoder.base(), nullptr);
}

TEST(Encoder, GrowsToWhatIsAskedForAndThenDoubles) {
  const LogRecorder recorder;
  Encoder encoder;
  encoder.EnsureSlowPath(1);
  EXPECT_EQ(encoder.avail(), 1u);
  encoder.Put8('a');
  EXPECT_EQ(encoder.avail(), 0u);
  encoder.Ensure(1);
  EXPECT_EQ(encoder.length() + encoder.avail(), 2u);
  encoder.Put8('b');
  encoder.Ensure(1);
  EXPECT_EQ(encoder.length() + encoder.avail(), 4u);
  encoder.Ensure(10);
  EXPECT_EQ(encoder.length() + encoder.avail(), 12u);
  EXPECT_EQ(Content(encoder), "ab");
  EXPECT_EQ(recorder.lines(), Lines{});
}

TEST(Encoder, StaysWhereThereIsRoom) {
  Encoder encoder;
  encoder.Ensure(8);
  const char* const block = encoder.base();
  encoder.Put32(0x04030201);
  encoder.Ensure(4);
  EXPECT_EQ(encoder.base(), block);
  EXPECT_EQ(Content(encoder), "\x01\x02\x03\x04");
}

TEST(Encoder, HoldsZerosBehindWhatWasWritten) {
  Encoder encoder;
  encoder.Ensure(100);
  EXPECT_EQ(std::string(encoder.base(), 100), std::string(100, '\0'));
  encoder.Put8('x');
  encoder.Ensure(300);
  EXPECT_EQ(std::string(encoder.base(), 301), "x" + std::string(300, '\0'));
}

TEST(Encoder, ReportsThatAFixedBufferMayNotGrowAndGrowsAllTheSame) {
  const LogRecorder recorder;
  char buffer[2] = {};
  {
    Encoder encoder(buffer, sizeof(buffer));
    EXPECT_FALSE(encoder.ensure_allowed());
    encoder.Put8('a');
    encoder.Put8('b');
    EXPECT_EQ(recorder.lines(), Lines{});
    encoder.Put8('c');
    EXPECT_EQ(Content(encoder), "abc");
    EXPECT_TRUE(encoder.ensure_allowed());
  }
  EXPECT_EQ(std::string(buffer, 2), "ab");
  EXPECT_EQ(recorder.lines(), Lines{"3 Check failed: ensure_allowed()"});
  EXPECT_EQ(recorder.entries()[0].file, "util/coding/coder.cc");
}

TEST(Encoder, ThrowsForASizeThatCannotBeAndStaysAsItWas) {
  Encoder encoder;
  encoder.Put8('a');
  EXPECT_THROW(encoder.Ensure(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
  EXPECT_EQ(Content(encoder), "a");
}

TEST(Encoder, IsEmptyOnceAllIsRemovedAndReportsMore) {
  const LogRecorder recorder;
  Encoder encoder;
  encoder.Put32(7);
  encoder.RemoveLast(encoder.length());
  EXPECT_EQ(encoder.length(), 0u);
  EXPECT_EQ(recorder.lines(), Lines{});
  encoder.RemoveLast(1);
  EXPECT_EQ(recorder.lines(), Lines{"3 Check failed: length() >= N"});
  EXPECT_EQ(encoder.length(), 0u);
  encoder.Put8('x');
  EXPECT_EQ(Content(encoder), "x");
}

TEST(Encoder, TakesTheLastBytesBack) {
  Encoder encoder;
  encoder.Put32(0x64636261);
  encoder.RemoveLast(1);
  EXPECT_EQ(Content(encoder), "abc");
  encoder.Resize(1);
  EXPECT_EQ(Content(encoder), "a");
  encoder.Resize(1);
  EXPECT_EQ(Content(encoder), "a");
}

TEST(Encoder, OnlyShortensWhenResized) {
  const LogRecorder recorder;
  Encoder encoder;
  encoder.Ensure(10);
  encoder.Put8('a');
  encoder.Resize(2);
  EXPECT_EQ(recorder.lines(), Lines{"3 Check failed: length() >= N"});
  EXPECT_EQ(Content(encoder), "a");
}

TEST(Encoder, KnowsTheLengthOfVarints) {
  EXPECT_EQ(Encoder::varint32_length(0), 1);
  EXPECT_EQ(Encoder::varint32_length(127), 1);
  EXPECT_EQ(Encoder::varint32_length(128), 2);
  EXPECT_EQ(Encoder::varint32_length(0xFFFFFFFF), 5);
  EXPECT_EQ(Encoder::varint64_length(0), 1);
  EXPECT_EQ(Encoder::varint64_length(0xFFFFFFFFFFFFFFFF), 10);
}

struct Read32 {
  bool good;
  std::uint32_t value;
  std::size_t pos;
  bool operator==(const Read32& o) const {
    return good == o.good && value == o.value && pos == o.pos;
  }
};

Read32 Get32(const std::string& text) {
  const ExactBytes bytes(text);
  Decoder decoder(bytes.data(), bytes.size());
  std::uint32_t v = 77;
  const bool good = decoder.get_varint32(&v);
  return {good, v, decoder.pos()};
}

const Read32 kFailed32 = {false, 77, 0};

TEST(DecoderVarint32, FailsAtOnceAtTheEnd) {
  EXPECT_EQ(Get32(""), kFailed32);
  std::uint32_t v = 77;
  EXPECT_FALSE(Decoder().get_varint32(&v));
  EXPECT_EQ(v, 77u);
}

TEST(DecoderVarint32, FailsOnEveryPrefixWithoutMoving) {
  const std::string whole = "\xFF\xFF\xFF\xFF\x0F";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(Get32(whole.substr(0, length)), kFailed32) << length;
  }
  EXPECT_EQ(Get32(whole), (Read32{true, 0xFFFFFFFF, 5}));
}

TEST(DecoderVarint32, RefusesAFifthByteAboveFifteenAtTheEndOnly) {
  const std::string too_big = "\xFF\xFF\xFF\xFF\x7F";
  EXPECT_EQ(Get32(too_big), kFailed32);
  EXPECT_EQ(Get32(too_big + "\x01"), (Read32{true, 0xFFFFFFFF, 5}));
  EXPECT_EQ(Get32("\x81\x80\x80\x80\x10"), kFailed32);
  EXPECT_EQ(Get32("\x81\x80\x80\x80\x10!"), (Read32{true, 1, 5}));
}

TEST(DecoderVarint32, RefusesAFifthByteThatGoesOn) {
  EXPECT_EQ(Get32(std::string(5, '\x80')), kFailed32);
  EXPECT_EQ(Get32(std::string(6, '\x80')), kFailed32);
  EXPECT_EQ(Get32(std::string(12, '\x80')), kFailed32);
}

TEST(DecoderVarint32, ReadsOneByteNumbersOnBothRoutes) {
  EXPECT_EQ(Get32("\x05"), (Read32{true, 5, 1}));
  EXPECT_EQ(Get32("\x05.........."), (Read32{true, 5, 1}));
  EXPECT_EQ(Get32("\xAC\x02"), (Read32{true, 300, 2}));
  EXPECT_EQ(Get32("\xAC\x02.........."), (Read32{true, 300, 2}));
}

TEST(DecoderVarint64, LeavesThePositionWhereTheBytesRanOut) {
  for (std::size_t length = 0; length < 10; ++length) {
    const ExactBytes bytes(std::string(length, '\x80'));
    Decoder decoder(bytes.data(), bytes.size());
    std::uint64_t v = 77;
    EXPECT_FALSE(decoder.get_varint64(&v));
    EXPECT_EQ(decoder.pos(), length);
    EXPECT_EQ(v, 77u);
  }
}

TEST(DecoderVarint64, StaysWhereItWasWhenTenBytesGoOn) {
  for (const std::size_t size : {10u, 11u, 12u}) {
    const ExactBytes bytes(std::string(size, '\x80'));
    Decoder decoder(bytes.data(), bytes.size());
    std::uint64_t v = 77;
    EXPECT_FALSE(decoder.get_varint64(&v));
    EXPECT_EQ(decoder.pos(), 0u);
    EXPECT_EQ(v, 77u);
  }
}

TEST(DecoderVarint64, DropsTheTopBitsOfATenthByte) {
  const ExactBytes bytes("\x81\x80\x80\x80\x80\x80\x80\x80\x80\x7F");
  Decoder decoder(bytes.data(), bytes.size());
  std::uint64_t v = 0;
  EXPECT_TRUE(decoder.get_varint64(&v));
  EXPECT_EQ(v, 0x8000000000000001u);
  EXPECT_EQ(decoder.avail(), 0u);
}

TEST(Decoder, ReadsARowOfNumbersOfEveryLength) {
  std::string text;
  std::vector<std::uint64_t> numbers;
  for (int bit = 0; bit < 64; ++bit) {
    numbers.push_back((std::uint64_t{1} << bit) + 5);
    Varint::Append64Slow(&text, numbers.back());
    Varint::Append32Slow(&text, static_cast<std::uint32_t>(numbers.back()));
  }
  const ExactBytes bytes(text);
  Decoder decoder(bytes.data(), bytes.size());
  for (const std::uint64_t number : numbers) {
    std::uint64_t wide = 0;
    std::uint32_t narrow = 0;
    ASSERT_TRUE(decoder.get_varint64(&wide));
    ASSERT_EQ(wide, number);
    ASSERT_TRUE(decoder.get_varint32(&narrow));
    ASSERT_EQ(narrow, static_cast<std::uint32_t>(number));
  }
  EXPECT_EQ(decoder.avail(), 0u);
}

}  // namespace
