// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/depth_map_xml_parser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "tests/support/answer_builder.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::CompressedMapText;
using test_support::DepthPayload;
using test_support::HeapSnapshot;
using test_support::ListAnswer;
using test_support::PanoramaElement;
using test_support::SingleAnswer;

std::unique_ptr<DepthMap> ReadBytes(const QByteArray& bytes) {
  return std::unique_ptr<DepthMap>(DepthMapXMLParser().ReadDepthMapData(bytes));
}
std::unique_ptr<DepthMap> ReadText(const QByteArray& text) {
  return std::unique_ptr<DepthMap>(DepthMapXMLParser().ReadCompressedDepthMapData(text));
}
std::unique_ptr<DepthMap> Parse(const QByteArray& xml) {
  return std::unique_ptr<DepthMap>(DepthMapXMLParser().ParseDepthMap(xml));
}

DepthPayload SmallPayload() {
  return DepthPayload(3, 2, {0, 1, 2, 3, 4, 255},
                      {{0.0f, 0.0f, 1.0f, 5.0f}, {0.0f, -3.0f, 4.0f, 10.0f}});
}

Plane<double> ReadPlane(float x, float y, float z, float distance) {
  const std::unique_ptr<DepthMap> map =
      ReadBytes(DepthPayload(1, 1, {0}, {{x, y, z, distance}}).ToBytes());
  return map ? map->planes[0] : Plane<double>({7.0, 7.0, 7.0}, 7.0);
}

TEST(DepthMapBytes, BecomeAMap) {
  const std::unique_ptr<DepthMap> map = ReadBytes(SmallPayload().ToBytes());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->width, 3);
  EXPECT_EQ(map->height, 2);
  EXPECT_EQ(map->plane_count, 2);
  EXPECT_FALSE(map->flag);
  EXPECT_EQ(std::vector<std::uint8_t>(map->indices, map->indices + 6),
            (std::vector<std::uint8_t>{0, 1, 2, 3, 4, 255}));
  EXPECT_EQ(map->planes[1].normal, (Vec3<double>{0.0, 0.6, -0.8}));
  EXPECT_EQ(map->planes[1].distance, 2.0);
}

TEST(DepthMapBytes, BecomeAMapOnTheDynamicHeap) {
  const std::unique_ptr<DepthMap> map = ReadBytes(SmallPayload().ToBytes());
  EXPECT_EQ(MemoryManager::GetManager(map.get()), HeapManager::GetDynamicHeap());
}

TEST(DepthMapBytes, AreReadAsLittleEndian) {
  const unsigned char bytes[] = {8, 1, 0,    2,   0, 1, 0, 8, 9, 7,              // header, cells
                                 0, 0, 0,    0,   0, 0, 0, 0, 0, 0, 0x80, 0x3f,  // 0, 0, 1
                                 0, 0, 0x20, 0x41};                              // 10
  const std::unique_ptr<DepthMap> map =
      ReadBytes(QByteArray(reinterpret_cast<const char*>(bytes), sizeof(bytes)));
  ASSERT_TRUE(map);
  EXPECT_EQ(map->width, 2);
  EXPECT_EQ(map->height, 1);
  EXPECT_EQ(map->indices[0], 9);
  EXPECT_EQ(map->indices[1], 7);
  EXPECT_EQ(map->planes[0].normal, (Vec3<double>{0.0, 0.0, -1.0}));
  EXPECT_EQ(map->planes[0].distance, 10.0);
}

TEST(DepthMapBytes, MayHave256PlanesAndNoMore) {
  DepthPayload payload(1, 1, {0}, std::vector<std::array<float, 4>>(257, {0, 0, 1, 1}));
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  payload.head.count = 256;
  const std::unique_ptr<DepthMap> map = ReadBytes(payload.ToBytes());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->plane_count, 256);
  payload.head.count = 65535;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
}

TEST(DepthMapBytes, WithoutPlanesAreRefused) {
  DepthPayload payload = SmallPayload();
  payload.head.count = 0;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
}

TEST(DepthMapBytes, WithoutWidthOrHeightAreRefused) {
  DepthPayload payload = SmallPayload();
  payload.head.width = 0;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  payload.head.width = 3;
  payload.head.height = 0;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
}

TEST(DepthMapBytes, NeedBothHeaderBytes) {
  for (const int byte : {0, 7, 9, 255}) {
    DepthPayload payload = SmallPayload();
    payload.head.first_byte = static_cast<std::uint8_t>(byte);
    EXPECT_FALSE(ReadBytes(payload.ToBytes()));
    payload.head.first_byte = 8;
    payload.head.second_byte = static_cast<std::uint8_t>(byte);
    EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  }
}

TEST(DepthMapBytes, ThatPromiseMoreThanTheyHoldAreRefused) {
  const QByteArray whole = SmallPayload().ToBytes();
  for (int size = 0; size < whole.size(); ++size) {
    // A block of exactly this size, so that a sanitizer sees a read behind its end.
    const std::unique_ptr<char[]> exact(new char[static_cast<std::size_t>(size)]);
    std::copy(whole.constData(), whole.constData() + size, exact.get());
    EXPECT_FALSE(ReadBytes(QByteArray::fromRawData(exact.get(), size))) << size;
  }
  EXPECT_TRUE(ReadBytes(whole));
}

TEST(DepthMapBytes, ThatPromiseTheLargestSizesAreRefused) {
  DepthPayload payload = SmallPayload();
  payload.head.width = 65535;
  payload.head.height = 65535;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  payload.head.count = 256;
  EXPECT_FALSE(ReadBytes(payload.ToBytes() + QByteArray(600000, '\0')));
}

TEST(DepthMapBytes, MayHaveMoreBehindThem) {
  const std::unique_ptr<DepthMap> map = ReadBytes(SmallPayload().ToBytes() + "more");
  ASSERT_TRUE(map);
  EXPECT_EQ(map->plane_count, 2);
}

TEST(DepthMapBytes, ThatAreRefusedLeaveNothingOnTheHeaps) {
  const HeapSnapshot before;
  EXPECT_FALSE(ReadBytes(QByteArray()));
  EXPECT_FALSE(ReadBytes(SmallPayload().ToBytes().chopped(1)));
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DepthMapPlane, IsTurnedRound) {
  const Plane<double> plane = ReadPlane(0.0f, 0.0f, 1.0f, 5.0f);
  EXPECT_EQ(plane.normal, (Vec3<double>{0.0, 0.0, -1.0}));
  EXPECT_EQ(plane.distance, 5.0);
  EXPECT_TRUE(std::signbit(plane.normal.x));
  EXPECT_TRUE(std::signbit(plane.normal.y));
}

TEST(DepthMapPlane, IsBroughtToLengthOneWithItsDistance) {
  const Plane<double> plane = ReadPlane(0.0f, 0.0f, 2.0f, 5.0f);
  EXPECT_EQ(plane.normal, (Vec3<double>{0.0, 0.0, -1.0}));
  EXPECT_EQ(plane.distance, 2.5);
}

TEST(DepthMapPlane, WithoutANormalStaysAsItIs) {
  const Plane<double> plane = ReadPlane(0.0f, 0.0f, 0.0f, 5.0f);
  EXPECT_EQ(plane.normal, (Vec3<double>{0.0, 0.0, 0.0}));
  EXPECT_EQ(plane.distance, 5.0);
}

TEST(DepthMapPlane, NearLengthOneStaysAsItIs) {
  // The squared length is 1 + 2^-46: closer to 1 than 2^-45.
  const float tiny = std::ldexp(1.0f, -23);
  const Plane<double> plane = ReadPlane(1.0f, tiny, 0.0f, 5.0f);
  EXPECT_EQ(plane.normal, (Vec3<double>{-1.0, -static_cast<double>(tiny), -0.0}));
  EXPECT_EQ(plane.distance, 5.0);
}

TEST(DepthMapPlane, JustAwayFromLengthOneIsBroughtToIt) {
  // The squared length is 1 + 2^-44.
  const float tiny = std::ldexp(1.0f, -22);
  const Plane<double> plane = ReadPlane(1.0f, tiny, 0.0f, 5.0f);
  EXPECT_NE(plane.normal.x, -1.0);
  EXPECT_NEAR(plane.normal.x, -1.0, 1e-13);
  EXPECT_NE(plane.distance, 5.0);
}

TEST(DepthMapPlane, IsDividedDownToTheSmallestLengthThatCounts) {
  const float smallest = std::ldexp(1.0f, -45);
  EXPECT_EQ(ReadPlane(0.0f, smallest, 0.0f, 1.0f).normal.y, -1.0);
  EXPECT_EQ(ReadPlane(0.0f, smallest, 0.0f, 1.0f).distance, std::ldexp(1.0, 45));
  const float below = std::nextafter(smallest, 0.0f);
  EXPECT_EQ(ReadPlane(0.0f, below, 0.0f, 1.0f).normal.y, -static_cast<double>(below));
  EXPECT_EQ(ReadPlane(0.0f, below, 0.0f, 1.0f).distance, 1.0);
}

TEST(DepthMapPlane, OfNotANumberStaysOne) {
  const Plane<double> plane = ReadPlane(std::numeric_limits<float>::quiet_NaN(), 0.0f, 2.0f, 5.0f);
  EXPECT_TRUE(std::isnan(plane.normal.x));
  EXPECT_EQ(plane.normal.z, -2.0);
  EXPECT_EQ(plane.distance, 5.0);
}

TEST(DepthMapText, IsABase64ZlibStream) {
  const std::unique_ptr<DepthMap> map = ReadText(SmallPayload().ToText());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->indices[5], 255);
  EXPECT_EQ(map->planes[1].distance, 2.0);
}

TEST(DepthMapText, MayBeWrappedIntoLines) {
  QByteArray text = SmallPayload().ToText();
  for (int i = text.size() - 1; i > 0; i -= 5) {
    text.insert(i, i % 2 == 0 ? "\r\n" : "\t ");
  }
  EXPECT_TRUE(ReadText("\n  " + text + "\n"));
}

TEST(DepthMapText, MayUseTheUrlAlphabet) {
  std::mt19937 random(1);
  std::vector<std::uint8_t> cells(4000);
  for (std::uint8_t& cell : cells) {
    cell = static_cast<std::uint8_t>(random());
  }
  QByteArray text = DepthPayload(40, 100, cells, {{0, 0, 1, 1}}).ToText();
  ASSERT_TRUE(text.contains('+') && text.contains('/'));
  const std::unique_ptr<DepthMap> map = ReadText(text.replace('+', '-').replace('/', '_'));
  ASSERT_TRUE(map);
  EXPECT_EQ(std::vector<std::uint8_t>(map->indices, map->indices + 4000), cells);
}

TEST(DepthMapText, ThatIsEmptyGivesNothing) {
  EXPECT_FALSE(ReadText(QByteArray()));
  EXPECT_FALSE(ReadText(""));
  EXPECT_FALSE(ReadText("  "));
}

TEST(DepthMapText, ThatIsNoBase64GivesNothing) {
  EXPECT_FALSE(ReadText("no base64 at all: *!?"));
  EXPECT_FALSE(ReadText(QByteArray("\xff\xfe\x80\x01", 4)));
}

TEST(DepthMapText, ThatIsNoZlibStreamGivesNothing) {
  EXPECT_FALSE(ReadText(SmallPayload().ToBytes().toBase64()));
}

TEST(DepthMapText, ThatBreaksOffGivesNothing) {
  const QByteArray text = SmallPayload().ToText();
  const HeapSnapshot before;
  // The last characters can be padding, which the stream does not need.
  const int needed = text.size() - static_cast<int>(text.count('='));
  for (int size = 0; size < needed; ++size) {
    EXPECT_FALSE(ReadText(text.left(size))) << size;
  }
  EXPECT_TRUE(ReadText(text.left(needed)));
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DepthMapText, FillsTheWholeBuffer) {
  const std::vector<std::uint8_t> cells(524288, 7);
  const std::vector<std::array<float, 4>> planes(256, {0, 0, 1, 3});
  const DepthPayload payload(1024, 512, cells, planes);
  ASSERT_EQ(payload.ToBytes().size(), 528392);
  const std::unique_ptr<DepthMap> map = ReadText(payload.ToText());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->indices[524287], 7);
  EXPECT_EQ(map->planes[255].distance, 3.0);
}

TEST(DepthMapText, IsReadNoFartherThanItsEnd) {
  const QByteArray text = SmallPayload().ToText();
  EXPECT_FALSE(ReadText(QByteArray::fromRawData(text.constData(), text.size() - 8)));
}

TEST(DepthMapText, ThatInflatesBeyondTheBufferGivesNothing) {
  const QByteArray bytes = SmallPayload().ToBytes();
  const QByteArray full = bytes + QByteArray(528392 - bytes.size(), 'x');
  EXPECT_TRUE(ReadText(CompressedMapText(full)));
  EXPECT_FALSE(ReadText(CompressedMapText(full + 'x')));
}

TEST(DepthMapText, ThatPromisesMoreThanTheBufferHoldsGivesNothing) {
  DepthPayload payload(1024, 512, {}, {});
  payload.head.count = 256;
  EXPECT_TRUE(ReadText(payload.ToText()));
  payload.head.width = 1025;
  EXPECT_FALSE(ReadText(payload.ToText()));
  payload.head.width = 65535;
  payload.head.height = 65535;
  EXPECT_FALSE(ReadText(payload.ToText()));
}

TEST(DepthMapText, ThatIsShortReadsAsZerosBehindItsEnd) {
  for (int round = 0; round < 3; ++round) {
    // Fills freed blocks, so that a buffer that is not cleared would show it.
    { const QByteArray dirt(528392, '\x5a'); }
    DepthPayload payload(20, 10, {1, 2, 3}, {});
    payload.head.count = 3;
    const std::unique_ptr<DepthMap> map = ReadText(payload.ToText());
    ASSERT_TRUE(map);
    EXPECT_EQ(map->indices[2], 3);
    for (int i = 3; i < 200; ++i) {
      ASSERT_EQ(map->indices[i], 0) << i;
    }
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(map->planes[i].normal, (Vec3<double>{0.0, 0.0, 0.0}));
      EXPECT_EQ(map->planes[i].distance, 0.0);
    }
  }
}

TEST(DepthMapText, OfFewerBytesThanAHeaderGivesNothing) {
  const QByteArray head = SmallPayload().ToBytes().left(7);
  for (int size = 0; size <= 7; ++size) {
    EXPECT_FALSE(ReadText(CompressedMapText(head.left(size))));
  }
}

TEST(DepthMapText, SurvivesAnyFlippedByte) {
  constexpr unsigned kSeed = 71;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray text = SmallPayload().ToText();
  const QByteArray bytes = SmallPayload().ToBytes();
  const HeapSnapshot before;
  for (int i = 0; i < 3000; ++i) {
    QByteArray damaged = i % 2 == 0 ? text : bytes;
    damaged[static_cast<int>(random() % static_cast<unsigned>(damaged.size()))] =
        static_cast<char>(random());
    const std::unique_ptr<DepthMap> map =
        ReadText(i % 2 == 0 ? damaged : CompressedMapText(damaged));
    if (map) {
      ASSERT_GE(map->plane_count, 1);
      ASSERT_LE(map->plane_count, 256);
      ASSERT_LE(8 + map->width * map->height + 16 * map->plane_count,
                DepthMapXMLParser::kInflatedSize);
    }
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DepthMapOfAnAnswer, IsReadFromTheSinglePanorama) {
  const std::unique_ptr<DepthMap> map =
      Parse(SingleAnswer(PanoramaElement("a").DepthMap(SmallPayload().ToText())));
  ASSERT_TRUE(map);
  EXPECT_EQ(map->plane_count, 2);
}

TEST(DepthMapOfAnAnswer, IsNotReadFromAList) {
  EXPECT_FALSE(Parse(ListAnswer({PanoramaElement("a").DepthMap(SmallPayload().ToText())})));
}

TEST(DepthMapOfAnAnswer, IsNullWithoutTheElementOrItsText) {
  EXPECT_FALSE(Parse(SingleAnswer(PanoramaElement("a"))));
  EXPECT_FALSE(Parse(SingleAnswer(PanoramaElement("a").PanoMap("x"))));
  EXPECT_FALSE(Parse(SingleAnswer(PanoramaElement("a").DepthMap(""))));
}

TEST(DepthMapOfAnAnswer, IsNullIfTheAnswerIsFaulty) {
  const QByteArray xml = SingleAnswer(PanoramaElement("a").DepthMap(SmallPayload().ToText()));
  EXPECT_FALSE(Parse(QByteArray()));
  EXPECT_FALSE(Parse(xml.chopped(1)));
  EXPECT_FALSE(Parse(xml + "<more/>"));
}

TEST(DepthMapOfAnAnswer, WithForeignLettersIsNull) {
  EXPECT_FALSE(Parse(SingleAnswer(PanoramaElement("a").Xml(
      QString::fromUtf8("<model><depth_map>\u4e2d\u6587</depth_map></model>")))));
}

TEST(Annotations, OfADocumentWithoutAnyAreAnEmptyList) {
  EXPECT_TRUE(DepthMapXMLParser().ParseAnnotations(SingleAnswer(PanoramaElement("a"))).empty());
  EXPECT_TRUE(DepthMapXMLParser().ParseAnnotations(QByteArray()).empty());
  EXPECT_TRUE(DepthMapXMLParser().ParseAnnotations("<other/>").empty());
}

TEST(Annotations, AreReadInDocumentOrder) {
  const mmvector<Annotation> all = DepthMapXMLParser().ParseAnnotations(
      SingleAnswer(PanoramaElement("a")
                       .Annotation("1", "Café", "1.5", "-2", "3")
                       .Annotation("2", "Well", "4", "5", "6")));
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].id, "1");
  EXPECT_EQ(all[0].title, QString::fromUtf8("Café"));
  EXPECT_EQ(all[0].yaw, 1.5f);
  EXPECT_EQ(all[0].pitch, -2.0f);
  EXPECT_EQ(all[0].d, 3.0f);
  EXPECT_EQ(all[1].title, "Well");
}

TEST(Annotations, AreAllElementsBehindTheFirst) {
  const mmvector<Annotation> all = DepthMapXMLParser().ParseAnnotations(
      "<panorama><annotations><other id='0'/><annotation id='1'><p/></annotation>"
      "<other id='2'><p yaw='4'/></other></annotations></panorama>");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].id, "1");
  EXPECT_EQ(all[1].id, "2");
  EXPECT_EQ(all[1].yaw, 4.0f);
}

TEST(Annotations, OfAListAreNotRead) {
  EXPECT_TRUE(
      DepthMapXMLParser()
          .ParseAnnotations(ListAnswer({PanoramaElement("a").Annotation("1", "t", "1", "2", "3")}))
          .empty());
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
