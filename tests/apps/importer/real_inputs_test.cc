// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

using test_support::BytesOf;

const std::string kShared = PELORIN_SHARED_DATA;
const std::string kOsmnx = PELORIN_OSMNX_DATA;

class RealInputs : public test_support::ImportTest {
 protected:
  ImportResult ImportReal(const std::string& path) {
    ImportOptions options = options_;
    options.output = output();
    options.inputs = {{path}};
    return Import(options);
  }

  // What holds for every import: unique ids, links both ways with a heading, sane spacing.
  void ExpectSound(double usual_share) {
    const std::map<std::string, PanoRecord> records = RecordsOf(output());
    int links = 0;
    int usual = 0;
    for (const auto& [id, record] : records) {
      EXPECT_GT(record.scene, 0);
      EXPECT_GE(record.links.size(), 1u);
      std::set<std::string> targets;
      for (const PanoLink& link : record.links) {
        EXPECT_TRUE(targets.insert(link.pano_id).second);
        ASSERT_EQ(records.count(link.pano_id), 1u);
        const PanoRecord& other = records.at(link.pano_id);
        EXPECT_EQ(other.scene, record.scene);
        EXPECT_TRUE(std::any_of(other.links.begin(), other.links.end(),
                                [&id = id](const PanoLink& one) { return one.pano_id == id; }));
        const double metres = DistanceMetres(record.place, other.place);
        EXPECT_LT(metres, 15.01);
        ++links;
        usual += metres > 8.0 && metres < 12.0 ? 1 : 0;
      }
    }
    EXPECT_GT(usual, links * usual_share);
  }

  static bool Missing(const std::string& path) { return !std::filesystem::exists(path); }
};

#define SKIP_IF_MISSING(path)                                                                      \
  if (Missing(path)) {                                                                             \
    GTEST_SKIP() << "the real data is not here: " << (path);                                       \
  }

TEST_F(RealInputs, AnExtractOfWestOaklandImports) {
  const std::string file = kOsmnx + "/West-Oakland.osm.bz2";
  SKIP_IF_MISSING(file);
  const ImportResult result = ImportReal(file);
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.lines_read, 66u);
  EXPECT_EQ(result.streets_used, 27u);
  EXPECT_NEAR(result.street_metres, 7858.0, 1.0);
  ExpectSound(0.8);
}

TEST_F(RealInputs, MonacoIsTheSameFromXmlAndFromPbf) {
  SKIP_IF_MISSING(kShared + "/osm/monaco.osm.gz");
  const ImportResult xml = ImportReal(kShared + "/osm/monaco.osm.gz");
  ASSERT_EQ(xml.status, ImportStatus::kDone) << xml.error;
  const std::string from_xml = BytesOf(output());
  const ImportResult pbf = ImportReal(kShared + "/osm/monaco.osm.pbf");
  ASSERT_EQ(pbf.status, ImportStatus::kDone) << pbf.error;
  EXPECT_TRUE(BytesOf(output()) == from_xml) << "the two datasets differ";
  EXPECT_EQ(xml.lines_read, 1944u);
  EXPECT_EQ(xml.counts.streets, 135);
  EXPECT_EQ(xml.junctions, 689u);
  ExpectSound(0.7);
}

TEST_F(RealInputs, JunctionsOfMonacoHaveALinkForEachStreet) {
  SKIP_IF_MISSING(kShared + "/osm/monaco.osm.pbf");
  const ImportResult result = ImportReal(kShared + "/osm/monaco.osm.pbf");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  std::uint64_t junctions = 0;
  for (const auto& [id, record] : RecordsOf(output())) {
    junctions += record.links.size() >= 3 ? 1 : 0;
  }
  EXPECT_EQ(junctions, result.junctions);
}

TEST_F(RealInputs, HeadingsInMonacoFollowTheStreet) {
  SKIP_IF_MISSING(kShared + "/osm/monaco.osm.pbf");
  ASSERT_EQ(ImportReal(kShared + "/osm/monaco.osm.pbf").status, ImportStatus::kDone);
  const std::map<std::string, PanoRecord> records = RecordsOf(output());
  int links = 0;
  int near_chord = 0;
  for (const auto& [id, record] : records) {
    for (const PanoLink& link : record.links) {
      const double chord = BearingDegrees(record.place, records.at(link.pano_id).place);
      ++links;
      near_chord += std::fabs(std::remainder(chord - link.yaw_deg, 360.0)) < 15.0 ? 1 : 0;
    }
  }
  // Streets bend, so not all; but they bend little within ten metres.
  EXPECT_GT(near_chord, links * 85 / 100);
  EXPECT_LT(near_chord, links);
}

TEST_F(RealInputs, BerlinImportsThoughSomeWaysAreCut) {
  SKIP_IF_MISSING(kShared + "/osm/berlin-neukoelln.osm");
  const ImportResult result = ImportReal(kShared + "/osm/berlin-neukoelln.osm");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.lines_read, 700u);
  EXPECT_EQ(result.warning_count, 1u);
  EXPECT_EQ(result.counts.streets, 7);
  ExpectSound(0.8);
}

TEST_F(RealInputs, GothenburgImportsFromGeoJson) {
  SKIP_IF_MISSING(kShared + "/streets/gothenburg-centre-streets.geojson");
  const ImportResult result = ImportReal(kShared + "/streets/gothenburg-centre-streets.geojson");
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.lines_read, 1954u);
  EXPECT_NE(Dataset::Open(output(), nullptr)->info().attribution.find("openstreetmap.org"),
            std::string::npos);
  ExpectSound(0.6);
}

TEST_F(RealInputs, TracksOfBothGpxVersionsImport) {
  SKIP_IF_MISSING(kShared + "/gpx/around-visnjan-with-car.gpx");
  const ImportResult drive = ImportReal(kShared + "/gpx/around-visnjan-with-car.gpx");
  ASSERT_EQ(drive.status, ImportStatus::kDone) << drive.error;
  EXPECT_EQ(drive.lines_read, 1u);
  EXPECT_EQ(drive.counts.panoramas, 274);
  ExpectSound(0.95);
  const ImportResult walk = ImportReal(kShared + "/gpx/cerknicko-jezero.gpx");
  ASSERT_EQ(walk.status, ImportStatus::kDone) << walk.error;
  EXPECT_EQ(walk.lines_read, 8u);
  ExpectSound(0.8);
}

TEST_F(RealInputs, ATruncatedPbfLeavesTheOldFileWhole) {
  SKIP_IF_MISSING(kShared + "/osm/monaco.osm.pbf");
  const std::string whole = BytesOf(kShared + "/osm/monaco.osm.pbf");
  folder_.Write("out.db", "the old one");
  int refused = 0;
  for (std::size_t size = 1; size < whole.size(); size += whole.size() / 23) {
    const ImportResult result = ImportFiles({{"cut.osm.pbf", whole.substr(0, size)}});
    if (result.status != ImportStatus::kDone) {
      ++refused;
      EXPECT_FALSE(result.error.empty());
    }
  }
  // Blocks before the cut are whole and so a cut between two of them cannot be told.
  EXPECT_GE(refused, 23);
  EXPECT_EQ(BytesOf(output()), "the old one");
}

TEST_F(RealInputs, FlippedBytesInAPbfDoNoHarm) {
  SKIP_IF_MISSING(kShared + "/osm/monaco.osm.pbf");
  const std::string whole = BytesOf(kShared + "/osm/monaco.osm.pbf");
  std::mt19937 random(81);
  for (int round = 0; round < 40; ++round) {
    std::string damaged = whole;
    for (int flip = 0; flip < 3; ++flip) {
      // The heads of the file and of its blocks come first; most of the rest is packed.
      const std::size_t range = round % 2 == 0 ? 200 : damaged.size();
      damaged[random() % range] = static_cast<char>(random());
    }
    const ImportResult result = ImportFiles({{"damaged.osm.pbf", damaged}});
    EXPECT_EQ(result.error.empty(), result.status == ImportStatus::kDone);
  }
}

}  // namespace
}  // namespace pelorin
