// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <set>
#include <string>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

class GpxImport : public test_support::ImportTest {
 protected:
  ImportResult ImportText(const std::string& text) { return ImportFiles({{"a.gpx", text}}); }

  static std::string Segment(double lng) {
    const std::string lon = std::to_string(lng);
    return "<trkseg><trkpt lat=\"51.0\" lon=\"" + lon + "\"/><trkpt lat=\"51.0009\" lon=\"" + lon +
           "\"><ele>4</ele></trkpt></trkseg>";
  }
};

TEST_F(GpxImport, EachSegmentOfATrackIsAStreetWithTheTracksName) {
  for (const char* version : {"1.0", "1.1"}) {
    const ImportResult result =
        ImportText(std::string("<?xml version=\"1.0\"?><gpx version=\"") + version +
                   "\"><wpt lat=\"1\" " + "lon=\"2\"><name>Way point</name></wpt><trk>" +
                   Segment(7.0) + Segment(7.01) + "<name>My &amp; walk</name></trk></gpx>");
    ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
    EXPECT_EQ(result.lines_read, 2u);
    EXPECT_EQ(result.counts.panoramas, 22);
    EXPECT_EQ(result.counts.scenes, 2);
    EXPECT_EQ(RecordsOf(output()).begin()->second.text, "My & walk");
  }
}

TEST_F(GpxImport, ASegmentHasTheDayOfItsFirstPointWithATime) {
  const auto segment = [](const std::string& lng, const std::string& first,
                          const std::string& second) {
    return "<trkseg><trkpt lat=\"51.0\" lon=\"" + lng + "\">" + first +
           "</trkpt><trkpt lat=\"51.0009\" lon=\"" + lng + "\">" + second + "</trkpt></trkseg>";
  };
  const ImportResult result = ImportText(
      "<gpx><metadata><time>2001-01-01T00:00:00Z</time></metadata><trk>" +
      segment("7.0", "<time>\n 2021-03-04T23:59:59Z\n</time>",
              "<time>2021-03-05T00:00:09Z</time>") +
      segment("7.1", "<time>noon</time>", "<ele>4</ele><time>2022-06-07T10:00:00.5Z</time>") +
      segment("7.2", "", "<extensions><time>2020-01-01</time></extensions>") + "</trk></gpx>");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  std::set<std::pair<int, std::string>> dates;
  for (const auto& [id, record] : RecordsOf(output())) {
    dates.emplace(static_cast<int>(std::lround(record.place.lng_deg * 10.0)), record.image_date);
  }
  EXPECT_EQ(dates, (std::set<std::pair<int, std::string>>{
                       {70, "2021-03-04"}, {71, "2022-06-07"}, {72, ""}}));
  EXPECT_EQ(result.dated_panoramas, 22u);
}

TEST_F(GpxImport, RoutesAndPrefixesAreRead) {
  const ImportResult result =
      ImportText("<g:gpx xmlns:g=\"urn:x\"><g:rte><g:name>R</g:name><g:rtept lat=\"51\" lon=\"7\"/>"
                 "<g:rtept lat=\"51.0009\" lon=\"7\"/></g:rte></g:gpx>");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.panoramas, 11);
  EXPECT_EQ(RecordsOf(output()).begin()->second.text, "R");
}

TEST_F(GpxImport, PointsWithoutAPlaceAreSteppedOverWithTheirLine) {
  const ImportResult result = ImportText(
      "<gpx><trk><trkseg>\n<trkpt lat=\"51\" lon=\"7\"/>\n<trkpt lat=\"NaN\" lon=\"7\"/>\n"
      "<trkpt lon=\"7\"/>\n<trkpt lat=\"51,5\" lon=\"7\"/>\n<trkpt lat=\"91\" lon=\"7\"/>\n"
      "<trkpt lat=\"51.0009\" lon=\"7\"/>\n</trkseg></trk></gpx>");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.panoramas, 11);
  ASSERT_EQ(result.warning_count, 4u);
  EXPECT_NE(result.warnings[0].find("a.gpx: line 3: "), std::string::npos) << result.warnings[0];
}

TEST_F(GpxImport, PlacesThatAreNoNumbersAreSteppedOver) {
  std::string points = "<trkpt lat=\"51\" lon=\"7\"/>";
  for (const char* lat : {"nan", "-nan", "inf", "-inf", "1e999", "1e-999", "0x33", "", "51,0"}) {
    points += std::string("<trkpt lat=\"") + lat + "\" lon=\"7\"/>";
  }
  const ImportResult result = ImportText("<gpx><trk><trkseg>" + points +
                                         "<trkpt lat=\"51.0009\" lon=\"7\"/></trkseg></trk></gpx>");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.warning_count, 9u);
  EXPECT_EQ(result.counts.panoramas, 11);
}

TEST_F(GpxImport, ASleepingRecorderDoesNoHarm) {
  std::string points;
  for (int i = 0; i < 1000; ++i) {
    points += "<trkpt lat=\"51\" lon=\"7\"/>";
  }
  EXPECT_EQ(ImportText("<gpx><trk><trkseg>" + points + "</trkseg></trk></gpx>").status,
            ImportStatus::kNoStreets);
}

TEST_F(GpxImport, LostReceptionIsAGap) {
  const ImportResult result = ImportText(
      "<gpx><trk><trkseg><trkpt lat=\"51\" lon=\"7\"/><trkpt lat=\"51.0009\" lon=\"7\"/>"
      "<trkpt lat=\"-51\" lon=\"-7\"/><trkpt lat=\"-51.0009\" lon=\"-7\"/></trkseg></trk></gpx>");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.panoramas, 22);
  EXPECT_EQ(result.warning_count, 1u);
}

TEST_F(GpxImport, AFaultNamesFileAndLine) {
  ExpectRefused("a.gpx", "<gpx>\n<trk>\n</gpx>", ImportStatus::kBadInput, "a.gpx: line 3: ");
}

TEST_F(GpxImport, XmlThatIsNotGpxIsRefused) {
  ExpectRefused("a.gpx", "<kml/>", ImportStatus::kBadInput, "not GPX");
}

TEST_F(GpxImport, EntityBombsAreRefused) {
  ExpectRefused("a.gpx",
                "<!DOCTYPE gpx [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>"
                "<gpx><trk><name>&b;</name></trk></gpx>",
                ImportStatus::kBadInput, "entity declarations are not taken");
}

TEST_F(GpxImport, DeepNestingIsRefused) {
  std::string nested = "<gpx>";
  for (int i = 0; i < 100000; ++i) {
    nested += "<a>";
  }
  ExpectRefused("a.gpx", nested, ImportStatus::kBadInput, "nested deeper");
}

TEST_F(GpxImport, ManyAttributesAndLongNamesDoNoHarm) {
  std::string many = "<gpx><trk><name>" + std::string(5000000, 'n') + "</name><trkseg><trkpt";
  for (int i = 0; i < 20000; ++i) {
    many += " a" + std::to_string(i) + "=\"1\"";
  }
  many += " lat=\"51\" lon=\"7\"/><trkpt lat=\"51.0009\" lon=\"7\"/></trkseg></trk></gpx>";
  EXPECT_EQ(ImportText(many).status, ImportStatus::kDone);
}

}  // namespace
}  // namespace pelorin
