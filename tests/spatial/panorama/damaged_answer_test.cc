// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>

#include "spatial/panorama/panorama_xml_parser.h"
#include "tests/support/answer_builder.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/map_payload_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::DepthPayload;
using test_support::HeapSnapshot;
using test_support::ListAnswer;
using test_support::PanoMapPayload;
using test_support::PanoramaElement;
using test_support::SingleAnswer;

std::size_t RecordCount(const QByteArray& xml) {
  mmvector<RefPtr<PanoramaData>> records(HeapManager::GetTransientHeap());
  PanoramaXMLParser().Parse(xml, &records);
  return records.size();
}

PanoramaElement FullElement(const QString& id) {
  return PanoramaElement(id)
      .At(45.5, -122.25)
      .Attribute("info_level", "66")
      .Attribute("image_date", "2026-05")
      .Text("text", QString::fromUtf8("Rua da Alegria & Söhne"))
      .Text("street_range", "1-9")
      .Text("copyright", QString::fromUtf8("© 2026"))
      .Angles("1", "2", "3")
      .Link("b", 90.0)
      .Link("c", 270.0)
      .Level("l0", id, 0, "Ground", "G");
}

QByteArray AnswerWithMaps() {
  return SingleAnswer(FullElement("a")
                          .DepthMap(DepthPayload(2, 2, {0, 0, 0, 0}, {{0, 0, 1, 1}}).ToText())
                          .PanoMap(PanoMapPayload(2, 2, {0, 0, 0, 0}, {}).ToText()));
}

TEST(DamagedAnswer, ThatBreaksOffAnywhereGivesNoRecord) {
  const HeapSnapshot before;
  for (const QByteArray& whole :
       {AnswerWithMaps(), ListAnswer({FullElement("a"), FullElement("b")})}) {
    for (int size = 0; size < whole.size(); ++size) {
      ASSERT_EQ(RecordCount(whole.left(size)), 0u) << size;
    }
    EXPECT_GT(RecordCount(whole), 0u);
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DamagedAnswer, ThatBeginsLateGivesNoRecord) {
  const QByteArray whole = SingleAnswer(FullElement("a"));
  const int root = whole.indexOf("<panorama>");
  for (int start = 1; start < whole.size(); ++start) {
    if (start != root && start != root - 1) {  // There the declaration is missing, and no more.
      ASSERT_EQ(RecordCount(whole.mid(start)), 0u) << start;
    }
  }
}

TEST(DamagedAnswer, WithFlippedBytesInventsNoRecord) {
  constexpr unsigned kSeed = 73;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray whole = AnswerWithMaps();
  const HeapSnapshot before;
  for (int i = 0; i < 20000; ++i) {
    QByteArray damaged = whole;
    for (unsigned flips = random() % 4 + 1; flips > 0; --flips) {
      damaged[static_cast<int>(random() % static_cast<unsigned>(whole.size()))] =
          static_cast<char>(random());
    }
    ASSERT_LE(RecordCount(damaged), 1u);
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DamagedAnswer, WithExchangedPiecesLeavesNothingOnTheHeaps) {
  constexpr unsigned kSeed = 74;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray whole = ListAnswer({FullElement("a"), FullElement("b"), FullElement("c")});
  const auto place = [&] {
    return static_cast<int>(random() % static_cast<unsigned>(whole.size()));
  };
  const HeapSnapshot before;
  for (int i = 0; i < 5000; ++i) {
    QByteArray damaged = whole;
    damaged.replace(place(), place() % 50, whole.mid(place(), place() % 50));
    ASSERT_LE(RecordCount(damaged), 4u);
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DamagedAnswer, OfRandomBytesGivesNoRecord) {
  constexpr unsigned kSeed = 75;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  for (int i = 0; i < 2000; ++i) {
    QByteArray noise(static_cast<int>(random() % 200), Qt::Uninitialized);
    for (char& byte : noise) {
      byte = static_cast<char>(random());
    }
    ASSERT_EQ(RecordCount(noise), 0u);
  }
}

TEST(DamagedAnswer, InAnEncodingThatIsNotUtf8GivesNoRecord) {
  const QByteArray body = "<panorama><data_properties pano_id='S\xf6hne'/></panorama>";
  EXPECT_EQ(RecordCount(body), 0u);
  EXPECT_EQ(RecordCount("<?xml version='1.0' encoding='UTF-8'?>" + body), 0u);
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='\xc3'/></panorama>"), 0u);
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='\xed\xa0\x80'/></panorama>"), 0u);
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='\xc0\xaf'/></panorama>"), 0u);
}

TEST(DamagedAnswer, WithControlCharactersGivesNoRecord) {
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='\x01'/></panorama>"), 0u);
  EXPECT_EQ(RecordCount(QByteArray("<panorama><data_properties/>\0</panorama>", 41)), 0u);
  EXPECT_EQ(RecordCount(SingleAnswer(FullElement("a")) + '\0'), 0u);
}

TEST(DamagedAnswer, WithUnknownEntitiesGivesNoRecord) {
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='&unknown;'/></panorama>"), 0u);
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='&#0;'/></panorama>"), 0u);
  EXPECT_EQ(RecordCount("<panorama><data_properties pano_id='a&'/></panorama>"), 0u);
}

TEST(DamagedAnswer, NestedWithoutEndIsSurvived) {
  const HeapSnapshot before;
  for (const int depth : {1000, 200000}) {
    const QByteArray open = QByteArray("<model>").repeated(depth);
    const QByteArray close = QByteArray("</model>").repeated(depth);
    EXPECT_EQ(RecordCount("<panorama>" + open), 0u);
    EXPECT_LE(RecordCount("<panorama><data_properties/>" + open + close + "</panorama>"), 1u);
  }
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DamagedAnswer, WithAMillionAttributesIsSurvived) {
  QByteArray xml = "<panorama><data_properties";
  for (int i = 0; i < 1000000; ++i) {
    xml += " a" + QByteArray::number(i) + "=''";
  }
  xml += " pano_id='a'/></panorama>";
  const HeapSnapshot before;
  EXPECT_LE(RecordCount(xml), 1u);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(DamagedAnswer, WithAMillionLinksGivesThemAll) {
  const QByteArray xml = "<panorama><data_properties/><annotation_properties>" +
                         QByteArray("<link pano_id='b'/>").repeated(1000000) +
                         "</annotation_properties></panorama>";
  mmvector<RefPtr<PanoramaData>> records(HeapManager::GetTransientHeap());
  PanoramaXMLParser().Parse(xml, &records);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]->links.size(), 1000000u);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
