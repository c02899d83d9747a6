// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "base/export.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/xml.h"
#include "spatial/panorama/annotation.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// Turns the panorama service's XML answer into records. An answer is a `panoramas` element with
/// `panorama` children, or a single `panorama` element:
///
/// ```
/// <panorama>
///   <data_properties pano_id="" info_level="" info_value="" lat="" lng="" image_width=""
///       image_height="" tile_width="" tile_height="" image_date="" scene="" level_id="">
///     <text/> <street_range/> <copyright/>
///   </data_properties>
///   <projection_properties pano_yaw_deg="" tilt_yaw_deg="" tilt_pitch_deg=""/>
///   <annotation_properties> <link pano_id="" yaw_deg="" road_argb=""/> ...
///   </annotation_properties> <levels>
///     <level level_id="" pano_id="" ordinal=""> <text/> <abbreviation/> </level> ...
///   </levels>
///   <model> <depth_map/> <pano_map/> </model>
/// </panorama>
/// ```
///
/// Only `data_properties` is mandatory. Numbers are read as `QString` reads them: white space
/// around is ignored, anything else that does not belong to the number makes it 0 (a `road_argb`
/// opaque white), and no value is tested against a range. Every element behind the first `link`
/// counts as a link whatever its name, and so with `level`.
///
/// No state: a temporary object serves, on any thread. Nothing it reads makes it fail otherwise
/// than by giving fewer records.
class PELORIN_EXPORT PanoramaXMLParser {
 public:
  /// Appends one record for each `panorama` element with `data_properties`, in document order.
  /// `xml` that is not well-formed, wherever the fault lies, or has another root appends nothing.
  /// Each record holds the one reference of its list entry. Null `result` does nothing.
  static void Parse(const QByteArray& xml, mmvector<RefPtr<PanoramaData>>* result);

  /// The record of one `panorama` element; null for any other element, for one without
  /// `data_properties` and for a null `node`. `xml` is the whole answer that `node` comes from: if
  /// `node` has a depth map, `xml` is read once more for the two maps, which are those of its root.
  static RefPtr<PanoramaData> ParsePanorama(XmlNode* node, const QByteArray& xml);
};

/// Reads one `annotation` element: `id` and `title` from its own attributes, `yaw`, `pitch` and `d`
/// from those of its first child, whatever that is called. What is missing is a null string or 0;
/// numbers are read as `QString::toFloat` reads them.
PELORIN_EXPORT Annotation ExtractAnnotation(XmlNode* node);

}  // namespace spatial
}  // namespace nimbara
