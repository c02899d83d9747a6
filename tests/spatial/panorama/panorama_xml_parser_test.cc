// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/panorama_xml_parser.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <cmath>
#include <limits>

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

using Records = mmvector<RefPtr<PanoramaData>>;

Records Parse(const QByteArray& xml) {
  Records records(HeapManager::GetTransientHeap());
  PanoramaXMLParser().Parse(xml, &records);
  return records;
}

// The only record of an answer; null if there is not exactly one.
RefPtr<PanoramaData> ParseOne(const QByteArray& xml) {
  const Records records = Parse(xml);
  return records.size() == 1 ? records[0] : nullptr;
}
RefPtr<PanoramaData> ParseOne(const PanoramaElement& panorama) {
  return ParseOne(SingleAnswer(panorama));
}

PanoramaElement WithData(const QString& attribute, const QString& value) {
  return PanoramaElement("a").Attribute(attribute, value);
}

QByteArray DepthText() {
  return DepthPayload(1, 1, {0}, {{0, 0, 1, 1}}).ToText();
}
QByteArray PanoText() {
  return PanoMapPayload(1, 1, {0}, {}).ToText();
}

TEST(PanoramaAnswer, WithAListGivesItsRecordsInOrder) {
  const Records records =
      Parse(ListAnswer({PanoramaElement("a"), PanoramaElement("b"), PanoramaElement("c")}));
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0]->pano_id, "a");
  EXPECT_EQ(records[1]->pano_id, "b");
  EXPECT_EQ(records[2]->pano_id, "c");
}

TEST(PanoramaAnswer, LeavesOutAPanoramaWithoutDataProperties) {
  const Records records = Parse(ListAnswer(
      {PanoramaElement("a"), PanoramaElement("b").WithoutDataProperties().Angles("1", "2", "3"),
       PanoramaElement("c")}));
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0]->pano_id, "a");
  EXPECT_EQ(records[1]->pano_id, "c");
}

TEST(PanoramaAnswer, OfASinglePanoramaGivesOneRecord) {
  const Records records = Parse(SingleAnswer(PanoramaElement("a")));
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]->pano_id, "a");
}

TEST(PanoramaAnswer, GivesNoRecordForASinglePanoramaWithoutDataProperties) {
  EXPECT_TRUE(Parse("<panorama/>").empty());
}

TEST(PanoramaAnswer, WithAnotherRootGivesNoRecords) {
  EXPECT_TRUE(Parse("<others><panorama><data_properties/></panorama></others>").empty());
  EXPECT_TRUE(Parse("<panoramas/>").empty());
  EXPECT_TRUE(
      Parse("<panoramas><list><panorama><data_properties/></panorama></list></panoramas>").empty());
}

TEST(PanoramaAnswer, PassesOverForeignElementsInAList) {
  const Records records = Parse("<panoramas><other><data_properties pano_id='x'/></other>"
                                "<panorama><data_properties pano_id='a'/></panorama>"
                                "<other><data_properties pano_id='y'/></other>"
                                "<panorama><data_properties pano_id='b'/></panorama></panoramas>");
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0]->pano_id, "a");
  EXPECT_EQ(records[1]->pano_id, "b");
}

TEST(PanoramaAnswer, IsAppendedToTheResult) {
  Records records = Parse(SingleAnswer(PanoramaElement("a")));
  PanoramaXMLParser().Parse(SingleAnswer(PanoramaElement("b")), &records);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0]->pano_id, "a");
  EXPECT_EQ(records[1]->pano_id, "b");
}

TEST(PanoramaAnswer, WithoutAPlaceForItsRecordsMakesNone) {
  const HeapSnapshot before;
  PanoramaXMLParser::Parse(SingleAnswer(PanoramaElement("a")), nullptr);
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaAnswer, ThatIsFaultyLeavesTheResultAsItIs) {
  Records records = Parse(SingleAnswer(PanoramaElement("a")));
  PanoramaXMLParser().Parse("<panorama><data_properties/>", &records);
  PanoramaXMLParser().Parse(QByteArray(), &records);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]->pano_id, "a");
}

TEST(PanoramaAnswer, ThatIsFaultyBehindCompleteRecordsGivesNone) {
  EXPECT_TRUE(Parse("<panoramas><panorama><data_properties pano_id='a'/></panorama>"
                    "<panorama></panoramas>")
                  .empty());
  EXPECT_TRUE(Parse(SingleAnswer(PanoramaElement("a")) + "<panorama/>").empty());
}

TEST(PanoramaAnswer, WithARepeatedAttributeIsFaulty) {
  EXPECT_TRUE(Parse("<panorama><data_properties pano_id='a' pano_id='b'/></panorama>").empty());
}

TEST(PanoramaAnswer, GivesRecordsOnTheDynamicHeapWithOneReference) {
  const Records records = Parse(SingleAnswer(PanoramaElement("a")));
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]->ref_count(), 1);
  EXPECT_EQ(MemoryManager::GetManager(records[0].get()), HeapManager::GetDynamicHeap());
}

TEST(PanoramaAnswer, LeavesNothingOnTheHeaps) {
  const HeapSnapshot before;
  Parse(ListAnswer({PanoramaElement("a").Link("b", 1.0).Level("l", "p", 1, "t", "a"),
                    PanoramaElement("b").Link("a", 1.0)}));
  EXPECT_EQ(HeapSnapshot(), before);
}

TEST(PanoramaElementParse, GivesNullForNoNodeAndForAnotherElement) {
  EXPECT_FALSE(PanoramaXMLParser().ParsePanorama(nullptr, QByteArray()));
  const QByteArray xml = "<other><data_properties/></other>";
  const XmlReader reader(xml);
  EXPECT_FALSE(PanoramaXMLParser().ParsePanorama(reader.GetRoot(), xml));
}

TEST(PanoramaRecord, NeedsNothingButDataProperties) {
  const RefPtr<PanoramaData> record = ParseOne("<panorama><data_properties/></panorama>");
  ASSERT_TRUE(record);
  EXPECT_TRUE(record->pano_id.isNull());
  EXPECT_TRUE(record->image_date.isNull());
  EXPECT_TRUE(record->level_id.isNull());
  EXPECT_EQ(record->position, (Vec3<double>{0.0, 0.0, 0.0}));
  EXPECT_EQ(record->info_level, 0);
  EXPECT_EQ(record->info_value, 2000);
  EXPECT_EQ(record->pano_yaw_deg, 0.0);
  EXPECT_EQ(record->tilt_yaw_deg, 0.0);
  EXPECT_EQ(record->tilt_pitch_deg, 0.0);
  EXPECT_TRUE(record->links.empty());
  EXPECT_TRUE(record->levels.empty());
  EXPECT_TRUE(record->text.isEmpty());
  EXPECT_TRUE(record->address.isEmpty());
  EXPECT_EQ(record->depthmap, nullptr);
  EXPECT_EQ(record->panomap, nullptr);
}

TEST(PanoramaRecord, HoldsEveryAttributeOfItsData) {
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("an id")
                                                   .Attribute("image_width", "13312")
                                                   .Attribute("image_height", "6656")
                                                   .Attribute("tile_width", "512")
                                                   .Attribute("tile_height", "511")
                                                   .Attribute("image_date", "2026-05")
                                                   .Attribute("scene", "-7")
                                                   .Attribute("level_id", "ground")
                                                   .Text("copyright", "\u00a9 2026 A & B"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->pano_id, "an id");
  EXPECT_EQ(record->image_width, 13312);
  EXPECT_EQ(record->image_height, 6656);
  EXPECT_EQ(record->tile_width, 512);
  EXPECT_EQ(record->tile_height, 511);
  EXPECT_EQ(record->image_date, "2026-05");
  EXPECT_EQ(record->scene, -7);
  EXPECT_EQ(record->level_id, "ground");
  EXPECT_EQ(record->copyright, QString::fromUtf8("\u00a9 2026 A & B"));
}

TEST(PanoramaRecord, StoresItsPositionInHalfTurns) {
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").At(45.0, -90.0));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->position, (Vec3<double>{-0.5, 0.25, 0.0}));
}

TEST(PanoramaRecord, TestsNoNumberAgainstARange) {
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").At(500.0, -1000.0));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->position.y, 500.0 / 180.0);
  EXPECT_EQ(record->position.x, -1000.0 / 180.0);
}

TEST(PanoramaRecord, HoldsTheAnglesOfItsProjection) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Angles("359.5", "-1.25", "400"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->pano_yaw_deg, 359.5);
  EXPECT_EQ(record->tilt_yaw_deg, -1.25);
  EXPECT_EQ(record->tilt_pitch_deg, 400.0);
}

TEST(PanoramaRecord, FoldsTwoBitsOfItsInfoLevel) {
  const std::pair<const char*, int> cases[] = {{"66", 3},
                                               {"2", 1},
                                               {"64", 2},
                                               {"1", 0},
                                               {"0", 0},
                                               {"", 0},
                                               {"abc", 0},
                                               {"-2", 0},
                                               {" 66 ", 3},
                                               {"+66", 3},
                                               {"2x", 0},
                                               {"18446744073709551615", 3},
                                               {"18446744073709551616", 0}};
  for (const auto& [text, folded] : cases) {
    const RefPtr<PanoramaData> record = ParseOne(WithData("info_level", text));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->info_level, folded) << text;
  }
}

TEST(PanoramaRecord, KeepsItsInfoValueOnlyWithoutText) {
  const std::pair<const char*, int> cases[] = {{"", 2000}, {"0", 0}, {"17", 17},       {"-3", -3},
                                               {"abc", 0}, {" ", 0}, {"2147483648", 0}};
  for (const auto& [text, value] : cases) {
    const RefPtr<PanoramaData> record = ParseOne(WithData("info_value", text));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->info_value, value) << text;
  }
}

TEST(PanoramaNumbers, AreReadAsTheToolkitReadsThem) {
  const std::pair<const char*, double> cases[] = {
      {"12.5", 12.5},      {" 12.5\t", 12.5},     {"+12.5", 12.5},   {"-12.5", -12.5},
      {"12.5x", 0.0},      {"1 2", 0.0},          {"", 0.0},         {"1e2", 100.0},
      {"0x10", 0.0},       {"1,5", 0.0},          {".5", 0.5},       {"5.", 5.0},
      {"1e400", HUGE_VAL}, {"-1e400", -HUGE_VAL}, {"inf", HUGE_VAL}, {"-inf", -HUGE_VAL},
      {"1e-400", 0.0},     {"--1", 0.0},          {"1e", 0.0}};
  for (const auto& [text, value] : cases) {
    const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").Angles(text, "0", "0"));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->pano_yaw_deg, value) << text;
    EXPECT_EQ(record->pano_yaw_deg, QString(text).toDouble()) << text;
  }
  EXPECT_TRUE(std::isnan(ParseOne(PanoramaElement("a").Angles("nan", "0", "0"))->pano_yaw_deg));
}

TEST(PanoramaRecord, MayHaveAPositionThatIsNoNumberOrInfinite) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Attribute("lat", "nan").Attribute("lng", "1e400"));
  ASSERT_TRUE(record);
  EXPECT_TRUE(std::isnan(record->position.y));
  EXPECT_EQ(record->position.x, HUGE_VAL);
  EXPECT_EQ(record->position.z, 0.0);
}

QString AddressOf(const PanoramaElement& panorama) {
  const RefPtr<PanoramaData> record = ParseOne(panorama);
  return record ? record->address : QString("no record");
}

TEST(PanoramaAddress, IsRangeBlankAndStreet) {
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "12-18").Text("text", "Elm St")),
            "12-18 Elm St");
}

TEST(PanoramaAddress, WithoutARangeIsTheStreetAlone) {
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("text", "Elm St")), "Elm St");
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "").Text("text", "Elm St")),
            "Elm St");
}

TEST(PanoramaAddress, WithoutAStreetIsTheRangeAndABlank) {
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "12")), "12 ");
}

TEST(PanoramaAddress, PutsOneTextAfterTheOtherIntoTheTemplate) {
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "%1").Text("text", "Elm")),
            " Elm%3");
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "%3").Text("text", "Elm")),
            "Elm Elm");
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "5").Text("text", "%1 %2")),
            "5 %1 %2");
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "%").Text("text", "Elm")), "% Elm");
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "100 %L1").Text("text", "Elm")),
            "100  Elm%3");
}

class StreetFirst : public QTranslator {
 public:
  bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* text, const char* disambiguation,
                    int n) const override {
    const QByteArray expected =
        "Street address. VALUE_1 is the optional range, VALUE_2 is the optional spacer, and "
        "VALUE_3 is the street name.";
    return context == QByteArray("QObject") && text == QByteArray("%1%2%3") &&
                   disambiguation == expected && n == -1
               ? QStringLiteral("%3, %1%2")
               : QString();
  }
};

TEST(PanoramaAddress, FollowsTheTranslatedTemplate) {
  int argument_count = 0;
  QCoreApplication application(argument_count, nullptr);
  StreetFirst translator;
  QCoreApplication::installTranslator(&translator);
  EXPECT_EQ(AddressOf(PanoramaElement("a").Text("street_range", "12").Text("text", "Elm")),
            "Elm, 12 ");
}

TEST(PanoramaLinks, AreKeptInOrder) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Link("b", 90.5, "FF112233").Link("c", -450.0, "00010203"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->links.size(), 2u);
  EXPECT_EQ(record->links[0].pano_id, "b");
  EXPECT_EQ(record->links[0].yaw_deg, 90.5f);
  EXPECT_EQ(record->links[0].road_color, 0xFF332211u);
  EXPECT_EQ(record->links[1].pano_id, "c");
  EXPECT_EQ(record->links[1].yaw_deg, -450.0f);
  EXPECT_EQ(record->links[1].road_color, 0x00030201u);
}

TEST(PanoramaLinks, WithoutAnIdAreDropped) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Link("b", 1.0).Link("", 2.0).Link("c", 3.0).LinkXml("<link/>"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->links.size(), 2u);
  EXPECT_EQ(record->links[0].pano_id, "b");
  EXPECT_EQ(record->links[1].pano_id, "c");
}

TEST(PanoramaLinks, KeepAnIdThatIsAZeroWidthBlank) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").LinkXml("<link pano_id='&#xFEFF;'/>"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->links.size(), 1u);
  EXPECT_EQ(record->links[0].pano_id, QString(QChar(0xFEFF)));
}

TEST(PanoramaLinks, AreOpaqueWhiteWithoutASoundColour) {
  const std::pair<const char*, std::uint32_t> cases[] = {{"", 0xFFFFFFFFu},
                                                         {"no colour", 0xFFFFFFFFu},
                                                         {"1FFFFFFFF", 0xFFFFFFFFu},
                                                         {"#FF112233", 0xFFFFFFFFu},
                                                         {"-1", 0xFFFFFFFFu},
                                                         {"FF11 2233", 0xFFFFFFFFu},
                                                         {"0xFF112233", 0xFF332211u},
                                                         {" ff112233 ", 0xFF332211u},
                                                         {"+ff112233", 0xFF332211u},
                                                         {"12", 0x00120000u},
                                                         {"0", 0u}};
  for (const auto& [text, color] : cases) {
    const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").Link("b", 0.0, text));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->links.at(0).road_color, color) << text;
  }
  EXPECT_EQ(ParseOne(PanoramaElement("a").LinkXml("<link pano_id='b'/>"))->links.at(0).road_color,
            0xFFFFFFFFu);
}

TEST(PanoramaLinks, HoldTheirHeadingInSinglePrecision) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  const std::pair<const char*, float> cases[] = {{"0.1", static_cast<float>(0.1)},
                                                 {"1e300", HUGE_VALF},
                                                 {"-1e300", -HUGE_VALF},
                                                 {"1e400", HUGE_VALF},
                                                 {"3.4028235e38", kLargest},
                                                 {"-3.4028235e38", -kLargest},
                                                 {"3.4028236e38", HUGE_VALF},
                                                 {"abc", 0.0f},
                                                 {"1e-300", 0.0f}};
  for (const auto& [text, yaw] : cases) {
    const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").LinkXml(
        QString("<link pano_id='b' yaw_deg='%1'/>").arg(QString(text))));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->links.at(0).yaw_deg, yaw) << text;
  }
}

TEST(PanoramaLinks, AreAllElementsBehindTheFirst) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").LinkXml("<road pano_id='before'/><link pano_id='first'/>"
                                            "<road pano_id='behind'/><link pano_id='last'/>"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->links.size(), 3u);
  EXPECT_EQ(record->links[0].pano_id, "first");
  EXPECT_EQ(record->links[1].pano_id, "behind");
  EXPECT_EQ(record->links[2].pano_id, "last");
}

TEST(PanoramaLinks, AreReadFromTheFirstListOnly) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Xml("<annotation_properties/><annotation_properties><link "
                                        "pano_id='b'/></annotation_properties>"));
  ASSERT_TRUE(record);
  EXPECT_TRUE(record->links.empty());
}

TEST(PanoramaLevels, HoldAllTheirFields) {
  const RefPtr<PanoramaData> record = ParseOne(
      PanoramaElement("a").Level("g", "p1", -1, "Ground & more", "G").Level("1", "p2", 2, "", ""));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->levels.size(), 2u);
  EXPECT_EQ(record->levels[0].level_id, "g");
  EXPECT_EQ(record->levels[0].pano_id, "p1");
  EXPECT_EQ(record->levels[0].ordinal, -1);
  EXPECT_EQ(record->levels[0].text, "Ground & more");
  EXPECT_EQ(record->levels[0].abbreviation, "G");
  EXPECT_EQ(record->levels[1].level_id, "1");
  EXPECT_EQ(record->levels[1].ordinal, 2);
  EXPECT_TRUE(record->levels[1].text.isEmpty());
}

TEST(PanoramaLevels, WithoutOneOfTheirIdsAreDropped) {
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a")
                                                   .Level("", "p", 1, "t", "a")
                                                   .Level("l", "", 1, "t", "a")
                                                   .Level("l", "p", 1, "t", "a")
                                                   .LevelXml("<level/>"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->levels.size(), 1u);
  EXPECT_EQ(record->levels[0].level_id, "l");
}

TEST(PanoramaLevels, AreAllElementsBehindTheFirst) {
  // A foreign element gives its attributes; its texts stand under another name and are not found.
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").LevelXml(
      "<floor level_id='0' pano_id='p'/><level level_id='1' pano_id='p'/>"
      "<floor level_id='2' pano_id='p'><text>two</text></floor>"));
  ASSERT_TRUE(record);
  ASSERT_EQ(record->levels.size(), 2u);
  EXPECT_EQ(record->levels[0].level_id, "1");
  EXPECT_EQ(record->levels[1].level_id, "2");
  EXPECT_TRUE(record->levels[1].text.isEmpty());
}

TEST(PanoramaMaps, OfASinglePanoramaAreRead) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").DepthMap(DepthText()).PanoMap(PanoText()));
  ASSERT_TRUE(record);
  EXPECT_NE(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
}

TEST(PanoramaMaps, InsideAListAreNotRead) {
  const Records records =
      Parse(ListAnswer({PanoramaElement("a").DepthMap(DepthText()).PanoMap(PanoText()),
                        PanoramaElement("b").DepthMap(DepthText())}));
  ASSERT_EQ(records.size(), 2u);
  for (const RefPtr<PanoramaData>& record : records) {
    EXPECT_EQ(record->depthmap, nullptr);
    EXPECT_EQ(record->panomap, nullptr);
  }
}

TEST(PanoramaMaps, InALongListCostNoReadingOfTheWholeAnswerForEachRecord) {
  // Reading 3 MB twice for each of 20,000 records would take hours.
  const std::vector<PanoramaElement> panoramas(20000, PanoramaElement("a").DepthMap("eJw="));
  EXPECT_EQ(Parse(ListAnswer(panoramas)).size(), 20000u);
}

TEST(PanoramaMaps, AreSetOffByTheDepthMapAlone) {
  const RefPtr<PanoramaData> lone = ParseOne(PanoramaElement("a").PanoMap(PanoText()));
  ASSERT_TRUE(lone);
  EXPECT_EQ(lone->panomap, nullptr);
  const RefPtr<PanoramaData> broken =
      ParseOne(PanoramaElement("a").DepthMap("broken").PanoMap(PanoText()));
  ASSERT_TRUE(broken);
  EXPECT_EQ(broken->depthmap, nullptr);
  EXPECT_NE(broken->panomap, nullptr);
}

TEST(PanoramaMaps, AreFoundInTheFirstModelThatHasThem) {
  const RefPtr<PanoramaData> record = ParseOne(PanoramaElement("a").Xml(
      "<model/><model><depth_map>" + QString::fromLatin1(DepthText()) + "</depth_map></model>"));
  ASSERT_TRUE(record);
  EXPECT_NE(record->depthmap, nullptr);
}

TEST(PanoramaMaps, AreReadInASecondPassForANodeInsideAList) {
  const XmlReader list(ListAnswer({PanoramaElement("a").DepthMap("x")}));
  const QByteArray with_maps =
      SingleAnswer(PanoramaElement("a").DepthMap(DepthText()).PanoMap(PanoText()));
  const RefPtr<PanoramaData> record =
      PanoramaXMLParser().ParsePanorama(list.GetRoot()->first_child, with_maps);
  ASSERT_TRUE(record);
  EXPECT_NE(record->depthmap, nullptr);
  EXPECT_NE(record->panomap, nullptr);
}

TEST(PanoramaMaps, AreReadInASecondPassOnlyForAModel) {
  const QByteArray with_maps =
      SingleAnswer(PanoramaElement("a").DepthMap(DepthText()).PanoMap(PanoText()));
  const XmlReader without(SingleAnswer(PanoramaElement("a")));
  const XmlReader with(SingleAnswer(PanoramaElement("a").DepthMap("x")));
  const RefPtr<PanoramaData> untouched =
      PanoramaXMLParser().ParsePanorama(without.GetRoot(), with_maps);
  ASSERT_TRUE(untouched);
  EXPECT_EQ(untouched->depthmap, nullptr);
  EXPECT_EQ(untouched->panomap, nullptr);
  const RefPtr<PanoramaData> filled = PanoramaXMLParser().ParsePanorama(with.GetRoot(), with_maps);
  ASSERT_TRUE(filled);
  EXPECT_NE(filled->depthmap, nullptr);
  EXPECT_NE(filled->panomap, nullptr);
}

TEST(PanoramaRecord, LeavesItsAnnotationsEmpty) {
  const RefPtr<PanoramaData> record =
      ParseOne(PanoramaElement("a").Annotation("1", "Well", "1", "2", "3"));
  ASSERT_TRUE(record);
  EXPECT_TRUE(record->annotations.empty());
}

Annotation Extract(const QByteArray& xml) {
  const XmlReader reader(xml);
  return ExtractAnnotation(reader.GetRoot());
}

TEST(AnnotationElement, GivesItsTextsAndTheNumbersOfItsFirstChild) {
  const Annotation annotation =
      Extract("<annotation title='Well' id='7'><anything yaw='1.5' pitch='-2' d='1e39'/>"
              "<point yaw='9' pitch='9' d='9'/></annotation>");
  EXPECT_EQ(annotation.title, "Well");
  EXPECT_EQ(annotation.id, "7");
  EXPECT_EQ(annotation.yaw, 1.5f);
  EXPECT_EQ(annotation.pitch, -2.0f);
  EXPECT_EQ(annotation.d, QString("1e39").toFloat());
}

TEST(AnnotationElement, WithoutAChildHasZeroNumbers) {
  const Annotation annotation = Extract("<annotation title='Well' id='7'/>");
  EXPECT_EQ(annotation.title, "Well");
  EXPECT_EQ(annotation.yaw, 0.0f);
  EXPECT_EQ(annotation.pitch, 0.0f);
  EXPECT_EQ(annotation.d, 0.0f);
}

TEST(AnnotationElement, WithoutAttributesHasNullTexts) {
  const Annotation annotation = Extract("<annotation><point/></annotation>");
  EXPECT_TRUE(annotation.title.isNull());
  EXPECT_TRUE(annotation.id.isNull());
  EXPECT_EQ(annotation.yaw, 0.0f);
}

TEST(AnnotationElement, ThatIsNullGivesTheDefaults) {
  const Annotation annotation = ExtractAnnotation(nullptr);
  EXPECT_TRUE(annotation.title.isNull());
  EXPECT_EQ(annotation.d, 0.0f);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
