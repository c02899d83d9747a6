// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/image_pyramid.h"

namespace nimbara {
namespace loculus {

ImagePyramidSchema::ImagePyramidSchema()
    : Schema("ImagePyramid", &SchemaObject::GetSchema(), &CreateObject<ImagePyramid>),
      tile_size(this, "tileSize", &ImagePyramid::tile_size_),
      max_width(this, "maxWidth", &ImagePyramid::max_width_),
      max_height(this, "maxHeight", &ImagePyramid::max_height_),
      grid_origin(this, "gridOrigin", &ImagePyramid::grid_origin_) {}

const ImagePyramidSchema& ImagePyramid::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) ImagePyramidSchema();
  return *schema;
}

ImagePyramid::ImagePyramid(const KmlId& id, const QString& source_url)
    : SchemaObject(GetSchema(), id, source_url) {}

void ImagePyramid::SetTileSize(std::int32_t tile_size) {
  GetSchema().tile_size.CheckSet(this, tile_size, Field::s_dummy_fields_specified);
}

void ImagePyramid::SetMaxWidth(std::int32_t max_width) {
  GetSchema().max_width.CheckSet(this, max_width, Field::s_dummy_fields_specified);
}

void ImagePyramid::SetMaxHeight(std::int32_t max_height) {
  GetSchema().max_height.CheckSet(this, max_height, Field::s_dummy_fields_specified);
}

void ImagePyramid::SetGridOrigin(GridOrigin grid_origin) {
  GetSchema().grid_origin.CheckSet(this, grid_origin, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
