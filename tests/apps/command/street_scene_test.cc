// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_scene.h"

#include <QByteArray>
#include <cstring>
#include <string>

#include "apps/dataset/panorama_maps.h"
#include "host/loculus/line_string.h"
#include "host/loculus/overlay_surface.h"
#include "host/units.h"
#include "spatial/panorama/depth_map_xml_parser.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/apps/command/street_fixture.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::loculus::LineString;
using nimbara::spatial::DepthMapXMLParser;
using nimbara::spatial::PanoramaData;

class StreetScenes : public StreetFixture {
 protected:
  /// A camera 2.5 metres above a street, with facades to both sides if they are given.
  static void GiveDepthMap(PanoramaData* record, double facades_m) {
    DepthScene scene;
    scene.left_m = scene.right_m = facades_m;
    const std::string bytes = MakeDepthMap(scene);
    record->set_depthmap(DepthMapXMLParser::ReadDepthMapData(
        QByteArray(bytes.data(), static_cast<int>(bytes.size()))));
    record->pano_yaw_deg = 90.0;
    ASSERT_NE(record->depthmap, nullptr);
  }
  static const LineString* LineOf(const TourRoad& road) {
    return nimbara::loculus::As<LineString>(road.line->geometry());
  }

  TourStreets streets;
};

TEST_F(StreetScenes, GiveAPanoramaItsOverlayOnce) {
  AddStreet(3);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "p01");
  scene.Enter(1, "p01");
  ASSERT_EQ(streets.overlays.size(), 1u);
  EXPECT_EQ(streets.overlays[0].overlay->name(), "p01");
  EXPECT_EQ(streets.overlays[0].overlay->description(), "A Street");
  EXPECT_EQ(graph.GetPanoramaData("p01")->overlay.get(), streets.overlays[0].overlay.get());
  EXPECT_FALSE(streets.overlays[0].has_surface);
  EXPECT_EQ(streets.overlays[0].overlay->surface(), nullptr);
}

TEST_F(StreetScenes, MakeTheSurfaceOfTheDepthMap) {
  AddStreet(3);
  GiveDepthMap(graph.GetPanoramaData("p01"), 0.0);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "p01");
  ASSERT_EQ(streets.surface_count(), 1u);
  const nimbara::loculus::OverlaySurface* const surface = streets.overlays[0].overlay->surface();
  ASSERT_NE(surface, nullptr);
  // The eye stands 2.5 m up; straight down is the ground.
  const nimbara::Vec3<double> eye = surface->GetOrigin();
  const nimbara::Vec3<double> up = surface->GetUpVector();
  nimbara::Vec3<double> hit;
  ASSERT_TRUE(surface->TestRay(eye, {-up.x, -up.y, -up.z}, &hit));
  const double metres =
      std::sqrt((hit.x - eye.x) * (hit.x - eye.x) + (hit.y - eye.y) * (hit.y - eye.y) +
                (hit.z - eye.z) * (hit.z - eye.z)) /
      nimbara::Units::s_inv_planet_radius;
  EXPECT_NEAR(metres, 2.5, 1e-3);
}

TEST_F(StreetScenes, LetTheRoadsDownOntoTheGround) {
  AddStreet(5);
  for (int i = 0; i < 5; ++i) {
    graph.GetPanoramaData(IdOf(i))->position.z = 3.0 * nimbara::Units::s_inv_planet_radius;
  }
  GiveDepthMap(graph.GetPanoramaData("p02"), 0.0);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "p02");
  ASSERT_EQ(streets.roads.size(), 1u);
  const LineString* const line = LineOf(streets.roads[0]);
  ASSERT_EQ(line->GetCoordinateCount(), 5);
  const double offset =
      nimbara::spatial::PelorinSpatialOptions::s_settings_.z_offset_for_roads.Get();
  for (int i = 0; i < 5; ++i) {
    // The ground is a plane that touches the planet; 20 m away it is 0.03 mm above it.
    EXPECT_NEAR((line->GetCoordinate(i).z - offset) / nimbara::Units::s_inv_planet_radius, 0.0,
                0.001);
  }
  EXPECT_EQ(streets.roads[0].street, "A Street");
  EXPECT_EQ(streets.roads[0].rgb, 0xF2C14Eu);
  EXPECT_EQ(streets.roads[0].line->name(), "A Street");
}

TEST_F(StreetScenes, CutOffWhatFacadesHide) {
  AddStreet(5);
  // A street to the north, at right angles: its far end lies behind the facade.
  Add("n1", 20, 10, {"p02", "n2"});
  Add("n2", 20, 20, {"n1"});
  const QString centre = "p02";
  PanoramaData* const record = graph.GetPanoramaData(centre);
  nimbara::spatial::ConnectedPano link;
  link.pano_id = "n1";
  record->links.push_back(link);
  GiveDepthMap(record, 5.0);
  StreetScene scene(graph, &streets);
  scene.Enter(0, centre);
  ASSERT_EQ(streets.roads.size(), 1u) << "of the other street one panorama is left";
  EXPECT_EQ(LineOf(streets.roads[0])->GetCoordinateCount(), 5);
}

TEST_F(StreetScenes, KeepARoadOnlyForALinkThatWasNotShown) {
  AddStreet(4);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "p00");
  ASSERT_EQ(streets.roads.size(), 1u);
  scene.Enter(1, "p01");
  EXPECT_EQ(streets.roads.size(), 1u) << "the same three links from elsewhere";
  Add("p04", 40, 0, {"p03"});
  graph.GetPanoramaData("p03")->links.push_back([] {
    nimbara::spatial::ConnectedPano link;
    link.pano_id = "p04";
    return link;
  }());
  scene.Enter(2, "p02");
  ASSERT_EQ(streets.roads.size(), 2u);
  EXPECT_EQ(streets.roads[1].stop, 2);
}

TEST_F(StreetScenes, NameAStreetOnceInAHundredMetres) {
  AddStreet(14);
  StreetScene scene(graph, &streets);
  for (int i = 0; i < 14; ++i) {
    scene.Enter(i, IdOf(i));
  }
  ASSERT_EQ(streets.labels.size(), 2u);
  EXPECT_EQ(streets.labels[0].street, "A Street");
  EXPECT_GE(DistanceMetres(streets.labels[0].place, streets.labels[1].place), 100.0);
}

TEST_F(StreetScenes, GiveNoNameToStreetsWithoutOne) {
  street.clear();
  AddStreet(3);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "p01");
  EXPECT_TRUE(streets.labels.empty());
  EXPECT_EQ(streets.roads.size(), 1u);
}

TEST_F(StreetScenes, LeaveNothingWhereNoRecordIs) {
  AddStreet(3);
  StreetScene scene(graph, &streets);
  scene.Enter(0, "nobody");
  EXPECT_TRUE(streets.overlays.empty());
  EXPECT_TRUE(streets.roads.empty());
}

TEST_F(StreetScenes, MakeNoRoadForALonePanorama) {
  Add("alone", 0, 0, {});
  StreetScene scene(graph, &streets);
  scene.Enter(0, "alone");
  EXPECT_EQ(streets.overlays.size(), 1u);
  EXPECT_TRUE(streets.roads.empty());
  EXPECT_TRUE(streets.labels.empty());
}

}  // namespace
}  // namespace command
}  // namespace pelorin
