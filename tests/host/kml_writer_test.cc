// SPDX-License-Identifier: Apache-2.0
#include "host/reference/kml_writer.h"

#include <gtest/gtest.h>

#include <limits>

#include "host/loculus/camera.h"
#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/line_string.h"
#include "host/loculus/photo_overlay.h"
#include "host/loculus/placemark.h"
#include "host/loculus/planet.h"
#include "host/loculus/point.h"
#include "host/text.h"
#include "host/units.h"
#include "host/xml.h"
#include "tests/support/kml_rules.h"
#include "tests/support/ogr_info.h"

namespace nimbara {
namespace loculus {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <typename T>
RefPtr<T> Make() {
  return RefPtr<T>(new T(KmlId(), QStringNull()));
}

RefPtr<Placemark> PointAt(const Vec3<double>& position) {
  RefPtr<Placemark> placemark = Make<Placemark>();
  placemark->SetGeometry(new Point(position, placemark.get(), KmlId(), QStringNull()));
  return placemark;
}

RefPtr<Placemark> LineThrough(std::initializer_list<Vec3<double>> positions) {
  RefPtr<Placemark> placemark = Make<Placemark>();
  const mmvector<Vec3<double>> list(positions, HeapManager::GetTransientHeap());
  placemark->SetGeometry(new LineString(list, placemark.get(), KmlId(), QStringNull()));
  return placemark;
}

// A written feature, read back.
class Written {
 public:
  explicit Written(const AbstractFeature& feature) : kml_(WriteKml(feature)), reader_(kml_) {
    EXPECT_FALSE(reader_.GetErrorsOccurred()) << reader_.GetErrorText().toStdString();
  }
  bool Has(const char* path) const { return Find(path) != nullptr; }
  std::string Text(const char* path) const {
    const XmlNode* node = Find(path);
    return node == nullptr ? "absent" : node->text.ToString().toStdString();
  }
  // The names of an element's children, in order.
  std::string Children(const char* path) const {
    QStringList names;
    const XmlNode* node = Find(path);
    for (node = node == nullptr ? nullptr : node->first_child; node != nullptr;
         node = node->next_sibling) {
      names.append(node->name.ToString());
    }
    return names.join(QLatin1Char(' ')).toStdString();
  }
  XmlNode* Find(const char* path) const {
    return XmlPathFinder().Find(reader_.GetRoot(), QLatin1String(path));
  }
  const QByteArray& kml() const { return kml_; }

 private:
  const QByteArray kml_;
  const XmlReader reader_;
};

TEST(KmlWriter, NamesTheFormatInItsRoot) {
  const Written written(*Make<Document>());
  const XmlNode* root = written.Find("kml");
  ASSERT_NE(root, nullptr);
  EXPECT_TRUE(root->first_attribute->name == QLatin1String("xmlns"));
  EXPECT_TRUE(root->first_attribute->value == QLatin1String("http://www.opengis.net/kml/2.2"));
  EXPECT_TRUE(written.kml().startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
}

TEST(KmlWriter, TurnsStoredPositionsIntoDegreesAndMetres) {
  const Written written(*PointAt({-0.5, 0.25, 0.0}));
  EXPECT_EQ(written.Text("kml/Placemark/Point/coordinates"), "-90,45,0");
}

TEST(KmlWriter, WritesAltitudesInMetres) {
  const Written written(*PointAt({0.0, 0.0, 1.0}));
  const QStringList parts =
      QString::fromStdString(written.Text("kml/Placemark/Point/coordinates")).split(',');
  EXPECT_NEAR(parts[2].toDouble(), 6371010.0, 1e-6);
}

TEST(KmlWriter, WritesEveryDigitOfAPosition) {
  const double lng = 9.9123456789012345;
  const double lat = 53.512345678901234;
  const Written written(*PointAt({lng / 180.0, lat / 180.0, 1e-13}));
  const QStringList parts =
      QString::fromStdString(written.Text("kml/Placemark/Point/coordinates")).split(',');
  EXPECT_EQ(parts[0].toDouble(), lng / 180.0 * 180.0);
  EXPECT_EQ(parts[1].toDouble(), lat / 180.0 * 180.0);
  EXPECT_EQ(parts[2].toDouble(), 1e-13 / Units::s_inv_planet_radius);
  EXPECT_FALSE(parts[2].contains('e'));
}

TEST(KmlWriter, WritesTheLargestAndSmallestNumbers) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  Camera* camera = new Camera(KmlId(), QStringNull());
  placemark->SetView(camera);
  camera->SetAltitude(std::numeric_limits<double>::max());
  camera->SetRoll(-std::numeric_limits<double>::denorm_min());
  const Written written(*placemark);
  EXPECT_EQ(QString::fromStdString(written.Text("kml/Placemark/Camera/altitude")).toDouble(),
            std::numeric_limits<double>::max());
  EXPECT_EQ(QString::fromStdString(written.Text("kml/Placemark/Camera/roll")).toDouble(),
            -std::numeric_limits<double>::denorm_min());
}

TEST(KmlWriter, AlwaysWritesTheAltitudeMode) {
  EXPECT_EQ(Written(*PointAt({})).Text("kml/Placemark/Point/altitudeMode"), "clampToGround");
  RefPtr<Placemark> placemark = PointAt({});
  placemark->geometry()->SetAltitudeMode(AltitudeMode::kRelativeToGround);
  EXPECT_EQ(Written(*placemark).Text("kml/Placemark/Point/altitudeMode"), "relativeToGround");
  placemark->geometry()->SetAltitudeMode(AltitudeMode::kAbsolute);
  EXPECT_EQ(Written(*placemark).Text("kml/Placemark/Point/altitudeMode"), "absolute");
}

TEST(KmlWriter, WritesALineInTheOrderOfTheSchema) {
  const RefPtr<Placemark> placemark = LineThrough({{0.5, 0.25, 0.0}, {-0.5, -0.25, 0.0}});
  LineString* line = As<LineString>(placemark->geometry());
  line->SetExtrude(true);
  line->SetTessellate(true);
  const Written written(*placemark);
  EXPECT_EQ(written.Children("kml/Placemark/LineString"),
            "extrude tessellate altitudeMode coordinates");
  EXPECT_EQ(written.Text("kml/Placemark/LineString/coordinates"), "90,45,0 -90,-45,0");
}

TEST(KmlWriter, RaisesALineByItsOffset) {
  const RefPtr<Placemark> placemark = LineThrough({{0.0, 0.0, 0.0}, {0.5, 0.0, 0.0}});
  As<LineString>(placemark->geometry())->SetAltitudeOffset(0.5f);
  EXPECT_EQ(Written(*placemark).Text("kml/Placemark/LineString/coordinates"), "0,0,0.5 90,0,0.5");
}

TEST(KmlWriter, WritesTheFieldsOfAFeatureInTheOrderOfTheSchema) {
  const RefPtr<Placemark> placemark = PointAt({});
  placemark->SetName("n");
  placemark->SetVisibility(false);
  placemark->SetDescription("d");
  placemark->SetView(new Camera(KmlId(), QStringNull()));
  placemark->InlineStyle()->GetLineStyle();
  EXPECT_EQ(Written(*placemark).Children("kml/Placemark"),
            "name visibility description Camera Style Point");
}

TEST(KmlWriter, WritesStylesInTheOrderOfTheSchema) {
  const RefPtr<Placemark> placemark = PointAt({});
  Style* style = placemark->InlineStyle();
  style->GetLineStyle()->setColor({0xFF112233});
  style->GetLineStyle()->SetWidth(2.5f);
  style->GetLabelStyle()->SetScale(0.8f);
  IconStyle* icon = style->GetIconStyle();
  icon->setColor({0x80000000});
  icon->SetScale(2.0f);
  icon->SetHeading(90.0f);
  icon->SetIcon(Icon::create("http://icons.example/a.png?x=1&y=2").get());
  icon->SetHotSpot(LegacyScreenVec());
  const Written written(*placemark);
  EXPECT_EQ(written.Children("kml/Placemark/Style"), "IconStyle LabelStyle LineStyle");
  EXPECT_EQ(written.Children("kml/Placemark/Style/IconStyle"), "color scale heading Icon hotSpot");
  EXPECT_EQ(written.Text("kml/Placemark/Style/IconStyle/color"), "80000000");
  EXPECT_EQ(written.Text("kml/Placemark/Style/IconStyle/Icon/href"),
            "http://icons.example/a.png?x=1&y=2");
  EXPECT_EQ(written.Text("kml/Placemark/Style/LabelStyle/scale"), "0.8");
  EXPECT_EQ(written.Text("kml/Placemark/Style/LineStyle/color"), "ff112233");
  EXPECT_EQ(written.Text("kml/Placemark/Style/LineStyle/width"), "2.5");
}

TEST(KmlWriter, HidesTheIconByAnEmptyOne) {
  const RefPtr<Placemark> placemark = PointAt({});
  placemark->InlineStyle()->GetIconStyle()->SetIcon(Icon::CreateEmptyIcon().get());
  const Written written(*placemark);
  EXPECT_TRUE(written.Has("kml/Placemark/Style/IconStyle/Icon"));
  EXPECT_FALSE(written.Has("kml/Placemark/Style/IconStyle/Icon/href"));
}

TEST(KmlWriter, WritesAllPartsOfACamera) {
  const RefPtr<Placemark> placemark = PointAt({});
  Camera* camera = new Camera(KmlId(), QStringNull());
  camera->SetLongitude(9.5);
  camera->SetTilt(90.0);
  placemark->SetView(camera);
  const Written written(*placemark);
  EXPECT_EQ(written.Children("kml/Placemark/Camera"),
            "longitude latitude altitude heading tilt roll altitudeMode");
  EXPECT_EQ(written.Text("kml/Placemark/Camera/longitude"), "9.5");
  EXPECT_EQ(written.Text("kml/Placemark/Camera/tilt"), "90");
}

TEST(KmlWriter, WritesContainersInOrder) {
  const RefPtr<Document> document = Make<Document>();
  const RefPtr<Folder> folder = Make<Folder>();
  folder->SetName("street");
  folder->AddFeature(PointAt({}).get());
  document->AddFeature(PointAt({}).get());
  document->AddFeature(folder.get());
  const Written written(*document);
  EXPECT_EQ(written.Children("kml/Document"), "Placemark Folder");
  EXPECT_EQ(written.Children("kml/Document/Folder"), "name Placemark");
}

TEST(KmlWriter, WritesAPhotoOverlayInTheOrderOfTheSchema) {
  const RefPtr<PhotoOverlay> overlay(
      new PhotoOverlay(KmlId{"pano", "http://a.example/"}, "http://a.example/"));
  const RefPtr<Icon> icon = Icon::create("http://a.example/$[level]/$[x]/$[y]");
  icon->SetRefreshMode(RefreshMode::kOnExpire);
  overlay->SetIcon(icon.get());
  overlay->SetView(new Camera(KmlId(), QStringNull()));
  overlay->SetViewVolume(new ViewVolume(KmlId(), QStringNull()));
  overlay->view_volume()->SetLeftFov(-180.0f);
  overlay->SetImagePyramid(new ImagePyramid(KmlId(), QStringNull()));
  overlay->SetPoint(new Point(KmlId(), QStringNull()));
  overlay->SetShape(PhotoShape::kStreetSphere);
  const Written written(*overlay);
  EXPECT_EQ(written.Children("kml/PhotoOverlay"),
            "Camera Icon ViewVolume ImagePyramid Point shape");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/shape"), "sphere");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/Icon/refreshMode"), "onExpire");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/ViewVolume/leftFov"), "-180");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/ImagePyramid/gridOrigin"), "lowerLeft");
  EXPECT_EQ(written.Find("kml/PhotoOverlay")->first_attribute->value.ToString(), "pano");
}

TEST(KmlWriter, EscapesTextAndDropsWhatXmlDoesNotAllow) {
  const RefPtr<Placemark> placemark = PointAt({});
  const QString emoji = QString::fromUtf8("\xF0\x9F\x98\x80");
  placemark->SetName("a<b>&\"'" + emoji + QChar(0x01) + QChar(0xFFFF) + QChar(0xD800) + "z");
  EXPECT_EQ(Written(*placemark).Text("kml/Placemark/name"),
            ("a<b>&\"'" + emoji + "z").toStdString());
}

TEST(KmlWriter, LeavesOutAPointThatIsNotFinite) {
  EXPECT_EQ(Written(*PointAt({kNan, 0.0, 0.0})).Children("kml/Placemark"), "");
  EXPECT_EQ(Written(*PointAt({0.0, 0.0, std::numeric_limits<double>::infinity()}))
                .Children("kml/Placemark"),
            "");
}

TEST(KmlWriter, LeavesPositionsOutOfALineThatAreNotFinite) {
  EXPECT_EQ(Written(*LineThrough({{0.5, 0.0, 0.0}, {0.0, kNan, 0.0}, {0.5, 0.25, 0.0}}))
                .Text("kml/Placemark/LineString/coordinates"),
            "90,0,0 90,45,0");
}

TEST(KmlWriter, LeavesOutALineOfFewerThanTwoPositions) {
  EXPECT_FALSE(Written(*LineThrough({{0.5, 0.0, 0.0}})).Has("kml/Placemark/LineString"));
}

TEST(KmlWriter, LeavesOutAngleThatIsNotANumber) {
  const RefPtr<Placemark> placemark = PointAt({});
  Camera* camera = new Camera(KmlId(), QStringNull());
  camera->SetHeading(kNan);
  placemark->SetView(camera);
  EXPECT_FALSE(Written(*placemark).Has("kml/Placemark/Camera/heading"));
}

TEST(KmlWriter, LeavesOutPlanets) {
  const RefPtr<Folder> folder = Make<Folder>();
  folder->AddFeature(Make<Planet>().get());
  EXPECT_EQ(Written(*folder).Children("kml/Folder"), "");
}

// Each class of the model, every field of which is set to something that a reader does not assume.
RefPtr<Document> DocumentWithEverything() {
  const RefPtr<Document> document = Make<Document>();
  document->SetName("everything");
  document->SetDescription("and more");
  document->SetVisibility(false);
  document->InlineStyle()->GetLineStyle();
  const RefPtr<Folder> folder(new Folder(KmlId{"folder", "http://a.example/"}, QString()));
  folder->SetName("folder");
  document->AddFeature(folder.get());
  const RefPtr<PhotoOverlay> overlay(new PhotoOverlay(KmlId{"pano", QString()}, QString()));
  const RefPtr<Placemark> point = PointAt({0.5, 0.25, 1e-6});
  const RefPtr<Placemark> line = LineThrough({{0.5, 0.25, 0.0}, {-0.5, -0.25, 1e-6}});
  const RefPtr<Planet> planet = Make<Planet>();
  for (AbstractFeature* feature : std::initializer_list<AbstractFeature*>{
           overlay.get(), point.get(), line.get(), planet.get()}) {
    feature->SetName("name");
    feature->SetVisibility(false);
    feature->SetDescription("description");
    Camera* camera = new Camera(KmlId(), QStringNull());
    feature->SetView(camera);
    camera->SetTilt(90.0);
    camera->SetAltitudeMode(AltitudeMode::kAbsolute);
    Style* style = feature->InlineStyle();
    style->GetLineStyle()->setColor({0xFF112233});
    style->GetLineStyle()->SetWidth(2.5f);
    style->GetLineStyle()->SetOuterColor({0xFF445566});
    style->GetLineStyle()->SetOuterWidth(0.5f);
    style->GetLabelStyle()->setColor({0xFF112233});
    style->GetLabelStyle()->SetScale(0.8f);
    style->GetLabelStyle()->SetHotSpot(LegacyScreenVec());
    IconStyle* icon = style->GetIconStyle();
    icon->setColor({0x80000000});
    icon->SetScale(2.0f);
    icon->SetHeading(90.0f);
    icon->SetIcon(Icon::create("http://icons.example/a.png").get());
    icon->SetHotSpot({1.0, 2.0, 1, 2});
    folder->AddFeature(feature);
  }
  point->geometry()->SetAltitudeMode(AltitudeMode::kRelativeToGround);
  As<Point>(point->geometry())->SetExtrude(true);
  As<LineString>(line->geometry())->SetExtrude(true);
  As<LineString>(line->geometry())->SetTessellate(true);
  overlay->SetColor({0x7FFFFFFF});
  overlay->SetDrawOrder(3);
  overlay->SetRotation(30.0);
  overlay->SetShape(PhotoShape::kStreetSphere);
  overlay->SetPoint(new Point({0.5, 0.25, 0.0}, overlay.get(), KmlId(), QStringNull()));
  overlay->SetViewVolume(new ViewVolume(KmlId(), QStringNull()));
  overlay->SetImagePyramid(new ImagePyramid(KmlId(), QStringNull()));
  const RefPtr<Icon> tiles = Icon::create("http://a.example/$[level]/$[x]/$[y]");
  tiles->SetRefreshMode(RefreshMode::kOnInterval);
  overlay->SetIcon(tiles.get());
  return document;
}

TEST(KmlWriter, KeepsTheRulesOfTheStandardWithEveryFieldSet) {
  const QByteArray kml = WriteKml(*DocumentWithEverything());
  EXPECT_EQ(test_support::KmlRules::BreachesOf(kml), "") << kml.toStdString();
}

TEST(KmlWriter, IsHeldByRulesThatFindWhatIsWrong) {
  const QByteArray kml = WriteKml(*DocumentWithEverything());
  const std::pair<const char*, const char*> damages[] = {
      {"<tessellate>1</tessellate>", ""},  // Moved behind the coordinates, where it is not allowed.
      {"<width>2.5</width>", "<width>wide</width>"},
      {"<altitudeMode>absolute</altitudeMode>", "<altitudeMode>2</altitudeMode>"},
      {"<color>ff112233</color>", "<color>f112233</color>"},
      {"<rotation>30</rotation>", "<rotation>300</rotation>"},
      {"<drawOrder>3</drawOrder>", "<drawOrder>3</drawOrder><drawOrder>4</drawOrder>"},
      {"<drawOrder>3</drawOrder>", "<order>3</order>"},
      {"id=\"pano\"", "id=\"0pano\""},
      {"id=\"pano\"", "id=\"folder\""},
      {"id=\"pano\"", "name=\"pano\""},
      {"http://www.opengis.net/kml/2.2", "http://www.opengis.net/kml/2.3"},
      {"</kml>", ""},
  };
  for (const auto& damage : damages) {
    QByteArray damaged = kml;
    ASSERT_TRUE(damaged.contains(damage.first)) << damage.first;
    damaged.replace(damage.first, damage.second);
    if (*damage.second == '\0') {
      damaged.replace("</LineString>", QByteArray(damage.first) + "</LineString>");
    }
    EXPECT_NE(test_support::KmlRules::BreachesOf(damaged), "")
        << damage.first << " -> " << damage.second;
  }
}

TEST(KmlWriter, BringsAnglesToWhereTheStandardHasThem) {
  const RefPtr<PhotoOverlay> overlay = Make<PhotoOverlay>();
  Camera* camera = new Camera(KmlId(), QStringNull());
  overlay->SetView(camera);
  camera->SetLongitude(190.0);
  camera->SetLatitude(91.0);
  camera->SetHeading(-730.0);
  camera->SetTilt(-1.0);
  camera->SetRoll(270.0);
  overlay->SetRotation(-300.0);
  overlay->InlineStyle()->GetIconStyle()->SetHeading(450.0f);
  overlay->SetViewVolume(new ViewVolume(KmlId(), QStringNull()));
  overlay->view_volume()->SetLeftFov(-181.0f);
  overlay->view_volume()->SetTopFov(90.5f);
  const Written written(*overlay);
  EXPECT_EQ(written.Text("kml/PhotoOverlay/Camera/longitude"), "-170");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/Camera/heading"), "-10");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/Camera/roll"), "-90");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/rotation"), "60");
  EXPECT_EQ(written.Text("kml/PhotoOverlay/Style/IconStyle/heading"), "90");
  EXPECT_FALSE(written.Has("kml/PhotoOverlay/Camera/latitude"));
  EXPECT_FALSE(written.Has("kml/PhotoOverlay/Camera/tilt"));
  EXPECT_FALSE(written.Has("kml/PhotoOverlay/ViewVolume/leftFov"));
  EXPECT_FALSE(written.Has("kml/PhotoOverlay/ViewVolume/topFov"));
  camera->SetTilt(180.5);
  EXPECT_EQ(test_support::KmlRules::BreachesOf(WriteKml(*overlay)), "");
}

TEST(KmlWriter, IsUnderstoodByAnIndependentReader) {
  const RefPtr<Document> document = Make<Document>();
  const RefPtr<Folder> panoramas = Make<Folder>();
  panoramas->SetName("panoramas");
  for (int i = 0; i < 5; ++i) {
    const RefPtr<Placemark> placemark = PointAt({0.05 + i * 1e-6, 0.3, 0.0});
    placemark->SetName(QString("pano %1").arg(i));
    placemark->SetView(new Camera(KmlId(), QStringNull()));
    placemark->InlineStyle()->GetIconStyle()->SetIcon(Icon::create("http://i.example/a.png").get());
    panoramas->AddFeature(placemark.get());
  }
  const RefPtr<Folder> walk = Make<Folder>();
  walk->SetName("walk");
  const RefPtr<Placemark> line = LineThrough({{0.05, 0.3, 0.0}, {0.06, 0.31, 1e-6}});
  line->SetName("the way");
  line->InlineStyle()->GetLineStyle()->SetWidth(3.0f);
  walk->AddFeature(line.get());
  document->AddFeature(panoramas.get());
  document->AddFeature(walk.get());
  const test_support::OgrInfo info(WriteKml(*document));
  EXPECT_EQ(info.Count("Layer name: panoramas"), 1) << info.output();
  EXPECT_EQ(info.Count("Feature Count: 5"), 1) << info.output();
  EXPECT_EQ(info.Count("Layer name: walk"), 1) << info.output();
  EXPECT_EQ(info.Count("POINT"), 5) << info.output();
  EXPECT_EQ(info.Count("LINESTRING Z (9 54 0,"), 1) << info.output();
  EXPECT_EQ(info.Count("the way"), 1) << info.output();
  EXPECT_EQ(info.errors(), "");
}

}  // namespace
}  // namespace loculus
}  // namespace nimbara
