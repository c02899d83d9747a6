// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_road.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/loculus/camera.h"
#include "host/loculus/creation_observer.h"
#include "host/loculus/point.h"
#include "tests/spatial/graph/road_fixture.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Camera;
using loculus::Color32;
using loculus::Placemark;
using loculus::Point;

class PanoRoadTest : public RoadFixture {
 protected:
  void SetChain(const Ids& ids) {
    for (const QString& id : ids) {
      road.panos.push_back(graph.GetPanoramaData(id));
    }
  }
  bool TryExtend(const QString& id) { return road.TryExtendRoad(graph.GetPanoramaData(id)); }
  // A, B and C eastward along the equator, 10 m apart, each linked to the next and the one before.
  void AddThree() {
    Add("A", At(0, 0), {"B"});
    Add("B", At(10, 0), {"A", "C"});
    Add("C", At(20, 0), {"B"});
  }

  PanoRoad road;
};

// --- Direction -----------------------------------------------------------------------------------

class RoadDirectionTest : public PanoRoadTest {
 protected:
  bool Extends(const Vec3<double>& a, const Vec3<double>& b, const Vec3<double>& c) const {
    return road.ExtendsRoadDirection(MakeRecord("a", a).get(), MakeRecord("b", b).get(),
                                     MakeRecord("c", c).get());
  }
  bool ExtendsAfterTurn(double metres, double turn_deg) const {
    const double turn = turn_deg * 3.14159265358979323846 / 180.0;
    return Extends(At(-metres, 0), {}, At(metres * std::cos(turn), metres * std::sin(turn)));
  }
};

TEST_F(RoadDirectionTest, GoesOnWithATurnOfUpTo44Point9Degrees) {
  EXPECT_TRUE(ExtendsAfterTurn(10, 0));
  EXPECT_TRUE(ExtendsAfterTurn(10, 44.9));
  EXPECT_TRUE(ExtendsAfterTurn(10, -44.9));
  EXPECT_FALSE(ExtendsAfterTurn(10, 45));
  EXPECT_FALSE(ExtendsAfterTurn(10, -45));
  EXPECT_FALSE(ExtendsAfterTurn(10, 180));
}

TEST_F(RoadDirectionTest, EndsAtACosineOfExactly0Point708) {
  const double x = 0.708;
  double y = std::sqrt(1.0 - x * x);
  while (std::sqrt(x * x + y * y) > 1.0) {
    y = std::nextafter(y, 0.0);
  }
  ASSERT_EQ(std::sqrt(x * x + y * y), 1.0);
  EXPECT_FALSE(Extends({-1.0, 0.0, 0.0}, {}, {x, y, 0.0}));
  const double less_y = y * (1.0 - 1e-12);
  EXPECT_TRUE(Extends({-1.0, 0.0, 0.0}, {}, {x, less_y, 0.0}));
}

// A squared step of 3 m is 2e-14 in stored units, below the bound that guards against negative
// squares. Shorter steps have a direction all the same.
TEST_F(RoadDirectionTest, KnowsTheDirectionOfTheShortestSteps) {
  for (const double metres : {2.9, 1.0, 0.01, 1e-6}) {
    EXPECT_TRUE(ExtendsAfterTurn(metres, 10)) << metres;
    EXPECT_FALSE(ExtendsAfterTurn(metres, 90)) << metres;
  }
}

TEST_F(RoadDirectionTest, EndsAtCoincidentPanoramas) {
  EXPECT_FALSE(Extends(At(0, 0), At(10, 0), At(10, 0)));
  EXPECT_FALSE(Extends(At(10, 0), At(10, 0), At(20, 0)));
}

TEST_F(RoadDirectionTest, CountsAltitudes) {
  const double ten_metres = At(10, 0).x;
  EXPECT_FALSE(Extends(At(0, 0), At(10, 0), {At(20, 0).x, 0.0, 1.01 * ten_metres}));
  EXPECT_TRUE(Extends(At(0, 0), At(10, 0), {At(20, 0).x, 0.0, 0.99 * ten_metres}));
}

TEST_F(RoadDirectionTest, EndsAtWhatIsNoNumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(Extends(At(0, 0), At(10, 0), {nan, 0.0, 0.0}));
  EXPECT_FALSE(Extends({nan, nan, nan}, At(10, 0), At(20, 0)));
  EXPECT_FALSE(Extends(At(0, 0), At(10, 0), {inf, 0.0, 0.0}));
}

// --- Chains --------------------------------------------------------------------------------------

TEST_F(PanoRoadTest, IsConnectedByTheLinksOfTheFirstRecordOnly) {
  const PanoramaData* a = Add("A", {}, {"B"});
  const PanoramaData* b = Add("B");
  EXPECT_TRUE(road.IsConnected(a, b));
  EXPECT_FALSE(road.IsConnected(b, a));
}

TEST_F(PanoRoadTest, TakesTheColourOfTheFirstLinkThatNamesThePanorama) {
  PanoramaData* a = Add("A", {}, {"B", "C", "C"});
  const PanoramaData* c = Add("C");
  a->links[0].road_color = 0xFF111111;
  a->links[1].road_color = 0xFF222222;
  a->links[2].road_color = 0xFF333333;
  EXPECT_EQ(road.LinkColor(a, c).abgr, 0xFF222222u);
  EXPECT_EQ(road.LinkColor(c, a).abgr, 0xFFFFFFFFu);
}

TEST_F(PanoRoadTest, GrowsAtTheFrontFromOnePanorama) {
  AddThree();
  SetChain({"B"});
  EXPECT_TRUE(TryExtend("C"));
  EXPECT_EQ(IdsOf(road), "C B");
}

TEST_F(PanoRoadTest, GrowsAtTheBackWhereTheFrontIsNotLinked) {
  AddThree();
  SetChain({"A", "B"});
  EXPECT_TRUE(TryExtend("C"));
  EXPECT_EQ(IdsOf(road), "A B C");
}

TEST_F(PanoRoadTest, AsksItsEndForALinkAndNotTheNewPanorama) {
  Add("A", At(0, 0));
  Add("B", At(10, 0), {"A"});
  SetChain({"A"});
  EXPECT_FALSE(TryExtend("B"));
  EXPECT_EQ(IdsOf(road), "A");
}

TEST_F(PanoRoadTest, LeavesALonePanoramaThatLinksNowhere) {
  Add("A", At(0, 0), {"A", "somewhere"});
  Add("B", At(10, 0));
  SetChain({"A"});
  EXPECT_FALSE(TryExtend("B"));
  EXPECT_EQ(IdsOf(road), "A");
}

TEST_F(PanoRoadTest, TakesALinkedPanoramaToALoneOneWhateverTheDirection) {
  Add("A", At(0, 0), {"B"});
  Add("B", At(0, 0));
  SetChain({"A"});
  EXPECT_TRUE(TryExtend("B"));
  EXPECT_EQ(IdsOf(road), "B A");
}

TEST_F(PanoRoadTest, TriesTheBackWhereTheFrontIsLinkedButTurns) {
  Add("A", At(0, 0), {"C"});
  Add("B", At(10, 0), {"C"});
  Add("C", At(20, 0));
  SetChain({"A", "B"});
  EXPECT_TRUE(TryExtend("C"));
  EXPECT_EQ(IdsOf(road), "A B C");
}

TEST_F(PanoRoadTest, LeavesAPanoramaThatTurnsOff) {
  Add("A", At(0, 0), {"B"});
  Add("B", At(10, 0), {"C"});
  Add("C", At(10, 10));
  SetChain({"A", "B"});
  EXPECT_FALSE(TryExtend("C"));
  EXPECT_EQ(IdsOf(road), "A B");
}

TEST_F(PanoRoadTest, TakesNothingWhileItIsEmpty) {
  AddThree();
  EXPECT_FALSE(TryExtend("A"));
  EXPECT_TRUE(road.panos.empty());
}

TEST_F(PanoRoadTest, KnowsWhatItContains) {
  AddThree();
  SetChain({"A", "B"});
  EXPECT_TRUE(road.ContainsPano("B"));
  EXPECT_FALSE(road.ContainsPano("C"));
  EXPECT_TRUE(road.ContainsAnyOfPanos({"C", "A"}));
  EXPECT_FALSE(road.ContainsAnyOfPanos({"C"}));
  EXPECT_FALSE(road.ContainsAnyOfPanos({}));
}

// --- Lines ---------------------------------------------------------------------------------------

TEST_F(PanoRoadTest, MakesNoLineOfOnePanorama) {
  AddThree();
  SetChain({"A"});
  road.CreateGeometry();
  EXPECT_FALSE(road.geometry);
  EXPECT_FALSE(road.IsValidGeometryLength());
}

TEST_F(PanoRoadTest, KeepsTheOldLineWhereThereIsNoNewOne) {
  AddThree();
  SetChain({"A", "B"});
  road.CreateGeometry();
  const RefPtr<Placemark> old = road.geometry;
  road.panos.pop_back();
  road.CreateGeometry();
  EXPECT_EQ(road.geometry, old);
}

TEST_F(PanoRoadTest, ReplacesTheOldLine) {
  AddThree();
  SetChain({"A", "B"});
  road.CreateGeometry();
  const RefPtr<Placemark> old = road.geometry;
  road.CreateGeometry();
  EXPECT_NE(road.geometry, old);
  EXPECT_EQ(old->ref_count(), 1);
}

TEST_F(PanoRoadTest, RunsItsLineThroughAllPanoramas) {
  AddThree();
  SetChain({"A", "B", "C"});
  road.CreateGeometry();
  const loculus::LineString* line = LineOf(road);
  ASSERT_NE(line, nullptr);
  ASSERT_EQ(line->GetCoordinateCount(), 3);
  EXPECT_EQ(line->GetCoordinate(0), At(0, 0));
  EXPECT_EQ(line->GetCoordinate(1), At(10, 0));
  EXPECT_EQ(line->GetCoordinate(2), At(20, 0));
  EXPECT_TRUE(line->extrude());
  EXPECT_TRUE(line->tessellate());
  EXPECT_EQ(line->altitude_offset(), 0.4f);
  EXPECT_EQ(line->altitude_mode(), loculus::AltitudeMode::kClampToGround);
  EXPECT_TRUE(line->IsOwnedBy(*road.geometry));
  EXPECT_TRUE(road.IsValidGeometryLength());
}

TEST_F(PanoRoadTest, SetsTheFieldInFrontOfTheTwoFlagsOfALine) {
  const loculus::LineStringSchema& schema = loculus::LineString::GetSchema();
  EXPECT_EQ(schema.altitude_offset.index() + 1, schema.extrude.index());
  EXPECT_EQ(schema.extrude.index() + 1, schema.tessellate.index());
}

TEST_F(PanoRoadTest, HasTheColourOfItsFirstLinkAndABrighterEdge) {
  AddThree();
  SetChain({"A", "B", "C"});
  graph.GetPanoramaData("A")->links[0].road_color = 0xFF4080C0;
  road.CreateGeometry();
  const loculus::LineStyle* style = road.geometry->style()->line_style();
  EXPECT_EQ(style->color().abgr, 0xFF4080C0u);
  EXPECT_EQ(style->outer_color().abgr, 0xFF80FFFFu);
  EXPECT_EQ(style->outer_width(), 0.01f);
}

TEST_F(PanoRoadTest, HasAnOpaqueEdgeWhateverItsColour) {
  AddThree();
  SetChain({"A", "B"});
  graph.GetPanoramaData("A")->links[0].road_color = 0x007F8001;
  road.CreateGeometry();
  EXPECT_EQ(road.geometry->style()->line_style()->outer_color().abgr, 0xFFFEFF02u);
  EXPECT_EQ(road.geometry->style()->line_style()->color().abgr, 0x007F8001u);
}

TEST_F(PanoRoadTest, IsWhiteWhereTheLinkOfItsFrontLeadsTheOtherWay) {
  Add("A", At(0, 0), {"B"})->links[0].road_color = 0xFF4080C0;
  Add("B", At(10, 0));
  SetChain({"A"});
  ASSERT_TRUE(TryExtend("B"));
  road.CreateGeometry();
  EXPECT_EQ(IdsOf(road), "B A");
  EXPECT_EQ(road.geometry->style()->line_style()->color().abgr, 0xFFFFFFFFu);
}

TEST_F(PanoRoadTest, IsValidWithALineOfTwoPositionsOnly) {
  AddThree();
  SetChain({"A", "B"});
  road.CreateGeometry();
  EXPECT_TRUE(road.IsValidGeometryLength());
  LineOf(road)->RemoveCoordinate(0);
  EXPECT_FALSE(road.IsValidGeometryLength());
  road.geometry->SetGeometry(new Point(loculus::KmlId(), QStringNull()));
  EXPECT_FALSE(road.IsValidGeometryLength());
  road.geometry->SetGeometry(nullptr);
  EXPECT_FALSE(road.IsValidGeometryLength());
}

// --- Clamping ------------------------------------------------------------------------------------

class RoadClampTest : public PanoRoadTest {
 protected:
  // A line through A, B and C, over a surface at an altitude that ends so many metres east.
  void MakeLineOver(double altitude, double end_m) {
    AddThree();
    SetChain({"A", "B", "C"});
    road.CreateGeometry();
    surface = new StepSurface(altitude, At(end_m, 0).x);
    GiveOverlay(centre, surface.get());
  }
  void Clamp() { road.ClampAltitudesToDepthmap(*centre); }

  PanoramaData* centre = Add("centre");
  RefPtr<StepSurface> surface;
};

TEST_F(RoadClampTest, LaysTheLineOnTheSurfaceAndALittleAbove) {
  MakeLineOver(3e-7, 100);
  Clamp();
  ASSERT_EQ(LineOf(road)->GetCoordinateCount(), 3);
  for (int i = 0; i < 3; ++i) {
    const Vec3<double> position = LineOf(road)->GetCoordinate(i);
    EXPECT_NEAR(position.z, 3e-7 + 5e-8, 1e-15);
    EXPECT_EQ(position.x, At(10.0 * i, 0).x);
    EXPECT_EQ(position.y, 0.0);
  }
  EXPECT_EQ(static_cast<int>(LineOf(road)->altitude_mode()), 2);
  EXPECT_EQ(LineOf(road)->altitude_mode(), loculus::AltitudeMode::kAbsolute);
}

TEST_F(RoadClampTest, ReadsTheOffsetAtEachUse) {
  MakeLineOver(0.0, 100);
  options.z_offset_for_roads.Set(1e-6);
  Clamp();
  EXPECT_NEAR(LineOf(road)->GetCoordinate(0).z, 1e-6, 1e-15);
}

TEST_F(RoadClampTest, AsksStraightDownFromAboveTheHeightOfTheEye) {
  MakeLineOver(0.0, 100);
  surface->origin = {0.0, 0.0, -1.25};
  LineOf(road)->SetCoordinateAltitude(0, 0.5);
  Clamp();
  ASSERT_EQ(surface->starts.size(), 3u);
  EXPECT_NEAR(surface->starts[0].z, -1.75 - 1e-6, 1e-15);
  EXPECT_NEAR(surface->starts[1].z, -1.25 - 1e-6, 1e-11);
  for (const Vec3<double>& direction : surface->directions) {
    EXPECT_NEAR(direction.x, 0.0, 1e-15);
    EXPECT_NEAR(direction.y, 0.0, 1e-15);
    EXPECT_NEAR(direction.z, 1e-6, 1e-15);
  }
}

TEST_F(RoadClampTest, FollowsTheUpVectorOfTheSurface) {
  MakeLineOver(0.0, 100);
  surface->up = {0.6, 0.8, 0.0};
  Clamp();
  EXPECT_NEAR(surface->starts[0].x, 0.6e-6, 1e-15);
  EXPECT_NEAR(surface->starts[0].y, 0.8e-6, 1e-15);
  EXPECT_NEAR(surface->directions[0].x, -0.6e-6, 1e-15);
  EXPECT_NEAR(surface->directions[0].y, -0.8e-6, 1e-15);
}

TEST_F(RoadClampTest, StartsFromThePlanetsCentreWhereTheEyeIsThere) {
  MakeLineOver(0.0, 100);
  surface->origin = {};
  LineOf(road)->SetCoordinateAltitude(0, 0.5);
  Clamp();
  EXPECT_NEAR(surface->starts[0].z, -0.5 - 1e-6, 1e-15);
}

TEST_F(RoadClampTest, CutsOutWhatHasNoSurfaceBelow) {
  MakeLineOver(0.0, 15);
  Clamp();
  ASSERT_EQ(LineOf(road)->GetCoordinateCount(), 2);
  EXPECT_EQ(LineOf(road)->GetCoordinate(1).x, At(10, 0).x);
  EXPECT_EQ(surface->starts.size(), 3u);
}

// What moves up into the place of a position that was cut out is asked for too.
TEST_F(RoadClampTest, SkipsNoneBehindOneThatIsCutOut) {
  AddThree();
  SetChain({"C", "C", "A", "B"});
  road.CreateGeometry();
  surface = new StepSurface(0.0, At(15, 0).x);
  GiveOverlay(centre, surface.get());
  Clamp();
  EXPECT_EQ(surface->starts.size(), 4u);
  ASSERT_EQ(LineOf(road)->GetCoordinateCount(), 2);
  EXPECT_EQ(LineOf(road)->GetCoordinate(0).x, At(0, 0).x);
  EXPECT_EQ(LineOf(road)->GetCoordinate(1).x, At(10, 0).x);
}

TEST_F(RoadClampTest, CutsOutTheWholeLineWhereThereIsNoSurfaceAtAll) {
  MakeLineOver(0.0, -100);
  Clamp();
  EXPECT_EQ(LineOf(road)->GetCoordinateCount(), 0);
  EXPECT_FALSE(road.IsValidGeometryLength());
}

TEST_F(RoadClampTest, CutsOutWhatIsNoNumber) {
  MakeLineOver(0.0, 100);
  LineOf(road)->SetCoordinateAltitude(1, std::numeric_limits<double>::quiet_NaN());
  Clamp();
  EXPECT_EQ(LineOf(road)->GetCoordinateCount(), 2);
}

TEST_F(RoadClampTest, LeavesTheLineAloneWithoutASurface) {
  AddThree();
  SetChain({"A", "B", "C"});
  road.CreateGeometry();
  LineOf(road)->SetCoordinateAltitude(1, 0.5);
  Clamp();
  GiveOverlay(centre);
  Clamp();
  EXPECT_EQ(LineOf(road)->GetCoordinateCount(), 3);
  EXPECT_EQ(LineOf(road)->GetCoordinate(1).z, 0.5);
  EXPECT_EQ(LineOf(road)->altitude_mode(), loculus::AltitudeMode::kClampToGround);
}

TEST_F(RoadClampTest, AsksNothingWithoutALine) {
  surface = new StepSurface(0.0, 1.0);
  GiveOverlay(centre, surface.get());
  Clamp();
  road.geometry = new Placemark(loculus::KmlId(), QStringNull());
  Clamp();
  road.geometry->SetGeometry(new Point(loculus::KmlId(), QStringNull()));
  Clamp();
  EXPECT_TRUE(surface->starts.empty());
}

// --- Markers -------------------------------------------------------------------------------------

class RoadMarkerTest : public PanoRoadTest {
 protected:
  RoadMarkerTest() {
    PanoramaData* a = Add("A", At(3, 4), {"B", "C"});
    a->links[0].road_color = 0xFF123456;
    GiveOverlay(a);
    camera->SetHeading(40.0);
    camera->SetTilt(93.0);
    camera->SetRoll(3.0);
    a->overlay->SetView(camera.get());
    Add("B", At(10, 0));
    GiveOverlay(Add("C", At(20, 0)));
  }
  const RefPtr<Camera> camera{
      new Camera(loculus::KmlId{"camera", "http://base.example/"}, QStringNull())};
};

TEST_F(RoadMarkerTest, MarksThePanoramasWithAnOverlayOnly) {
  SetChain({"A", "B", "C"});
  road.CreateGeometryAsPoints();
  ASSERT_EQ(road.points.size(), 2u);
  EXPECT_EQ(loculus::As<Point>(road.points[0]->geometry())->position(), At(3, 4));
  EXPECT_EQ(loculus::As<Point>(road.points[1]->geometry())->position(), At(20, 0));
  EXPECT_TRUE(road.points[0]->geometry()->IsOwnedBy(*road.points[0]));
}

TEST_F(RoadMarkerTest, ReplacesTheOldMarkers) {
  SetChain({"A", "C"});
  road.CreateGeometryAsPoints();
  const RefPtr<Placemark> old = road.points[0];
  road.CreateGeometryAsPoints();
  EXPECT_EQ(road.points.size(), 2u);
  EXPECT_EQ(old->ref_count(), 1);
}

TEST_F(RoadMarkerTest, DrawsACircleOnTheSurface) {
  SetChain({"A"});
  road.CreateGeometryAsPoints();
  const loculus::IconStyle* style = road.points[0]->style()->icon_style();
  EXPECT_TRUE(style->icon()->href().endsWith("/mapfiles/kml/shapes/placemark_circle.png"));
  EXPECT_EQ(style->scale(), 2.0f);
  EXPECT_EQ(style->color().abgr, 0xFF123456u);
  EXPECT_EQ(static_cast<int>(style->placement()), 3);
  EXPECT_EQ(road.points[0]->style()->label_style()->hot_spot(), loculus::LegacyScreenVec());
}

TEST_F(RoadMarkerTest, IsWhiteForAPanoramaWithoutLinksOfItsOwn) {
  SetChain({"C"});
  road.CreateGeometryAsPoints();
  ASSERT_EQ(road.points.size(), 1u);
  EXPECT_EQ(road.points[0]->style()->icon_style()->color().abgr, 0xFFFFFFFFu);
}

TEST_F(RoadMarkerTest, HasTheOverlaysViewHeldUpright) {
  SetChain({"A"});
  road.CreateGeometryAsPoints();
  const Camera* view = loculus::As<Camera>(road.points[0]->view());
  ASSERT_NE(view, nullptr);
  EXPECT_NE(view, camera.get());
  EXPECT_EQ(view->heading(), 40.0);
  EXPECT_EQ(view->tilt(), 93.0);
  EXPECT_EQ(view->roll(), 0.0);
  EXPECT_EQ(view->applied_parts(), 0x25);
  EXPECT_TRUE(view->id().id.isEmpty());
  EXPECT_TRUE(view->IsOwnedBy(*road.points[0]));
  EXPECT_EQ(camera->roll(), 3.0);
  EXPECT_EQ(camera->applied_parts(), loculus::kCameraAllParts);
}

TEST_F(RoadMarkerTest, HasNoViewWhereTheOverlayHasNone) {
  SetChain({"C"});
  road.CreateGeometryAsPoints();
  EXPECT_EQ(road.points[0]->view(), nullptr);
}

// --- Objects -------------------------------------------------------------------------------------

// Hears of placemarks and looks whether they have come to be whole.
class Announcements final : public loculus::CreationObserver {
 public:
  Announcements() { AddObserver(this); }
  ~Announcements() override { RemoveObserver(this); }
  void OnCreated(loculus::SchemaObject& object) override {
    if (const auto* placemark = loculus::As<Placemark>(&object)) {
      ++placemarks;
      whole += placemark->geometry() != nullptr && placemark->style() != nullptr ? 1 : 0;
    }
  }

  int placemarks = 0;
  int whole = 0;
};

TEST_F(RoadMarkerTest, AnnouncesLinesAndMarkersWhole) {
  const Announcements announcements;
  SetChain({"A", "C"});
  road.CreateGeometry();
  EXPECT_EQ(announcements.placemarks, 1);
  road.CreateGeometryAsPoints();
  EXPECT_EQ(announcements.placemarks, 3);
  EXPECT_EQ(announcements.whole, 3);
}

TEST_F(RoadMarkerTest, LeavesNothingBehind) {
  const auto make = [this] {
    PanoRoad made;
    made.panos.assign({graph.GetPanoramaData("A"), graph.GetPanoramaData("C")});
    made.CreateGeometry();
    made.CreateGeometry();
    made.CreateGeometryAsPoints();
    made.CreateGeometryAsPoints();
  };
  make();
  const test_support::HeapSnapshot before;
  make();
  EXPECT_TRUE(test_support::HeapSnapshot() == before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
