// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/harbour_town.h"

#include <gtest/gtest.h>

#include <QString>
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/depth_map.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/pano_map.h"
#include "spatial/panorama/pano_map_xml_parser.h"
#include "spatial/panorama/panorama_data.h"
#include "tests/apps/dataset/dataset_builder.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

using nimbara::RefPtr;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;

class HarbourTown : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    town_ = MakeHarbourTown(nullptr).release();
    std::vector<PanoRecord> found;
    town_->FindInBox({-90.0, -180.0, 90.0, 180.0}, 100000, &found, nullptr);
    records_ = new std::map<std::string, PanoRecord>;
    for (const PanoRecord& record : found) {
      PanoRecord whole;
      town_->FindPano(record.id, true, &whole, nullptr);
      records_->emplace(record.id, whole);
    }
  }
  static void TearDownTestSuite() {
    delete records_;
    delete town_;
  }

  // Dead ends with another one in front of them that they do not link to.
  static std::vector<std::pair<std::string, std::string>> OpenEnds() {
    std::vector<std::pair<std::string, std::string>> ends;
    for (const auto& [id, a] : *records_) {
      for (const auto& [other_id, b] : *records_) {
        if (id < other_id && a.links.size() == 1 && b.links.size() == 1 && a.scene == b.scene &&
            DistanceMetres(a.place, b.place) < 12.0) {
          ends.emplace_back(id, other_id);
        }
      }
    }
    return ends;
  }

  static Dataset* town_;                               // Owned.
  static std::map<std::string, PanoRecord>* records_;  // Owned.
};

bool HasEdge(const PanoGraph& graph, const std::string& from, const std::string& to) {
  nimbara::mmvector<nimbara::spatial::ConnectedPano> linked;
  graph.GetLinkedPanos(QString::fromStdString(from), &linked);
  return std::any_of(linked.begin(), linked.end(),
                     [&to](const nimbara::spatial::ConnectedPano& one) {
                       return one.pano_id.toStdString() == to;
                     });
}

Dataset* HarbourTown::town_ = nullptr;
std::map<std::string, PanoRecord>* HarbourTown::records_ = nullptr;

TEST_F(HarbourTown, HoldsSomeHundredPanoramas) {
  EXPECT_GT(town_->counts().panoramas, 300);
  EXPECT_LT(town_->counts().panoramas, 1000);
  EXPECT_EQ(town_->counts().panoramas, static_cast<std::int64_t>(records_->size()));
}

TEST_F(HarbourTown, NeighboursStandAboutTenMetresApart) {
  int links = 0;
  int usual = 0;
  for (const auto& [id, record] : *records_) {
    for (const PanoLink& link : record.links) {
      const double metres = DistanceMetres(record.place, records_->at(link.pano_id).place);
      EXPECT_GT(metres, 4.0);
      EXPECT_LT(metres, 15.0);
      ++links;
      usual += metres > 8.5 && metres < 11.5 ? 1 : 0;
    }
  }
  EXPECT_GT(usual, links * 95 / 100);
}

TEST_F(HarbourTown, EveryLinkLeadsBack) {
  for (const auto& [id, record] : *records_) {
    for (const PanoLink& link : record.links) {
      const std::vector<PanoLink>& back = records_->at(link.pano_id).links;
      EXPECT_TRUE(std::any_of(back.begin(), back.end(),
                              [&id = id](const PanoLink& one) { return one.pano_id == id; }));
    }
  }
}

TEST_F(HarbourTown, StreetsAreNamedAndSomePathsAreNot) {
  EXPECT_GT(town_->counts().streets, 15);
  EXPECT_TRUE(std::any_of(records_->begin(), records_->end(),
                          [](const auto& entry) { return entry.second.text.empty(); }));
}

TEST_F(HarbourTown, StreetsAreCurved) {
  std::map<std::string, std::set<int>> yaws_of_street;
  for (const auto& [id, record] : *records_) {
    yaws_of_street[record.text].insert(static_cast<int>(record.pano_yaw_deg / 5.0));
  }
  EXPECT_GT(yaws_of_street["Harbour Quay"].size(), 12u);
  EXPECT_GT(yaws_of_street["Ring Road"].size(), 20u);
}

TEST_F(HarbourTown, HasASquareThatIsWalkedAllAround) {
  int corners = 0;
  for (const auto& [id, record] : *records_) {
    corners += record.text == "Market Square" && record.links.size() >= 3 ? 1 : 0;
  }
  EXPECT_EQ(corners, 4);
}

TEST_F(HarbourTown, HouseNumbersStandWhereHousesStand) {
  int with_numbers = 0;
  for (const auto& [id, record] : *records_) {
    with_numbers += record.street_range.empty() ? 0 : 1;
    if (record.text == "The Mole" && record.links.size() == 2) {
      EXPECT_TRUE(record.street_range.empty());
    }
  }
  EXPECT_GT(with_numbers, 200);
  EXPECT_LT(with_numbers, static_cast<int>(records_->size()));
}

TEST_F(HarbourTown, TwoPairsOfDeadEndsLookAtEachOtherOverAGap) {
  const std::vector<std::pair<std::string, std::string>> ends = OpenEnds();
  ASSERT_EQ(ends.size(), 2u);
  std::set<std::string> streets;
  for (const auto& [a, b] : ends) {
    streets.insert(records_->at(a).text);
    streets.insert(records_->at(b).text);
  }
  EXPECT_EQ(streets, (std::set<std::string>{"Linden Close", "Linden Walk", "Windmill Lane", ""}));
}

TEST_F(HarbourTown, TheGraphInfersTheLinksOverTheGaps) {
  PanoGraph graph;
  for (const auto& [id, record] : *records_) {
    const RefPtr<PanoramaData> data(new (nimbara::HeapManager::GetDynamicHeap())
                                        PanoramaData(QString::fromStdString(id)));
    data->position = {record.place.lng_deg / 180.0, record.place.lat_deg / 180.0, 0.0};
    data->scene = record.scene;
    data->level_id = QString::fromStdString(record.level_id);
    for (const PanoLink& link : record.links) {
      data->links.push_back(
          {QString::fromStdString(link.pano_id), link.road_argb, static_cast<float>(link.yaw_deg)});
    }
    graph.AddPano(data->pano_id, data.get());
  }
  for (const auto& [a, b] : OpenEnds()) {
    EXPECT_FALSE(HasEdge(graph, a, b));
  }
  graph.PostProcessBatch();
  for (const auto& [a, b] : OpenEnds()) {
    EXPECT_TRUE(HasEdge(graph, a, b));
  }
}

TEST_F(HarbourTown, ASecondSceneLiesBeyondEveryStreet) {
  std::map<int, int> sizes;
  double nearest_m = HUGE_VAL;
  for (const auto& [id, record] : *records_) {
    ++sizes[record.scene];
    for (const auto& [other_id, other] : *records_) {
      if (record.scene != other.scene) {
        nearest_m = std::min(nearest_m, DistanceMetres(record.place, other.place));
      }
    }
  }
  ASSERT_EQ(sizes.size(), 2u);
  EXPECT_GT(sizes[1], sizes[2]);
  EXPECT_GT(sizes[2], 10);
  EXPECT_GT(nearest_m, 100.0);
}

TEST_F(HarbourTown, TheStationsLevelsLieAboveEachOther) {
  ASSERT_EQ(town_->counts().levels, 2);
  int above = 0;
  for (const auto& [id, record] : *records_) {
    if (record.level_id != "station-platforms") {
      continue;
    }
    ASSERT_EQ(record.levels.size(), 2u);
    EXPECT_EQ(record.levels[0].level_id, "station-ground");
    EXPECT_EQ(record.levels[0].ordinal, 0);
    EXPECT_EQ(record.levels[1].level_id, "station-platforms");
    EXPECT_EQ(record.levels[1].ordinal, 1);
    EXPECT_FALSE(record.levels[1].text.empty());
    PanoRecord below;
    NearestQuery query{record.place, 3.0, std::string("station-ground")};
    above += town_->FindNearest(query, false, &below, nullptr) == Answer::kFound ? 1 : 0;
  }
  EXPECT_GE(above, 4);
}

TEST_F(HarbourTown, AStairJoinsTheLevels) {
  int steps = 0;
  for (const auto& [id, record] : *records_) {
    for (const PanoLink& link : record.links) {
      const std::string& other = records_->at(link.pano_id).level_id;
      steps += record.level_id == "station-ground" && other == "station-platforms" ? 1 : 0;
    }
  }
  EXPECT_EQ(steps, 1);
}

TEST_F(HarbourTown, EveryPanoramaHasMapsThatTheLibraryReads) {
  for (const auto& [id, record] : *records_) {
    const std::unique_ptr<nimbara::DepthMap> depth(
        nimbara::spatial::DepthMapXMLParser::ReadDepthMapData(
            QByteArray::fromStdString(record.depth_map)));
    ASSERT_NE(depth, nullptr) << id;
    const std::unique_ptr<nimbara::spatial::PanoMap> neighbours(
        nimbara::spatial::PanoMapXMLParser::ReadPanoMapData(
            QByteArray::fromStdString(record.pano_map)));
    ASSERT_NE(neighbours, nullptr) << id;
    EXPECT_EQ(neighbours->pano_ids.size(), record.links.size() + 1);
  }
}

TEST_F(HarbourTown, LabelsPointAtTheSights) {
  std::set<std::string> sights;
  for (const auto& [id, record] : *records_) {
    for (const PanoAnnotation& label : record.annotations) {
      sights.insert(label.id);
      EXPECT_FALSE(label.title.empty());
      EXPECT_GT(label.d, 0.0);
      EXPECT_LE(std::fabs(label.pitch), 90.0);
    }
  }
  EXPECT_EQ(sights.size(), 8u);
}

TEST_F(HarbourTown, RoadsOfDifferentKindsHaveDifferentColours) {
  std::set<std::uint32_t> colours;
  for (const auto& [id, record] : *records_) {
    for (const PanoLink& link : record.links) {
      colours.insert(link.road_argb);
    }
  }
  EXPECT_GE(colours.size(), 5u);
}

TEST_F(HarbourTown, HasSomethingToDrawBeneathTheStreets) {
  std::vector<BackdropShape> shapes;
  ASSERT_EQ(town_->ReadBackdrop(&shapes, nullptr), Answer::kFound);
  std::map<std::string, int> kinds;
  for (const BackdropShape& shape : shapes) {
    ++kinds[shape.kind];
    EXPECT_GE(shape.points.size(), shape.closed ? 3u : 2u);
  }
  EXPECT_EQ(shapes.front().kind, "sea");
  EXPECT_EQ(kinds["land"], 2);
  EXPECT_EQ(kinds["square"], 1);
  EXPECT_EQ(kinds["rail"], 1);
  EXPECT_GE(kinds["quay"], 1);
  EXPECT_GE(kinds["mole"], 1);
  EXPECT_GE(kinds["park"], 1);
  EXPECT_GT(kinds["building"], 150);
}

TEST_F(HarbourTown, SuggestsATourBetweenPanoramas) {
  ASSERT_TRUE(town_->info().tour_from && town_->info().tour_to);
  PanoRecord from;
  PanoRecord to;
  ASSERT_EQ(town_->FindNearest({*town_->info().tour_from, 30.0, {}}, false, &from, nullptr),
            Answer::kFound);
  ASSERT_EQ(town_->FindNearest({*town_->info().tour_to, 30.0, {}}, false, &to, nullptr),
            Answer::kFound);
  EXPECT_EQ(from.scene, to.scene);
  EXPECT_GT(DistanceMetres(from.place, to.place), 300.0);
}

TEST_F(HarbourTown, IsTheSameAtEveryCallAndAfterSaving) {
  const test_support::TemporaryFolder folder;
  std::string error;
  ASSERT_TRUE(MakeHarbourTown(nullptr)->SaveAs(folder.File("town.db"), &error)) << error;
  const std::unique_ptr<Dataset> saved = Dataset::Open(folder.File("town.db"), &error);
  ASSERT_NE(saved, nullptr) << error;
  EXPECT_EQ(saved->info().name, town_->info().name);
  EXPECT_EQ(saved->counts().links, town_->counts().links);
  for (const auto& [id, record] : *records_) {
    PanoRecord again;
    ASSERT_EQ(saved->FindPano(id, true, &again, &error), Answer::kFound) << error;
    test_support::ExpectEqual(again, record);
  }
}

}  // namespace
}  // namespace pelorin
