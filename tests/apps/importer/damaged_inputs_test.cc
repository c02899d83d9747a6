// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

using test_support::BytesOf;
using test_support::Bzipped;
using test_support::Gzipped;
using test_support::SmallOsm;

// One small file of each kind; PBF comes from the real data, which has its own tests.
struct Kind {
  const char* name;
  std::string bytes;
};

std::vector<Kind> Kinds() {
  const std::string gpx =
      "<?xml version=\"1.0\"?><gpx version=\"1.1\"><trk><name>Walk</name><trkseg>"
      "<trkpt lat=\"51\" lon=\"7\"/><trkpt lat=\"51.0009\" lon=\"7\"/></trkseg></trk></gpx>";
  const std::string json =
      "{\"type\":\"Feature\",\"properties\":{\"name\":\"A\"},\"geometry\":{\"type\":\"LineString\","
      "\"coordinates\":[[8.0,51.0],[8.0,51.0009]]}}";
  return {{"a.osm", SmallOsm()},
          {"b.osm.gz", Gzipped(SmallOsm())},
          {"c.osm.bz2", Bzipped(SmallOsm())},
          {"d.gpx", gpx},
          {"e.gpx.gz", Gzipped(gpx)},
          {"f.geojson", json},
          {"g.geojson.bz2", Bzipped(json)}};
}

class DamagedInputs : public test_support::ImportTest,
                      public testing::WithParamInterface<std::size_t> {};

TEST_P(DamagedInputs, EveryPrefixIsRefusedAndTheOldFileKept) {
  const Kind kind = Kinds()[GetParam()];
  folder_.Write("out.db", "the old one");
  // A final line break says nothing.
  const std::size_t whole = kind.bytes.find_last_not_of('\n') + 1;
  const std::size_t step = kind.bytes.size() > 400 ? 7 : 1;
  for (std::size_t size = 0; size < whole; size += step) {
    const ImportResult result = ImportFiles({{kind.name, kind.bytes.substr(0, size)}});
    ASSERT_EQ(result.status, ImportStatus::kBadInput) << kind.name << " cut to " << size;
    ASSERT_NE(result.error.find(kind.name), std::string::npos) << result.error;
    ASSERT_EQ(BytesOf(output()), "the old one");
  }
}

TEST_P(DamagedInputs, FlippedBytesDoNoHarm) {
  const Kind kind = Kinds()[GetParam()];
  std::mt19937 random(static_cast<unsigned>(71 + GetParam()));
  for (int round = 0; round < 60; ++round) {
    std::string damaged = kind.bytes;
    for (int flip = 0; flip < 1 + round % 4; ++flip) {
      damaged[random() % damaged.size()] = static_cast<char>(random());
    }
    const ImportResult result = ImportFiles({{kind.name, damaged}});
    EXPECT_EQ(result.error.empty(), result.status == ImportStatus::kDone);
    if (result.status == ImportStatus::kDone) {
      EXPECT_GT(RecordsOf(output()).size(), 0u);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, DamagedInputs, testing::Range<std::size_t>(0, 7));

}  // namespace
}  // namespace pelorin
