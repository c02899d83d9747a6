// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/photo_overlay.h"

namespace nimbara {
namespace loculus {

PhotoOverlaySchema::PhotoOverlaySchema()
    : AbstractOverlaySchema("PhotoOverlay", &AbstractOverlay::GetSchema(),
                            &CreateObject<PhotoOverlay>),
      rotation(this, "rotation", &PhotoOverlay::rotation_),
      view_volume(this, "ViewVolume", &PhotoOverlay::view_volume_),
      image_pyramid(this, "ImagePyramid", &PhotoOverlay::image_pyramid_),
      point(this, "Point", &PhotoOverlay::point_), shape(this, "shape", &PhotoOverlay::shape_) {}

const PhotoOverlaySchema& PhotoOverlay::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) PhotoOverlaySchema();
  return *schema;
}

PhotoOverlay::PhotoOverlay(const KmlId& id, const QString& source_url)
    : AbstractOverlay(GetSchema(), id, source_url) {}

void PhotoOverlay::SetRotation(double rotation) {
  GetSchema().rotation.CheckSet(this, rotation, Field::s_dummy_fields_specified);
}

void PhotoOverlay::SetViewVolume(ViewVolume* view_volume) {
  GetSchema().view_volume.CheckSet(this, view_volume, Field::s_dummy_fields_specified);
}

void PhotoOverlay::SetImagePyramid(ImagePyramid* image_pyramid) {
  GetSchema().image_pyramid.CheckSet(this, image_pyramid, Field::s_dummy_fields_specified);
}

void PhotoOverlay::SetPoint(Point* point) {
  GetSchema().point.CheckSet(this, point, Field::s_dummy_fields_specified);
}

void PhotoOverlay::SetShape(PhotoShape shape) {
  GetSchema().shape.CheckSet(this, shape, Field::s_dummy_fields_specified);
}

void PhotoOverlay::CloneContents(SchemaObject* copy, bool, MemoryManager*) const {
  static_cast<PhotoOverlay*>(copy)->surface_ = surface_;
}

}  // namespace loculus
}  // namespace nimbara
