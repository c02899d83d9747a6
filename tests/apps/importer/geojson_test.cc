// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

class GeoJsonImport : public test_support::ImportTest {
 protected:
  ImportResult ImportText(const std::string& text) { return ImportFiles({{"a.geojson", text}}); }

  static std::string Line(const std::string& coordinates) {
    return R"({"type":"LineString","coordinates":)" + coordinates + "}";
  }
  static std::string Feature(const std::string& properties, const std::string& geometry) {
    return R"({"type":"Feature","properties":)" + properties + R"(,"geometry":)" + geometry + "}";
  }
};

const char kNorth[] = "[[7.0,51.0],[7.0,51.0009]]";

TEST_F(GeoJsonImport, AFeatureIsAStreetWithItsName) {
  const ImportResult result =
      ImportText(Feature(R"({"name":"Storgatan","highway":"residential"})", Line(kNorth)));
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.panoramas, 11);
  for (const auto& [id, record] : RecordsOf(output())) {
    EXPECT_EQ(record.text, "Storgatan");
    EXPECT_TRUE(record.copyright.empty());
  }
}

TEST_F(GeoJsonImport, ALineHasTheFirstOfItsDates) {
  for (const auto& [properties, date] : std::map<std::string, std::string>{
           {R"({"date":"2024-05-17"})", "2024-05-17"},
           {R"({"capture_time":"2016-05-01T12:00:00.000Z"})", "2016-05-01"},
           {R"({"date":2024,"check_date":"2023"})", "2024"},
           {R"({"date":" 2024-05\n"})", "2024-05"},
           {R"({"date":"last week","survey:date":"2023-07"})", "2023-07"},
           {R"({"date":"2023-02-30"})", ""},
           {R"({"date":["2023"]})", ""},
           {"null", ""}}) {
    ASSERT_EQ(ImportText(Feature(properties, Line(kNorth))).status, ImportStatus::kDone);
    for (const auto& [id, record] : RecordsOf(output())) {
      EXPECT_EQ(record.image_date, date) << properties;
    }
  }
}

TEST_F(GeoJsonImport, BareLinesCollectionsAndMultiLinesAreRead) {
  const std::string multi =
      R"({"type":"MultiLineString","coordinates":[[[7.01,51.0],[7.01,51.001]],[[7.02,51.0],[7.02,51.001]]]})";
  const ImportResult result = ImportText(
      R"({"type":"FeatureCollection","features":[)" + Feature("null", Line(kNorth)) + "," +
      Feature("{}", R"({"type":"GeometryCollection","geometries":[)" + multi + "]}") +
      R"(,{"type":"Feature","geometry":null},)" +
      Feature("{}", R"({"type":"Point","coordinates":[1,2]})") + "]}");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.lines_read, 3u);
  EXPECT_EQ(result.counts.scenes, 3);
  EXPECT_EQ(ImportText(Line(kNorth)).status, ImportStatus::kDone);
}

TEST_F(GeoJsonImport, LinesMeetWhereTheyShareAPoint) {
  const ImportResult result = ImportText(
      R"({"type":"MultiLineString","coordinates":[[[7.0,51.0],[7.0,51.001],[7.0,51.002]],[[7.0,51.001],[7.001,51.001]]]})");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.junctions, 1u);
  EXPECT_EQ(result.counts.scenes, 1);
}

TEST_F(GeoJsonImport, KeepsTheCreditThatTheFileGives) {
  ASSERT_EQ(ImportText(R"({"type":"FeatureCollection","copyright":"(c) Somebody","features":[)" +
                       Feature("{}", Line(kNorth)) + "]}")
                .status,
            ImportStatus::kDone);
  EXPECT_EQ(Dataset::Open(output(), nullptr)->info().attribution, "(c) Somebody");
}

TEST_F(GeoJsonImport, OddPositionsAreSteppedOverWithAWarning) {
  const ImportResult odd =
      ImportText(Line(R"([[7.0,51.0],[7.0],["7","51"],null,[700.0,51.0],[7.0,51.0009,12.5]])"));
  ASSERT_EQ(odd.status, ImportStatus::kDone) << odd.error;
  EXPECT_EQ(odd.warning_count, 4u);
  EXPECT_EQ(odd.counts.panoramas, 11);
}

TEST_F(GeoJsonImport, ANumberBeyondAllIsNamedWithItsPlace) {
  ExpectRefused("a.geojson", "{\"type\":\"LineString\",\n\"coordinates\":[[1,2e999],[1,2]]}",
                ImportStatus::kBadInput,
                "a.geojson: line 2, byte 41: the number 2e999 is larger than any");
}

TEST_F(GeoJsonImport, OddPositionsAreNamedByTheirFeature) {
  const ImportResult result = ImportText(
      R"({"type":"FeatureCollection","features":[{"type":"Feature","id":"way/7","geometry":)" +
      Line(R"([[7.0,51.0],[7.0],[7.0,51.0009]])") + "}," +
      Feature("{}", Line(R"([[7.1,51.0],[700,51.0],[7.1,51.0009]])")) + "," +
      Feature("{}", Line("{}")) + "]}");
  ASSERT_EQ(result.warnings.size(), 3u);
  const std::string file = folder_.File("a.geojson") + ": ";
  EXPECT_EQ(result.warnings[0],
            file + "way/7: a position that is no pair of numbers is stepped over");
  EXPECT_EQ(result.warnings[1],
            file + "feature 2: a position outside the planet's degrees is stepped over");
  EXPECT_EQ(result.warnings[2], file + "feature 3: a line without positions");
}

TEST_F(GeoJsonImport, MotorwaysAreNoStreets) {
  EXPECT_EQ(ImportText(Feature(R"({"highway":"motorway"})", Line(kNorth))).status,
            ImportStatus::kNoStreets);
}

TEST_F(GeoJsonImport, AFaultNamesFileLineAndByte) {
  ExpectRefused("a.geojson", "{\"type\":\"LineString\",\n\"coordinates\":[[1,2],,]}",
                ImportStatus::kBadInput, "a.geojson: line 2, byte 44");
}

TEST_F(GeoJsonImport, JsonThatIsNotGeoJsonIsRefused) {
  for (const char* text : {"{}", "[]", "3", "null", "{\"type\":7}", "{\"type\":\"Topology\"}",
                           "{\"type\":\"FeatureCollection\"}"}) {
    ExpectRefused("a.geojson", text, ImportStatus::kBadInput, "not GeoJSON");
  }
}

TEST_F(GeoJsonImport, DeepNestingDoesNoHarm) {
  std::string nested;
  for (int i = 0; i < 100000; ++i) {
    nested += R"({"type":"GeometryCollection","geometries":[)";
  }
  std::string closed = nested;
  for (int i = 0; i < 100000; ++i) {
    closed += "]}";
  }
  EXPECT_EQ(ImportText(closed).status, ImportStatus::kNoStreets);
  EXPECT_EQ(ImportText(nested).status, ImportStatus::kBadInput);
  EXPECT_EQ(ImportText(std::string(1000000, '[')).status, ImportStatus::kBadInput);
}

}  // namespace
}  // namespace pelorin
