// SPDX-License-Identifier: Apache-2.0
#include "apps/service/elevation_doors.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <atomic>
#include <limits>
#include <nlohmann/json.hpp>

#include "apps/service/request_signature.h"
#include "spatial/geodesy/elevation_signature.h"
#include "tests/apps/service/service_support.h"

namespace pelorin {
namespace {

using nlohmann::json;
using service_test::MakeClient;
using service_test::RawConnection;
using service_test::StartService;

constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();

HeightGrid GridOf(const std::string& name, double step_deg, std::int64_t side,
                  std::vector<float> samples) {
  HeightGrid grid;
  grid.info.name = name;
  grid.info.north_deg = 50.0;
  grid.info.west_deg = 10.0;
  grid.info.lat_step_deg = grid.info.lng_step_deg = step_deg;
  grid.info.rows = grid.info.columns = side;
  grid.samples = std::move(samples);
  return grid;
}

// "a" is coarse and has a hole in the middle, "b" is fine and lies in its north-west.
std::unique_ptr<Dataset> DatasetWithHeights() {
  std::string error;
  const auto writer = DatasetWriter::InMemory(&error);
  writer->AddHeightGrid(GridOf("a", 1.0, 3, {0, 10, 20, 30, kMissing, 50, 60, 70, 80}), &error);
  writer->AddHeightGrid(GridOf("b", 0.1, 2, {500, 500, 500, 500}), &error);
  return writer->Finish({}, &error);
}

/// The item that viewers append, by the code of viewers.
std::string Signature(const std::string& text) {
  unsigned char signature[nimbara::spatial::kElevationSignatureSize];
  nimbara::spatial::ComputeElevationQuerySignature(
      reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()),
      signature);
  const QByteArray bytes(reinterpret_cast<const char*>(signature), sizeof signature);
  return "&signature=" +
         bytes.toBase64(QByteArray::Base64UrlEncoding).replace('=', "%3D").toStdString();
}

const std::string kQuery =
    "/elevation/json?client=nimbara-desktop&sensor=false&locations=enc:_p~iF~ps%7CU_ulLnnqC";

class ElevationDoorsTest : public testing::Test {
 protected:
  void Start(const ServiceOptions& options = {}) { service_ = StartService(*dataset_, options); }
  httplib::Result Get(const std::string& target) {
    if (service_ == nullptr)
      Start();
    httplib::Client client = MakeClient(*service_);
    client.set_url_encode(false);
    return client.Get(target);
  }
  json GetJson(const std::string& target, int status = 200) {
    const httplib::Result answer = Get(target);
    EXPECT_EQ(answer->status, status) << answer->body;
    EXPECT_EQ(answer->get_header_value("Content-Type"), "application/json");
    return json::parse(answer->body);
  }

  std::unique_ptr<Dataset> dataset_ = DatasetWithHeights();
  std::unique_ptr<PanoramaService> service_;
};

TEST_F(ElevationDoorsTest, AnswerViewersInTheOrderOfThePlaces) {
  const json answer = GetJson(kQuery + Signature(kQuery));
  EXPECT_EQ(answer["status"], "OK");
  ASSERT_EQ(answer["results"].size(), 2u);
  EXPECT_EQ(answer["results"][0]["location"]["lat"], 38.5);
  EXPECT_EQ(answer["results"][1]["location"]["lng"], -120.95);
  EXPECT_EQ(answer["results"][0]["elevation"], 0) << "no grid knows the place";
  EXPECT_EQ(answer["results"][0]["filled"], true);
}

// The character stands for a short step of a polyline; many addresses hold dozens.
TEST_F(ElevationDoorsTest, TakeQuestionMarksInAPolyline) {
  const std::string query =
      "/elevation/json?client=nimbara-desktop&sensor=false&locations=enc:????_p~iF?";
  const json answer = GetJson(query + Signature(query));
  ASSERT_EQ(answer["results"].size(), 3u);
  EXPECT_EQ(answer["results"][2]["location"]["lat"], 38.5);
}

TEST_F(ElevationDoorsTest, RefuseAMissingSignature) {
  EXPECT_EQ(GetJson(kQuery, 403)["status"], "REQUEST_DENIED");
}

TEST_F(ElevationDoorsTest, RefuseASignatureOfAnotherText) {
  EXPECT_EQ(Get(kQuery + "@" + Signature(kQuery))->status, 403);
  EXPECT_EQ(Get(kQuery + Signature(kQuery) + "&more=1")->status, 403);
  EXPECT_EQ(Get(kQuery + "&signature=")->status, 403);
  EXPECT_EQ(Get("/elevation/json")->status, 403);
}

TEST_F(ElevationDoorsTest, RefuseASignatureOfAnotherKey) {
  ServiceOptions options;
  options.elevation_key = "of the deployment";
  Start(options);
  EXPECT_EQ(Get(kQuery + Signature(kQuery))->status, 403);
  nimbara::spatial::SetElevationQueryKey(
      reinterpret_cast<const unsigned char*>(options.elevation_key.data()),
      static_cast<int>(options.elevation_key.size()));
  const std::string signature = Signature(kQuery);
  nimbara::spatial::SetElevationQueryKey(nullptr, 0);
  EXPECT_EQ(Get(kQuery + signature)->status, 200);
}

TEST_F(ElevationDoorsTest, AnswerASignedRequestWithoutPlacesWith400) {
  const std::string query = "/elevation/json?client=nimbara-desktop&sensor=false&locations=";
  EXPECT_EQ(GetJson(query + Signature(query), 400)["status"], "INVALID_REQUEST");
}

TEST_F(ElevationDoorsTest, AnswerASetWithItsGridsNamed) {
  const json answer = GetJson("/v1/a?locations=50,10|49.5,10|48,12");
  ASSERT_EQ(answer["results"].size(), 3u);
  EXPECT_EQ(answer["results"][0]["elevation"], 0);
  EXPECT_EQ(answer["results"][0]["dataset"], "a");
  EXPECT_EQ(answer["results"][1]["elevation"], 15);
  EXPECT_EQ(answer["results"][2]["elevation"], 80);
  EXPECT_FALSE(answer["results"][2].contains("filled"));
}

TEST_F(ElevationDoorsTest, AnswerFromTheFinestGridForAllOfThem) {
  EXPECT_EQ(GetJson("/v1/heights?locations=50,10")["results"][0]["dataset"], "b");
  EXPECT_EQ(GetJson("/v1/a,b?locations=50,10")["results"][0]["dataset"], "a");
}

TEST_F(ElevationDoorsTest, FillWhatIsMissingBeforeAnAnswerLeaves) {
  const json answer = GetJson("/v1/a?locations=49,11|0,0");
  EXPECT_TRUE(answer["results"][0]["elevation"].is_number());
  EXPECT_GT(answer["results"][0]["elevation"], 20);
  EXPECT_EQ(answer["results"][0]["filled"], true);
  EXPECT_EQ(answer["results"][1]["elevation"], 0);
  EXPECT_EQ(answer["results"][1]["filled"], true);
  EXPECT_FALSE(answer["results"][1].contains("dataset"));
}

TEST_F(ElevationDoorsTest, TakeSamplesAndInterpolation) {
  const json answer =
      GetJson("/v1/a?locations=50,10|50,12&samples=5&interpolation=nearest")["results"];
  ASSERT_EQ(answer.size(), 5u);
  EXPECT_EQ(answer[2]["elevation"], 10);
  EXPECT_EQ(GetJson("/v1/a?locations=50,10|50,12&samples=5")["results"][1]["elevation"], 5);
}

TEST_F(ElevationDoorsTest, TakeAPathAndCubicHeightsAlongIt) {
  const json answer = GetJson("/v1/a?path=50,10|50,12&samples=5&interpolation=cubic")["results"];
  ASSERT_EQ(answer.size(), 5u);
  EXPECT_EQ(answer[0]["elevation"], 0);
  // Between 0 and 10, with 0 once more to the west and 20 to the east: (-0 + 9 * 10 - 20) / 16.
  EXPECT_EQ(answer[1]["elevation"], 4.375);
  EXPECT_EQ(answer[1]["location"]["lng"], 10.5);
  EXPECT_EQ(answer[2]["elevation"], 10);
  EXPECT_EQ(GetJson("/v1/a?path=50,10|50,12", 400)["error"],
            "a path needs samples, the number of places along it");
}

TEST_F(ElevationDoorsTest, InterpolateForViewersWhoseAddressAsksForIt) {
  const auto height_under = [this](const std::string& interpolation, int status = 200) {
    const std::string query = "/elevation/json?interpolation=" + interpolation +
                              "&client=nimbara-desktop&sensor=false&locations=enc:_ovmH_gn~@";
    return GetJson(query + Signature(query), status);
  };
  // 49.6 north, 10.4 east, in grid "a": 0 and 10 to the north, 30 and a hole to the south.
  const double nearest = height_under("nearest")["results"][0]["elevation"];
  const double cubic = height_under("cubic")["results"][0]["elevation"];
  EXPECT_EQ(nearest, 0.0);
  EXPECT_NE(cubic, nearest);
  EXPECT_NE(cubic, height_under("bilinear")["results"][0]["elevation"]);
  EXPECT_EQ(height_under("lanczos", 400)["status"], "INVALID_REQUEST");
}

TEST_F(ElevationDoorsTest, RefuseASetThatIsNotThere) {
  EXPECT_EQ(GetJson("/v1/c?locations=1,2", 404)["status"], "INVALID_REQUEST");
  EXPECT_EQ(GetJson("/v1/?locations=1,2", 404)["status"], "INVALID_REQUEST");
}

TEST_F(ElevationDoorsTest, RefuseWhatMakesNoSenseAndSayWhy) {
  EXPECT_EQ(GetJson("/v1/a", 400)["error"],
            "locations is missing: lat,lng|lat,lng or an encoded polyline");
  EXPECT_EQ(GetJson("/v1/a?locations=1,2&interpolation=lanczos", 400)["error"],
            "interpolation is none of nearest, bilinear and cubic");
}

TEST_F(ElevationDoorsTest, TakeAFormByPost) {
  Start();
  const httplib::Result answer = MakeClient(*service_).Post(
      "/v1/a", "locations=50%2C10%7C50%2C11&samples=3", "application/x-www-form-urlencoded");
  ASSERT_EQ(answer->status, 200) << answer->body;
  EXPECT_EQ(json::parse(answer->body)["results"][1]["elevation"], 5);
}

TEST_F(ElevationDoorsTest, TakeJsonByPost) {
  Start();
  const httplib::Result answer = MakeClient(*service_).Post(
      "/v1/a", R"({"locations": "50,10|50,11", "interpolation": "nearest"})", "application/json");
  ASSERT_EQ(answer->status, 200) << answer->body;
  EXPECT_EQ(json::parse(answer->body)["results"].size(), 2u);
}

TEST_F(ElevationDoorsTest, RefuseABodyThatIsNoJson) {
  Start();
  const httplib::Result answer = MakeClient(*service_).Post("/v1/a", "{", "application/json");
  EXPECT_EQ(answer->status, 400);
  EXPECT_EQ(json::parse(answer->body)["error"], "the body is no JSON");
}

TEST_F(ElevationDoorsTest, ReadNoPackedBody) {
  Start();
  const httplib::Result answer = MakeClient(*service_).Post(
      "/v1/a", {{"Content-Encoding", "gzip"}}, R"({"locations": "50,10"})", "application/json");
  EXPECT_EQ(answer->status, 200) << "taken as it stands, never unpacked";
}

TEST_F(ElevationDoorsTest, RefuseABodyThatIsTooLarge) {
  Start();
  const httplib::Result answer =
      MakeClient(*service_).Post("/v1/a", std::string(1 << 20, ' '), "application/json");
  EXPECT_TRUE(!answer || answer->status >= 400);
  EXPECT_EQ(MakeClient(*service_).Get("/health")->status, 200);
}

TEST_F(ElevationDoorsTest, TakeNoPostFromViewers) {
  Start();
  const httplib::Result answer = MakeClient(*service_).Post(kQuery + Signature(kQuery), "", "x/y");
  EXPECT_EQ(answer->status, 405);
}

TEST_F(ElevationDoorsTest, CountRequestsAndHeights) {
  Get("/v1/a?locations=1,2|3,4");
  Get("/v1/a");
  const ServiceStatistics statistics = service_->statistics();
  EXPECT_EQ(statistics.elevations, 2u);
  EXPECT_EQ(statistics.heights, 2u);
  EXPECT_EQ(statistics.bad_requests, 1u);
}

TEST_F(ElevationDoorsTest, MisbehaveOnRequest) {
  ServiceOptions options;
  std::string error;
  ASSERT_TRUE(options.faults.AddFailures("503:1", &error));
  Start(options);
  EXPECT_EQ(Get("/v1/a?locations=1,2")->status, 503);
  ServiceOptions damaged;
  ASSERT_TRUE(damaged.faults.SetCorrupt("1", &error));
  Start(damaged);
  const httplib::Result answer = Get("/v1/a?locations=1,2");
  EXPECT_EQ(answer->status, 200);
  EXPECT_EQ(service_->statistics().corrupted, 1u);
}

TEST_F(ElevationDoorsTest, AnswerManyClientsAtATime) {
  Start();
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int i = 0; i < 6; ++i) {
    threads.emplace_back([&] {
      httplib::Client client = MakeClient(*service_);
      for (int round = 0; round < 20; ++round) {
        const httplib::Result answer = client.Get("/v1/a?locations=49.5,10");
        right += answer && answer->body.find("\"elevation\":15,") != std::string::npos ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(right, 120);
}

TEST_F(ElevationDoorsTest, AreLookedIntoByADeepCheck) {
  EXPECT_FALSE(GetJson("/health").contains("deep"));
  const json health = GetJson("/health?deep=1");
  EXPECT_EQ(health["status"], "ok");
  EXPECT_EQ(health["deep"]["heights"], "ok");
  EXPECT_EQ(health["deep"]["panoramas"], "none");
}

TEST(RequestSignature, IsReadInBothAlphabetsAndWithABlankForThePlus) {
  for (int i = 0; i < 200; ++i) {
    const std::string text = kQuery + std::to_string(i);
    const std::string item = Signature(text);
    std::string standard = item;
    std::string blank = item;
    for (std::size_t k = 11; k < item.size(); ++k) {
      standard[k] = item[k] == '-' ? '+' : item[k] == '_' ? '/' : item[k];
      blank[k] = item[k] == '-' ? ' ' : item[k];
    }
    EXPECT_TRUE(HasGoodSignature(text + item, kDevelopmentElevationKey));
    EXPECT_TRUE(HasGoodSignature(text + standard, kDevelopmentElevationKey));
    EXPECT_TRUE(HasGoodSignature(text + blank, kDevelopmentElevationKey));
  }
}

TEST(RequestSignature, OfAShortTextIsThatOfItsZeroBytes) {
  const std::string text = "/elevation/json?a=b";
  EXPECT_TRUE(HasGoodSignature(text + Signature(text), kDevelopmentElevationKey));
}

TEST(RequestSignature, ThatIsCutIsWrong) {
  const std::string whole = kQuery + Signature(kQuery);
  for (std::size_t size = 0; size + 4 < whole.size(); ++size)
    EXPECT_FALSE(HasGoodSignature(whole.substr(0, size), kDevelopmentElevationKey)) << size;
}

}  // namespace
}  // namespace pelorin
