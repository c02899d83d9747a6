// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/abstract_overlay.h"
#include "host/loculus/image_pyramid.h"
#include "host/loculus/overlay_surface.h"
#include "host/loculus/point.h"
#include "host/loculus/schema.h"
#include "host/loculus/view_volume.h"

namespace nimbara {
namespace loculus {

/// What the image is spread on.
enum class PhotoShape : std::int32_t {
  kRectangle = 0,
  kCylinder = 1,
  kSphere = 2,
  kStreetSphere = 3,  ///< A whole sphere whose lower half lies on the street; in KML a sphere.
};

/// Fields of a photo overlay.
struct PELORIN_HOST_EXPORT PhotoOverlaySchema : AbstractOverlaySchema {
  PhotoOverlaySchema();
  TypedField<double> rotation;
  ObjectField<ViewVolume> view_volume;
  ObjectField<ImagePyramid> image_pyramid;
  ObjectField<Point> point;
  TypedField<PhotoShape> shape;
};

/// An image on a surface around the camera that the view of the feature is.
class PELORIN_HOST_EXPORT PhotoOverlay final : public AbstractOverlay {
 public:
  static const PhotoOverlaySchema& GetSchema();

  PhotoOverlay(const KmlId& id, const QString& source_url);
  /// Degrees about the line of sight, -180 to 180.
  double rotation() const { return rotation_; }
  void SetRotation(double rotation);
  ViewVolume* view_volume() const { return view_volume_.get(); }
  void SetViewVolume(ViewVolume* view_volume);
  ImagePyramid* image_pyramid() const { return image_pyramid_.get(); }
  void SetImagePyramid(ImagePyramid* image_pyramid);
  /// Where the icon of the feature stands.
  Point* point() const { return point_.get(); }
  void SetPoint(Point* point);
  PhotoShape shape() const { return shape_; }
  void SetShape(PhotoShape shape);
  /// The shape of what the image shows; null where the host does not know it. Clones share it. Not
  /// in KML.
  OverlaySurface* surface() const { return surface_.get(); }
  void SetSurface(OverlaySurface* surface) { surface_ = surface; }

 protected:
  void CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const override;

 private:
  friend struct PhotoOverlaySchema;
  double rotation_ = 0.0;
  RefPtr<ViewVolume> view_volume_;
  RefPtr<ImagePyramid> image_pyramid_;
  RefPtr<Point> point_;
  PhotoShape shape_ = PhotoShape::kRectangle;
  RefPtr<OverlaySurface> surface_;
};

}  // namespace loculus
}  // namespace nimbara
