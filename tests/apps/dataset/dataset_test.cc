// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "spatial/panorama/map_tile.h"
#include "tests/apps/dataset/dataset_builder.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

using nimbara::spatial::MapTile;
using test_support::BytesOf;
using test_support::DatasetOf;
using test_support::FullRecord;
using test_support::RecordAt;
using test_support::TemporaryFolder;
using test_support::WriteDataset;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

std::vector<PanoRecord> RandomRecords(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> near(-0.01, 0.01);
  std::uniform_real_distribution<double> lat(-90.0, 90.0);
  std::uniform_real_distribution<double> lng(-180.0, 180.0);
  std::vector<PanoRecord> records;
  for (std::size_t i = 0; i < count; ++i) {
    const bool in_town = i % 3 != 0;
    records.push_back(RecordAt(std::to_string(i), in_town ? 51.0 + near(random) : lat(random),
                               in_town ? 7.0 + near(random) : lng(random), i % 5 == 0 ? "L1" : ""));
  }
  return records;
}

std::string NaiveNearest(const std::vector<PanoRecord>& records, const NearestQuery& query) {
  std::string best;
  double best_m = query.radius_m;
  for (const PanoRecord& record : records) {
    const double metres = DistanceMetres(query.place, record.place);
    if ((!query.level_id || *query.level_id == record.level_id) &&
        (metres < best_m || (metres == best_m && (best.empty() || record.id < best)))) {
      best = record.id;
      best_m = metres;
    }
  }
  return best;
}

std::string Nearest(const Dataset& dataset, const NearestQuery& query) {
  PanoRecord record;
  return dataset.FindNearest(query, false, &record, nullptr) == Answer::kFound ? record.id : "";
}

TEST(Dataset, AnIdThatIsNotThereFindsNothingAndLeavesTheOutput) {
  const std::unique_ptr<Dataset> dataset = DatasetOf({FullRecord()});
  PanoRecord record = RecordAt("mine", 1.0, 2.0);
  std::string error = "mine";
  EXPECT_EQ(dataset->FindPano(PanoIdFromSeed("other"), true, &record, &error), Answer::kNothing);
  EXPECT_EQ(dataset->FindPano("", true, &record, &error), Answer::kNothing);
  EXPECT_EQ(dataset->FindPano("' OR 1=1 --", true, &record, &error), Answer::kNothing);
  EXPECT_EQ(record.id, PanoIdFromSeed("mine"));
  EXPECT_EQ(error, "mine");
}

TEST(Dataset, NearestAgreesWithALookAtAllPanoramas) {
  const std::vector<PanoRecord> records = RandomRecords(600, 11);
  const std::unique_ptr<Dataset> dataset = DatasetOf(records);
  std::mt19937 random(12);
  std::uniform_real_distribution<double> near(-0.012, 0.012);
  std::uniform_real_distribution<double> lat(-90.0, 90.0);
  std::uniform_real_distribution<double> lng(-180.0, 180.0);
  const double radii[] = {0.0, 5.0, 50.0, 300.0, 5000.0, 3e6, 1e9};
  for (int i = 0; i < 400; ++i) {
    NearestQuery query;
    query.place = i % 2 == 0 ? LatLng{51.0 + near(random), 7.0 + near(random)}
                             : LatLng{lat(random), lng(random)};
    query.radius_m = radii[i % 7];
    if (i % 3 == 0) {
      query.level_id = i % 2 == 0 ? "L1" : "";
    }
    ASSERT_EQ(Nearest(*dataset, query), NaiveNearest(records, query)) << "query " << i;
  }
}

TEST(Dataset, NearestIncludesTheEdgeOfTheRadius) {
  const std::unique_ptr<Dataset> dataset = DatasetOf({RecordAt("a", 51.0, 7.0)});
  const LatLng place{51.001, 7.001};
  const double metres = DistanceMetres(place, {51.0, 7.0});
  EXPECT_EQ(Nearest(*dataset, {place, metres, {}}), PanoIdFromSeed("a"));
  EXPECT_EQ(Nearest(*dataset, {place, metres * 0.999999, {}}), "");
  EXPECT_EQ(Nearest(*dataset, {{51.0, 7.0}, 0.0, {}}), PanoIdFromSeed("a"));
}

TEST(Dataset, NearestOfEqualDistancesIsTheLowestId) {
  const std::unique_ptr<Dataset> dataset =
      DatasetOf({RecordAt("a", 51.0, 7.0), RecordAt("b", 51.0, 7.0), RecordAt("c", 51.0, 7.0)});
  EXPECT_EQ(Nearest(*dataset, {{51.0, 7.0}, 10.0, {}}),
            std::min({PanoIdFromSeed("a"), PanoIdFromSeed("b"), PanoIdFromSeed("c")}));
}

TEST(Dataset, NearestKeepsStoreysApart) {
  const std::unique_ptr<Dataset> dataset =
      DatasetOf({RecordAt("a", 51.0, 7.0, "up"), RecordAt("b", 51.0001, 7.0, "")});
  EXPECT_EQ(Nearest(*dataset, {{51.0, 7.0}, 50.0, std::nullopt}), PanoIdFromSeed("a"));
  EXPECT_EQ(Nearest(*dataset, {{51.0, 7.0}, 50.0, std::string()}), PanoIdFromSeed("b"));
  EXPECT_EQ(Nearest(*dataset, {{51.0001, 7.0}, 50.0, std::string("up")}), PanoIdFromSeed("a"));
  EXPECT_EQ(Nearest(*dataset, {{51.0, 7.0}, 50.0, std::string("down")}), "");
}

TEST(Dataset, NearestLooksAcrossLongitude180AndOverThePoles) {
  const std::unique_ptr<Dataset> dataset =
      DatasetOf({RecordAt("east", 10.0, 179.9999), RecordAt("pole", 89.9999, 0.0)});
  EXPECT_EQ(Nearest(*dataset, {{10.0, -179.9999}, 50.0, {}}), PanoIdFromSeed("east"));
  EXPECT_EQ(Nearest(*dataset, {{89.9999, 180.0}, 50.0, {}}), PanoIdFromSeed("pole"));
}

TEST(Dataset, NearestOfAQueryThatIsNoneFindsNothing) {
  const std::unique_ptr<Dataset> dataset = DatasetOf({RecordAt("a", 0.0, 0.0)});
  EXPECT_EQ(Nearest(*dataset, {{kNan, 0.0}, 1e9, {}}), "");
  EXPECT_EQ(Nearest(*dataset, {{0.0, 500.0}, 1e9, {}}), "");
  EXPECT_EQ(Nearest(*dataset, {{0.0, 0.0}, kNan, {}}), "");
  EXPECT_EQ(Nearest(*dataset, {{0.0, 0.0}, -1.0, {}}), "");
  EXPECT_EQ(Nearest(*dataset, {{90.0, 0.0}, HUGE_VAL, {}}), PanoIdFromSeed("a"));
}

TEST(Dataset, EveryPanoramaLiesInTheTileThatTheLibraryNames) {
  const std::vector<PanoRecord> records = RandomRecords(300, 21);
  const std::unique_ptr<Dataset> dataset = DatasetOf(records);
  std::vector<PanoRecord> found;
  for (const int zoom : {0, 1, 5, 14, 16, 22, 30}) {
    for (std::size_t i = 0; i < records.size(); i += 7) {
      const MapTile tile(records[i].place.lat_deg, records[i].place.lng_deg, zoom);
      ASSERT_EQ(dataset->FindInTile(tile.x, tile.y, zoom, kAll, &found, nullptr), Answer::kFound)
          << records[i].place.lat_deg << "," << records[i].place.lng_deg << " zoom " << zoom;
      std::vector<std::string> expected;
      for (const PanoRecord& record : records) {
        if (tile.Contains(record.place.lat_deg, record.place.lng_deg)) {
          expected.push_back(record.id);
        }
      }
      ASSERT_EQ(found.size(), expected.size()) << "zoom " << zoom;
      for (std::size_t k = 0; k < found.size(); ++k) {
        ASSERT_EQ(found[k].id, expected[k]);
      }
    }
  }
}

TEST(Dataset, ATileThatDoesNotExistHoldsNothing) {
  const std::unique_ptr<Dataset> dataset = DatasetOf({RecordAt("a", 0.0, 0.0)});
  std::vector<PanoRecord> found(3);
  for (const auto& [x, y, zoom] : std::vector<std::tuple<int, int, int>>{
           {0, 0, -1}, {-1, 0, 3}, {8, 0, 3}, {0, 8, 3}, {0, 0, 31}, {0, 0, 64}}) {
    EXPECT_EQ(dataset->FindInTile(x, y, zoom, kAll, &found, nullptr), Answer::kNothing);
    EXPECT_TRUE(found.empty());
  }
}

TEST(Dataset, ALimitKeepsTheFirstOnesWritten) {
  const std::unique_ptr<Dataset> dataset =
      DatasetOf({RecordAt("a", 1.0, 1.0), RecordAt("b", 1.0, 1.0), RecordAt("c", 1.0, 1.0)});
  std::vector<PanoRecord> found;
  ASSERT_EQ(dataset->FindInTile(0, 0, 0, 2, &found, nullptr), Answer::kFound);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].id, PanoIdFromSeed("a"));
  EXPECT_EQ(found[1].id, PanoIdFromSeed("b"));
  EXPECT_EQ(dataset->FindInTile(0, 0, 0, 0, &found, nullptr), Answer::kNothing);
}

TEST(Dataset, ABoxHoldsItsEdgesAndMayCrossLongitude180) {
  const std::unique_ptr<Dataset> dataset =
      DatasetOf({RecordAt("a", 1.0, 179.0), RecordAt("b", 2.0, -179.0), RecordAt("c", 1.5, 0.0)});
  std::vector<PanoRecord> found;
  ASSERT_EQ(dataset->FindInBox({1.0, 179.0, 2.0, -179.0}, kAll, &found, nullptr), Answer::kFound);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].id, PanoIdFromSeed("a"));
  EXPECT_EQ(found[1].id, PanoIdFromSeed("b"));
  ASSERT_EQ(dataset->FindInBox({1.5, 0.0, 1.5, 0.0}, kAll, &found, nullptr), Answer::kFound);
  EXPECT_EQ(found.size(), 1u);
  EXPECT_EQ(dataset->FindInBox({kNan, 0.0, 1.0, 1.0}, kAll, &found, nullptr), Answer::kNothing);
  EXPECT_TRUE(found.empty());
}

TEST(Dataset, ACopySavedFromMemoryHoldsTheSame) {
  const TemporaryFolder folder;
  std::string error;
  ASSERT_TRUE(DatasetOf({FullRecord()})->SaveAs(folder.File("copy.db"), &error)) << error;
  const std::unique_ptr<Dataset> copy = Dataset::Open(folder.File("copy.db"), &error);
  ASSERT_NE(copy, nullptr) << error;
  PanoRecord record;
  ASSERT_EQ(copy->FindPano(FullRecord().id, true, &record, &error), Answer::kFound);
  test_support::ExpectEqual(record, FullRecord());
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"copy.db"});
  EXPECT_FALSE(copy->SaveAs(folder.File("none/copy.db"), &error));
}

TEST(Dataset, HandsOutOnlyTextThatXmlCarries) {
  PanoRecord broken = FullRecord();
  broken.text = "a\x01\xFF";
  const std::unique_ptr<Dataset> dataset = DatasetOf({broken});
  PanoRecord record;
  ASSERT_EQ(dataset->FindPano(broken.id, false, &record, nullptr), Answer::kFound);
  EXPECT_EQ(record.text, "a\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Dataset, RefusesWhatIsNoDatasetAndNamesIt) {
  const TemporaryFolder folder;
  folder.Write("empty", "");
  folder.Write("text", "SQLite format 3, or so it says");
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  {
    SQLite::Database other(folder.File("other"), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    other.exec("CREATE TABLE pano(id)");
  }
  for (const char* name : {"missing", "empty", "text", "other", "pipe", "."}) {
    std::string error;
    EXPECT_EQ(Dataset::Open(folder.File(name), &error), nullptr) << name;
    EXPECT_NE(error.find(folder.File(name) + ": "), std::string::npos) << error;
  }
  std::string error;
  EXPECT_EQ(Dataset::Open("", &error), nullptr);
  EXPECT_EQ(Dataset::Open(std::string("a\0b", 3), nullptr), nullptr);
}

TEST(Dataset, RefusesAnotherLayoutByItsNumber) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {FullRecord()});
  SQLite::Database(file, SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 7");
  std::string error;
  EXPECT_EQ(Dataset::Open(file, &error), nullptr);
  EXPECT_NE(error.find("layout 7"), std::string::npos) << error;
}

TEST(Dataset, RefusesAViewInThePlaceOfATable) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {FullRecord()});
  SQLite::Database(file, SQLite::OPEN_READWRITE)
      .exec(
          "DROP TABLE metadata; CREATE VIEW metadata AS WITH RECURSIVE n(key, value) AS (SELECT 1,"
          " 2 UNION ALL SELECT key + 1, value FROM n) SELECT * FROM n");
  std::string error;
  EXPECT_EQ(Dataset::Open(file, &error), nullptr);
  EXPECT_NE(error.find("foreign or missing tables"), std::string::npos) << error;
}

TEST(Dataset, SaysWhatIsDamagedInARecord) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {FullRecord()});
  SQLite::Database(file, SQLite::OPEN_READWRITE).exec("UPDATE map SET depth = x'00112233'");
  std::string error;
  const std::unique_ptr<Dataset> dataset = Dataset::Open(file, &error);
  ASSERT_NE(dataset, nullptr) << error;
  PanoRecord record = RecordAt("mine", 1.0, 1.0);
  EXPECT_EQ(dataset->FindPano(FullRecord().id, true, &record, &error), Answer::kFailed);
  EXPECT_NE(error.find("damaged: the depth map"), std::string::npos) << error;
  EXPECT_EQ(record.id, PanoIdFromSeed("mine"));
  EXPECT_EQ(dataset->FindPano(FullRecord().id, false, &record, &error), Answer::kFound);
}

TEST(Dataset, APlaceThatIsNoneFailsTheQueryThatMeetsIt) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {FullRecord()});
  SQLite::Database(file, SQLite::OPEN_READWRITE).exec("UPDATE pano SET lat = 500.0");
  const std::unique_ptr<Dataset> dataset = Dataset::Open(file, nullptr);
  ASSERT_NE(dataset, nullptr);
  PanoRecord record;
  std::string error;
  EXPECT_EQ(dataset->FindPano(FullRecord().id, false, &record, &error), Answer::kFailed);
  EXPECT_EQ(dataset->FindNearest({FullRecord().place, 10.0, {}}, false, &record, &error),
            Answer::kFailed);
}

// Every query of a file that may be damaged: whatever comes out, it comes back.
void AskEverything(const std::string& file, const std::vector<PanoRecord>& records) {
  const std::unique_ptr<Dataset> dataset = Dataset::Open(file, nullptr);
  if (dataset == nullptr) {
    return;
  }
  PanoRecord record;
  std::vector<PanoRecord> found;
  std::vector<BackdropShape> shapes;
  dataset->FindPano(records.front().id, true, &record, nullptr);
  dataset->FindPano(records.back().id, true, &record, nullptr);
  dataset->FindNearest({records.front().place, 1e7, {}}, true, &record, nullptr);
  dataset->FindInTile(0, 0, 0, kAll, &found, nullptr);
  dataset->ReadBackdrop(&shapes, nullptr);
}

TEST(Dataset, ATruncatedFileDoesNoHarm) {
  const TemporaryFolder folder;
  std::vector<PanoRecord> records = RandomRecords(200, 31);
  records.push_back(FullRecord());
  WriteDataset(folder.File("whole.db"), records);
  const std::string whole = BytesOf(folder.File("whole.db"));
  for (std::size_t size = 0; size < whole.size(); size += size < 600 ? 7 : 2011) {
    AskEverything(folder.Write("cut.db", whole.substr(0, size)), records);
  }
}

TEST(Dataset, FlippedBytesDoNoHarm) {
  const TemporaryFolder folder;
  std::vector<PanoRecord> records = RandomRecords(200, 41);
  records.push_back(FullRecord());
  WriteDataset(folder.File("whole.db"), records);
  const std::string whole = BytesOf(folder.File("whole.db"));
  std::mt19937 random(42);
  for (int round = 0; round < 300; ++round) {
    std::string damaged = whole;
    for (int flip = 0; flip < 1 + round % 8; ++flip) {
      damaged[random() % damaged.size()] = static_cast<char>(random());
    }
    AskEverything(folder.Write("damaged.db", damaged), records);
  }
}

TEST(Dataset, AnswersSeveralThreadsAtATime) {
  const std::vector<PanoRecord> records = RandomRecords(200, 51);
  const TemporaryFolder folder;
  WriteDataset(folder.File("town.db"), records);
  const std::unique_ptr<Dataset> dataset = Dataset::Open(folder.File("town.db"), nullptr);
  ASSERT_NE(dataset, nullptr);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = t; i < records.size(); i += 2) {
        PanoRecord record;
        std::vector<PanoRecord> found;
        std::string error;
        const bool by_id =
            dataset->FindPano(records[i].id, true, &record, &error) == Answer::kFound &&
            record.place == records[i].place;
        const bool by_place = dataset->FindNearest({records[i].place, 1.0, {}}, false, &record,
                                                   &error) == Answer::kFound;
        dataset->FindInBox({50.0, 6.0, 52.0, 8.0}, 5, &found, &error);
        wrong += by_id && by_place && found.size() == 5 ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace pelorin
