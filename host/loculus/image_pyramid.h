// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// Where the rows of tiles are counted from.
enum class GridOrigin : std::int32_t {
  kLowerLeft = 0,
  kUpperLeft = 1,
};

/// Fields of an image pyramid.
struct PELORIN_HOST_EXPORT ImagePyramidSchema : Schema {
  ImagePyramidSchema();
  TypedField<std::int32_t> tile_size;
  TypedField<std::int32_t> max_width;
  TypedField<std::int32_t> max_height;
  TypedField<GridOrigin> grid_origin;
};

/// An image that is cut into square tiles at several levels. Sizes are in pixels, 0 or more.
class PELORIN_HOST_EXPORT ImagePyramid final : public SchemaObject {
 public:
  static const ImagePyramidSchema& GetSchema();

  ImagePyramid(const KmlId& id, const QString& source_url);
  std::int32_t tile_size() const { return tile_size_; }
  void SetTileSize(std::int32_t tile_size);
  std::int32_t max_width() const { return max_width_; }
  void SetMaxWidth(std::int32_t max_width);
  std::int32_t max_height() const { return max_height_; }
  void SetMaxHeight(std::int32_t max_height);
  GridOrigin grid_origin() const { return grid_origin_; }
  void SetGridOrigin(GridOrigin grid_origin);

 private:
  friend struct ImagePyramidSchema;
  std::int32_t tile_size_ = 256;
  std::int32_t max_width_ = 0;
  std::int32_t max_height_ = 0;
  GridOrigin grid_origin_ = GridOrigin::kLowerLeft;
};

}  // namespace loculus
}  // namespace nimbara
