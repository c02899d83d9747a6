// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_road_creator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/point.h"
#include "host/reference/kml_writer.h"
#include "host/reference/loculus/depth_surface.h"
#include "spatial/panorama/photo_overlay_generator.h"
#include "tests/spatial/graph/road_fixture.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/ogr_info.h"
#include "tests/support/road_twin.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Placemark;
using loculus::Point;
using test_support::RoadTwin;

using Chains = std::vector<std::string>;

class PanoRoadCreatorTest : public RoadFixture {
 protected:
  const PanoramaData& Record(const QString& id) const { return *graph.GetPanoramaData(id); }
  void Create(const QString& centre) { creator.CreateRoadsOutward(Record(centre), graph); }
  // The chains of all roads; "-" for a null slot.
  static Chains ChainsOf(const PanoRoadCreator& made) {
    Chains chains;
    for (const PanoRoad* road : made.roads) {
      chains.push_back(road == nullptr ? "-" : IdsOf(*road));
    }
    return chains;
  }
  static Chains ChainsOf(const std::vector<RoadTwin::Chain>& numbers) {
    Chains chains;
    for (const RoadTwin::Chain& chain : numbers) {
      std::string ids;
      for (const std::size_t pano : chain) {
        ids += (ids.empty() ? "" : " ") + std::to_string(pano);
      }
      chains.push_back(ids);
    }
    return chains;
  }
  Chains Roads() const { return ChainsOf(creator); }
  void AddStreetOfFive() {
    Add("A", At(-20, 0), {"B"});
    Add("B", At(-10, 0), {"A", "C"});
    Add("C", At(0, 0), {"B", "D"});
    Add("D", At(10, 0), {"C", "E"});
    Add("E", At(20, 0), {"D"});
  }
  // `count` panoramas along the equator, each linked to the next and the one before.
  void AddStreet(int count, double metres) {
    for (int i = 0; i < count; ++i) {
      Ids links;
      if (i > 0) {
        links.push_back(QString::number(i - 1));
      }
      if (i + 1 < count) {
        links.push_back(QString::number(i + 1));
      }
      Add(QString::number(i), At(i * metres, 0), links);
    }
  }
  static double ThresholdFor(double metres) { return Radii(metres) * Radii(metres); }

  PanoRoadCreator creator;
};

// --- Chains --------------------------------------------------------------------------------------

TEST_F(PanoRoadCreatorTest, LeavesANullSlotForACentreWithoutLinks) {
  Add("A");
  Create("A");
  EXPECT_EQ(Roads(), Chains{"-"});
  EXPECT_TRUE(creator.labels.empty());
  EXPECT_FALSE(creator.IsPanoInRoads("A"));
}

TEST_F(PanoRoadCreatorTest, MakesOneChainOfAStraightStreetThroughTheCentre) {
  AddStreetOfFive();
  Create("C");
  EXPECT_EQ(Roads(), Chains{"A B C D E"});
}

TEST_F(PanoRoadCreatorTest, StartsASecondChainAtARightAngle) {
  AddStreetOfFive();
  Add("C", At(0, 0), {"B", "D", "F"});
  Add("F", At(0, 10), {"C"});
  Create("C");
  EXPECT_EQ(Roads(), (Chains{"A B C D E", "C F"}));
  EXPECT_TRUE(creator.IsPanoInRoads("F"));
}

TEST_F(PanoRoadCreatorTest, AddsAPanoramaBeyondTheThresholdWithoutFollowingIt) {
  AddStreet(10, 30);
  Create("0");
  // 60 m are beyond the 50 m that are followed.
  EXPECT_EQ(Roads(), Chains{"2 1 0"});
}

TEST_F(PanoRoadCreatorTest, FollowsAPanoramaAtExactlyTheThreshold) {
  AddStreet(10, 30);
  const Vec3<double> a = CartesianFromStored(Record("0").position);
  const Vec3<double> b = CartesianFromStored(Record("2").position);
  const double squared =
      (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z);
  options.road_distance_threshold_sq.Set(squared);
  Create("0");
  EXPECT_EQ(Roads(), Chains{"3 2 1 0"});
  options.road_distance_threshold_sq.Set(std::nextafter(squared, 0.0));
  Create("0");
  EXPECT_EQ(Roads(), Chains{"2 1 0"});
}

TEST_F(PanoRoadCreatorTest, MeasuresInCartesianSpace) {
  // 40 m on the ground at 60 degrees north, which are 80 m as stored.
  const double half = 60.0 / 180.0;
  const double step = 2.0 * At(40, 0).x;
  Add("A", {0.0, half, 0.0}, {"B"});
  Add("B", {step, half, 0.0}, {"C"});
  Add("C", {2 * step, half, 0.0}, {"D"});
  Add("D", {3 * step, half, 0.0});
  Create("A");
  EXPECT_EQ(Roads(), Chains{"C B A"});
}

TEST_F(PanoRoadCreatorTest, SkipsALinkToAPanoramaWithoutARecord) {
  Add("A", At(0, 0), {"unknown", "B"});
  Add("B", At(10, 0));
  Create("A");
  EXPECT_EQ(Roads(), Chains{"B A"});
  ASSERT_EQ(creator.labels.size(), 2u);
  EXPECT_FALSE(creator.labels[0]);
  EXPECT_TRUE(creator.labels[1]);
}

TEST_F(PanoRoadCreatorTest, StopsAtTheHeadOfTheLoopAfterFortyTwo) {
  options.road_distance_threshold_sq.Set(1.0);
  AddStreet(100, 10);
  Create("0");
  ASSERT_EQ(creator.roads.size(), 1u);
  EXPECT_EQ(creator.roads[0]->panos.size(), 42u);
}

TEST_F(PanoRoadCreatorTest, TakesAllLinksOfTheLastPanoramaThatItFollows) {
  Ids spokes;
  for (int i = 0; i < 100; ++i) {
    const QString id = QString("spoke %1").arg(i);
    Add(id, At(10 * std::cos(i), 10 * std::sin(i)), {"beyond"});
    spokes.push_back(id);
  }
  Add("beyond", At(5, 5));
  Add("hub", At(0, 0), spokes);
  Create("hub");
  for (const QString& spoke : spokes) {
    EXPECT_TRUE(creator.IsPanoInRoads(spoke));
  }
  EXPECT_FALSE(creator.IsPanoInRoads("beyond"));
}

TEST_F(PanoRoadCreatorTest, TakesTheCentreThatItIsGivenAndNotTheGraphs) {
  Add("A", At(0, 0), {"B"});
  Add("B", At(10, 0), {"A"});
  const RefPtr<PanoramaData> outside = MakeRecord("outside", At(0, 0), {"B"});
  creator.CreateRoadsOutward(*outside, graph);
  EXPECT_EQ(Roads(), (Chains{"B outside", "B A"}));
  EXPECT_EQ(creator.roads[0]->panos.back(), outside.get());
}

TEST_F(PanoRoadCreatorTest, EndsForALinkToItself) {
  Add("A", At(0, 0), {"A", "B"});
  Add("B", At(10, 0), {"B", "A"});
  Create("A");
  EXPECT_EQ(Roads(), Chains{"B A"});
}

TEST_F(PanoRoadCreatorTest, BuildsAnewAtEachCall) {
  AddStreetOfFive();
  Create("C");
  Create("C");
  EXPECT_EQ(Roads(), Chains{"A B C D E"});
  EXPECT_EQ(creator.labels.size(), 2u);
}

TEST_F(PanoRoadCreatorTest, ClearsMoreThanOnceAndWithNullSlots) {
  AddStreetOfFive();
  Add("lone");
  Create("C");
  creator.roads.push_back(nullptr);
  creator.Clear();
  EXPECT_TRUE(creator.roads.empty());
  EXPECT_TRUE(creator.labels.empty());
  creator.Clear();
  Create("lone");
  EXPECT_EQ(Roads(), Chains{"-"});
}

TEST_F(PanoRoadCreatorTest, KnowsWhetherAnyNeighbourIsLoaded) {
  Add("A", {}, {"unknown"});
  Add("B", {}, {"unknown", "A"});
  Add("C");
  EXPECT_FALSE(creator.AnyNeighborsLoaded(Record("A"), graph));
  EXPECT_TRUE(creator.AnyNeighborsLoaded(Record("B"), graph));
  EXPECT_FALSE(creator.AnyNeighborsLoaded(Record("C"), graph));
}

// --- The same walk over plain lists --------------------------------------------------------------

TEST_F(PanoRoadCreatorTest, FindsTheChainsOfTheSameWalkOverPlainLists) {
  constexpr unsigned kSeed = 42042;
  SCOPED_TRACE(kSeed);
  options.render_roads.Set(false);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> metres(-120.0, 120.0);
  std::size_t most_roads = 0;
  for (int round = 0; round < 200; ++round) {
    graph.Clear();
    std::vector<RoadTwin::Pano> panos(2 + random() % 80);
    for (RoadTwin::Pano& pano : panos) {
      const double east = metres(random);
      pano.position = At(east, metres(random));
    }
    for (std::size_t i = 0; i < 3 * panos.size(); ++i) {
      const std::size_t a = random() % panos.size();
      const std::size_t b = random() % panos.size();
      panos[a].links.push_back(b);
      if (random() % 4 != 0) {
        panos[b].links.push_back(a);
      }
    }
    for (std::size_t i = 0; i < panos.size(); ++i) {
      panos[i].is_loaded = i == 0 || random() % 8 != 0;
      if (panos[i].is_loaded) {
        Ids links;
        for (const std::size_t to : panos[i].links) {
          links.push_back(QString::number(to));
        }
        Add(QString::number(i), panos[i].position, links);
      }
    }
    const double threshold = ThresholdFor(20.0 + static_cast<double>(random() % 150));
    options.road_distance_threshold_sq.Set(threshold);
    Create("0");
    ASSERT_EQ(Roads(), ChainsOf(RoadTwin(panos, threshold).Create(0))) << round;
    most_roads = std::max(most_roads, creator.roads.size());
    creator.Clear();
  }
  EXPECT_GT(most_roads, 20u);
}

// --- What is made of them ------------------------------------------------------------------------

TEST_F(PanoRoadCreatorTest, MakesNoGeometryWithLinesOff) {
  options.render_roads.Set(false);
  AddStreetOfFive();
  Create("C");
  ASSERT_EQ(Roads(), Chains{"A B C D E"});
  EXPECT_FALSE(creator.roads[0]->geometry);
  EXPECT_TRUE(creator.roads[0]->points.empty());
  EXPECT_EQ(creator.labels.size(), 2u);
}

TEST_F(PanoRoadCreatorTest, MakesNoLabelsWithLabelsOff) {
  options.render_road_labels.Set(false);
  AddStreetOfFive();
  Create("C");
  EXPECT_TRUE(creator.labels.empty());
  EXPECT_TRUE(creator.roads[0]->geometry);
}

TEST_F(PanoRoadCreatorTest, MakesNoMarkersByDefault) {
  AddStreetOfFive();
  GiveOverlay(graph.GetPanoramaData("D"));
  Create("C");
  EXPECT_TRUE(creator.roads[0]->points.empty());
}

TEST_F(PanoRoadCreatorTest, AddsMarkersToLines) {
  options.render_roads_as_points.Set(true);
  AddStreetOfFive();
  GiveOverlay(graph.GetPanoramaData("D"));
  Create("C");
  ASSERT_EQ(Roads(), Chains{"A B C D E"});
  EXPECT_TRUE(creator.roads[0]->geometry);
  EXPECT_EQ(creator.roads[0]->points.size(), 1u);
}

TEST_F(PanoRoadCreatorTest, KeepsNoRoadOfMarkersAlone) {
  options.render_roads.Set(false);
  options.render_roads_as_points.Set(true);
  AddStreetOfFive();
  GiveOverlay(graph.GetPanoramaData("D"));
  Create("C");
  EXPECT_EQ(Roads(), Chains{"-"});
}

// With lines off a lone centre comes to its marker, and so does the end of a one-way link: neither
// has links of its own to take a colour from.
TEST_F(PanoRoadCreatorTest, MarksPanoramasWithoutLinksOfTheirOwn) {
  options.render_roads.Set(false);
  options.render_roads_as_points.Set(true);
  GiveOverlay(Add("lone"));
  Create("lone");
  EXPECT_EQ(Roads(), Chains{"-"});
  options.render_roads.Set(true);
  Add("A", At(0, 0), {"end"});
  GiveOverlay(Add("end", At(10, 0)));
  Create("A");
  ASSERT_EQ(Roads(), Chains{"end A"});
  ASSERT_EQ(creator.roads[0]->points.size(), 1u);
  EXPECT_EQ(creator.roads[0]->points[0]->style()->icon_style()->color().abgr, 0xFFFFFFFFu);
}

TEST_F(PanoRoadCreatorTest, PassesOverNullSlotsWhenItMakesMarkers) {
  options.render_roads_as_points.Set(true);
  GiveOverlay(Add("lone"));
  Create("lone");
  EXPECT_EQ(Roads(), Chains{"-"});
}

TEST_F(PanoRoadCreatorTest, ClampsLinesToTheCentresSurfaceOnce) {
  options.render_roads_as_points.Set(true);
  AddStreetOfFive();
  const RefPtr<StepSurface> surface(new StepSurface(3e-7, At(100, 0).x));
  GiveOverlay(graph.GetPanoramaData("C"), surface.get());
  Create("C");
  EXPECT_EQ(surface->starts.size(), 5u);
  const loculus::LineString* line = LineOf(*creator.roads[0]);
  ASSERT_EQ(line->GetCoordinateCount(), 5);
  EXPECT_NEAR(line->GetCoordinate(4).z, 3e-7 + 5e-8, 1e-15);
}

TEST_F(PanoRoadCreatorTest, DestroysARoadThatTheSurfaceLeavesNothingOf) {
  AddStreetOfFive();
  Add("C", At(0, 0), {"B", "D", "F"});
  Add("F", At(0, 10), {"C"});
  const RefPtr<StepSurface> surface(new StepSurface(0.0, At(-5, 0).x));
  GiveOverlay(graph.GetPanoramaData("C"), surface.get());
  Create("C");
  EXPECT_EQ(Roads(), (Chains{"A B C D E", "-"}));
  EXPECT_EQ(LineOf(*creator.roads[0])->GetCoordinateCount(), 2);
  const RefPtr<StepSurface> nowhere(new StepSurface(0.0, At(-500, 0).x));
  GiveOverlay(graph.GetPanoramaData("C"), nowhere.get());
  Create("C");
  EXPECT_EQ(Roads(), (Chains{"-", "-"}));
}

TEST_F(PanoRoadCreatorTest, LabelsTheStreetsThatLeaveTheCentreInTheOrderOfItsLinks) {
  AddStreetOfFive();
  graph.GetPanoramaData("B")->text = "Quay";
  graph.GetPanoramaData("D")->text = "Sail Lane";
  Create("C");
  ASSERT_EQ(creator.labels.size(), 2u);
  EXPECT_EQ(creator.labels[0]->name(), "Quay");
  EXPECT_EQ(creator.labels[1]->name(), "Sail Lane");
}

TEST_F(PanoRoadCreatorTest, ShowsOnlyTheTextOfALabel) {
  PanoramaData* pano = Add("A", At(3, 4));
  pano->text = "Quay";
  const RefPtr<Placemark> label = creator.CreateRoadLabel(*pano);
  EXPECT_EQ(label->name(), "Quay");
  EXPECT_EQ(loculus::As<Point>(label->geometry())->position(), At(3, 4));
  EXPECT_EQ(label->style()->label_style()->scale(), 0.8f);
  EXPECT_EQ(label->style()->label_style()->hot_spot(), loculus::LegacyScreenVec());
  ASSERT_NE(label->style()->icon_style()->icon(), nullptr);
  EXPECT_TRUE(label->style()->icon_style()->icon()->href().isEmpty());
  EXPECT_EQ(label->style()->icon_style()->scale(), 0.01f);
}

// --- Points without chains -----------------------------------------------------------------------

TEST_F(PanoRoadCreatorTest, MarksWhatIsWithinThreeHopsWithoutTheCentre) {
  AddStreet(6, 10);
  GiveOverlay(graph.GetPanoramaData("2"));
  creator.CreatePointsOutward(Record("0"), graph);
  EXPECT_EQ(Roads(), (Chains{"1", "2", "3"}));
  EXPECT_TRUE(creator.roads[0]->points.empty());
  EXPECT_EQ(creator.roads[1]->points.size(), 1u);
  EXPECT_FALSE(creator.roads[1]->geometry);
  EXPECT_TRUE(creator.labels.empty());
}

TEST_F(PanoRoadCreatorTest, MarksOnlyLoadedPanoramasOfTheSameScene) {
  Add("A", {}, {"B", "other", "unknown"});
  Add("B", {}, {"C"});
  Add("other", {}, {"D"}, 7);
  Add("C");
  Add("D");
  creator.CreatePointsOutward(Record("A"), graph);
  Chains found = Roads();
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, (Chains{"B", "C"}));
}

TEST_F(PanoRoadCreatorTest, MarksWhateverTheSettingsSay) {
  options.render_roads.Set(false);
  options.render_roads_as_points.Set(false);
  AddStreet(2, 10);
  GiveOverlay(graph.GetPanoramaData("1"));
  creator.CreatePointsOutward(Record("0"), graph);
  ASSERT_EQ(Roads(), Chains{"1"});
  EXPECT_EQ(creator.roads[0]->points.size(), 1u);
}

// --- Together ------------------------------------------------------------------------------------

TEST_F(PanoRoadCreatorTest, LeavesNothingBehind) {
  options.render_roads_as_points.Set(true);
  AddStreetOfFive();
  Add("C", At(0, 0), {"B", "D", "F"});
  Add("F", At(0, 10), {"C"});
  GiveOverlay(graph.GetPanoramaData("D"));
  const auto make = [this] {
    PanoRoadCreator made;
    made.CreateRoadsOutward(Record("C"), graph);
    made.CreatePointsOutward(Record("C"), graph);
    made.CreateRoadsOutward(Record("C"), graph);
  };
  make();
  const test_support::HeapSnapshot before;
  make();
  EXPECT_TRUE(test_support::HeapSnapshot() == before);
}

// A level ground 2.5 m below the eye, and nothing else.
std::unique_ptr<DepthMap> MakeGroundMap() {
  auto map = std::make_unique<DepthMap>();
  map->width = 64;
  map->height = 32;
  map->indices = new std::uint8_t[64 * 32];
  std::fill_n(map->indices, 64 * 16, std::uint8_t{0});
  std::fill_n(map->indices + 64 * 16, 64 * 16, std::uint8_t{1});
  map->plane_count = 2;
  map->planes = new Plane<double>[2];
  map->planes[1] = Plane<double>({0.0, 0.0, -1.0}, 2.5);
  return map;
}

TEST_F(PanoRoadCreatorTest, LaysRoadsOnTheGroundThatADepthMapShows) {
  AddStreetOfFive();
  PanoramaData* centre = graph.GetPanoramaData("C");
  centre->set_depthmap(MakeGroundMap().release());
  centre->overlay =
      PhotoOverlayGenerator("", "%1").GenerateLanescapeOverlay(centre->pano_id, centre);
  centre->overlay->SetSurface(new loculus::DepthSurface(
      *centre->depthmap, centre->overlay->point()->position(), centre->pano_yaw_deg));
  Create("C");
  const loculus::LineString* line = LineOf(*creator.roads[0]);
  ASSERT_EQ(line->GetCoordinateCount(), 5);
  for (int i = 0; i < 5; ++i) {
    // The ground is level where the eye stands: 20 m on, the planet has sunk by 0.03 mm.
    EXPECT_NEAR(line->GetCoordinate(i).z, 5e-8, Radii(4e-5)) << i;
  }
}

TEST_F(PanoRoadCreatorTest, WritesStreetsThatAnIndependentReaderFinds) {
  options.render_roads_as_points.Set(true);
  AddStreetOfFive();
  Add("C", At(0, 0), {"B", "D", "F"});
  Add("F", At(0, 10), {"C"});
  const PhotoOverlayGenerator generator("", "http://tiles.example/%1/$[level]/$[x]/$[y]");
  const RefPtr<loculus::Document> document(new loculus::Document(loculus::KmlId(), QStringNull()));
  for (const char* id : {"B", "D", "F"}) {
    PanoramaData* pano = graph.GetPanoramaData(id);
    pano->text = QString("Street of ") + id;
    pano->overlay = generator.GenerateLanescapeOverlay(id, pano);
    document->AddFeature(pano->overlay.get());
  }
  Create("C");
  const auto add_folder = [&document](const char* name) {
    const RefPtr<loculus::Folder> folder(new loculus::Folder(loculus::KmlId(), QStringNull()));
    folder->SetName(name);
    document->AddFeature(folder.get());
    return folder;
  };
  const RefPtr<loculus::Folder> lines = add_folder("lines");
  const RefPtr<loculus::Folder> markers = add_folder("markers");
  const RefPtr<loculus::Folder> labels = add_folder("labels");
  for (const PanoRoad* road : creator.roads) {
    lines->AddFeature(road->geometry.get());
    for (const RefPtr<Placemark>& point : road->points) {
      markers->AddFeature(point.get());
    }
  }
  for (const RefPtr<Placemark>& label : creator.labels) {
    labels->AddFeature(label.get());
  }
  const QByteArray kml = WriteKml(*document);
  const test_support::OgrInfo info(kml);
  EXPECT_EQ(info.errors(), "");
  EXPECT_EQ(info.Count("  LINESTRING Z ("), 2) << info.output();
  EXPECT_EQ(info.Count("  POINT Z ("), 6) << info.output();
  EXPECT_EQ(info.Count("Feature Count: 2\n"), 1) << info.output();
  EXPECT_EQ(info.Count("Feature Count: 3\n"), 2) << info.output();
  EXPECT_EQ(info.Count("= Street of "), 3) << info.output();
  EXPECT_EQ(kml.count("<PhotoOverlay>"), 3);
  EXPECT_EQ(kml.count("<shape>sphere</shape>"), 3);
  EXPECT_EQ(kml.count("<altitudeMode>"), 3 * 2 + 2 + 3 * 2 + 3);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
