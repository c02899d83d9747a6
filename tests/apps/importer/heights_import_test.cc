// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

using test_support::SmallOsm;

const std::string kDem = std::string(PELORIN_SHARED_DATA) + "/dem/";

// Samples 1 to 6 with the fourth missing, the first at 50 N 10 E, half a degree apart.
const char kAscii[] = "ncols 3\nnrows 2\nxllcorner 9.75\nyllcorner 49.25\ncellsize 0.5\n"
                      "NODATA_value -9999\n1 2 3\n-9999 5 6.5\n";

void Append(std::uint64_t value, int bytes, std::string* out) {
  for (int i = 0; i < bytes; ++i) {
    out->push_back(static_cast<char>(value >> (8 * i)));
  }
}

std::string Doubles(const std::vector<double>& values) {
  std::string bytes;
  for (const double value : values) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    Append(bits, 8, &bytes);
  }
  return bytes;
}

std::string Shorts(const std::vector<int>& values) {
  std::string bytes;
  for (const int value : values) {
    Append(static_cast<std::uint64_t>(value), 2, &bytes);
  }
  return bytes;
}

// A GeoTIFF of the same samples as 16-bit numbers, one strip, each sample a point: little-endian,
// the directory right behind the header, then the values that do not fit into it.
std::string GeoTiff() {
  struct Entry {
    int tag;
    int type;  // 2 text, 3 short, 4 long, 12 double.
    std::uint32_t count;
    std::string value;
  };
  const std::string samples = Shorts({1, 2, 3, -9999, 5, 7});
  const std::vector<Entry> entries = {
      {256, 3, 1, Shorts({3, 0})},
      {257, 3, 1, Shorts({2, 0})},
      {258, 3, 1, Shorts({16, 0})},
      {259, 3, 1, Shorts({1, 0})},
      {262, 3, 1, Shorts({1, 0})},
      {273, 4, 1, Shorts({8, 0})},
      {277, 3, 1, Shorts({1, 0})},
      {278, 3, 1, Shorts({2, 0})},
      {279, 4, 1, Shorts({12, 0})},
      {339, 3, 1, Shorts({2, 0})},
      {33550, 12, 3, Doubles({0.5, 0.5, 0.0})},
      {33922, 12, 6, Doubles({0.0, 0.0, 0.0, 10.0, 50.0, 0.0})},
      {34735, 3, 16, Shorts({1, 1, 0, 3, 1024, 0, 1, 2, 1025, 0, 1, 2, 2048, 0, 1, 4326})},
      {42113, 2, 6, std::string("-9999\0", 6)}};
  const std::size_t directory = 8 + samples.size();
  std::size_t far_at = directory + 2 + 12 * entries.size() + 4;
  std::string file = "II" + Shorts({42});
  Append(directory, 4, &file);
  file += samples;
  Append(entries.size(), 2, &file);
  std::string far;
  for (const Entry& entry : entries) {
    Append(static_cast<std::uint64_t>(entry.tag), 2, &file);
    Append(static_cast<std::uint64_t>(entry.type), 2, &file);
    Append(entry.count, 4, &file);
    if (entry.value.size() == 4) {
      file += entry.value;
    } else {
      Append(far_at + far.size(), 4, &file);
      far += entry.value;
    }
  }
  Append(0, 4, &file);
  return file + far;
}

class HeightsImport : public test_support::ImportTest {
 protected:
  ImportResult ImportPaths(const std::vector<std::string>& paths) {
    ImportOptions options = options_;
    options.output = output();
    for (const std::string& path : paths) {
      options.inputs.push_back({path});
    }
    return Import(options);
  }

  // The height at a place of what was imported last.
  Height At(double lat, double lng) {
    std::string error;
    const auto dataset = Dataset::Open(output(), &error);
    EXPECT_NE(dataset, nullptr) << error;
    std::vector<Height> heights;
    EXPECT_EQ(dataset->FindHeights({{lat, lng}}, {}, &heights, &error), Answer::kFound) << error;
    return heights.at(0);
  }

  void ExpectTheSixSamples() {
    EXPECT_EQ(At(50.0, 10.0).metres, 1.0);
    EXPECT_EQ(At(50.0, 11.0).metres, 3.0);
    EXPECT_EQ(At(49.5, 10.5).metres, 5.0);
    EXPECT_DOUBLE_EQ(At(50.0, 10.25).metres, 1.5);
    EXPECT_TRUE(At(49.5, 10.0).filled);
  }
};

TEST_F(HeightsImport, ReadsAnAsciiGrid) {
  const ImportResult result = ImportFiles({{"Hill One.asc", kAscii}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.height_grids, 1);
  EXPECT_EQ(result.counts.panoramas, 0);
  EXPECT_EQ(result.height_samples, 6u);
  EXPECT_EQ(result.missing_heights, 1u);
  ExpectTheSixSamples();
  std::string error;
  EXPECT_EQ(Dataset::Open(output(), &error)->height_grids()[0].name, "hill-one");
}

TEST_F(HeightsImport, ReadsAGeoTiffWhoseSamplesArePoints) {
  const ImportResult result = ImportFiles({{"a.tif", GeoTiff()}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.missing_heights, 1u);
  ExpectTheSixSamples();
}

TEST_F(HeightsImport, ReadsAnSrtmTileByItsName) {
  std::string tile(1201 * 1201 * 2, '\0');
  tile[0] = 2;                                      // 512 m in the north-west corner,
  tile[1] = 0;                                      //
  tile[2] = static_cast<char>(0x80);                // a hole beside it,
  tile[tile.size() - 2] = static_cast<char>(0xFF);  // and 10 m below the sea in the south-east.
  tile[tile.size() - 1] = static_cast<char>(0xF6);
  const ImportResult result = ImportFiles({{"S11W078.hgt", tile}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.missing_heights, 1u);
  EXPECT_EQ(At(-10.0, -78.0).metres, 512.0);
  EXPECT_EQ(At(-11.0, -77.0).metres, -10.0);
}

TEST_F(HeightsImport, GoesTogetherWithStreets) {
  const ImportResult result = ImportFiles({{"a.osm", SmallOsm()}, {"b.asc", kAscii}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_GT(result.counts.panoramas, 0);
  EXPECT_EQ(result.counts.height_grids, 1);
}

TEST_F(HeightsImport, TellsHeightsFromOtherFilesByTheirFirstBytes) {
  EXPECT_EQ(ImportFiles({{"grid", kAscii}}).status, ImportStatus::kDone);
  EXPECT_EQ(ImportFiles({{"picture", GeoTiff()}}).status, ImportStatus::kDone);
}

TEST_F(HeightsImport, RefusesAPackedFile) {
  const ImportResult result = ImportFiles({{"a.asc.gz", test_support::Gzipped(kAscii)}});
  EXPECT_EQ(result.status, ImportStatus::kBadInput);
  EXPECT_NE(result.error.find("unpack"), std::string::npos) << result.error;
}

TEST_F(HeightsImport, RefusesAGridOffThePlanet) {
  std::string grid = kAscii;
  grid.replace(grid.find("49.25"), 5, "95.25");
  const ImportResult result = ImportFiles({{"a.asc", grid}});
  EXPECT_EQ(result.status, ImportStatus::kBadInput);
  EXPECT_NE(result.error.find("a.asc"), std::string::npos) << result.error;
}

TEST_F(HeightsImport, RefusesATileWithAForeignName) {
  EXPECT_EQ(ImportFiles({{"tile.hgt", std::string(1201 * 1201 * 2, '\0')}}).status,
            ImportStatus::kBadInput);
}

TEST_F(HeightsImport, SurvivesEveryPrefix) {
  const std::string tiff = GeoTiff();
  for (std::size_t size = 1; size < tiff.size(); size += 5) {
    const ImportResult result = ImportFiles({{"a.tif", tiff.substr(0, size)}});
    EXPECT_TRUE(result.status == ImportStatus::kBadInput || result.status == ImportStatus::kDone);
  }
  const std::string ascii = kAscii;
  for (std::size_t size = 1; size < 70; size += 3) {
    EXPECT_EQ(ImportFiles({{"a.asc", ascii.substr(0, size)}}).status, ImportStatus::kBadInput)
        << size;
  }
}

TEST_F(HeightsImport, SurvivesFlippedBytes) {
  std::mt19937 random(17);
  for (int round = 0; round < 80; ++round) {
    std::string tiff = GeoTiff();
    for (int flips = 0; flips < 3; ++flips) {
      tiff[random() % tiff.size()] ^= static_cast<char>(1 << random() % 8);
    }
    const ImportResult result = ImportFiles({{"a.tif", tiff}});
    EXPECT_TRUE(result.status == ImportStatus::kBadInput || result.status == ImportStatus::kDone);
  }
}

TEST_F(HeightsImport, ReadsTheSameRealHeightsOutOfEveryKindOfFile) {
  if (!std::filesystem::exists(kDem + "N43E007.hgt")) {
    GTEST_SKIP() << "the shared real data is not there";
  }
  std::vector<std::vector<double>> found;
  for (const char* const name : {"N43E007.hgt", "monaco-srtm3.tif", "monaco-srtm3.asc"}) {
    const ImportResult result = ImportPaths({kDem + name});
    ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
    EXPECT_GT(result.missing_heights, 0u);
    std::string error;
    const auto dataset = Dataset::Open(output(), &error);
    std::vector<LatLng> places;
    for (int i = 0; i < 2000; ++i) {
      places.push_back({43.69 + 0.1 * (i % 47) / 47.0, 7.36 + 0.13 * (i % 43) / 43.0});
    }
    std::vector<Height> heights;
    ASSERT_EQ(dataset->FindHeights(places, {}, &heights, &error), Answer::kFound) << error;
    found.emplace_back();
    for (const Height& height : heights) {
      EXPECT_EQ(height.grid, 0);
      found.back().push_back(height.metres);
    }
  }
  for (std::size_t i = 0; i < found[0].size(); ++i) {
    // The ASCII form writes its steps with nine digits only.
    EXPECT_NEAR(found[0][i], found[1][i], 1e-3) << i;
    EXPECT_NEAR(found[0][i], found[2][i], 0.05) << i;
  }
}

}  // namespace
}  // namespace pelorin
