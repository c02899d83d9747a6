// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tests/util/coding/bit_twins.h"
#include "util/coding/bitcoding.h"

namespace {

using test_support::BitReaderTwin;
using test_support::BitWriterTwin;
using test_support::ExactBytes;
constexpr unsigned kSeed = 20261121;

// Reads from a block of exactly the text's size.
class Reader {
 public:
  explicit Reader(const std::string& text) : bytes_(text), decoder_(bytes_.data(), bytes_.size()) {}
  BitDecoder* operator->() { return &decoder_; }

 private:
  ExactBytes bytes_;
  BitDecoder decoder_;
};

TEST(BitDecoder, TakesTheLowestBitFirst) {
  Reader reader("\x0D");
  std::uint32_t v = 0;
  EXPECT_TRUE(reader->GetBits(3, &v));
  EXPECT_EQ(v, 5u);
  EXPECT_TRUE(reader->GetBits(1, &v));
  EXPECT_EQ(v, 1u);
}

TEST(BitDecoder, GivesZeroForNoBitsAlsoAtTheEnd) {
  std::uint32_t v = 77;
  EXPECT_TRUE(Reader("")->GetBits(0, &v));
  EXPECT_EQ(v, 0u);
  BitDecoder nothing(nullptr, 0);
  v = 77;
  EXPECT_TRUE(nothing.GetBits(0, &v));
  EXPECT_EQ(v, 0u);
  EXPECT_FALSE(nothing.GetBits(1, &v));
}

TEST(BitDecoder, HasTheFirstLoadInHandAfterTheFirstRequestFails) {
  Reader reader("\xFF");
  std::uint32_t v = 77;
  ASSERT_TRUE(reader->GetBits(0, &v));
  v = 77;
  EXPECT_FALSE(reader->GetBits(9, &v));
  EXPECT_EQ(v, 77u);
  // The byte was loaded for the first request, and is in hand for the second.
  EXPECT_TRUE(reader->GetBits(8, &v));
  EXPECT_EQ(v, 0xFFu);
}

TEST(BitDecoder, FailsForNineBitsWithEightInHandAndThenForOne) {
  Reader reader(std::string("\x01\xFF", 2));
  std::uint32_t v = 77;
  ASSERT_TRUE(reader->GetBits(8, &v));
  ASSERT_EQ(reader->bits_in_hand(), 8);
  EXPECT_FALSE(reader->GetBits(9, &v));
  EXPECT_FALSE(reader->GetBits(1, &v));
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(reader->bits_in_hand(), 0);
}

TEST(BitDecoder, KeepsNothingOfFourBitsWhenFiveAreWanted) {
  Reader reader("\xFF\xFF");
  std::uint32_t v = 0;
  EXPECT_TRUE(reader->GetBits(12, &v));
  EXPECT_EQ(v, 0xFFFu);
  EXPECT_FALSE(reader->GetBits(5, &v));
  EXPECT_FALSE(reader->GetBits(1, &v));
  EXPECT_EQ(reader->bits_in_hand(), 0);
}

TEST(BitDecoder, KeepsTheBitsThatWereLoadedForAFailedRequest) {
  Reader reader("12345678\x2A");
  std::uint32_t v = 0;
  ASSERT_TRUE(reader->GetBits(32, &v));
  ASSERT_TRUE(reader->GetBits(30, &v));
  // Two bits in hand, eight in the next load: thirty-two are not there, the eight are.
  EXPECT_FALSE(reader->GetBits(32, &v));
  EXPECT_EQ(reader->bits_in_hand(), 8);
  EXPECT_TRUE(reader->GetBits(8, &v));
  EXPECT_EQ(v, 0x2Au);
}

TEST(BitDecoder, LoadsEightBytesOrWhatIsLeft) {
  Reader reader("123456789AB");
  std::uint32_t v = 0;
  EXPECT_EQ(reader->bytes_loaded(), 0u);
  ASSERT_TRUE(reader->GetBits(1, &v));
  EXPECT_EQ(reader->bytes_loaded(), 8u);
  EXPECT_EQ(reader->bits_in_hand(), 63);
  ASSERT_TRUE(reader->GetBits(32, &v));
  ASSERT_TRUE(reader->GetBits(32, &v));
  EXPECT_EQ(reader->bytes_loaded(), 11u);
  EXPECT_EQ(reader->bits_in_hand(), 23);
}

TEST(BitDecoder, TakesAllBitsInHandAtOnce) {
  Reader reader("1234567890abcdef");
  std::uint32_t v = 0;
  ASSERT_TRUE(reader->GetBits(32, &v));
  ASSERT_TRUE(reader->GetBits(32, &v));
  EXPECT_EQ(reader->bits_in_hand(), 0);
  ASSERT_TRUE(reader->GetBits(8, &v));
  EXPECT_EQ(v, static_cast<std::uint32_t>('9'));
}

TEST(BitDecoder, ConsumesWideRequestsOfDamagedStreamsAndGivesTheirLowBits) {
  Reader reader("1234567890abcdefXYZ");
  std::uint32_t v = 0;
  ASSERT_TRUE(reader->GetBits(8, &v));
  ASSERT_TRUE(reader->GetBits(40, &v));
  EXPECT_EQ(v, 0x35343332u);
  ASSERT_TRUE(reader->GetBits(16 + 64, &v));
  EXPECT_EQ(v, 0x30393837u);
  EXPECT_EQ(reader->bits_in_hand(), 0);
  v = 77;
  EXPECT_FALSE(reader->GetBits(2147483647, &v));
  EXPECT_EQ(v, 77u);
  EXPECT_EQ(reader->bits_in_hand(), 24);
}

TEST(BitDecoder, FailsWithoutEffectForANegativeWidth) {
  Reader reader("12");
  std::uint32_t v = 77;
  EXPECT_FALSE(reader->GetBits(-1, &v));
  EXPECT_FALSE(reader->GetBits(-2147483647 - 1, &v));
  EXPECT_EQ(reader->bytes_loaded(), 0u);
  EXPECT_EQ(v, 77u);
}

TEST(BitDecoder, CountsUnaryCodesAcrossLoads) {
  for (const int n : {1, 2, 8, 9, 63, 64, 65, 66, 128, 129, 1000}) {
    for (int before = 0; before < 70; before += 7) {
      BitWriterTwin twin;
      for (int i = 0; i < before; ++i) {
        twin.PutBits(0, 1);
      }
      twin.PutUnary(n);
      Reader reader(twin.Bytes());
      std::uint32_t v = 0;
      for (int i = 0; i < before; ++i) {
        ASSERT_TRUE(reader->GetBits(1, &v));
      }
      ASSERT_TRUE(reader->GetUnary(&v));
      ASSERT_EQ(v, static_cast<std::uint32_t>(n)) << before;
    }
  }
}

TEST(BitDecoder, FailsOnAUnaryCodeThatDoesNotEnd) {
  for (std::size_t length = 0; length < 20; ++length) {
    Reader reader(std::string(length, '\xFF'));
    std::uint32_t v = 77;
    EXPECT_FALSE(reader->GetUnary(&v));
    EXPECT_EQ(v, 77u);
    EXPECT_EQ(reader->bits_in_hand(), 0);
    EXPECT_EQ(reader->bytes_loaded(), length);
  }
}

TEST(BitDecoder, ReadsTheGammaCodesOfEveryLength) {
  BitWriterTwin twin;
  std::vector<std::uint32_t> values;
  for (int bit = 0; bit < 32; ++bit) {
    const std::uint32_t power = std::uint32_t{1} << bit;
    values.insert(values.end(), {power, power | 1, power | (power - 1)});
  }
  for (const std::uint32_t v : values) {
    twin.PutGamma(v);
  }
  Reader reader(twin.Bytes());
  for (const std::uint32_t expected : values) {
    std::uint32_t v = 0;
    ASSERT_TRUE(reader->GetGamma(&v));
    ASSERT_EQ(v, expected);
  }
}

TEST(BitDecoder, RefusesAGammaCodeWiderThanANumber) {
  BitWriterTwin twin;
  twin.PutUnary(33);
  twin.PutBits(0xAB, 8);
  Reader reader(twin.Bytes());
  std::uint32_t v = 77;
  EXPECT_FALSE(reader->GetGamma(&v));
  EXPECT_EQ(v, 77u);
  EXPECT_TRUE(reader->GetBits(8, &v));
  EXPECT_EQ(v, 0xABu);
}

TEST(BitDecoder, RefusesACutGammaCode) {
  std::uint32_t v = 77;
  EXPECT_FALSE(Reader("\x7F")->GetGamma(&v));
  EXPECT_EQ(v, 77u);
}

TEST(BitDecoder, HoldsUnaryLengthsOfBytes) {
  EXPECT_EQ(BitDecoder::unary_decode_table[0], 1);
  EXPECT_EQ(BitDecoder::unary_decode_table[1], 2);
  EXPECT_EQ(BitDecoder::unary_decode_table[2], 1);
  EXPECT_EQ(BitDecoder::unary_decode_table[0x7F], 8);
  EXPECT_EQ(BitDecoder::unary_decode_table[0xFF], 9);
  for (unsigned byte = 0; byte < 255; ++byte) {
    EXPECT_EQ(BitDecoder::unary_decode_table[byte], __builtin_ctz(~byte) + 1);
  }
}

// One random request to both; the results, the values and what is left in hand must be the same.
void CompareOneStep(std::mt19937* random, BitDecoder* decoder, BitReaderTwin* twin) {
  std::uint32_t v = 77;
  std::uint32_t expected = 77;
  bool good = false;
  bool expected_good = false;
  const auto kind = (*random)() % 8;
  if (kind == 0) {
    good = decoder->GetUnary(&v);
    expected_good = twin->GetUnary(&expected);
  } else if (kind == 1) {
    good = decoder->GetGamma(&v);
    expected_good = twin->GetGamma(&expected);
  } else {
    const int n = static_cast<int>((*random)() % (kind == 2 ? 140 : 33));
    good = decoder->GetBits(n, &v);
    expected_good = twin->GetBits(n, &expected);
  }
  ASSERT_EQ(good, expected_good);
  ASSERT_EQ(v, expected);
  ASSERT_EQ(decoder->bytes_loaded(), twin->bytes_loaded());
  ASSERT_EQ(static_cast<std::size_t>(decoder->bits_in_hand()), twin->bits_in_hand());
  ASSERT_EQ(decoder->at_end(), twin->at_end());
}

TEST(BitDecoder, ReadsAnyBytesAsTheTwinAlsoBeyondTheirEnd) {
  std::mt19937 random(kSeed);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const bool mostly_ones = random() % 3 == 0;
    for (auto length = random() % 60; length > 0; --length) {
      text.push_back(static_cast<char>(mostly_ones ? 0xFF - (random() % 16 == 0) : random() % 256));
    }
    const ExactBytes bytes(text);
    BitDecoder decoder(bytes.data(), bytes.size());
    BitReaderTwin twin(text);
    for (int step = 0; step < 60; ++step) {
      CompareOneStep(&random, &decoder, &twin);
      ASSERT_FALSE(HasFatalFailure()) << "round " << round << " step " << step;
    }
  }
}

TEST(BitDecoder, ReadsEveryPrefixOfAStreamWithoutTouchingMore) {
  BitEncoder encoder;
  for (std::uint32_t i = 1; i < 60; ++i) {
    encoder.PutBits(i * 77777, static_cast<int>(i % 33));
    encoder.PutGamma(i * i);
  }
  encoder.Flush();
  const std::string whole(encoder.encoder().base(), encoder.encoder().length());
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    Reader reader(whole.substr(0, length));
    bool all = true;
    for (std::uint32_t i = 1; i < 60 && all; ++i) {
      std::uint32_t bits = 0;
      std::uint32_t gamma = 0;
      all = reader->GetBits(static_cast<int>(i % 33), &bits) && reader->GetGamma(&gamma);
      if (all) {
        ASSERT_EQ(bits, (i * 77777) & static_cast<std::uint32_t>(BitEncoder::mask_[i % 33]));
        ASSERT_EQ(gamma, i * i);
      }
    }
    ASSERT_EQ(all, length == whole.size());
  }
}

TEST(BitDecoder, ReadsTheGammaCodesOfEveryLengthFromEveryBitOfAByte) {
  for (int before = 0; before < 8; ++before) {
    for (unsigned n = 0; n < 32; ++n) {
      const auto value = static_cast<std::uint32_t>(BitEncoder::mask_[n + 1]);
      for (const std::size_t behind : {0u, 1u, 16u}) {
        BitWriterTwin twin;
        twin.PutBits(0, before);
        twin.PutGamma(value);
        Reader reader(twin.Bytes() + std::string(behind, '\xFF'));
        std::uint32_t v = 0;
        ASSERT_TRUE(reader->GetBits(before, &v));
        ASSERT_TRUE(reader->GetGamma(&v));
        ASSERT_EQ(v, value) << before;
      }
    }
  }
}

TEST(BitDecoder, IsAtTheEndOnceTheLastBitOfALongCodeIsRead) {
  BitWriterTwin twin;
  twin.PutBits(0, 7);
  twin.PutGamma(0x12345678);
  ASSERT_EQ(twin.Bytes().size(), 8u);
  Reader reader(twin.Bytes());
  std::uint32_t v = 0;
  ASSERT_TRUE(reader->GetBits(7, &v));
  EXPECT_FALSE(reader->at_end());
  ASSERT_TRUE(reader->GetGamma(&v));
  EXPECT_EQ(reader->bits_in_hand(), 0);
  EXPECT_TRUE(reader->at_end());
}

// Zero pages, which take no memory until they are written to.
class ZeroPages {
 public:
  explicit ZeroPages(std::size_t size) : bytes_(static_cast<char*>(std::calloc(size, 1))) {}
  ~ZeroPages() { std::free(bytes_); }
  ZeroPages(const ZeroPages&) = delete;
  ZeroPages& operator=(const ZeroPages&) = delete;
  char* data() { return bytes_; }

 private:
  char* bytes_;
};

TEST(BitDecoder, KnowsItsBitsInHandWhereAnIntCouldNotCountThoseRead) {
  constexpr std::size_t kSize = (std::size_t{1} << 28) + 64;
  ZeroPages pages(kSize);
  ASSERT_NE(pages.data(), nullptr);
  BitDecoder decoder(pages.data(), kSize);
  std::uint32_t v = 0;
  ASSERT_TRUE(decoder.GetBits(16, &v));
  for (std::size_t field = 0; field < (std::size_t{1} << 26) - 2; ++field) {
    ASSERT_TRUE(decoder.GetBits(32, &v));
  }
  EXPECT_EQ(decoder.bytes_loaded(), std::size_t{1} << 28);
  EXPECT_EQ(decoder.bits_in_hand(), 48);
}

TEST(BitDecoder, ReadsOnWhereAnIntCouldNotCountTheBits) {
  constexpr std::size_t kSize = (std::size_t{1} << 28) + 12;
  ZeroPages pages(kSize);
  ASSERT_NE(pages.data(), nullptr);
  pages.data()[kSize - 4] = 7;
  BitDecoder decoder(pages.data(), kSize);
  std::uint32_t sum = 0;
  for (std::size_t field = 0; field < kSize / 4 - 1; ++field) {
    std::uint32_t v = 1;
    ASSERT_TRUE(decoder.GetBits(32, &v));
    sum += v;
  }
  EXPECT_EQ(sum, 0u);
  EXPECT_EQ(decoder.bytes_loaded(), kSize - 4);
  EXPECT_EQ(decoder.bits_in_hand(), 0);
  std::uint32_t last = 0;
  ASSERT_TRUE(decoder.GetBits(32, &last));
  EXPECT_EQ(last, 7u);
  EXPECT_TRUE(decoder.at_end());
}

}  // namespace
