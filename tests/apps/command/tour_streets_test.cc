// SPDX-License-Identifier: Apache-2.0
// The streets of a tour from end to end: corridors, replayed tracks, twin formats, usage.
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "apps/dataset/dataset.h"
#include "apps/dataset/harbour_town.h"
#include "apps/service/panorama_service.h"
#include "tests/apps/command/tour_fixture.h"

namespace pelorin {
namespace command {
namespace {

class TourStreetsTest : public TourTest {
 protected:
  /// Along the Mole and Harbour Quay, as a hand-held receiver would record it: up to 6 m beside the
  /// street, one point each two seconds.
  void WriteTrackThroughTown() {
    const Json whole = Json::parse(RunPelorin({"route", "--from", "47.49806,-24.50011", "--to",
                                               "47.5004,-24.49943", "-f", "geojson"})
                                       .out);
    std::string text = "<gpx version='1.1' xmlns='http://www.topografix.com/GPX/1/1'><trk><trkseg>";
    int i = 0;
    for (const Json& point : whole["features"][0]["geometry"]["coordinates"]) {
      const double aside_m = 6.0 * std::sin(i * 0.7);
      text += "<trkpt lat='" + std::to_string(point[1].get<double>() + aside_m / 111195.0) +
              "' lon='" + point[0].dump() + "'><time>2026-05-01T10:0" + std::to_string(i / 30) +
              ":" + std::to_string(10 + i * 2 % 50) + "Z</time></trkpt>";
      ++i;
    }
    Write(Path("track.gpx"), text + "</trkseg></trk></gpx>");
    points_ = static_cast<std::size_t>(i);
  }

  std::size_t points_ = 0;
};

TEST_F(TourStreetsTest, DrawsTheStreetsOfTheTownOntoTheSurfaceOfItsDepthMaps) {
  const Json summary = Tour({});
  EXPECT_GT(summary["roads"], 50);
  EXPECT_GT(summary["labels"], 5);
  EXPECT_GT(summary["corridors"], summary["path"]["hops"]);
  EXPECT_GT(summary["fillets"], 5);
  EXPECT_EQ(summary["overlays"], summary["path"]["panoramas"]);
  EXPECT_EQ(summary["surfaces"], summary["overlays"]) << "every panorama of the town has a map";
  // The ground lies at 0; a road runs 32 cm above it and is drawn 40 cm higher still.
  const std::string kml = Content(Path("out/tour.kml"));
  const std::size_t roads = kml.find("<name>roads</name>");
  ASSERT_NE(roads, std::string::npos);
  const std::size_t begin = kml.find("<coordinates>", roads) + 13;
  const std::string first = kml.substr(begin, kml.find(' ', begin) - begin);
  EXPECT_NEAR(std::strtod(first.c_str() + first.rfind(',') + 1, nullptr), 0.72, 0.01) << first;
}

TEST_F(TourStreetsTest, PushesBackMoreInNarrowerCorridors) {
  const Json wide = Tour({"--corridor", "20"});
  const Json narrow = Tour({"--corridor", "1"});
  EXPECT_EQ(wide["camera"]["pushed_back"], 0);
  EXPECT_GT(narrow["camera"]["pushed_back"], 100);
  EXPECT_EQ(narrow["camera"]["placed"], 0) << "no corridor is too narrow to go through";
}

TEST_F(TourStreetsTest, SendsARecordedTrackThroughTheCorridors) {
  WriteTrackThroughTown();
  const Json summary = Tour({"--replay", Path("track.gpx"), "--corridor", "3"});
  EXPECT_EQ(summary["camera"]["steps"], points_);
  EXPECT_GT(summary["camera"]["pushed_back"], points_ / 4);
  EXPECT_NEAR(summary["camera"]["farthest_outside_m"].get<double>(), 3.0, 0.6);
  EXPECT_GT(summary["path"]["panoramas"], 20);
}

TEST_F(TourStreetsTest, RefusesATrackThatIsNoneOrElsewhereOrBesideOwnEnds) {
  Write(Path("no.gpx"), "no track");
  Write(Path("far.gpx"), "<gpx><trk><trkseg><trkpt lat='0' lon='0'/></trkseg></trk></gpx>");
  EXPECT_EQ(RunPelorin({"tour", "--replay", Path("no.gpx"), "--out", Path("out")}).exit_code, 1);
  EXPECT_EQ(RunPelorin({"tour", "--replay", Path("none"), "--out", Path("out")}).exit_code, 1);
  EXPECT_EQ(RunPelorin({"tour", "--replay", Path("far.gpx"), "--out", Path("out")}).exit_code, 3);
  EXPECT_EQ(RunPelorin({"tour", "--replay", Path("far.gpx"), "--from", "1,2", "--out", Path("out")})
                .exit_code,
            2);
  EXPECT_EQ(Files(), (std::vector<std::string>{"far.gpx", "no.gpx"}));
}

TEST_F(TourStreetsTest, WritesTwinsOfItsMapAsGpxAndGeoJson) {
  const Json summary = Tour({"-f", "gpx", "-f", "geojson"});
  const std::map<std::string, std::size_t> gpx = Layers(Path("out/tour.gpx"));
  EXPECT_EQ(CountOf(gpx, "waypoints"), summary["path"]["turns"].get<std::size_t>());
  EXPECT_EQ(CountOf(gpx, "routes"), 1u);
  EXPECT_EQ(CountOf(gpx, "route_points"), summary["path"]["panoramas"].get<std::size_t>());
  EXPECT_EQ(CountOf(gpx, "tracks"), 2u);
  EXPECT_EQ(CountOf(gpx, "track_points"), 2 * summary["camera"]["steps"].get<std::size_t>());

  const Json geojson = Json::parse(Content(Path("out/tour.geojson")), nullptr, false);
  ASSERT_FALSE(geojson.is_discarded());
  std::map<std::string, std::size_t> kinds;
  for (const Json& feature : geojson["features"]) {
    ++kinds[feature["properties"]["kind"]];
  }
  EXPECT_EQ(kinds["path"], 1u);
  EXPECT_EQ(kinds["pushed"], 1u);
  EXPECT_EQ(kinds["held"], 1u);
  EXPECT_EQ(kinds["turn"], summary["path"]["turns"].get<std::size_t>());
  EXPECT_EQ(kinds["road"], summary["roads"].get<std::size_t>());
  EXPECT_EQ(kinds["label"], summary["labels"].get<std::size_t>());
  EXPECT_EQ(kinds["corridor"], summary["corridors"].get<std::size_t>());
  EXPECT_EQ(kinds["fillet"], summary["fillets"].get<std::size_t>());
  EXPECT_EQ(kinds["overlay"], summary["overlays"].get<std::size_t>());
  EXPECT_EQ(CountOf(Layers(Path("out/tour.geojson")), "tour"), geojson["features"].size());
}

TEST_F(TourStreetsTest, WritesNoTwinUnasked) {
  Tour({});
  EXPECT_FALSE(std::filesystem::exists(Path("out/tour.gpx")));
  EXPECT_FALSE(std::filesystem::exists(Path("out/tour.geojson")));
}

TEST_F(TourStreetsTest, ReportsToItsOwnServiceWhatTheSummarySays) {
  const Json usage = Tour({})["usage"];
  EXPECT_EQ(usage["answered"], usage["reports"]);
  EXPECT_EQ(usage["received"], usage["reports"]);
  EXPECT_EQ(usage["fields_of_view"], 0) << "the camera keeps its field of view";
}

TEST_F(TourStreetsTest, ReportsToAServiceElsewhereAsManyAsThatOneCounts) {
  std::string error;
  const std::unique_ptr<Dataset> town = MakeHarbourTown(&error);
  ASSERT_NE(town, nullptr) << error;
  const std::unique_ptr<PanoramaService> service = PanoramaService::Start(*town, {}, &error);
  ASSERT_NE(service, nullptr) << error;
  const Json summary = Tour(
      {"--server", service->url(), "--from", "47.49806,-24.50011", "--to", "47.5004,-24.49943"});
  EXPECT_GT(summary["usage"]["reports"], 1);
  EXPECT_EQ(service->statistics().usage_reports, summary["usage"]["reports"].get<std::uint64_t>());
  EXPECT_EQ(service->statistics().usage_reports, summary["usage"]["received"].get<std::uint64_t>());
  EXPECT_EQ(service->statistics().bad_requests, 0u);
}

class RecordedTracks : public TourTest, public testing::WithParamInterface<const char*> {};

TEST_P(RecordedTracks, AreReplayedOverTheStreetsMadeOfThem) {
  const std::string track = std::string(PELORIN_SHARED_DATA "/gpx/") + GetParam();
  const std::string dataset = Import(track);
  if (dataset.empty()) {
    GTEST_SKIP() << "the shared data is not there";
  }
  const Json summary = Tour({"--dataset", dataset, "--replay", track, "-f", "geojson"});
  EXPECT_GT(summary["path"]["panoramas"], 50);
  EXPECT_LT(summary["camera"]["pushed_back"].get<int>(), summary["camera"]["steps"].get<int>() / 10)
      << "the streets are the track";
}

INSTANTIATE_TEST_SUITE_P(Shared, RecordedTracks,
                         testing::Values("around-visnjan-with-car.gpx", "cerknicko-jezero.gpx"));

}  // namespace
}  // namespace command
}  // namespace pelorin
