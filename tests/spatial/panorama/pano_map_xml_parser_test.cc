// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/pano_map_xml_parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/support/answer_builder.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::CompressedMapText;
using test_support::HeapSnapshot;
using test_support::ListAnswer;
using test_support::PanoMapPayload;
using test_support::PanoramaElement;
using test_support::SingleAnswer;

std::unique_ptr<PanoMap> ReadBytes(const QByteArray& bytes) {
  return std::unique_ptr<PanoMap>(PanoMapXMLParser().ReadPanoMapData(bytes));
}
std::unique_ptr<PanoMap> ReadText(const QByteArray& text) {
  return std::unique_ptr<PanoMap>(PanoMapXMLParser().ReadCompressedPanoMapData(text));
}
std::unique_ptr<PanoMap> Parse(const QByteArray& xml) {
  return std::unique_ptr<PanoMap>(PanoMapXMLParser().ParsePanoMap(xml));
}

PanoMapPayload SmallPayload() {
  return PanoMapPayload(
      3, 2, {0, 1, 2, 2, 1, 0},
      {{"abcdefghijklmnopqrstuv", 1.5f, -2.0f}, {"ABCDEFGHIJKLMNOPQRSTUV", 3.0f, 4.0f}});
}

TEST(PanoMapBytes, BecomeAMap) {
  const std::unique_ptr<PanoMap> map = ReadBytes(SmallPayload().ToBytes());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->width, 3);
  EXPECT_EQ(map->height, 2);
  EXPECT_EQ(std::vector<std::uint8_t>(map->indices, map->indices + 6),
            (std::vector<std::uint8_t>{0, 1, 2, 2, 1, 0}));
  ASSERT_EQ(map->pano_ids.size(), 3u);
  EXPECT_TRUE(map->pano_ids[0].isEmpty());
  EXPECT_EQ(map->pano_ids[1], "abcdefghijklmnopqrstuv");
  EXPECT_EQ(map->pano_ids[2], "ABCDEFGHIJKLMNOPQRSTUV");
  ASSERT_EQ(map->positions.size(), 3u);
  EXPECT_EQ(map->positions[0], Vec2<float>::Zero());
  EXPECT_EQ(map->positions[1], (Vec2<float>{1.5f, -2.0f}));
  EXPECT_EQ(map->positions[2], (Vec2<float>{3.0f, 4.0f}));
}

TEST(PanoMapBytes, BecomeAMapOnTheDynamicHeap) {
  const std::unique_ptr<PanoMap> map = ReadBytes(SmallPayload().ToBytes());
  EXPECT_EQ(MemoryManager::GetManager(map.get()), HeapManager::GetDynamicHeap());
}

TEST(PanoMapBytes, OfOneEntryHoldNoIdsAndGiveTheEmptyIdEverywhere) {
  const PanoMapPayload payload(2, 2, {0, 1, 200, 255}, {});
  const std::unique_ptr<PanoMap> map = ReadBytes(payload.ToBytes());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->pano_ids.size(), 1u);
  for (const float x : {0.0f, 1.0f}) {
    for (const float y : {0.0f, 1.0f}) {
      QString id = "untouched";
      Vec2<float> position{9.0f, 9.0f};
      EXPECT_TRUE(map->GetPano(x, y, &id, &position));
      EXPECT_TRUE(id.isEmpty());
      EXPECT_EQ(position, Vec2<float>::Zero());
    }
  }
}

TEST(PanoMapBytes, MayHave256EntriesAndNoMore) {
  PanoMapPayload payload(
      1, 1, {255}, std::vector<PanoMapPayload::Entry>(256, {QByteArray(22, 'x'), 1.0f, 2.0f}));
  EXPECT_EQ(payload.head.count, 257);
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  payload.entries.pop_back();
  payload.head.count = 256;
  const std::unique_ptr<PanoMap> map = ReadBytes(payload.ToBytes());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->pano_ids.size(), 256u);
  QString id;
  EXPECT_TRUE(map->GetPano(0.5f, 0.5f, &id, nullptr));
  EXPECT_EQ(id, QString(22, 'x'));
}

TEST(PanoMapBytes, WithoutEntriesWidthOrHeightAreRefused) {
  for (int field = 0; field < 3; ++field) {
    PanoMapPayload payload = SmallPayload();
    (field == 0 ? payload.head.count : field == 1 ? payload.head.width : payload.head.height) = 0;
    EXPECT_FALSE(ReadBytes(payload.ToBytes())) << field;
  }
}

TEST(PanoMapBytes, NeedBothHeaderBytes) {
  PanoMapPayload payload = SmallPayload();
  payload.head.first_byte = 9;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
  payload.head.first_byte = 8;
  payload.head.second_byte = 0;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
}

TEST(PanoMapBytes, KeepEveryCharacterOfAnId) {
  const QByteArray id("a\0b\xe9\xff\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22);
  const std::unique_ptr<PanoMap> map =
      ReadBytes(PanoMapPayload(1, 1, {1}, {{id, 0.0f, 0.0f}}).ToBytes());
  ASSERT_TRUE(map);
  ASSERT_EQ(map->pano_ids[1].size(), 22);
  EXPECT_EQ(map->pano_ids[1].at(1), QChar(0));
  EXPECT_EQ(map->pano_ids[1].at(3), QChar(0xe9));
  EXPECT_EQ(map->pano_ids[1].at(4), QChar(0xff));
  EXPECT_EQ(map->pano_ids[1].at(21), QChar(0));
}

TEST(PanoMapBytes, ThatPromiseMoreThanTheyHoldAreRefused) {
  const QByteArray whole = SmallPayload().ToBytes();
  for (int size = 0; size < whole.size(); ++size) {
    const std::unique_ptr<char[]> exact(new char[static_cast<std::size_t>(size)]);
    std::copy(whole.constData(), whole.constData() + size, exact.get());
    EXPECT_FALSE(ReadBytes(QByteArray::fromRawData(exact.get(), size))) << size;
  }
  EXPECT_TRUE(ReadBytes(whole));
}

TEST(PanoMapBytes, ThatPromiseTheLargestSizesAreRefused) {
  PanoMapPayload payload = SmallPayload();
  payload.head.width = 65535;
  payload.head.height = 65535;
  EXPECT_FALSE(ReadBytes(payload.ToBytes()));
}

TEST(PanoMapBytes, ThatAreRefusedLeaveNothingOnTheHeaps) {
  const HeapSnapshot before;
  EXPECT_FALSE(ReadBytes(QByteArray()));
  EXPECT_FALSE(ReadBytes(SmallPayload().ToBytes().chopped(1)));
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoMapText, IsABase64ZlibStream) {
  const std::unique_ptr<PanoMap> map = ReadText(SmallPayload().ToText());
  ASSERT_TRUE(map);
  EXPECT_EQ(map->pano_ids[2], "ABCDEFGHIJKLMNOPQRSTUV");
}

TEST(PanoMapText, ThatIsEmptyBrokenOrNoStreamGivesNothing) {
  const QByteArray text = SmallPayload().ToText();
  const int needed = text.size() - static_cast<int>(text.count('='));
  for (int size = 0; size < needed; ++size) {
    EXPECT_FALSE(ReadText(text.left(size))) << size;
  }
  EXPECT_FALSE(ReadText("*"));
  EXPECT_FALSE(ReadText(SmallPayload().ToBytes().toBase64()));
}

TEST(PanoMapText, IsReadNoFartherThanItsEnd) {
  const QByteArray text = SmallPayload().ToText();
  EXPECT_FALSE(ReadText(QByteArray::fromRawData(text.constData(), text.size() - 8)));
}

TEST(PanoMapText, ThatInflatesBeyondTheBufferGivesNothing) {
  const QByteArray bytes = SmallPayload().ToBytes();
  const QByteArray full = bytes + QByteArray(140800 - bytes.size(), 'x');
  EXPECT_TRUE(ReadText(CompressedMapText(full)));
  EXPECT_FALSE(ReadText(CompressedMapText(full + 'x')));
}

TEST(PanoMapText, ThatPromisesMoreThanTheBufferHoldsGivesNothing) {
  // 8 + 8 * 17599 is 140800.
  PanoMapPayload payload(8, 17599, {}, {});
  EXPECT_TRUE(ReadText(payload.ToText()));
  payload.head.count = 2;
  EXPECT_FALSE(ReadText(payload.ToText()));
  payload.head.count = 1;
  payload.head.height = 17600;
  EXPECT_FALSE(ReadText(payload.ToText()));
}

TEST(PanoMapText, ThatIsShortReadsAsZerosBehindItsEnd) {
  for (int round = 0; round < 3; ++round) {
    { const QByteArray dirt(140800, '\x5a'); }
    PanoMapPayload payload(20, 10, {1}, {});
    payload.head.count = 2;
    const std::unique_ptr<PanoMap> map = ReadText(payload.ToText());
    ASSERT_TRUE(map);
    EXPECT_EQ(map->indices[0], 1);
    EXPECT_EQ(map->indices[199], 0);
    EXPECT_EQ(map->pano_ids[1], QString(22, QChar(0)));
    EXPECT_EQ(map->positions[1], Vec2<float>::Zero());
  }
}

TEST(PanoMapText, SurvivesAnyFlippedByte) {
  constexpr unsigned kSeed = 72;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray text = SmallPayload().ToText();
  const QByteArray bytes = SmallPayload().ToBytes();
  const HeapSnapshot before;
  for (int i = 0; i < 3000; ++i) {
    QByteArray damaged = i % 2 == 0 ? text : bytes;
    damaged[static_cast<int>(random() % static_cast<unsigned>(damaged.size()))] =
        static_cast<char>(random());
    const std::unique_ptr<PanoMap> map =
        ReadText(i % 2 == 0 ? damaged : CompressedMapText(damaged));
    QString id;
    ASSERT_TRUE(!map || map->GetPano(0.5f, 0.5f, &id, nullptr));
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoMapOfAnAnswer, IsReadFromTheSinglePanorama) {
  const std::unique_ptr<PanoMap> map =
      Parse(SingleAnswer(PanoramaElement("a").PanoMap(SmallPayload().ToText())));
  ASSERT_TRUE(map);
  EXPECT_EQ(map->pano_ids.size(), 3u);
}

TEST(PanoMapOfAnAnswer, IsReadFromTheFirstModelThatHasOne) {
  EXPECT_TRUE(Parse("<panorama><model/><model><pano_map>" + SmallPayload().ToText() +
                    "</pano_map></model></panorama>"));
}

TEST(PanoMapOfAnAnswer, IsNotReadFromAList) {
  EXPECT_FALSE(Parse(ListAnswer({PanoramaElement("a").PanoMap(SmallPayload().ToText())})));
}

TEST(PanoMapOfAnAnswer, IsNullIfTheAnswerIsFaulty) {
  const QByteArray xml = SingleAnswer(PanoramaElement("a").PanoMap(SmallPayload().ToText()));
  EXPECT_FALSE(Parse(QByteArray()));
  EXPECT_FALSE(Parse(xml.chopped(1)));
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
