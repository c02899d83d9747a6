// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

using test_support::BytesOf;
using test_support::Bzipped;
using test_support::Gzipped;
using test_support::OsmFile;
using test_support::OsmNode;
using test_support::OsmWay;
using test_support::SmallOsm;

class OsmImport : public test_support::ImportTest {};

TEST_F(OsmImport, TwoCrossingStreetsBecomePanoramas) {
  const ImportResult result = ImportFiles({{"small.osm", SmallOsm()}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.lines_read, 2u);
  EXPECT_EQ(result.streets_used, 2u);
  EXPECT_EQ(result.junctions, 1u);
  EXPECT_NEAR(result.street_metres, 222.4 + 140.0, 0.5);
  EXPECT_EQ(result.warning_count, 0u);
  EXPECT_EQ(result.counts.scenes, 1);
  EXPECT_EQ(result.counts.streets, 2);
  EXPECT_EQ(result.counts.depth_maps, result.counts.panoramas);
  int junctions = 0;
  for (const auto& [id, record] : RecordsOf(output())) {
    EXPECT_EQ(record.copyright, "\xC2\xA9 OpenStreetMap contributors");
    EXPECT_EQ(record.scene, 1);
    if (record.links.size() == 4) {
      ++junctions;
      EXPECT_EQ(record.text, "West Street");
      std::set<int> yaws;
      for (const PanoLink& link : record.links) {
        yaws.insert(static_cast<int>(std::lround(link.yaw_deg)) % 360);
      }
      EXPECT_EQ(yaws, (std::set<int>{0, 90, 180, 270}));
    }
  }
  EXPECT_EQ(junctions, 1);
}

TEST_F(OsmImport, AWayHasTheDateOfItsSurvey) {
  const std::string nodes = OsmNode(1, 51.001, 7.0) + OsmNode(2, 51.0, 7.0);
  for (const auto& [tags, date] : std::map<std::map<std::string, std::string>, std::string>{
           {{{"survey:date", "2021-03-04"}, {"check_date", "2024"}}, "2021-03-04"},
           {{{"survey:date", "in spring"}, {"check_date", "2024-05"}}, "2024-05"},
           {{{"check_date", "2024-05-17T08:00"}}, "2024-05-17"},
           {{{"check_date:surface", "2024"}}, ""}}) {
    std::map<std::string, std::string> all = tags;
    all["highway"] = "path";
    ASSERT_EQ(ImportFiles({{"a.osm", OsmFile(nodes + OsmWay(10, {1, 2}, all))}}).status,
              ImportStatus::kDone);
    for (const auto& [id, record] : RecordsOf(output())) {
      EXPECT_EQ(record.image_date, date);
    }
  }
}

TEST_F(OsmImport, KeepsNameAndCreditOfTheDataset) {
  ASSERT_EQ(ImportFiles({{"Small Town.osm.gz", Gzipped(SmallOsm())}}).status, ImportStatus::kDone);
  const std::unique_ptr<Dataset> dataset = Dataset::Open(output(), nullptr);
  EXPECT_EQ(dataset->info().name, "Small Town");
  EXPECT_EQ(dataset->info().attribution, "\xC2\xA9 OpenStreetMap contributors");
  EXPECT_TRUE(dataset->info().tour_from.has_value());
  EXPECT_TRUE(dataset->info().tour_to.has_value());
}

TEST_F(OsmImport, PackedFilesGiveTheSameDataset) {
  options_.name = "same";
  ASSERT_EQ(ImportFiles({{"a.osm", SmallOsm()}}).status, ImportStatus::kDone);
  const std::string plain = BytesOf(output());
  ASSERT_EQ(ImportFiles({{"b.osm.gz", Gzipped(SmallOsm())}}).status, ImportStatus::kDone);
  EXPECT_EQ(BytesOf(output()), plain);
  ASSERT_EQ(ImportFiles({{"c.osm.bz2", Bzipped(SmallOsm())}}).status, ImportStatus::kDone);
  EXPECT_EQ(BytesOf(output()), plain);
  // The name of a file is not what tells how it is packed.
  ASSERT_EQ(ImportFiles({{"d.osm", Gzipped(SmallOsm())}}).status, ImportStatus::kDone);
  EXPECT_EQ(BytesOf(output()), plain);
}

TEST_F(OsmImport, TheOrderWithinTheFileDoesNotMatter) {
  options_.name = "same";
  const std::string nodes = OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.001, 7.0);
  const std::string more_nodes = OsmNode(3, 51.002, 7.001);
  const std::string way = OsmWay(10, {1, 2}, {{"highway", "path"}});
  const std::string other = OsmWay(11, {2, 3}, {{"highway", "service"}});
  ASSERT_EQ(ImportFiles({{"a.osm", OsmFile(nodes + more_nodes + way + other)}}).status,
            ImportStatus::kDone);
  const std::string sorted = BytesOf(output());
  ASSERT_EQ(ImportFiles({{"b.osm", OsmFile(other + more_nodes + way + nodes)}}).status,
            ImportStatus::kDone);
  EXPECT_EQ(BytesOf(output()), sorted);
}

TEST_F(OsmImport, AWayIsCutWhereItsPointsAreMissing) {
  const ImportResult result = ImportFiles(
      {{"cut.osm", OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.001, 7.0) +
                           OsmNode(4, 51.003, 7.0) + OsmNode(5, 51.004, 7.0) +
                           OsmWay(10, {1, 2, 3, 4, 5, 6}, {{"highway", "residential"}}))}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.scenes, 2);
  ASSERT_EQ(result.warning_count, 1u);
  EXPECT_NE(result.warnings[0].find("way 10: 2 of its points are not in the file"),
            std::string::npos)
      << result.warnings[0];
}

TEST_F(OsmImport, PointsOutsideThePlanetAreMissing) {
  const ImportResult result = ImportFiles(
      {{"far.osm", OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.001, 7.0) + OsmNode(3, 91.0, 7.0) +
                           OsmWay(10, {1, 2, 3}, {{"highway", "residential"}}))}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.warning_count, 1u);
}

TEST_F(OsmImport, RepeatedPointsAndWaysWithoutLengthDoNoHarm) {
  const ImportResult result = ImportFiles(
      {{"odd.osm", OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.001, 7.0) +
                           OsmNode(3, 51.001, 7.0) + OsmNode(4, 51.002, 7.0) +
                           OsmWay(10, {1, 1, 2, 2, 3, 4}, {{"highway", "residential"}}) +
                           OsmWay(11, {2, 3}, {{"highway", "residential"}}) +
                           OsmWay(12, {1, 1}, {{"highway", "residential"}}) +
                           OsmWay(13, {1}, {{"highway", "residential"}}) +
                           OsmWay(14, {}, {{"highway", "residential"}}))}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.panoramas, 23);
  EXPECT_EQ(result.counts.links, 44);
}

TEST_F(OsmImport, StoreysOfAStationStayApart) {
  const ImportResult result = ImportFiles(
      {{"station.osm",
        OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.0005, 7.0) + OsmNode(3, 51.0, 7.0) +
                OsmNode(4, 51.0005, 7.0) +
                OsmWay(10, {1, 2}, {{"highway", "corridor"}, {"level", "0"}}) +
                OsmWay(11, {2, 3}, {{"highway", "steps"}, {"level", "0;1"}, {"indoor", "yes"}}) +
                OsmWay(12, {3, 4}, {{"highway", "corridor"}, {"level", "1"}}))}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.levels, 2);
  EXPECT_EQ(result.counts.scenes, 1);
  for (const auto& [id, record] : RecordsOf(output())) {
    EXPECT_EQ(record.levels.size(), 2u);
  }
}

TEST_F(OsmImport, OverlappingExtractsJoin) {
  const std::string west = OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.0, 7.001) +
                                   OsmWay(10, {1, 2}, {{"highway", "residential"}}));
  const std::string east =
      OsmFile(OsmNode(1, 51.0, 7.0) + OsmNode(2, 51.0, 7.001) + OsmNode(3, 51.0, 7.002) +
              OsmWay(10, {1, 2}, {{"highway", "residential"}}) +
              OsmWay(11, {2, 3}, {{"highway", "residential"}}));
  const ImportResult result = ImportFiles({{"west.osm", west}, {"east.osm", east}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.scenes, 1);
  EXPECT_EQ(result.counts.panoramas, 15);
}

TEST_F(OsmImport, EntityBombsAreRefused) {
  ExpectRefused("a.osm",
                "<!DOCTYPE osm [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>" +
                    OsmFile("<way id=\"1\"><tag k=\"name\" v=\"&b;\"/></way>"),
                ImportStatus::kBadInput, "a.osm: damaged or not OpenStreetMap data");
}

TEST_F(OsmImport, DeepNestingIsRefusedOrPassedOver) {
  std::string nested;
  for (int i = 0; i < 100000; ++i) {
    nested += "<a>";
  }
  ExpectRefused("a.osm", OsmFile(nested), ImportStatus::kBadInput, "a.osm: damaged");
}

TEST_F(OsmImport, PlacesThatAreNoNumbersAreRefused) {
  for (const char* lat : {"nan", "inf", "1e9", "51,5"}) {
    ExpectRefused("a.osm",
                  OsmFile(std::string("<node id=\"1\" version=\"1\" lat=\"") + lat +
                          "\" lon=\"7\"/>" + OsmNode(2, 51.0, 7.0) +
                          OsmWay(10, {1, 2}, {{"highway", "path"}})),
                  ImportStatus::kBadInput, "a.osm: damaged");
  }
}

TEST_F(OsmImport, DepthMapsAreLeftOutOnRequest) {
  options_.depth_maps = false;
  const ImportResult result = ImportFiles({{"small.osm", SmallOsm()}});
  EXPECT_EQ(result.status, ImportStatus::kDone);
  EXPECT_EQ(result.counts.depth_maps, 0);
}

}  // namespace
}  // namespace pelorin
