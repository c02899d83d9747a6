// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "apps/command/tour/far_apart.h"
#include "apps/command/tour/graph_snapshot.h"
#include "apps/command/tour/tour_page.h"
#include "apps/command/tour/tour_summary.h"
#include "apps/dataset/dataset_writer.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::HeapManager;
using nimbara::RefPtr;
using nimbara::spatial::ConnectedPano;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PathPlanner;

constexpr double kMetreDeg = 1.0 / 111195.0;

/// A record at metres east and north of the origin, with links.
RefPtr<PanoramaData> Record(const char* id, double east_m, double north_m,
                            std::initializer_list<const char*> links) {
  RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap()) PanoramaData(QString(id)));
  record->position = {east_m * kMetreDeg / 180.0, north_m * kMetreDeg / 180.0, 0.0};
  record->text = "A Street";
  for (const char* link : links) {
    ConnectedPano connected;
    connected.pano_id = link;
    connected.road_color = 0xFF4EC1F2;  // Alpha, blue, green, red.
    connected.yaw_deg = 90.0f;
    record->links.push_back(connected);
  }
  return record;
}

void Add(PanoGraph* graph, const RefPtr<PanoramaData>& record) {
  graph->AddPano(record->pano_id, record.get());
}

TEST(GraphSnapshot, CountsEachEdgeOnceWhoeverDeclaresIt) {
  PanoGraph graph;
  Add(&graph, Record("a", 0, 0, {"b", "a"}));
  Add(&graph, Record("b", 10, 0, {"a"}));
  TourReport report;
  CopyGraph(graph, {}, &report);
  ASSERT_EQ(report.edges.size(), 2u);
  EXPECT_EQ(report.edges[0].a, 0);
  EXPECT_EQ(report.edges[0].b, 0);
  EXPECT_EQ(report.edges[1].b, 1);
  EXPECT_EQ(report.edges[1].road_rgb, 0xF2C14Eu);
  EXPECT_EQ(report.inferred_count(), 0u);
}

TEST(GraphSnapshot, CallsAnEdgeInferredThatNoRecordDeclares) {
  PanoGraph graph;
  // b is a dead end; c is near it, but neither names the other.
  Add(&graph, Record("a", 0, 0, {"b"}));
  Add(&graph, Record("b", 10, 0, {"a"}));
  Add(&graph, Record("c", 20, 0, {"d", "e"}));
  graph.PostProcessBatch();
  TourReport report;
  CopyGraph(graph, {}, &report);
  EXPECT_EQ(report.fetched_count(), 3u);
  EXPECT_EQ(report.placeholder_count(), 2u);
  std::size_t inferred = 0;
  for (const TourEdge& edge : report.edges) {
    if (edge.inferred) {
      ++inferred;
      EXPECT_EQ(report.panoramas[static_cast<std::size_t>(edge.b)].id, "c");
    }
  }
  EXPECT_EQ(inferred, report.inferred_count());
  EXPECT_GE(inferred, 1u);
}

TEST(GraphSnapshot, PutsAPlaceholderWhereItsLinkPoints) {
  PanoGraph graph;
  Add(&graph, Record("a", 0, 0, {"b", "c"}));
  TourReport report;
  CopyGraph(graph, {}, &report);
  ASSERT_EQ(report.panoramas.size(), 3u);
  EXPECT_FALSE(report.panoramas[1].fetched);
  EXPECT_NEAR(report.panoramas[1].place.lng_deg, 10.0 * kMetreDeg, 1e-6);
  EXPECT_NEAR(report.panoramas[1].place.lat_deg, 0.0, 1e-9);
}

TEST(GraphSnapshot, TakesARecordWithoutAPlaceForAPlaceholder) {
  PanoGraph graph;
  RefPtr<PanoramaData> nowhere = Record("n", 0, 0, {"a", "b"});
  nowhere->position.x = std::nan("");
  Add(&graph, nowhere);
  RefPtr<PanoramaData> beyond = Record("o", 0, 0, {"a", "b"});
  beyond->position.y = 500.0 / 180.0;
  Add(&graph, beyond);
  TourReport report;
  CopyGraph(graph, {}, &report);
  EXPECT_EQ(report.fetched_count(), 0u);
  EXPECT_EQ(SummaryJson(report).dump().find("nan"), std::string::npos);
}

TEST(GraphSnapshot, TellsWhichWayTheWalkTurns) {
  PanoGraph graph;
  Add(&graph, Record("a", 0, 0, {"b"}));
  Add(&graph, Record("b", 100, 0, {"a", "c"}));
  Add(&graph, Record("c", 100, 100, {"b", "d"}));
  Add(&graph, Record("d", 200, 100, {"c"}));
  const PathPlanner::Path path{"a", "b", "c", "d"};
  TourReport report;
  CopyGraph(graph, path, &report);
  ASSERT_EQ(report.turns.size(), 2u);
  EXPECT_EQ(report.turns[0].stop, 1);
  EXPECT_TRUE(report.turns[0].left);
  EXPECT_NEAR(report.turns[0].angle_deg, 90.0, 0.1);
  EXPECT_FALSE(report.turns[1].left);
  EXPECT_NEAR(report.path_metres(), 300.0, 0.5);
  ASSERT_EQ(report.steps.size(), 4u);
  EXPECT_EQ(report.steps[1].text, "Turn left, still on A Street");
  EXPECT_NEAR(report.steps[3].metres, 300.0, 0.5);
}

TEST(TourSummary, HoldsNoNumberThatIsNoneForAnEmptyTour) {
  const nlohmann::ordered_json json = SummaryJson(TourReport());
  EXPECT_EQ(json["path"]["hops"], 0);
  EXPECT_EQ(json["panoramas_per_second"], 0.0);
  EXPECT_EQ(json.dump().find("null"), std::string::npos);
}

TEST(TourPage, KeepsTheTextsOfTheDataInTheirPlace) {
  PanoGraph graph;
  RefPtr<PanoramaData> record = Record("a", 0, 0, {});
  record->text = "</script><script>alert(1)</script> @SCRIPT@ <!-- &";
  Add(&graph, record);
  TourReport report;
  report.title = "<b>@DATA@</b>";
  CopyGraph(graph, {"a"}, &report);
  const std::string page = TourPage(report, "pelorin");
  EXPECT_EQ(page.find("alert(1)</script>"), std::string::npos);
  EXPECT_EQ(page.find("<b>@DATA@"), std::string::npos);
  EXPECT_NE(page.find("<title>&lt;b>@DATA@&lt;/b></title>"), std::string::npos);
  const std::string mark = "<script id=\"tour\" type=\"application/json\">";
  const std::size_t begin = page.find(mark) + mark.size();
  const auto data =
      nlohmann::json::parse(page.substr(begin, page.find("</script>", begin) - begin));
  EXPECT_EQ(data["streets"][1], record->text.toStdString());
}

PanoRecord DatasetRecord(int number, const std::vector<int>& links) {
  PanoRecord record;
  const auto id = [](int n) { return PanoIdFromSeed("far apart " + std::to_string(n)); };
  record.id = id(number);
  record.place = {0.0, number * 10.0 * kMetreDeg};
  for (const int link : links) {
    PanoLink to;
    to.pano_id = id(link);
    record.links.push_back(to);
  }
  return record;
}

TEST(FarApart, AreTheEndsOfTheLongestStreet) {
  std::string error;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(&error);
  // A street of nine, and one of three that lies apart.
  for (int i = 0; i < 9; ++i) {
    ASSERT_TRUE(writer->Add(DatasetRecord(i, i < 8 ? std::vector<int>{i + 1} : std::vector<int>{}),
                            &error));
  }
  for (int i = 20; i < 23; ++i) {
    ASSERT_TRUE(writer->Add(DatasetRecord(i, i < 22 ? std::vector<int>{i + 1} : std::vector<int>{}),
                            &error));
  }
  const std::unique_ptr<Dataset> dataset = writer->Finish({}, &error);
  ASSERT_NE(dataset, nullptr) << error;
  LatLng from, to;
  ASSERT_TRUE(ChooseFarApart(*dataset, 1000, &from, &to).ok());
  EXPECT_NEAR(DistanceMetres(from, to), 80.0, 0.1);
  ASSERT_TRUE(ChooseFarApart(*dataset, 4, &from, &to).ok());
  EXPECT_NEAR(DistanceMetres(from, to), 30.0, 0.1) << "four panoramas are three hops";
}

TEST(FarApart, NeedAPanorama) {
  std::string error;
  const std::unique_ptr<Dataset> dataset = DatasetWriter::InMemory(&error)->Finish({}, &error);
  ASSERT_NE(dataset, nullptr) << error;
  LatLng from{1.0, 2.0}, to{3.0, 4.0};
  EXPECT_EQ(ChooseFarApart(*dataset, 10, &from, &to).code(), ExitCode::kNothingFound);
  EXPECT_EQ(from, (LatLng{1.0, 2.0}));
}

}  // namespace
}  // namespace command
}  // namespace pelorin
