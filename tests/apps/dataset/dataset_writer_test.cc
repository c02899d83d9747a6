// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/dataset_writer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <limits>
#include <string>

#include "tests/apps/dataset/dataset_builder.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

using test_support::BytesOf;
using test_support::ExpectEqual;
using test_support::FullRecord;
using test_support::RecordAt;
using test_support::TemporaryFolder;
using test_support::WriteDataset;

TEST(DatasetWriter, GivesEveryFieldBackFromAFile) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town #1?.db");
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::ToFile(file, &error);
  ASSERT_NE(writer, nullptr) << error;
  ASSERT_TRUE(writer->Add(FullRecord(), &error)) << error;
  ASSERT_TRUE(
      writer->AddBackdrop({"sea", "Sound", true, {{1.5, 2.5}, {-3.0, 4.0}, {5.0, 6.0}}}, &error));
  DatasetInfo info;
  info.name = "Town";
  info.attribution = "\xC2\xA9 us";
  info.tour_from = LatLng{1.0, 2.0};
  ASSERT_NE(writer->Finish(info, &error), nullptr) << error;

  const std::unique_ptr<Dataset> dataset = Dataset::Open(file, &error);
  ASSERT_NE(dataset, nullptr) << error;
  PanoRecord record;
  ASSERT_EQ(dataset->FindPano(FullRecord().id, true, &record, &error), Answer::kFound) << error;
  ExpectEqual(record, FullRecord());
  EXPECT_TRUE(record.has_depth_map);
  EXPECT_TRUE(record.has_pano_map);
  EXPECT_EQ(dataset->info().name, "Town");
  EXPECT_EQ(dataset->info().attribution, "\xC2\xA9 us");
  ASSERT_TRUE(dataset->info().tour_from.has_value());
  EXPECT_EQ(*dataset->info().tour_from, (LatLng{1.0, 2.0}));
  EXPECT_FALSE(dataset->info().tour_to.has_value());
  std::vector<BackdropShape> shapes;
  ASSERT_EQ(dataset->ReadBackdrop(&shapes, &error), Answer::kFound);
  ASSERT_EQ(shapes.size(), 1u);
  EXPECT_EQ(shapes[0].kind, "sea");
  EXPECT_EQ(shapes[0].name, "Sound");
  EXPECT_TRUE(shapes[0].closed);
  ASSERT_EQ(shapes[0].points.size(), 3u);
  EXPECT_EQ(shapes[0].points[1], (LatLng{-3.0, 4.0}));
}

TEST(DatasetWriter, LeavesMapsOutUnlessAskedFor) {
  const std::unique_ptr<Dataset> dataset = test_support::DatasetOf({FullRecord()});
  PanoRecord record;
  ASSERT_EQ(dataset->FindPano(FullRecord().id, false, &record, nullptr), Answer::kFound);
  EXPECT_TRUE(record.depth_map.empty());
  EXPECT_TRUE(record.pano_map.empty());
  EXPECT_TRUE(record.has_depth_map);
  EXPECT_TRUE(record.has_pano_map);
}

TEST(DatasetWriter, CountsWhatWentIn) {
  const std::unique_ptr<Dataset> dataset =
      test_support::DatasetOf({FullRecord(), RecordAt("n", 13.0, 8.0), RecordAt("m", -2.0, 1.0)});
  EXPECT_EQ(dataset->counts().panoramas, 3);
  EXPECT_EQ(dataset->counts().links, 2);
  EXPECT_EQ(dataset->counts().scenes, 2);
  EXPECT_EQ(dataset->counts().levels, 1);
  EXPECT_EQ(dataset->counts().annotations, 1);
  EXPECT_EQ(dataset->counts().depth_maps, 1);
  EXPECT_EQ(dataset->counts().pano_maps, 1);
  EXPECT_EQ(dataset->counts().streets, 1);
  EXPECT_EQ(dataset->bounds().south_deg, -2.0);
  EXPECT_EQ(dataset->bounds().west_deg, -7.25);
  EXPECT_EQ(dataset->bounds().north_deg, 13.0);
  EXPECT_EQ(dataset->bounds().east_deg, 8.0);
}

TEST(DatasetWriter, AnEmptyDatasetIsADataset) {
  const TemporaryFolder folder;
  WriteDataset(folder.File("empty.db"), {});
  std::string error;
  const std::unique_ptr<Dataset> dataset = Dataset::Open(folder.File("empty.db"), &error);
  ASSERT_NE(dataset, nullptr) << error;
  EXPECT_EQ(dataset->counts().panoramas, 0);
  PanoRecord record;
  EXPECT_EQ(dataset->FindNearest({{0.0, 0.0}, 1e9, {}}, false, &record, nullptr), Answer::kNothing);
}

TEST(DatasetWriter, AnUnfinishedWriterLeavesTheOldFileWholeAndNothingBeside) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {FullRecord()});
  const std::string before = BytesOf(file);
  {
    std::string error;
    const std::unique_ptr<DatasetWriter> writer = DatasetWriter::ToFile(file, &error);
    ASSERT_NE(writer, nullptr) << error;
    ASSERT_TRUE(writer->Add(RecordAt("new", 1.0, 1.0), &error));
  }
  EXPECT_EQ(BytesOf(file), before);
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"town.db"});
}

TEST(DatasetWriter, ReplacesAFileInOneStepAndItsReadersGoOn) {
  const TemporaryFolder folder;
  const std::string file = folder.File("town.db");
  WriteDataset(file, {RecordAt("old", 1.0, 1.0)});
  std::string error;
  const std::unique_ptr<Dataset> reader = Dataset::Open(file, &error);
  WriteDataset(file, {RecordAt("new", 2.0, 2.0)});
  PanoRecord record;
  EXPECT_EQ(reader->FindPano(PanoIdFromSeed("old"), false, &record, &error), Answer::kFound);
  const std::unique_ptr<Dataset> fresh = Dataset::Open(file, &error);
  EXPECT_EQ(fresh->FindPano(PanoIdFromSeed("new"), false, &record, &error), Answer::kFound);
  EXPECT_EQ(fresh->FindPano(PanoIdFromSeed("old"), false, &record, &error), Answer::kNothing);
}

TEST(DatasetWriter, ANewFileHasTheRightsOfAnyNewFile) {
  const TemporaryFolder folder;
  WriteDataset(folder.File("town.db"), {});
  folder.Write("other", "");
  struct stat town {};
  struct stat other {};
  ASSERT_EQ(stat(folder.File("town.db").c_str(), &town), 0);
  ASSERT_EQ(stat(folder.File("other").c_str(), &other), 0);
  EXPECT_EQ(town.st_mode, other.st_mode);
}

TEST(DatasetWriter, RefusesAFolderThatIsNotThere) {
  const TemporaryFolder folder;
  std::string error;
  EXPECT_EQ(DatasetWriter::ToFile(folder.File("none/town.db"), &error), nullptr);
  EXPECT_NE(error.find("none/town.db: cannot be written"), std::string::npos) << error;
  EXPECT_EQ(DatasetWriter::ToFile(folder.path(), &error), nullptr);
  EXPECT_EQ(DatasetWriter::ToFile("", &error), nullptr);
}

TEST(DatasetWriter, ReplacesNoDeviceAndNoPipe) {
  const TemporaryFolder folder;
  const std::string pipe = folder.File("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::string error;
  EXPECT_EQ(DatasetWriter::ToFile(pipe, &error), nullptr);
  EXPECT_NE(error.find("pipe: cannot be written"), std::string::npos) << error;
  struct stat there {};
  ASSERT_EQ(lstat(pipe.c_str(), &there), 0);
  EXPECT_TRUE(S_ISFIFO(there.st_mode));
  EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(DatasetWriter, KeepsTheRightsOfTheFileThatItReplaces) {
  const TemporaryFolder folder;
  const std::string file = folder.Write("town.db", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  WriteDataset(file, {});
  struct stat town {};
  ASSERT_EQ(stat(file.c_str(), &town), 0);
  EXPECT_EQ(town.st_mode & 07777u, 0640u);
}

// Files of this process stay below a size, as on a full disk, until the end of the scope.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : before_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit low{bytes, limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, before_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit limit_{};
  void (*before_)(int);
};

TEST(DatasetWriter, OnAFullDiskKeepsTheOldFileAndLeavesNoOther) {
  const TemporaryFolder folder;
  const std::string file = folder.Write("town.db", "old");
  for (const rlim_t room : {0u, 20000u, 400000u}) {
    std::string error;
    bool written = false;
    {
      const FullDisk disk(room);
      const std::unique_ptr<DatasetWriter> writer = DatasetWriter::ToFile(file, &error);
      for (int i = 0; writer != nullptr && i < 1000; ++i) {
        PanoRecord record = RecordAt("seed " + std::to_string(i), 0.001 * i, 0.0);
        record.copyright = std::string(1000, 'c');
        if (!writer->Add(record, &error)) {
          break;
        }
      }
      written = writer != nullptr && writer->Finish({}, &error) != nullptr;
    }
    EXPECT_FALSE(written) << room;
    EXPECT_NE(error.find("town.db: cannot be written"), std::string::npos) << error;
    EXPECT_EQ(BytesOf(file), "old");
    EXPECT_EQ(folder.Names().size(), 1u);
  }
}

class RefusedRecord : public testing::Test {
 protected:
  // The record is refused, and the writer goes on as if it had not been offered.
  void ExpectRefused(const PanoRecord& record) {
    const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(nullptr);
    ASSERT_TRUE(writer->Add(RecordAt("first", 0.0, 0.0), nullptr));
    std::string error;
    EXPECT_FALSE(writer->Add(record, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(writer->Add(RecordAt("last", 0.0, 0.0), &error)) << error;
    EXPECT_EQ(writer->Finish({}, &error)->counts().panoramas, 2);
  }

  PanoRecord record_ = FullRecord();
};

TEST_F(RefusedRecord, WithAnIdThatIsNone) {
  record_.id = "short";
  ExpectRefused(record_);
}

TEST_F(RefusedRecord, WithAnIdThatIsThereAlready) {
  ExpectRefused(RecordAt("first", 9.0, 9.0));
}

TEST_F(RefusedRecord, OutsideThePlanet) {
  record_.place.lat_deg = 90.5;
  ExpectRefused(record_);
}

TEST_F(RefusedRecord, AtAPlaceThatIsNoNumber) {
  record_.place.lng_deg = std::numeric_limits<double>::quiet_NaN();
  ExpectRefused(record_);
}

TEST_F(RefusedRecord, WithALinkWhoseHeadingIsNoNumber) {
  record_.links[1].yaw_deg = std::numeric_limits<double>::infinity();
  ExpectRefused(record_);
}

TEST_F(RefusedRecord, WithANegativeSize) {
  record_.tile_width = -1;
  ExpectRefused(record_);
}

TEST_F(RefusedRecord, WithAMapThatNoReaderTakes) {
  record_.pano_map.assign(140801, 'x');
  ExpectRefused(record_);
}

TEST(DatasetWriter, TakesMapsOfTheLargestSize) {
  PanoRecord record = FullRecord();
  record.depth_map.assign(528392, 'd');
  record.pano_map.assign(140800, 'p');
  const std::unique_ptr<Dataset> dataset = test_support::DatasetOf({record});
  PanoRecord found;
  ASSERT_EQ(dataset->FindPano(record.id, true, &found, nullptr), Answer::kFound);
  EXPECT_EQ(found.depth_map, record.depth_map);
  EXPECT_EQ(found.pano_map, record.pano_map);
}

TEST(DatasetWriter, AFinishedWriterTakesNoMore) {
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(nullptr);
  ASSERT_NE(writer->Finish({}, nullptr), nullptr);
  std::string error;
  EXPECT_FALSE(writer->Add(FullRecord(), &error));
  EXPECT_FALSE(writer->AddBackdrop({}, &error));
  EXPECT_EQ(writer->Finish({}, &error), nullptr);
  EXPECT_FALSE(error.empty());
}

TEST(DatasetWriter, RefusesAShapeOutsideThePlanet) {
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(nullptr);
  std::string error;
  EXPECT_FALSE(writer->AddBackdrop({"sea", "", true, {{0.0, 181.0}}}, &error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace pelorin
