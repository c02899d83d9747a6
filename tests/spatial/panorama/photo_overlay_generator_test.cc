// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/photo_overlay_generator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "host/loculus/camera.h"
#include "host/loculus/creation_observer.h"
#include "host/loculus/document.h"
#include "host/reference/kml_writer.h"
#include "host/text.h"
#include "host/units.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/ogr_info.h"
#include "tests/support/record_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Camera;
using loculus::PhotoOverlay;
using test_support::MakeRecord;

const char kTemplate[] = "http://tiles.example/plk?panoid=%1&zoom=$[level]&x=$[x]&y=$[y]";

class PhotoOverlayGeneratorTest : public testing::Test {
 protected:
  PhotoOverlayGeneratorTest() {
    record->position = {0.05, 0.3, 0.25};
    record->pano_yaw_deg = 40.0;
    record->image_width = 3328;
    record->image_height = 1664;
    record->tile_width = 512;
    record->tile_height = 256;
  }
  RefPtr<PhotoOverlay> Generate(const char* base_url = "") const {
    return PhotoOverlayGenerator(QString::fromLatin1(base_url), QString::fromLatin1(kTemplate))
        .GenerateLanescapeOverlay("pano", record.get());
  }
  // The camera of the overlay of a record with this slant.
  RefPtr<Camera> CameraOf(double tilt_yaw_deg, double tilt_pitch_deg) {
    record->tilt_yaw_deg = tilt_yaw_deg;
    record->tilt_pitch_deg = tilt_pitch_deg;
    return RefPtr<Camera>(loculus::As<Camera>(Generate()->view()));
  }

  const RefPtr<PanoramaData> record = MakeRecord("pano");
};

TEST_F(PhotoOverlayGeneratorTest, MakesNothingWithoutARecord) {
  EXPECT_FALSE(PhotoOverlayGenerator("", kTemplate).GenerateLanescapeOverlay("pano", nullptr));
}

TEST_F(PhotoOverlayGeneratorTest, MakesNothingForARecordThatHasAnOverlay) {
  record->overlay = Generate();
  EXPECT_FALSE(Generate());
}

TEST_F(PhotoOverlayGeneratorTest, LeavesItToTheCallerToStoreTheOverlay) {
  EXPECT_TRUE(Generate());
  EXPECT_FALSE(record->overlay);
  EXPECT_TRUE(Generate());
}

TEST_F(PhotoOverlayGeneratorTest, PutsTheCameraAboveTheGroundAtTheRecordsPlace) {
  const RefPtr<Camera> camera = CameraOf(0.0, 0.0);
  EXPECT_EQ(camera->longitude(), 0.05 * 180.0);
  EXPECT_EQ(camera->latitude(), 0.3 * 180.0);
  EXPECT_EQ(camera->altitude(), 2.5);
  EXPECT_EQ(camera->altitude_mode(), loculus::AltitudeMode::kRelativeToGround);
  EXPECT_EQ(static_cast<int>(camera->altitude_mode()), 1);
  EXPECT_EQ(camera->heading(), 40.0);
}

TEST_F(PhotoOverlayGeneratorTest, LooksLevelWithoutASlantWhateverItsDirection) {
  for (const double tilt_yaw_deg : {0.0, 40.0, 130.0, -777.0}) {
    const RefPtr<Camera> camera = CameraOf(tilt_yaw_deg, 0.0);
    EXPECT_EQ(camera->tilt(), 90.0);
    EXPECT_EQ(camera->roll(), 0.0);
  }
}

TEST_F(PhotoOverlayGeneratorTest, TakesASlantAlongTheHeadingAsTilt) {
  const RefPtr<Camera> camera = CameraOf(40.0, 3.0);
  EXPECT_EQ(camera->tilt(), 93.0);
  EXPECT_EQ(camera->roll(), 0.0);
}

TEST_F(PhotoOverlayGeneratorTest, TakesASlantAcrossTheHeadingAsRoll) {
  const RefPtr<Camera> camera = CameraOf(130.0, 3.0);
  EXPECT_NEAR(camera->tilt(), 90.0, 1e-12);
  EXPECT_EQ(camera->roll(), 3.0);
}

TEST_F(PhotoOverlayGeneratorTest, DividesASlantBetweenTiltAndRoll) {
  const RefPtr<Camera> camera = CameraOf(40.0 - 30.0, 2.0);
  EXPECT_NEAR(camera->tilt(), 90.0 + std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(camera->roll(), -1.0, 1e-12);
}

TEST_F(PhotoOverlayGeneratorTest, SeesTheWholeSphere) {
  const RefPtr<PhotoOverlay> overlay = Generate();
  const loculus::ViewVolume* volume = overlay->view_volume();
  ASSERT_NE(volume, nullptr);
  EXPECT_EQ(volume->left_fov(), -180.0f);
  EXPECT_EQ(volume->right_fov(), 180.0f);
  EXPECT_EQ(volume->bottom_fov(), -90.0f);
  EXPECT_EQ(volume->top_fov(), 90.0f);
  EXPECT_EQ(volume->near(), 2.5f);
}

TEST_F(PhotoOverlayGeneratorTest, CutsThePyramidIntoSquaresOfTheTilesWidth) {
  const RefPtr<PhotoOverlay> overlay = Generate();
  const loculus::ImagePyramid* pyramid = overlay->image_pyramid();
  ASSERT_NE(pyramid, nullptr);
  EXPECT_EQ(pyramid->tile_size(), 512);
  EXPECT_EQ(pyramid->max_width(), 3328);
  EXPECT_EQ(pyramid->max_height(), 1664);
  EXPECT_EQ(static_cast<int>(pyramid->grid_origin()), 0);
}

TEST_F(PhotoOverlayGeneratorTest, TakesARecordWithoutASizeAsItIs) {
  record->image_width = record->image_height = record->tile_width = 0;
  const RefPtr<PhotoOverlay> overlay = Generate();
  EXPECT_EQ(overlay->image_pyramid()->tile_size(), 0);
  EXPECT_EQ(overlay->image_pyramid()->max_width(), 0);
  EXPECT_EQ(overlay->image_pyramid()->max_height(), 0);
}

TEST_F(PhotoOverlayGeneratorTest, PutsThePointAtTheCamerasHeightWhateverTheRecordsAltitude) {
  const RefPtr<PhotoOverlay> overlay = Generate();
  ASSERT_NE(overlay->point(), nullptr);
  EXPECT_EQ(overlay->point()->position(),
            (Vec3<double>{0.05, 0.3, 2.5 * Units::s_inv_planet_radius}));
}

TEST_F(PhotoOverlayGeneratorTest, ShowsNoIconOrLabelOfItsOwn) {
  const RefPtr<PhotoOverlay> overlay = Generate();
  EXPECT_EQ(overlay->style()->icon_style()->color().abgr, 0u);
  EXPECT_EQ(overlay->style()->icon_style()->scale(), 0.0f);
  EXPECT_EQ(overlay->style()->label_style()->color().abgr, 0u);
  EXPECT_EQ(overlay->style()->label_style()->scale(), 0.0f);
}

TEST_F(PhotoOverlayGeneratorTest, IsNamedAfterThePanoramaThatTheCallerGives) {
  const RefPtr<PhotoOverlay> overlay =
      PhotoOverlayGenerator("", kTemplate).GenerateLanescapeOverlay("other", record.get());
  EXPECT_EQ(overlay->name(), "other");
  EXPECT_TRUE(overlay->icon()->href().contains("panoid=other&"));
}

TEST_F(PhotoOverlayGeneratorTest, SpreadsTheImageOnASphereOverTheStreet) {
  EXPECT_EQ(static_cast<int>(Generate()->shape()), 3);
}

TEST_F(PhotoOverlayGeneratorTest, KeepsTheMarkersOfThePyramidInTheUrl) {
  const RefPtr<PhotoOverlay> overlay = Generate();
  EXPECT_EQ(overlay->icon()->href(),
            "http://tiles.example/plk?panoid=pano&zoom=$[level]&x=$[x]&y=$[y]");
  EXPECT_EQ(static_cast<int>(overlay->icon()->refresh_mode()), 2);
}

TEST_F(PhotoOverlayGeneratorTest, FillsTheTemplateOfTheSettings) {
  const QString url_template =
      PelorinSpatialOptions::s_settings_.pano_tile_template_url.GetDefault();
  const RefPtr<PhotoOverlay> overlay =
      PhotoOverlayGenerator("", url_template).GenerateLanescapeOverlay("pano", record.get());
  EXPECT_TRUE(overlay->icon()->href().endsWith(
      "/plk?output=tile&panoid=pano&zoom=$[level]&x=$[x]&y=$[y]&pl_client=nimbara&v=4"));
}

TEST_F(PhotoOverlayGeneratorTest, ReplacesTheLowestMarkerOfATemplate) {
  const auto url = [this](const char* url_template) {
    return PhotoOverlayGenerator("", QString::fromLatin1(url_template))
        .GenerateLanescapeOverlay("P", record.get())
        ->icon()
        ->href();
  };
  EXPECT_EQ(url("a%0Ab%1"), "aPAb%1");
  EXPECT_EQ(url("a%12b"), "aPb");
  EXPECT_EQ(url("a%1b%1"), "aPbP");
}

TEST_F(PhotoOverlayGeneratorTest, HasAnIdOnlyWithABaseUrl) {
  EXPECT_TRUE(Generate("")->id().id.isNull());
  const RefPtr<PhotoOverlay> overlay = Generate("http://base.example/");
  EXPECT_EQ(overlay->id().id, "pano");
  EXPECT_EQ(overlay->id().base_url, "http://base.example/");
  EXPECT_EQ(overlay->source_url(), "http://base.example/");
}

// Hears of every object that an overlay is made of.
class Announcements final : public loculus::CreationObserver {
 public:
  Announcements() { AddObserver(this); }
  ~Announcements() override { RemoveObserver(this); }
  void OnCreated(loculus::SchemaObject& object) override {
    names.push_back(object.schema().class_name());
    if (const auto* overlay = loculus::As<PhotoOverlay>(&object)) {
      was_whole = overlay->point() != nullptr && overlay->icon() != nullptr &&
                  overlay->view() != nullptr && overlay->image_pyramid() != nullptr;
    }
  }

  std::vector<std::string> names;
  bool was_whole = false;
};

TEST_F(PhotoOverlayGeneratorTest, AnnouncesItsObjectsOnceAndWhole) {
  const Announcements announcements;
  const RefPtr<PhotoOverlay> overlay = Generate();
  EXPECT_EQ(announcements.names,
            (std::vector<std::string>{"Camera", "ViewVolume", "ImagePyramid", "Icon", "Point",
                                      "PhotoOverlay", "Style", "IconStyle", "LabelStyle"}));
  EXPECT_TRUE(announcements.was_whole);
}

TEST_F(PhotoOverlayGeneratorTest, LeavesNothingBehind) {
  Generate();
  const test_support::HeapSnapshot before;
  {
    const RefPtr<PhotoOverlay> overlay = Generate("http://base.example/");
    EXPECT_EQ(overlay->ref_count(), 1);
    EXPECT_EQ(overlay->view()->ref_count(), 1);
    EXPECT_EQ(overlay->point()->ref_count(), 1);
    EXPECT_EQ(overlay->icon()->ref_count(), 1);
    EXPECT_FALSE(test_support::HeapSnapshot() == before);
  }
  EXPECT_TRUE(test_support::HeapSnapshot() == before);
}

// The reader lists placemarks only, but counts the place of an overlay in the extent of a document.
test_support::OgrInfo ReadInDocument(PhotoOverlay* overlay) {
  const RefPtr<loculus::Document> document(new loculus::Document(loculus::KmlId(), QStringNull()));
  document->AddFeature(overlay);
  return test_support::OgrInfo(WriteKml(*document));
}

TEST_F(PhotoOverlayGeneratorTest, PassesOnWhatIsNoNumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  record->position = {nan, nan, nan};
  record->pano_yaw_deg = nan;
  const RefPtr<PhotoOverlay> overlay = Generate();
  ASSERT_TRUE(overlay);
  EXPECT_TRUE(std::isnan(loculus::As<Camera>(overlay->view())->heading()));
  const test_support::OgrInfo info = ReadInDocument(overlay.get());
  EXPECT_EQ(info.Count("LIBKML' successful"), 1) << info.output();
  EXPECT_EQ(info.Count("Extent: (9"), 0) << info.output();
  EXPECT_EQ(info.errors(), "");
}

TEST_F(PhotoOverlayGeneratorTest, WritesAnOverlayThatAnIndependentReaderPlaces) {
  const test_support::OgrInfo info = ReadInDocument(Generate("http://base.example/").get());
  EXPECT_EQ(info.Count("LIBKML' successful"), 1) << info.output();
  EXPECT_EQ(info.Count("Extent: (9.000000, 54.000000) - (9.000000, 54.000000)"), 1)
      << info.output();
  EXPECT_EQ(info.errors(), "");
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
