// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/diorama/shape_builder.h"
#include "tests/vortan/diorama/stream_fields.h"
#include "vortan/diorama/shape_coder1.h"
#include "vortan/diorama/shape_coder3.h"

namespace {

using geometry3d::Shape;
using test_support::LogRecorder;
using test_support::StreamFields;
using vortan::ShapeDecoder;
using vortan::ShapeDecoder1;
using vortan::ShapeDecoder3;
using vortan::ShapeEncoder;
using vortan::ShapeEncoder1;
using vortan::ShapeEncoder3;
using Lines = std::vector<std::string>;

// Opens what the formats use.
class FrameEncoder : public ShapeEncoder {
 public:
  bool EncodeShape(const Shape&) override { return false; }
  using ShapeEncoder::encoder_;
  using ShapeEncoder::WriteColorRGB888;
  using ShapeEncoder::WriteFloatUnit;
  using ShapeEncoder::WriteFloatURange;
  std::string Flushed() {
    encoder_.Flush();
    std::string buffer;
    get_buffer(&buffer);
    return buffer;
  }
};

class FrameDecoder : public ShapeDecoder {
 public:
  explicit FrameDecoder(const std::string& buffer) : buffer_(buffer) { set_buffer(buffer_); }
  bool DecodeShape(Shape*) override { return false; }
  using ShapeDecoder::ReadColorRGB888;
  using ShapeDecoder::ReadFloatUnit;
  using ShapeDecoder::ReadFloatURange;
  using ShapeDecoder::ReadHeader;

 private:
  std::string buffer_;
};

int UnitBits(float value, int bits = 8) {
  FrameEncoder encoder;
  encoder.WriteFloatUnit(value, bits);
  return static_cast<unsigned char>(encoder.Flushed()[0]);
}

int RangeBits(float value, float range) {
  FrameEncoder encoder;
  encoder.WriteFloatURange(value, range, 8);
  return static_cast<unsigned char>(encoder.Flushed()[0]);
}

TEST(ShapeCoder, HasNoCoderForUnknownVersions) {
  for (const int version : {-1, 0, 4, 65536}) {
    EXPECT_EQ(ShapeEncoder::CreateEncoder(version), nullptr);
    EXPECT_EQ(ShapeDecoder::CreateDecoder(version), nullptr);
  }
}

TEST(ShapeCoder, PicksTheFormatByTheVersion) {
  for (const int version : {1, 2, 3}) {
    const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(version));
    EXPECT_EQ(encoder->codec_version(), version);
    EXPECT_EQ(dynamic_cast<ShapeEncoder1*>(encoder.get()) != nullptr, version < 3);
    EXPECT_EQ(dynamic_cast<ShapeEncoder3*>(encoder.get()) != nullptr, version == 3);
    const std::unique_ptr<ShapeDecoder> decoder(ShapeDecoder::CreateDecoder(version));
    EXPECT_EQ(dynamic_cast<ShapeDecoder1*>(decoder.get()) != nullptr, version < 3);
    EXPECT_EQ(dynamic_cast<ShapeDecoder3*>(decoder.get()) != nullptr, version == 3);
  }
}

TEST(ShapeCoder, StartsWithEightBitsOfEverything) {
  const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(1));
  EXPECT_EQ(encoder->point_unit(), 1.0);
  EXPECT_EQ(encoder->point_bits(), 8);
  EXPECT_EQ(encoder->normal_bits(), 8);
  EXPECT_EQ(encoder->tex_coord_bits(), 8);
  const std::unique_ptr<ShapeDecoder> decoder(ShapeDecoder::CreateDecoder(1));
  EXPECT_EQ(decoder->codec_version(), -1);
  EXPECT_EQ(decoder->point_unit(), 1.0);
  EXPECT_EQ(decoder->point_bits(), 8);
  EXPECT_EQ(decoder->normal_bits(), 8);
  EXPECT_EQ(decoder->tex_coord_bits(), 8);
}

TEST(ShapeCoder, FailsACheckForAVersionThatIsNoneAndKeepsIt) {
  LogRecorder log;
  FrameEncoder encoder;
  encoder.set_codec_version(-1);
  EXPECT_EQ(encoder.codec_version(), -1);
  encoder.set_codec_version(4);
  EXPECT_EQ(encoder.codec_version(), 4);
  FrameDecoder decoder("");
  decoder.set_codec_version(0);
  EXPECT_EQ(decoder.codec_version(), 0);
  decoder.set_codec_version(9);
  EXPECT_EQ(decoder.codec_version(), 9);
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: codec_version>0 -1>0",
                                "3 Check failed: codec_version<=kMaxCodecVersion 4<=3",
                                "3 Check failed: codec_version>0 0>0",
                                "3 Check failed: codec_version<=ShapeEncoder::kMaxCodecVersion "
                                "9<=3"}));
}

TEST(ShapeCoder, TellsTheVersionOfABuffer) {
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer(std::string("SE\x01\0x", 5)), 1);
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer("SE\x34\x12x"), 0x1234);
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer("SE\xFF\xFFx"), 65535);
}

TEST(ShapeCoder, TellsNoVersionOfOtherBuffers) {
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer(""), -1);
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer("SX\x01\x01\x01"), -1);
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer("ES\x01\x01\x01"), -1);
}

TEST(ShapeCoder, RefusesAHeaderAlone) {
  const std::string header("SE\x03\0", 4);
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer(header), -1);
  Shape shape;
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(header, &shape));
}

TEST(ShapeCoder, RefusesAnUnknownVersionWithoutALogEntry) {
  LogRecorder log;
  Shape shape;
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(std::string("SE\x04\0abc", 7), &shape));
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(std::string("SE\0\0abc", 7), &shape));
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer("no stream", &shape));
  EXPECT_TRUE(log.lines().empty());
}

TEST(ShapeCoder, RefusesAnotherMagicBehindAFailedCheck) {
  LogRecorder log;
  FrameDecoder decoder(std::string("XE\x01\0", 4));
  EXPECT_FALSE(decoder.ReadHeader());
  EXPECT_EQ(decoder.codec_version(), -1);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: codec_version>0 -1>0"});
}

TEST(ShapeCoder, ReadsOnlyHeadersOfItsVersions) {
  LogRecorder log;
  EXPECT_FALSE(FrameDecoder(std::string("SE\0\0", 4)).ReadHeader());
  EXPECT_FALSE(FrameDecoder(std::string("SE\x04\0", 4)).ReadHeader());
  EXPECT_EQ(log.lines().size(), 2u);
  for (const char version : {'\1', '\2', '\3'}) {
    FrameDecoder decoder(std::string("SE") + version + '\0');
    EXPECT_TRUE(decoder.ReadHeader());
    EXPECT_EQ(decoder.codec_version(), version);
  }
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST(ShapeCoder, FailsACheckForNoShapeAndForNoBuffer) {
  LogRecorder log;
  Shape shape;
  std::string buffer;
  EXPECT_TRUE(ShapeEncoder::EncodeToBuffer(shape, &buffer));
  EXPECT_TRUE(ShapeEncoder::EncodeToBuffer(shape, nullptr));
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(buffer, nullptr));
  buffer[2] = 1;
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(buffer, nullptr));
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: buffer", "3 Check failed: shape", "3 Check failed: shape"}));
}

TEST(ShapeCoder, EncodesToABufferInVersionThreeWithEightBits) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.mutable_normals() = {{0, 0, 1}};
  *shape.mutable_tex_coords() = {{0.5f, 0.5f}};
  shape.index_sets()[0]->mutable_normal_indices()->assign(3, 0);
  shape.index_sets()[0]->mutable_tex_coord_indices()->assign(3, 0);
  std::string buffer = "what was there";
  ASSERT_TRUE(ShapeEncoder::EncodeToBuffer(shape, &buffer));
  EXPECT_EQ(ShapeDecoder::GetCodecVersionFromBuffer(buffer), 3);
  ShapeDecoder3 decoder;
  decoder.set_point_bits(1);
  decoder.set_normal_bits(1);
  decoder.set_tex_coord_bits(1);
  decoder.set_buffer(buffer);
  Shape read;
  ASSERT_TRUE(decoder.DecodeShape(&read));
  EXPECT_EQ(decoder.point_bits(), 8);
  EXPECT_EQ(decoder.normal_bits(), 8);
  EXPECT_EQ(decoder.tex_coord_bits(), 8);
}

TEST(ShapeCoder, HandsOutWhatThereIsOfAShapeThatCannotBeHeld) {
  Shape shape;
  test_support::AddPointIndices({0}, &shape);
  std::string buffer = "what was there";
  EXPECT_FALSE(ShapeEncoder::EncodeToBuffer(shape, &buffer));
  // Header, no materials, one set: 57 bits were written. Those behind the first word are not there
  // yet.
  EXPECT_EQ(buffer, std::string("SE\x03\0\0\0\0\0", 8));
}

TEST(ShapeCoder, LeavesWhatTheShapeHasAndReplacesItsPools) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  test_support::AddFullMaterial(&shape);
  for (const int version : {1, 2, 3}) {
    const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(version));
    ASSERT_TRUE(encoder->EncodeShape(shape));
    std::string buffer;
    encoder->get_buffer(&buffer);
    Shape read;
    read.mutable_points()->resize(100, {7, 7, 7});
    read.mutable_normals()->resize(100);
    test_support::AddFullMaterial(&read)->set_texture_uri("first");
    test_support::AddPointIndices({5}, &read);
    ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(buffer, &read));
    EXPECT_EQ(read.points().size(), 3u);
    EXPECT_TRUE(read.normals().empty());
    ASSERT_EQ(read.materials().size(), 2u);
    EXPECT_EQ(read.materials()[0]->texture_uri(), "first");
    ASSERT_EQ(read.index_sets().size(), 2u);
    EXPECT_EQ(read.index_sets()[0]->point_indices(), std::vector<int>{5});
    EXPECT_EQ(read.index_sets()[1]->point_indices(), (std::vector<int>{0, 1, 2}));
  }
}

TEST(ShapeCoder, AllocatesNothingBeyondItsBudget) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  test_support::AddFullMaterial(&shape);
  for (const int version : {1, 2, 3}) {
    const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(version));
    ASSERT_TRUE(encoder->EncodeShape(shape));
    std::string buffer;
    encoder->get_buffer(&buffer);
    // Three points, three indices (version 3 keeps a history of them), a material with a name of
    // six bytes, an index set.
    const std::size_t need = 3 * 24 + 3 * (version == 3 ? 8 : 4) + sizeof(geometry3d::Material) +
                             6 + sizeof(geometry3d::IndexSet);
    Shape enough;
    EXPECT_TRUE(ShapeDecoder::DecodeFromBuffer(buffer, &enough, need));
    Shape short_of;
    EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(buffer, &short_of, need - 1), std::bad_alloc);
  }
}

TEST(ShapeCoder, RoundsUnitsHalfToEven) {
  EXPECT_EQ(UnitBits(0.0f), 0);
  EXPECT_EQ(UnitBits(1.0f), 255);
  EXPECT_EQ(UnitBits(0.5f), 128);
  EXPECT_EQ(UnitBits(0.5f, 2), 2);
  EXPECT_EQ(UnitBits(0.5f, 1), 0);
  // The product as a float is 8.5; a double would be a little more.
  EXPECT_EQ(UnitBits(1.0f / 30), 8);
}

TEST(ShapeCoder, WrapsUnitsOutsideTheirRange) {
  EXPECT_EQ(UnitBits(1.5f), 126);
  EXPECT_EQ(UnitBits(-0.2f), 0xCD);
}

TEST(ShapeCoder, WritesZeroForWhatNoIntegerHolds) {
  EXPECT_EQ(UnitBits(1e10f), 0);
  EXPECT_EQ(UnitBits(-1e10f), 0);
  EXPECT_EQ(UnitBits(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(UnitBits(std::numeric_limits<float>::infinity()), 0);
  EXPECT_EQ(UnitBits(-std::numeric_limits<float>::infinity()), 0);
}

TEST(ShapeCoder, TakesTheProductBeforeTheQuotient) {
  // 6.5 by this order, and a little more by the other.
  EXPECT_EQ(RangeBits(0.127450988f, 5.0f), 6);
  EXPECT_EQ(RangeBits(64.0f, 128.0f), 128);
  EXPECT_EQ(RangeBits(128.0f, 128.0f), 255);
}

TEST(ShapeCoder, ReadsUnitsByOneDivision) {
  EXPECT_EQ(FrameDecoder("\x80").ReadFloatUnit(8), 128.0f / 255.0f);
  EXPECT_EQ(FrameDecoder("\x80").ReadFloatURange(128.0f, 8), 128.0f * 128.0f / 255.0f);
  // Not 1 / 255 * 3, which is the next float.
  EXPECT_EQ(FrameDecoder("\x01").ReadFloatURange(3.0f, 8), 3.0f / 255.0f);
}

TEST(ShapeCoder, FailsACheckWithoutTextForARangeOfZero) {
  LogRecorder log;
  EXPECT_EQ(RangeBits(1.0f, 0.0f), 0);
  EXPECT_EQ(RangeBits(0.0f, 0.0f), 0);
  EXPECT_EQ(FrameDecoder("\x80").ReadFloatURange(0.0f, 8), 0.0f);
  EXPECT_EQ(log.lines(), Lines(3, "3 Check failed: "));
}

TEST(ShapeCoder, KeepsTheComponentsOfAColorInOrder) {
  FrameEncoder encoder;
  encoder.WriteColorRGB888({1.0f / 255, 2.0f / 255, 3.0f / 255});
  const std::string bytes = encoder.Flushed();
  EXPECT_EQ(bytes, "\x01\x02\x03");
  const auto color = FrameDecoder(bytes).ReadColorRGB888();
  EXPECT_EQ(color.x, 1.0f / 255);
  EXPECT_EQ(color.y, 2.0f / 255);
  EXPECT_EQ(color.z, 3.0f / 255);
}

TEST(ShapeCoder, ChargesTheBytesSinceTheLastRegistration) {
  FrameEncoder encoder;
  encoder.encoder_.WriteBits(0, 17);
  encoder.RegisterStat(&encoder.mutable_stats()->point_bytes);
  EXPECT_EQ(encoder.stats().point_bytes, 3);
  EXPECT_EQ(encoder.stats().total_bytes, 3);
  encoder.RegisterStat(&encoder.mutable_stats()->point_bytes);
  encoder.RegisterStat(&encoder.mutable_stats()->normal_bytes);
  EXPECT_EQ(encoder.stats().point_bytes, 3);
  EXPECT_EQ(encoder.stats().normal_bytes, 0);
  encoder.encoder_.WriteBits(0, 32);
  encoder.RegisterStat(&encoder.mutable_stats()->total_bytes);
  EXPECT_EQ(encoder.stats().total_bytes, 7);
  EXPECT_EQ(encoder.stats().normal_bytes, 0);
}

TEST(ShapeCoder, FailsACheckForNoCounterAndChargesNone) {
  LogRecorder log;
  FrameEncoder encoder;
  encoder.encoder_.WriteBits(0, 8);
  encoder.RegisterStat(nullptr);
  EXPECT_EQ(encoder.stats().total_bytes, 1);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: stat"});
}

TEST(ShapeCoder, PrintsFifteenCountersInOrder) {
  EXPECT_EQ(vortan::ShapeEncoderStats().AsString(), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0");
  vortan::ShapeEncoderStats stats;
  stats.total_bytes = 1;
  stats.material_bytes = 2;
  stats.point_bytes = 3;
  stats.normal_bytes = 4;
  stats.tex_coord_bytes = 5;
  stats.point_index_bytes = 6;
  stats.normal_index_bytes = 7;
  stats.tex_coord_index_bytes = 8;
  stats.material_count = 9;
  stats.point_count = 10;
  stats.normal_count = 11;
  stats.tex_coord_count = 12;
  stats.point_index_count = 13;
  stats.normal_index_count = 14;
  stats.tex_coord_index_count = -15;
  EXPECT_EQ(stats.AsString(), "1 2 3 4 5 6 7 8 9 10 11 12 13 14 -15");
}

}  // namespace
