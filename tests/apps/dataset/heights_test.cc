// SPDX-License-Identifier: Apache-2.0
#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>
#include <thread>

#include "apps/dataset/dataset_writer.h"
#include "apps/dataset/harbour_town.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();

/// A grid of these rows, its first sample at 50 N 10 E, with steps of a degree.
HeightGrid Grid(const std::vector<std::vector<float>>& rows, const std::string& name = "a") {
  HeightGrid grid;
  grid.info = {name,
               50.0,
               10.0,
               1.0,
               1.0,
               static_cast<std::int64_t>(rows.size()),
               static_cast<std::int64_t>(rows.front().size())};
  for (const std::vector<float>& row : rows) {
    grid.samples.insert(grid.samples.end(), row.begin(), row.end());
  }
  return grid;
}

std::unique_ptr<Dataset> DatasetOf(const std::vector<HeightGrid>& grids,
                                   const std::string& file = "") {
  std::string error;
  const auto writer =
      file.empty() ? DatasetWriter::InMemory(&error) : DatasetWriter::ToFile(file, &error);
  for (const HeightGrid& grid : grids) {
    EXPECT_TRUE(writer->AddHeightGrid(grid, &error)) << error;
  }
  std::unique_ptr<Dataset> dataset = writer->Finish({}, &error);
  EXPECT_NE(dataset, nullptr) << error;
  return dataset;
}

Height HeightAt(const Dataset& dataset, double lat, double lng, const HeightQuery& query = {}) {
  std::vector<Height> heights;
  std::string error;
  EXPECT_EQ(dataset.FindHeights({{lat, lng}}, query, &heights, &error), Answer::kFound) << error;
  return heights.empty() ? Height{-1e9, true, -2} : heights.front();
}

TEST(Heights, OfASampleAreThatSample) {
  const auto dataset = DatasetOf({Grid({{1, 2, 3}, {4, 5, 6}})});
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < 3; ++column) {
      const Height height = HeightAt(*dataset, 50.0 - row, 10.0 + column);
      EXPECT_EQ(height.metres, 1 + 3 * row + column);
      EXPECT_FALSE(height.filled);
      EXPECT_EQ(height.grid, 0);
    }
  }
}

TEST(Heights, BetweenSamplesAreBilinear) {
  const auto dataset = DatasetOf({Grid({{0, 10}, {100, 210}})});
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 49.5, 10.5).metres, 80.0);
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 49.75, 10.25).metres, 0.75 * 2.5 + 0.25 * 127.5);
}

TEST(Heights, OfTheNearestSampleIfThatIsWanted) {
  const auto dataset = DatasetOf({Grid({{0, 10}, {100, 210}})});
  HeightQuery nearest;
  nearest.interpolation = HeightInterpolation::kNearest;
  EXPECT_EQ(HeightAt(*dataset, 49.6, 10.4, nearest).metres, 0.0);
  EXPECT_EQ(HeightAt(*dataset, 49.4, 10.4, nearest).metres, 100.0);
  EXPECT_EQ(HeightAt(*dataset, 49.4, 10.6, nearest).metres, 210.0);
}

HeightQuery Cubic() {
  HeightQuery query;
  query.interpolation = HeightInterpolation::kCubic;
  return query;
}

// Keys' kernel as it was published, of the distance to a sample in samples.
double CubicKernel(double distance) {
  constexpr double kA = -0.5;
  const double x = std::fabs(distance);
  if (x <= 1.0) {
    return (kA + 2.0) * x * x * x - (kA + 3.0) * x * x + 1.0;
  }
  return x < 2.0 ? kA * x * x * x - 5.0 * kA * x * x + 8.0 * kA * x - 4.0 * kA : 0.0;
}

TEST(Heights, ThatAreCubicWeighAllSamplesByThePublishedKernel) {
  std::mt19937 draw(31);
  constexpr int kSide = 9;
  HeightGrid grid = Grid(std::vector<std::vector<float>>(kSide, std::vector<float>(kSide)));
  for (float& sample : grid.samples) {
    sample = static_cast<float>(draw() % 9000) - 400.0f;
  }
  const auto dataset = DatasetOf({grid});
  for (int round = 0; round < 500; ++round) {
    const double y = static_cast<double>(draw() % 8001) / 1000.0;
    const double x = static_cast<double>(draw() % 8001) / 1000.0;
    double expected = 0.0;
    for (int row = -2; row < kSide + 2; ++row) {
      for (int column = -2; column < kSide + 2; ++column) {
        const int nearest_row = std::clamp(row, 0, kSide - 1);
        const int nearest_column = std::clamp(column, 0, kSide - 1);
        const auto at = static_cast<std::size_t>(nearest_row * kSide + nearest_column);
        expected +=
            CubicKernel(y - row) * CubicKernel(x - column) * static_cast<double>(grid.samples[at]);
      }
    }
    EXPECT_NEAR(HeightAt(*dataset, 50.0 - y, 10.0 + x, Cubic()).metres, expected, 1e-8);
  }
}

TEST(Heights, ThatAreCubicFollowASlopeThatBendsEvenly) {
  const auto ground = [](double y, double x) {
    return 3.0 * y * y - 2.0 * x * y + x * x - 7.0 * x;
  };
  HeightGrid grid = Grid(std::vector<std::vector<float>>(8, std::vector<float>(8)));
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 8; ++column) {
      grid.samples[static_cast<std::size_t>(8 * row + column)] =
          static_cast<float>(ground(row, column));
    }
  }
  const auto dataset = DatasetOf({grid});
  for (double y = 1.0; y <= 6.0; y += 0.125) {
    for (double x = 1.0; x <= 6.0; x += 0.125) {
      EXPECT_NEAR(HeightAt(*dataset, 50.0 - y, 10.0 + x, Cubic()).metres, ground(y, x), 1e-9);
    }
  }
}

TEST(Heights, ThatAreCubicCanLieAboveEverySample) {
  const auto dataset = DatasetOf({Grid({{0, 10, 10, 0}})});
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 50.0, 11.5, Cubic()).metres, 11.25);
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 50.0, 11.0, Cubic()).metres, 10.0);
}

TEST(Heights, ThatAreCubicHaveNoSeamAllRound) {
  // Two grids of one world; in the second the last sample of each row is the first once more.
  HeightGrid open;
  open.info = {"open", 10.0, -180.0, 10.0, 60.0, 2, 6};
  open.samples = {0, 7, 3, 9, 1, 4, 5, 5, 2, 8, 0, 6};
  HeightGrid closed = open;
  closed.info.name = "closed";
  closed.info.columns = 7;
  closed.samples = {0, 7, 3, 9, 1, 4, 0, 5, 5, 2, 8, 0, 6, 5};
  const auto one = DatasetOf({open});
  const auto other = DatasetOf({closed});
  HeightGrid turned = open;  // The same world, its rows beginning elsewhere.
  turned.info.west_deg = 0.0;
  std::rotate(turned.samples.begin(), turned.samples.begin() + 3, turned.samples.begin() + 6);
  std::rotate(turned.samples.begin() + 6, turned.samples.begin() + 9, turned.samples.end());
  const auto third = DatasetOf({turned});
  for (double lng = -180.0; lng <= 180.0; lng += 7.5) {
    const double expected = HeightAt(*one, 4.0, lng, Cubic()).metres;
    EXPECT_NEAR(HeightAt(*other, 4.0, lng, Cubic()).metres, expected, 1e-9) << lng;
    EXPECT_NEAR(HeightAt(*third, 4.0, lng, Cubic()).metres, expected, 1e-9) << lng;
  }
}

TEST(Heights, OfAStepAsLongAsTheWorldAreThatOneSample) {
  HeightGrid grid;
  grid.info = {"flat", 0.0, -180.0, 1.0, 360.0, 1, 1};
  grid.samples = {42};
  const auto dataset = DatasetOf({grid});
  EXPECT_NEAR(HeightAt(*dataset, 0.0, 33.0, Cubic()).metres, 42.0, 1e-9);
  EXPECT_EQ(HeightAt(*dataset, 0.0, 33.0).metres, 42.0);
}

TEST(Heights, ThatAreCubicSayWhereAnyOfTheirSamplesIsMissing) {
  std::vector<std::vector<float>> rows(6, std::vector<float>(6, 10.0f));
  rows[0][0] = kMissing;
  const auto dataset = DatasetOf({Grid(rows)});
  EXPECT_TRUE(HeightAt(*dataset, 48.5, 11.5, Cubic()).filled);
  EXPECT_FALSE(HeightAt(*dataset, 48.5, 11.5).filled) << "none of the four next to it is";
  EXPECT_FALSE(HeightAt(*dataset, 47.5, 12.5, Cubic()).filled);
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 48.5, 11.5, Cubic()).metres, 10.0);
}

TEST(Heights, ReachHalfAStepBeyondTheLastSample) {
  const auto dataset = DatasetOf({Grid({{1, 2}, {3, 4}})});
  EXPECT_EQ(HeightAt(*dataset, 50.49, 9.51).metres, 1.0);
  EXPECT_EQ(HeightAt(*dataset, 48.51, 11.49).metres, 4.0);
  EXPECT_FALSE(HeightAt(*dataset, 48.51, 11.49).filled);
  EXPECT_EQ(HeightAt(*dataset, 50.51, 10.0).grid, -1);
  EXPECT_EQ(HeightAt(*dataset, 50.0, 11.51).grid, -1);
}

TEST(Heights, OutsideEveryGridAreSeaLevelAndSaySo) {
  const auto dataset = DatasetOf({Grid({{7}})});
  const Height height = HeightAt(*dataset, -20.0, 100.0);
  EXPECT_EQ(height.metres, 0.0);
  EXPECT_TRUE(height.filled);
  EXPECT_EQ(height.grid, -1);
}

TEST(Heights, MissingSamplesAreFilledFromAroundAndSaySo) {
  const auto dataset = DatasetOf({Grid({{10, 10, 10}, {10, kMissing, 10}, {10, 10, 10}})});
  const Height in_the_hole = HeightAt(*dataset, 49.0, 11.0);
  EXPECT_DOUBLE_EQ(in_the_hole.metres, 10.0);
  EXPECT_TRUE(in_the_hole.filled);
  EXPECT_EQ(in_the_hole.grid, 0);
  EXPECT_TRUE(HeightAt(*dataset, 49.5, 10.5).filled) << "one of its four is missing";
  EXPECT_FALSE(HeightAt(*dataset, 50.0, 10.5).filled) << "the missing one has no weight";
}

TEST(Heights, OfAHoleWeighNearSamplesMore) {
  std::vector<float> row(21, kMissing);
  row.front() = 0.0f;
  row.back() = 100.0f;
  const auto dataset = DatasetOf({Grid({row})});
  EXPECT_LT(HeightAt(*dataset, 50.0, 13.0).metres, 10.0);
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 50.0, 20.0).metres, 50.0);
  EXPECT_GT(HeightAt(*dataset, 50.0, 27.0).metres, 90.0);
}

TEST(Heights, OfAGridWithoutAnyAreSeaLevel) {
  const auto dataset = DatasetOf({Grid({{kMissing, kMissing}, {kMissing, kMissing}})});
  const Height height = HeightAt(*dataset, 49.3, 10.2);
  EXPECT_EQ(height.metres, 0.0);
  EXPECT_TRUE(height.filled);
  EXPECT_EQ(height.grid, -1);
}

TEST(Heights, ComeFromTheFinestGridThatKnows) {
  HeightGrid fine = Grid({{7, kMissing}, {7, 7}}, "fine");
  fine.info.lat_step_deg = fine.info.lng_step_deg = 0.5;
  const auto dataset = DatasetOf({Grid({{1, 1}, {1, 1}}, "coarse"), fine});
  EXPECT_EQ(dataset->height_grids()[0].name, "fine");
  EXPECT_EQ(HeightAt(*dataset, 50.0, 10.0).metres, 7.0);
  EXPECT_EQ(HeightAt(*dataset, 50.0, 10.5).metres, 1.0) << "the fine one has a hole there";
  EXPECT_EQ(HeightAt(*dataset, 49.0, 11.0).metres, 1.0);
  HeightQuery coarse;
  coarse.grids = {"coarse"};
  EXPECT_EQ(HeightAt(*dataset, 50.0, 10.0, coarse).metres, 1.0);
  HeightQuery coarse_first;
  coarse_first.grids = {"coarse", "fine"};
  EXPECT_EQ(HeightAt(*dataset, 50.0, 10.0, coarse_first).metres, 1.0);
}

TEST(Heights, OfAGridThatIsNotThereAreNone) {
  const auto dataset = DatasetOf({Grid({{1}})});
  HeightQuery query;
  query.grids = {"b"};
  std::vector<Height> heights(3);
  std::string error;
  EXPECT_EQ(dataset->FindHeights({{50, 10}}, query, &heights, &error), Answer::kNothing);
  EXPECT_TRUE(heights.empty());
  const auto without = DatasetOf({});
  EXPECT_EQ(without->FindHeights({{50, 10}}, {}, &heights, &error), Answer::kNothing);
}

TEST(Heights, GoAcrossLongitude180) {
  HeightGrid grid = Grid({{0, 10, 20, 30}});
  grid.info.west_deg = 178.0;
  const auto dataset = DatasetOf({grid});
  EXPECT_EQ(HeightAt(*dataset, 50.0, 178.0).metres, 0.0);
  EXPECT_EQ(HeightAt(*dataset, 50.0, 180.0).metres, 20.0);
  EXPECT_EQ(HeightAt(*dataset, 50.0, -180.0).metres, 20.0);
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 50.0, -179.5).metres, 25.0);
  EXPECT_EQ(HeightAt(*dataset, 50.0, -178.0).grid, -1);
}

TEST(Heights, OfAGridAllRoundHaveNoSeam) {
  HeightGrid grid;
  grid.info = {"world", 90.0, -180.0, 90.0, 90.0, 3, 4};
  grid.samples = {5, 5, 5, 5, 0, 10, 20, 30, -5, -5, -5, -5};
  const auto dataset = DatasetOf({grid});
  EXPECT_DOUBLE_EQ(HeightAt(*dataset, 0.0, 135.0).metres, 15.0) << "between 30 and 0";
  EXPECT_EQ(HeightAt(*dataset, 0.0, 180.0).metres, 0.0);
  EXPECT_EQ(HeightAt(*dataset, 90.0, 12.0).metres, 5.0);
  EXPECT_EQ(HeightAt(*dataset, -90.0, 12.0).metres, -5.0);
}

TEST(Heights, AgreeWithAPlainLookAtAllSamples) {
  std::mt19937 draw(99);
  HeightGrid grid = Grid(std::vector<std::vector<float>>(150, std::vector<float>(200)));
  grid.info.lat_step_deg = 0.01;
  grid.info.lng_step_deg = 0.02;
  for (float& sample : grid.samples) {
    sample = static_cast<float>(draw() % 9000) - 400.0f;
  }
  const auto dataset = DatasetOf({grid});
  for (int round = 0; round < 2000; ++round) {
    const double y = static_cast<double>(draw() % 148999) / 1000.0;
    const double x = static_cast<double>(draw() % 198999) / 1000.0;
    const auto at = [&](double row, double column) {
      return static_cast<double>(
          grid.samples[static_cast<std::size_t>(row) * 200 + static_cast<std::size_t>(column)]);
    };
    const double t = y - std::floor(y);
    const double u = x - std::floor(x);
    const double expected = (1 - t) * ((1 - u) * at(y, x) + u * at(y, x + 1)) +
                            t * ((1 - u) * at(y + 1, x) + u * at(y + 1, x + 1));
    EXPECT_NEAR(HeightAt(*dataset, 50.0 - 0.01 * y, 10.0 + 0.02 * x).metres, expected, 1e-6);
  }
}

TEST(Heights, SurviveTheFile) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.path() + "/h.sqlite";
  DatasetOf({Grid({{1.5f, kMissing}, {-3, 8848.75f}}, "peak")}, file);
  std::string error;
  const auto dataset = Dataset::Open(file, &error);
  ASSERT_NE(dataset, nullptr) << error;
  EXPECT_EQ(dataset->counts().height_grids, 1);
  EXPECT_EQ(dataset->height_grids()[0].name, "peak");
  EXPECT_EQ(HeightAt(*dataset, 49.0, 11.0).metres, 8848.75);
  EXPECT_TRUE(HeightAt(*dataset, 50.0, 11.0).filled);
}

TEST(Heights, OfADamagedTileFailTheQueryThatMeetsIt) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.path() + "/h.sqlite";
  DatasetOf({Grid({{1, 2}})}, file);
  for (const char* const damage :
       {"UPDATE height_tile SET samples = X'00'", "DELETE FROM height_tile"}) {
    SQLite::Database(file, SQLite::OPEN_READWRITE).exec(damage);
    std::string error;
    const auto dataset = Dataset::Open(file, &error);
    ASSERT_NE(dataset, nullptr) << error;
    std::vector<Height> heights;
    EXPECT_EQ(dataset->FindHeights({{50, 10}}, {}, &heights, &error), Answer::kFailed);
    EXPECT_NE(error.find("damaged"), std::string::npos) << error;
  }
}

TEST(Heights, OfAGridThatIsNoneRefuseTheFile) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.path() + "/h.sqlite";
  DatasetOf({Grid({{1, 2}})}, file);
  for (const char* const damage :
       {"UPDATE height_grid SET rows = 0", "UPDATE height_grid SET lat_step = -1",
        "UPDATE height_grid SET north = 'x', lat_step = 9e999", "UPDATE height_grid SET name = ''",
        "UPDATE height_grid SET columns = 9000000000000000000"}) {
    const std::string copy = file + ".copy";
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
    SQLite::Database(copy, SQLite::OPEN_READWRITE).exec(damage);
    std::string error;
    EXPECT_EQ(Dataset::Open(copy, &error), nullptr) << damage;
    EXPECT_NE(error.find("damaged"), std::string::npos) << error;
  }
}

TEST(Heights, ThatDoNotFitTheirGridAreRefused) {
  std::string error;
  const auto writer = DatasetWriter::InMemory(&error);
  HeightGrid grid = Grid({{1, 2}});
  grid.samples.pop_back();
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid = Grid({{1, 2}}, "Two Words");
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid = Grid({{1, 2}});
  grid.info.lng_step_deg = kMissing;
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  // A step beyond all numbers passed for one round of the planet, and made heights of nothing.
  grid = Grid({{1}});
  grid.info.lng_step_deg = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid.info.lng_step_deg = 1e-300;
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid = Grid({{1}});
  grid.info.lat_step_deg = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid.info.lat_step_deg = 1e-300;
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  grid = Grid({{1}, {2}});
  grid.info.lat_step_deg = 150.0;
  EXPECT_FALSE(writer->AddHeightGrid(grid, &error));
  EXPECT_TRUE(writer->AddHeightGrid(Grid({{1, 2}}), &error)) << error;
}

TEST(Heights, NamesAreMadeOfAnyText) {
  EXPECT_EQ(HeightGridName("N43E007"), "n43e007");
  EXPECT_EQ(HeightGridName("M\xC3\xB6n's Klint_1"), "m--n-s-klint_1");
  EXPECT_EQ(HeightGridName(""), "heights");
  EXPECT_EQ(HeightGridName(std::string(100, 'x')).size(), 64u);
}

TEST(Heights, OfTheHarbourTownRiseFromTheSeaToTheBeacon) {
  std::string error;
  const auto town = MakeHarbourTown(&error);
  ASSERT_NE(town, nullptr) << error;
  ASSERT_EQ(town->counts().height_grids, 1);
  double highest = 0.0;
  bool any_filled = false;
  for (double lat = town->bounds().south_deg; lat < town->bounds().north_deg; lat += 0.0002) {
    for (double lng = town->bounds().west_deg; lng < town->bounds().east_deg; lng += 0.0002) {
      const Height height = HeightAt(*town, lat, lng);
      EXPECT_GE(height.metres, 0.0);
      EXPECT_EQ(height.grid, 0);
      highest = std::max(highest, height.metres);
      any_filled = any_filled || height.filled;
    }
  }
  EXPECT_GT(highest, 35.0);
  EXPECT_LT(highest, 60.0);
  EXPECT_TRUE(any_filled) << "the ground under the Mill Pond is missing";
}

TEST(Heights, AnswerSeveralThreadsAtATime) {
  const auto dataset = DatasetOf({Grid({{0, 10}, {100, 210}})});
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        std::vector<Height> heights;
        std::string error;
        dataset->FindHeights({{49.5, 10.5}}, {}, &heights, &error);
        wrong += heights.size() == 1 && heights[0].metres == 80.0 ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace pelorin
