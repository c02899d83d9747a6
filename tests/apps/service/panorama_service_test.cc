// SPDX-License-Identifier: Apache-2.0
#include "apps/service/panorama_service.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "apps/service/panorama_xml.h"
#include "tests/apps/service/service_support.h"

namespace pelorin {
namespace {

using service_test::Eventually;
using service_test::MakeClient;
using service_test::MakeDataset;
using service_test::MakeRecord;
using service_test::RawConnection;
using service_test::StartService;
using service_test::TestId;

// Panoramas 0 to 2 on a street northward from (50, 8), 11.12 m apart; 3 and 4 at one place on two
// levels, some 33 m further; 5 far away with maps.
std::vector<PanoRecord> SmallTown() {
  std::vector<PanoRecord> records;
  for (int i = 0; i < 3; ++i)
    records.push_back(MakeRecord(i, 50.0 + 0.0001 * i, 8.0));
  records[0].links = {{TestId(1), 0.0, 0xFFAABBCC}};
  records[1].links = {{TestId(0), 180.0, 0xFFAABBCC}, {TestId(2), 0.0, 0xFFAABBCC}};
  records[1].text = "Rope & Anchor Lane";
  records[2].links = {{TestId(1), 180.0, 0xFFAABBCC}};
  for (int i = 3; i < 5; ++i) {
    records.push_back(MakeRecord(i, 50.0005, 8.0));
    records.back().level_id = i == 3 ? "ground" : "deck";
  }
  records.push_back(MakeRecord(5, -33.0, 151.0));
  records.back().depth_map = "a depth map";
  records.back().pano_map = "a pano map";
  return records;
}

class PanoramaServiceTest : public testing::Test {
 protected:
  PanoramaServiceTest() : dataset_(MakeDataset(SmallTown())), service_(StartService(*dataset_)) {}

  httplib::Result Get(const std::string& address) {
    httplib::Client client = MakeClient(*service_);
    return client.Get(address);
  }
  // The ids of an answer, which must be in the list or the single form.
  std::vector<std::string> GetIds(const std::string& address) {
    const httplib::Result answer = Get(address);
    EXPECT_TRUE(answer) << address;
    EXPECT_EQ(answer->status, 200) << answer->body;
    EXPECT_EQ(answer->get_header_value("Content-Type"), "text/xml; charset=utf-8");
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(answer->body.c_str()));
    const pugi::xml_node root = document.document_element();
    form_ = root.name();
    std::vector<std::string> ids;
    for (pugi::xml_node node = form_ == "panorama" ? root : root.first_child(); node;
         node = node.next_sibling()) {
      ids.push_back(node.child("data_properties").attribute("pano_id").value());
    }
    return ids;
  }

  std::unique_ptr<Dataset> dataset_;
  std::unique_ptr<PanoramaService> service_;
  std::string form_;
};

using Ids = std::vector<std::string>;

TEST_F(PanoramaServiceTest, AnswersByIdWithThePanoramaAsTheRoot) {
  EXPECT_EQ(GetIds("/plk?output=xml&panoid=" + TestId(1) + "&pl_client=x&dm=1&pm=1&v=4"),
            Ids{TestId(1)});
  EXPECT_EQ(form_, "panorama");
}

TEST_F(PanoramaServiceTest, AnswersWithWhatTheDatasetHolds) {
  PanoRecord record;
  ASSERT_EQ(dataset_->FindPano(TestId(1), false, &record, nullptr), Answer::kFound);
  const httplib::Result answer = Get("/plk?output=xml&panoid=" + TestId(1));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, WritePanorama(record, {}));
  EXPECT_NE(answer->body.find("Rope &amp; Anchor Lane"), std::string::npos);
}

TEST_F(PanoramaServiceTest, AnswersTheSameFromItsCache) {
  const std::string address = "/plk?output=xml&dm=1&panoid=" + TestId(5);
  EXPECT_EQ(Get(address)->body, Get(address)->body);
  EXPECT_NE(Get(address)->body.find("<depth_map>"), std::string::npos);
  EXPECT_EQ(Get("/plk?output=xml&panoid=" + TestId(5))->body.find("<depth_map>"),
            std::string::npos);
}

TEST_F(PanoramaServiceTest, AnswersAnUnknownIdWithAnEmptyList) {
  EXPECT_EQ(GetIds("/plk?output=xml&panoid=nobody"), Ids{});
  EXPECT_EQ(form_, "panoramas");
  EXPECT_EQ(GetIds("/plk?output=xml&panoid=%00%FF%27%3C"), Ids{});
}

TEST_F(PanoramaServiceTest, AnswersAPositionWithTheNearest) {
  EXPECT_EQ(GetIds("/plk?output=xml&ll=50.000140000000000000,8.000000000000000000&radius=20"),
            Ids{TestId(1)});
  EXPECT_EQ(form_, "panorama");
}

TEST_F(PanoramaServiceTest, KeepsToTheRadius) {
  // Panorama 0 lies 22.24 m from here.
  EXPECT_EQ(GetIds("/plk?output=xml&ll=49.9998,8&radius=22"), Ids{});
  EXPECT_EQ(form_, "panoramas");
  EXPECT_EQ(GetIds("/plk?output=xml&ll=49.9998,8&radius=23"), Ids{TestId(0)});
  EXPECT_EQ(GetIds("/plk?output=xml&ll=49.9998,8"), Ids{TestId(0)});
  EXPECT_EQ(GetIds("/plk?output=xml&ll=50,8&radius=0"), Ids{TestId(0)});
}

TEST_F(PanoramaServiceTest, KeepsToTheLevel) {
  EXPECT_EQ(GetIds("/plk?output=xml&ll=50.0005,8&level_id=deck"), Ids{TestId(4)});
  EXPECT_EQ(GetIds("/plk?output=xml&ll=50.0005,8&level_id=ground"), Ids{TestId(3)});
  EXPECT_EQ(GetIds("/plk?output=xml&ll=50.0005,8&level_id=roof"), Ids{});
}

TEST_F(PanoramaServiceTest, AnswersATileWithTheListOfItsPanoramas) {
  // At zoom 16 a tile is 0.0055 degrees wide: one holds the whole street and the two levels.
  Ids ids = GetIds("/plk?output=metatile&x=34224&y=22226&zoom=16&pl_client=x&v=4");
  EXPECT_EQ(form_, "panoramas");
  EXPECT_EQ(ids, (Ids{TestId(0), TestId(1), TestId(2), TestId(3), TestId(4)}));
}

TEST_F(PanoramaServiceTest, AnswersATileOfOnePanoramaWithAList) {
  EXPECT_EQ(GetIds("/plk?output=metatile&x=1&y=1&zoom=1"), Ids{TestId(5)});
  EXPECT_EQ(form_, "panoramas");
}

TEST_F(PanoramaServiceTest, AnswersAnEmptyTileWithAnEmptyList) {
  EXPECT_EQ(GetIds("/plk?output=metatile&x=0&y=0&zoom=16"), Ids{});
  EXPECT_EQ(form_, "panoramas");
}

TEST_F(PanoramaServiceTest, GivesMapsByPositionWhenAsked) {
  const std::string body = Get("/plk?output=xml&ll=-33,151&dm=1&pm=1")->body;
  EXPECT_NE(body.find(PackMap("a depth map")), std::string::npos);
  EXPECT_NE(body.find(PackMap("a pano map")), std::string::npos);
}

TEST_F(PanoramaServiceTest, RefusesBadParametersWithOneLine) {
  for (const char* query :
       {"", "?", "?output=xml", "?output=xml&ll=91,0", "?output=metatile&x=1&y=0&zoom=0",
        "?output=%3Cscript%3E", "?output=xml&ll=%00", "?&&==&=x&output", "?output=plrep"}) {
    const httplib::Result answer = Get(std::string("/plk") + query);
    ASSERT_TRUE(answer) << query;
    EXPECT_EQ(answer->status, 400) << query;
    EXPECT_EQ(answer->get_header_value("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(answer->body.find('\n'), answer->body.size() - 1) << answer->body;
  }
  EXPECT_EQ(service_->statistics().bad_requests, 9u);
}

TEST_F(PanoramaServiceTest, KnowsNoOtherPath) {
  for (const char* path : {"/", "/plk/", "/plkx", "/..%2f", "/elevation"}) {
    const httplib::Result answer = Get(path);
    ASSERT_TRUE(answer) << path;
    EXPECT_EQ(answer->status, 404) << path;
  }
}

TEST_F(PanoramaServiceTest, TakesNoMethodButGetAndHead) {
  httplib::Client client = MakeClient(*service_);
  const httplib::Result post = client.Post("/plk?output=xml&panoid=a", "body", "text/plain");
  ASSERT_TRUE(post);
  EXPECT_EQ(post->status, 405);
  EXPECT_EQ(post->get_header_value("Allow"), "GET, HEAD");
  const httplib::Result put = client.Put("/plk", std::string(200000, 'x'), "text/plain");
  if (put) {
    EXPECT_EQ(put->status, 405);
  }
  EXPECT_EQ(client.Delete("/health")->status, 405);
  EXPECT_EQ(client.Options("/health")->status, 405);
}

TEST_F(PanoramaServiceTest, AnswersHeadWithTheLengthAlone) {
  httplib::Client client = MakeClient(*service_);
  const std::string address = "/plk?output=xml&panoid=" + TestId(0);
  const httplib::Result head = client.Head(address);
  ASSERT_TRUE(head);
  EXPECT_EQ(head->status, 200);
  EXPECT_EQ(head->body, "");
  EXPECT_EQ(head->get_header_value("Content-Length"), std::to_string(Get(address)->body.size()));
}

TEST_F(PanoramaServiceTest, SaysThatItIsWell) {
  const nlohmann::json health = nlohmann::json::parse(Get("/health")->body);
  EXPECT_EQ(health, (nlohmann::json{{"status", "ok"}, {"panoramas", 6}}));
  EXPECT_EQ(Get("/health")->get_header_value("Content-Type"), "application/json");
}

TEST_F(PanoramaServiceTest, SaysWhatItIs) {
  const nlohmann::json version = nlohmann::json::parse(Get("/version")->body);
  EXPECT_EQ(version["name"], "pelorin");
  EXPECT_EQ(version["dataset"], "Test Town");
  EXPECT_EQ(version["dataset_schema"], Dataset::kSchemaVersion);
  EXPECT_FALSE(version["version"].get<std::string>().empty());
}

TEST_F(PanoramaServiceTest, CountsRequestsByKind) {
  GetIds("/plk?output=xml&panoid=" + TestId(5) + "&dm=1&pm=1");
  GetIds("/plk?output=xml&panoid=" + TestId(5) + "&dm=1");
  GetIds("/plk?output=xml&panoid=nobody&dm=1");
  GetIds("/plk?output=xml&ll=50,8");
  GetIds("/plk?output=xml&ll=0,0");
  GetIds("/plk?output=metatile&x=34224&y=22226&zoom=16");
  Get("/plk?output=plrep&ed=67:0;3&pl_client=x&v=4&s=17");
  Get("/health");
  const ServiceStatistics statistics = service_->statistics();
  EXPECT_EQ(statistics.requests, 8u);
  EXPECT_EQ(statistics.by_id, 3u);
  EXPECT_EQ(statistics.by_position, 2u);
  EXPECT_EQ(statistics.by_tile, 1u);
  EXPECT_EQ(statistics.usage_reports, 1u);
  EXPECT_EQ(statistics.empty_answers, 2u);
  EXPECT_EQ(statistics.depth_maps, 2u);
  EXPECT_EQ(statistics.pano_maps, 1u);
  EXPECT_EQ(statistics.panoramas, 2u + 1u + 5u);
  EXPECT_EQ(statistics.bad_requests, 0u);
  EXPECT_EQ(statistics.data_errors, 0u);
}

TEST_F(PanoramaServiceTest, AnnouncesNoFaultsWhenThereAreNone) {
  EXPECT_FALSE(Get("/health")->has_header("X-Pelorin-Faults"));
}

TEST_F(PanoramaServiceTest, KeepsAConnectionForFurtherRequests) {
  httplib::Client client = MakeClient(*service_);
  client.set_keep_alive(true);
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(client.Get("/plk?output=xml&panoid=" + TestId(i % 6))->status, 200);
  }
  EXPECT_EQ(service_->statistics().open_connections, 1u);
}

TEST_F(PanoramaServiceTest, GivesAnswersWholeAndUnpacked) {
  httplib::Client client = MakeClient(*service_);
  const std::string address = "/plk?output=xml&panoid=" + TestId(0);
  const std::string body = client.Get(address)->body;
  const httplib::Result ranged = client.Get(
      address, httplib::Headers{{"Range", "bytes=0-3,5-7"}, {"Accept-Encoding", "gzip, br"}});
  ASSERT_TRUE(ranged);
  EXPECT_EQ(ranged->status, 200);
  EXPECT_EQ(ranged->body, body);
  EXPECT_FALSE(ranged->has_header("Content-Encoding"));
}

TEST_F(PanoramaServiceTest, SurvivesTheLongestRangeHeader) {
  std::string range = "bytes=0-1";
  while (range.size() < 8000)
    range += ",0-1";
  httplib::Client client = MakeClient(*service_);
  ASSERT_TRUE(client.Get("/health", httplib::Headers{{"Range", range}}));
  ASSERT_TRUE(client.Get("/health", httplib::Headers{{"Range", "bytes=x"}}));
  EXPECT_EQ(Get("/health")->status, 200);
}

TEST(PanoramaServiceStart, NamesItsAddress) {
  const auto dataset = MakeDataset({});
  const auto service = StartService(*dataset);
  EXPECT_GT(service->port(), 0);
  EXPECT_EQ(service->url(), "http://127.0.0.1:" + std::to_string(service->port()));
}

TEST(PanoramaServiceStart, RefusesAPortThatIsTaken) {
  const auto dataset = MakeDataset({});
  const auto service = StartService(*dataset);
  ServiceOptions options;
  options.port = service->port();
  std::string error;
  EXPECT_EQ(PanoramaService::Start(*dataset, options, &error), nullptr);
  EXPECT_EQ(error, "cannot listen on 127.0.0.1 port " + std::to_string(options.port) +
                       ": the port is taken");
  EXPECT_EQ(PanoramaService::Start(*dataset, options, nullptr), nullptr);
}

TEST(PanoramaServiceStart, SaysWhatIsWrongWithAnAddress) {
  const auto dataset = MakeDataset({});
  ServiceOptions options;
  std::string error;
  options.host = "192.0.2.1";  // Given to nobody.
  EXPECT_EQ(PanoramaService::Start(*dataset, options, &error), nullptr);
  EXPECT_EQ(error, "cannot listen on 192.0.2.1 port 0: the address is not one of this machine");
  options.host = "no-such-host.invalid";
  EXPECT_EQ(PanoramaService::Start(*dataset, options, &error), nullptr);
  EXPECT_EQ(error,
            "cannot listen on no-such-host.invalid port 0: the address is not one of this machine");
}

TEST(PanoramaServiceStart, TakesAPortAgainThatAServiceHasLeft) {
  const auto dataset = MakeDataset({});
  ServiceOptions options;
  {
    const auto service = StartService(*dataset);
    options.port = service->port();
    EXPECT_EQ(MakeClient(*service).Get("/health")->status, 200);
  }
  const auto service = StartService(*dataset, options);
  EXPECT_EQ(service->port(), options.port);
  EXPECT_EQ(MakeClient(*service).Get("/health")->status, 200);
}

struct BadOption {
  const char* name;
  void (*set)(ServiceOptions*);
};

class BadServiceOptions : public testing::TestWithParam<BadOption> {};

TEST_P(BadServiceOptions, AreRefused) {
  const auto dataset = MakeDataset({});
  ServiceOptions options;
  GetParam().set(&options);
  std::string error;
  EXPECT_EQ(PanoramaService::Start(*dataset, options, &error), nullptr);
  EXPECT_FALSE(error.empty());
  EXPECT_EQ(error.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadServiceOptions,
    testing::Values(
        BadOption{"NoHost", [](ServiceOptions* o) { o->host.clear(); }},
        BadOption{"ForeignHost", [](ServiceOptions* o) { o->host = "192.0.2.1"; }},
        BadOption{"NegativePort", [](ServiceOptions* o) { o->port = -1; }},
        BadOption{"HugePort", [](ServiceOptions* o) { o->port = 65536; }},
        BadOption{"NoConnections", [](ServiceOptions* o) { o->max_connections = 0; }},
        BadOption{"TooManyConnections", [](ServiceOptions* o) { o->max_connections = 4097; }},
        BadOption{"NoIdleTime", [](ServiceOptions* o) { o->keep_alive_s = 0; }},
        BadOption{"NoTransferTime", [](ServiceOptions* o) { o->transfer_timeout_ms = 0; }}),
    [](const testing::TestParamInfo<BadOption>& table_row) {
      return std::string(table_row.param.name);
    });

TEST(PanoramaServiceTiles, AnswerThousandsOfPanoramasAtOnce) {
  std::vector<PanoRecord> records;
  for (int i = 0; i < 5000; ++i) {
    records.push_back(MakeRecord(i, 50.0 + 1e-6 * (i / 100), 8.0 + 1e-6 * (i % 100)));
    records.back().text = "Long Street";
    records.back().links = {{TestId(i), 1.5, 0}, {TestId(i + 1), 2.5, 0}};
  }
  const auto dataset = MakeDataset(records);
  const auto service = StartService(*dataset);
  const httplib::Result answer =
      MakeClient(*service).Get("/plk?output=metatile&x=34224&y=22226&zoom=16");
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 200);
  EXPECT_TRUE(answer->body == WritePanoramas(records)) << answer->body.size();
  EXPECT_EQ(service->statistics().panoramas, 5000u);
}

TEST(PanoramaServiceTiles, WithMoreThanTheLimitAreRefusedAndNotCut) {
  std::vector<PanoRecord> records;
  for (int i = 0; i < 4; ++i)
    records.push_back(MakeRecord(i, 50.0, 8.0));
  const auto dataset = MakeDataset(records);
  ServiceOptions options;
  options.tile_limit = 3;
  const auto tight = StartService(*dataset, options);
  const httplib::Result refused = MakeClient(*tight).Get("/plk?output=metatile&x=0&y=0&zoom=0");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 400);
  EXPECT_NE(refused->body.find("more than 3 panoramas"), std::string::npos);
  options.tile_limit = 4;
  const auto wide = StartService(*dataset, options);
  EXPECT_EQ(MakeClient(*wide).Get("/plk?output=metatile&x=0&y=0&zoom=0")->status, 200);
}

TEST(PanoramaServiceTiles, OfAnEmptyDatasetAreEmpty) {
  const auto dataset = MakeDataset({});
  const auto service = StartService(*dataset);
  EXPECT_EQ(MakeClient(*service).Get("/plk?output=metatile&x=0&y=0&zoom=0")->body,
            WritePanoramas({}));
}

}  // namespace
}  // namespace pelorin
