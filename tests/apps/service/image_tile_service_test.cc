// SPDX-License-Identifier: Apache-2.0
// Image tiles as a client gets them.
#include <string>

#include "apps/dataset/harbour_town.h"
#include "apps/jpeg/acquisition_date.h"
#include "apps/jpeg/jpeg_header.h"
#include "tests/apps/service/service_support.h"

namespace pelorin {
namespace {

using service_test::MakeClient;
using service_test::StartService;

std::unique_ptr<Dataset> OnePanorama() {
  PanoRecord record = service_test::MakeRecord(1, 47.5, -24.5);
  record.image_date = "2024-05-17";
  record.image_width = 128;
  record.image_height = 64;
  record.tile_width = 64;
  record.tile_height = 64;
  return service_test::MakeDataset({record});
}

std::string TilePath(const std::string& id, int zoom, int x, int y) {
  return "/plk?output=tile&panoid=" + id + "&zoom=" + std::to_string(zoom) +
         "&x=" + std::to_string(x) + "&y=" + std::to_string(y);
}

TEST(ImageTileService, AnswersWithAJpegFileThatNamesItsDate) {
  const auto dataset = OnePanorama();
  const auto service = StartService(*dataset);
  const httplib::Result answer =
      MakeClient(*service).Get(TilePath(service_test::TestId(1), 1, 1, 0));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 200);
  EXPECT_EQ(answer->get_header_value("Content-Type"), "image/jpeg");
  JpegHeader header;
  std::string error;
  ASSERT_TRUE(ReadJpegHeader(answer->body, &header, &error)) << error;
  EXPECT_EQ(header.width, 64);
  EXPECT_EQ(DateText(DateInHeader(header)), "2024:05:17");
  EXPECT_EQ(service->statistics().image_tiles, 1u);
  EXPECT_EQ(service->statistics().empty_answers, 0u);
}

TEST(ImageTileService, GivesTheSameTileAgain) {
  const auto dataset = OnePanorama();
  const auto service = StartService(*dataset);
  const std::string path = TilePath(service_test::TestId(1), 0, 0, 0);
  EXPECT_EQ(MakeClient(*service).Get(path)->body, MakeClient(*service).Get(path)->body);
  EXPECT_EQ(service->statistics().image_tiles, 2u);
}

TEST(ImageTileService, SaysSoWhereThereIsNoTile) {
  const auto dataset = OnePanorama();
  const auto service = StartService(*dataset);
  for (const std::string& path :
       {TilePath(service_test::TestId(2), 0, 0, 0), TilePath("a", 0, 0, 0),
        TilePath(service_test::TestId(1), 2, 0, 0), TilePath(service_test::TestId(1), 1, 2, 0)}) {
    const httplib::Result answer = MakeClient(*service).Get(path);
    EXPECT_EQ(answer->status, 404) << path;
    EXPECT_EQ(answer->body, "there is no such image tile\n");
  }
}

TEST(ImageTileService, RefusesAnAddressThatIsNone) {
  const auto dataset = OnePanorama();
  const auto service = StartService(*dataset);
  const std::string id = service_test::TestId(1);
  for (const std::string& path :
       {TilePath("", 0, 0, 0), TilePath(id, 31, 0, 0), TilePath(id, -1, 0, 0),
        TilePath(id, 0, -1, 0), TilePath(id, 0, 0, -1), "/plk?output=tile&panoid=" + id}) {
    EXPECT_EQ(MakeClient(*service).Get(path)->status, 400) << path;
  }
}

TEST(ImageTileService, CorruptsTilesOnRequest) {
  const auto dataset = OnePanorama();
  ServiceOptions options;
  ASSERT_TRUE(options.faults.SetCorrupt("1", nullptr));
  const auto service = StartService(*dataset, options);
  const std::string path = TilePath(service_test::TestId(1), 0, 0, 0);
  const auto sound = StartService(*dataset);
  EXPECT_NE(MakeClient(*service).Get(path)->body, MakeClient(*sound).Get(path)->body);
  EXPECT_EQ(service->statistics().corrupted, 1u);
}

TEST(ImageTileService, HasADatedTileForEveryPanoramaOfTheHarbourTown) {
  std::string error;
  const auto dataset = MakeHarbourTown(&error);
  ASSERT_NE(dataset, nullptr) << error;
  const auto service = StartService(*dataset);
  std::vector<PanoRecord> records;
  ASSERT_EQ(dataset->FindInBox(dataset->bounds(), 20, &records, &error), Answer::kFound);
  httplib::Client client = MakeClient(*service);
  for (const PanoRecord& record : records) {
    const httplib::Result answer = client.Get(TilePath(record.id, 0, 0, 0));
    ASSERT_EQ(answer->status, 200);
    JpegHeader header;
    ASSERT_TRUE(ReadJpegHeader(answer->body, &header, &error)) << error;
    std::string date = DateText(DateInHeader(header));
    date[4] = '-';
    EXPECT_EQ(date.substr(0, 7), record.image_date);
  }
}

}  // namespace
}  // namespace pelorin
