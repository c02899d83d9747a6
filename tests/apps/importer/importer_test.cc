// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/importer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/apps/importer/import_fixture.h"

namespace pelorin {
namespace {

using test_support::BytesOf;
using test_support::SmallOsm;

class Importer : public test_support::ImportTest {};

const char kGpx[] =
    "<gpx><trk><trkseg><trkpt lat=\"51\" lon=\"7\"/><trkpt lat=\"51.0009\" lon=\"7\"/></trkseg>"
    "</trk></gpx>";
const char kGeoJson[] = "{\"type\":\"LineString\",\"coordinates\":[[8,51],[8,51.0009]]}";

TEST_F(Importer, FormatNamesAreFour) {
  EXPECT_EQ(ImportFormatFromName("osm"), ImportFormat::kOsmXml);
  EXPECT_EQ(ImportFormatFromName("pbf"), ImportFormat::kOsmPbf);
  EXPECT_EQ(ImportFormatFromName("geojson"), ImportFormat::kGeoJson);
  EXPECT_EQ(ImportFormatFromName("gpx"), ImportFormat::kGpx);
  EXPECT_FALSE(ImportFormatFromName("GPX").has_value());
  EXPECT_FALSE(ImportFormatFromName("").has_value());
}

TEST_F(Importer, KnowsAFileByItsFirstBytesIfNotByItsName) {
  EXPECT_EQ(ImportFiles({{"one", SmallOsm()}}).counts.streets, 2);
  EXPECT_EQ(ImportFiles({{"two", kGpx}}).counts.panoramas, 11);
  EXPECT_EQ(ImportFiles({{"three", std::string("\xEF\xBB\xBF ") + kGeoJson}}).counts.panoramas, 11);
  EXPECT_EQ(ImportFiles({{"four.xml", test_support::Gzipped(kGpx)}}).counts.panoramas, 11);
}

TEST_F(Importer, AForcedFormatOverrulesTheName) {
  format_ = ImportFormat::kGpx;
  EXPECT_EQ(ImportFiles({{"track.json", kGpx}}).status, ImportStatus::kDone);
}

TEST_F(Importer, GivesADateToStreetsWithoutOne) {
  options_.date = "2026-05";
  const std::string dated =
      "{\"type\":\"Feature\",\"properties\":{\"date\":\"2021\"},\"geometry\":" +
      std::string(kGeoJson) + "}";
  const ImportResult result = ImportFiles({{"a.gpx", kGpx}, {"b.geojson", dated}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.dated_panoramas, 22u);
  for (const auto& [id, record] : RecordsOf(output())) {
    EXPECT_EQ(record.image_date, record.place.lng_deg > 7.5 ? "2021" : "2026-05");
  }
}

TEST_F(Importer, RefusesADateThatIsNone) {
  for (const char* date : {"2026-13", "May 2026", "0000", "2026-02-30"}) {
    options_.date = date;
    ExpectRefused("a.gpx", kGpx, ImportStatus::kBadOptions, "is no date");
  }
}

TEST_F(Importer, SeveralInputsBecomeOneNetwork) {
  const ImportResult result =
      ImportFiles({{"a.osm", SmallOsm()}, {"b.gpx", kGpx}, {"c.geojson", kGeoJson}});
  ASSERT_EQ(result.status, ImportStatus::kDone) << result.error;
  EXPECT_EQ(result.counts.scenes, 3);
  EXPECT_EQ(Dataset::Open(output(), nullptr)->info().name, "a");
}

TEST_F(Importer, EqualInputsGiveEqualFiles) {
  ASSERT_EQ(ImportFiles({{"a.osm", SmallOsm()}}).status, ImportStatus::kDone);
  const std::string first = BytesOf(output());
  ASSERT_EQ(ImportFiles({{"a.osm", SmallOsm()}}).status, ImportStatus::kDone);
  EXPECT_EQ(BytesOf(output()), first);
}

TEST_F(Importer, TheSpacingIsAsAsked) {
  options_.spacing_m = 25.0;
  EXPECT_EQ(ImportFiles({{"a.gpx", kGpx}}).counts.panoramas, 5);
}

TEST_F(Importer, RefusesOptionsThatMakeNoSense) {
  ImportOptions options;
  EXPECT_EQ(Import(options).status, ImportStatus::kBadOptions);
  options.inputs = {{folder_.Write("a.gpx", kGpx)}};
  EXPECT_EQ(Import(options).status, ImportStatus::kBadOptions);
  options.output = options.inputs[0].path;
  EXPECT_EQ(Import(options).status, ImportStatus::kBadOptions);
  EXPECT_EQ(BytesOf(options.output), kGpx);
  options.output = output();
  for (const double spacing : {0.0, 0.5, -10.0, 1001.0, std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity()}) {
    options.spacing_m = spacing;
    EXPECT_EQ(Import(options).status, ImportStatus::kBadOptions) << spacing;
  }
}

TEST_F(Importer, RefusesWhatIsNoFile) {
  for (const std::string& path : {folder_.File("missing.osm"), folder_.path()}) {
    ImportOptions options;
    options.output = output();
    options.inputs = {{path}};
    const ImportResult result = Import(options);
    EXPECT_EQ(result.status, ImportStatus::kBadInput);
    EXPECT_NE(result.error.find(path + ": "), std::string::npos) << result.error;
  }
}

TEST_F(Importer, NeverTakesAFileNameForAnAddress) {
  ImportOptions options;
  options.output = output();
  options.inputs = {{"http://localhost:9/monaco.osm"}};
  const ImportResult result = Import(options);
  EXPECT_EQ(result.status, ImportStatus::kBadInput);
  EXPECT_NE(result.error.find("no such file"), std::string::npos) << result.error;
}

TEST_F(Importer, RefusesEmptyFilesOfEveryKind) {
  for (const char* name : {"a.osm", "a.osm.gz", "a.pbf", "a.geojson", "a.gpx", "a"}) {
    ExpectRefused(name, "", ImportStatus::kBadInput, std::string(name) + ": empty");
    std::filesystem::remove(folder_.File(name));
  }
}

TEST_F(Importer, RefusesWhatItDoesNotKnow) {
  ExpectRefused("a.bin", "what is this", ImportStatus::kBadInput, "neither OpenStreetMap data");
}

TEST_F(Importer, SaysIfThereIsNoStreet) {
  ExpectRefused("a.osm", test_support::OsmFile(""), ImportStatus::kNoStreets, "no street in");
  std::filesystem::remove(folder_.File("a.osm"));
  ExpectRefused("a.geojson", "{\"type\":\"FeatureCollection\",\"features\":[]}",
                ImportStatus::kNoStreets, "no street in");
}

TEST_F(Importer, SaysIfTheDatasetCannotBeWritten) {
  ImportOptions options;
  options.inputs = {{folder_.Write("a.gpx", kGpx)}};
  options.output = folder_.File("none/out.db");
  const ImportResult result = Import(options);
  EXPECT_EQ(result.status, ImportStatus::kWriteFailed);
  EXPECT_NE(result.error.find("none/out.db"), std::string::npos) << result.error;
}

TEST_F(Importer, ReportsEveryPhaseInOrderAndToItsEnd) {
  std::vector<ImportProgress> reports;
  options_.on_progress = [&reports](const ImportProgress& progress) {
    reports.push_back(progress);
    return true;
  };
  ASSERT_EQ(ImportFiles({{"a.osm", SmallOsm()}, {"b.gpx", kGpx}}).status, ImportStatus::kDone);
  ASSERT_FALSE(reports.empty());
  for (std::size_t i = 0; i < reports.size(); ++i) {
    EXPECT_LE(reports[i].done, reports[i].total);
    if (i > 0) {
      EXPECT_GE(reports[i].phase, reports[i - 1].phase);
      EXPECT_TRUE(reports[i].phase > reports[i - 1].phase ||
                  reports[i].done >= reports[i - 1].done);
    }
    const bool last = i + 1 == reports.size() || reports[i + 1].phase != reports[i].phase;
    EXPECT_TRUE(!last || reports[i].done == reports[i].total);
  }
  EXPECT_EQ(reports.front().phase, ImportProgress::Phase::kReading);
  EXPECT_EQ(reports.back().phase, ImportProgress::Phase::kWriting);
}

TEST_F(Importer, CancelledAtAnyReportItLeavesTheOldFileWhole) {
  int reports = 0;
  options_.on_progress = [&reports](const ImportProgress&) {
    ++reports;
    return true;
  };
  ASSERT_EQ(ImportFiles({{"a.osm", SmallOsm()}, {"b.gpx", kGpx}}).status, ImportStatus::kDone);
  const std::string before = BytesOf(output());
  const int all = reports;
  for (int stop = 1; stop <= all; ++stop) {
    reports = 0;
    options_.on_progress = [&reports, stop](const ImportProgress&) { return ++reports < stop; };
    const ImportResult result = ImportFiles({{"a.osm", SmallOsm()}, {"b.gpx", kGpx}});
    EXPECT_EQ(result.status, ImportStatus::kCancelled);
    EXPECT_EQ(reports, stop);
    EXPECT_EQ(BytesOf(output()), before);
    EXPECT_EQ(folder_.Names().size(), 3u);
  }
}

TEST_F(Importer, SeveralImportsRunAtATime) {
  const std::string input = folder_.Write("a.osm", SmallOsm());
  std::vector<ImportStatus> statuses(4, ImportStatus::kCancelled);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < statuses.size(); ++t) {
    threads.emplace_back([&, t] {
      ImportOptions options;
      options.inputs = {{input}};
      options.output = folder_.File("out" + std::to_string(t));
      statuses[t] = Import(options).status;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(statuses, std::vector<ImportStatus>(4, ImportStatus::kDone));
  EXPECT_EQ(BytesOf(folder_.File("out0")), BytesOf(folder_.File("out3")));
}

}  // namespace
}  // namespace pelorin
