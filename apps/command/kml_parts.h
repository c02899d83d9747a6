// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"
#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/line_string.h"
#include "host/loculus/placemark.h"
#include "host/loculus/point.h"
#include "host/memory.h"
#include "host/referent.h"

namespace pelorin {
namespace command {

/// Small parts of which the KML of all verbs is made. Colours are alpha, blue, green, red.

template <typename T>
nimbara::RefPtr<T> NewKml() {
  return nimbara::RefPtr<T>(new (nimbara::HeapManager::GetDynamicHeap())
                                T(nimbara::loculus::KmlId(), QString()));
}

nimbara::RefPtr<nimbara::loculus::Point> PointAt(const LatLng& place);
/// On the ground.
nimbara::RefPtr<nimbara::loculus::LineString> LineThrough(const std::vector<LatLng>& places);

/// A placemark at the end of `folder`.
nimbara::RefPtr<nimbara::loculus::Placemark> AddPlacemark(nimbara::loculus::Folder* folder,
                                                          const std::string& name);
/// Makes a placemark a dot without a name beside it.
void SetDot(nimbara::loculus::Placemark* placemark, std::uint32_t abgr, float scale);
/// `width` in pixels.
void SetLine(nimbara::loculus::Placemark* placemark, std::uint32_t abgr, float width);

/// A folder that is part of its document from the first `Get` on, so that an unused one leaves no
/// trace.
class LazyFolder {
 public:
  LazyFolder(nimbara::loculus::Document* document, const char* name)
      : document_(document), name_(name) {}
  nimbara::loculus::Folder* Get();

 private:
  nimbara::loculus::Document* const document_;
  const char* const name_;
  nimbara::RefPtr<nimbara::loculus::Folder> folder_;
};

}  // namespace command
}  // namespace pelorin
