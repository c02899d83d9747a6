// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/photo_overlay_generator.h"

#include <cmath>

#include "host/loculus/camera.h"
#include "host/loculus/creation_observer.h"
#include "host/text.h"
#include "host/units.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Camera;
using loculus::CreationObserver;
using loculus::Icon;
using loculus::ImagePyramid;
using loculus::KmlId;
using loculus::PhotoOverlay;
using loculus::Point;
using loculus::ViewVolume;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegreesPerUnit = 180.0;
constexpr double kEyeHeightMetres = 2.5;
constexpr double kLevelTiltDeg = 90.0;

template <typename T>
RefPtr<T> Make() {
  return RefPtr<T>(new (HeapManager::GetDynamicHeap()) T(KmlId(), QStringNull()));
}

// Level along the image's centre, but for the slant of the panorama, which counts as tilt as far as
// it points that way and as roll as far as it points across.
RefPtr<Camera> MakeCamera(const PanoramaData& data) {
  const double slant_rad = (data.tilt_yaw_deg - data.pano_yaw_deg) * kPi / 180.0;
  RefPtr<Camera> camera = Make<Camera>();
  camera->SetLongitude(data.position.x * kDegreesPerUnit);
  camera->SetLatitude(data.position.y * kDegreesPerUnit);
  camera->SetAltitude(kEyeHeightMetres);
  camera->SetAltitudeMode(loculus::AltitudeMode::kRelativeToGround);
  camera->SetHeading(data.pano_yaw_deg);
  camera->SetTilt(kLevelTiltDeg + std::cos(slant_rad) * data.tilt_pitch_deg);
  camera->SetRoll(std::sin(slant_rad) * data.tilt_pitch_deg);
  return camera;
}

RefPtr<ViewVolume> MakeWholeSphere() {
  RefPtr<ViewVolume> volume = Make<ViewVolume>();
  volume->SetLeftFov(-180.0f);
  volume->SetRightFov(180.0f);
  volume->SetBottomFov(-90.0f);
  volume->SetTopFov(90.0f);
  volume->SetNear(static_cast<float>(kEyeHeightMetres));
  return volume;
}

RefPtr<ImagePyramid> MakePyramid(const PanoramaData& data) {
  RefPtr<ImagePyramid> pyramid = Make<ImagePyramid>();
  pyramid->SetGridOrigin(loculus::GridOrigin::kLowerLeft);
  pyramid->SetTileSize(data.tile_width);
  pyramid->SetMaxHeight(data.image_height);
  pyramid->SetMaxWidth(data.image_width);
  return pyramid;
}

RefPtr<Point> MakePoint(const PanoramaData& data) {
  RefPtr<Point> point = Make<Point>();
  point->SetPosition(
      {data.position.x, data.position.y, kEyeHeightMetres * Units::s_inv_planet_radius});
  return point;
}

// The overlay shows no icon or label of its own in the scene.
void HideIconAndLabel(loculus::Style* style) {
  const loculus::Color32 transparent{0};
  style->GetIconStyle()->setColor(transparent);
  style->GetLabelStyle()->setColor(transparent);
  style->GetIconStyle()->SetScale(0.0f);
  style->GetLabelStyle()->SetScale(0.0f);
}

}  // namespace

PhotoOverlayGenerator::PhotoOverlayGenerator(const QString& kml_base_url,
                                             const QString& tile_url_template)
    : base_url(kml_base_url), url_template(tile_url_template) {}

RefPtr<PhotoOverlay>
PhotoOverlayGenerator::GenerateLanescapeOverlay(const QString& pano_id,
                                                const PanoramaData* data) const {
  if (data == nullptr || data->overlay) {
    return nullptr;
  }
  const CreationObserver::NotificationDeferrer deferrer;
  const RefPtr<Camera> camera = MakeCamera(*data);
  const RefPtr<ViewVolume> volume = MakeWholeSphere();
  const RefPtr<ImagePyramid> pyramid = MakePyramid(*data);
  const RefPtr<Icon> icon = Icon::create(url_template.arg(pano_id, 0, QLatin1Char(' ')));
  icon->SetRefreshMode(loculus::RefreshMode::kOnExpire);
  const RefPtr<Point> point = MakePoint(*data);
  const KmlId id{base_url.isEmpty() ? QStringNull() : pano_id, base_url};
  RefPtr<PhotoOverlay> overlay(new (HeapManager::GetDynamicHeap()) PhotoOverlay(id, base_url));
  HideIconAndLabel(overlay->InlineStyle());
  overlay->SetView(camera.get());
  overlay->SetShape(loculus::PhotoShape::kStreetSphere);
  overlay->SetViewVolume(volume.get());
  overlay->SetImagePyramid(pyramid.get());
  overlay->SetName(pano_id);
  overlay->SetIcon(icon.get());
  overlay->SetPoint(point.get());
  CreationObserver::NotifyDeferred();
  return overlay;
}

}  // namespace spatial
}  // namespace nimbara
