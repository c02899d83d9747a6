// SPDX-License-Identifier: Apache-2.0
#include "apps/command/kml_parts.h"

#include "apps/command/stored_place.h"
#include "host/loculus/icon_style.h"
#include "host/loculus/label_style.h"
#include "host/loculus/line_style.h"
#include "host/loculus/style.h"

namespace pelorin {
namespace command {

using nimbara::RefPtr;
using nimbara::loculus::Color32;
using nimbara::loculus::Folder;
using nimbara::loculus::LineString;
using nimbara::loculus::Placemark;
using nimbara::loculus::Point;

RefPtr<Point> PointAt(const LatLng& place) {
  RefPtr<Point> point = NewKml<Point>();
  point->SetPosition(StoredFrom(place));
  return point;
}

RefPtr<LineString> LineThrough(const std::vector<LatLng>& places) {
  RefPtr<LineString> line = NewKml<LineString>();
  for (const LatLng& place : places) {
    line->AppendCoordinate(StoredFrom(place));
  }
  line->SetTessellate(true);
  return line;
}

RefPtr<Placemark> AddPlacemark(Folder* folder, const std::string& name) {
  RefPtr<Placemark> placemark = NewKml<Placemark>();
  placemark->SetName(QString::fromStdString(name));
  folder->AddFeature(placemark.get());
  return placemark;
}

void SetDot(Placemark* placemark, std::uint32_t abgr, float scale) {
  placemark->InlineStyle()->GetIconStyle()->setColor(Color32{abgr});
  placemark->InlineStyle()->GetIconStyle()->SetScale(scale);
  // A name at each of thousands of dots would hide the map.
  placemark->InlineStyle()->GetLabelStyle()->SetScale(0.0f);
}

void SetLine(Placemark* placemark, std::uint32_t abgr, float width) {
  placemark->InlineStyle()->GetLineStyle()->setColor(Color32{abgr});
  placemark->InlineStyle()->GetLineStyle()->SetWidth(width);
}

Folder* LazyFolder::Get() {
  if (!folder_) {
    folder_ = NewKml<Folder>();
    folder_->SetName(QString::fromLatin1(name_));
    document_->AddFeature(folder_.get());
  }
  return folder_.get();
}

}  // namespace command
}  // namespace pelorin
