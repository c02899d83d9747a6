// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/scene_stats.h"

#include <QStringList>
#include <cmath>

namespace nimbara {
namespace spatial {
namespace {

// The template is filled before anything is joined: of several markers in one text `arg` replaces
// the lowest, and all of its kind.
void AppendCount(const char* text, std::int32_t count, QStringList* items) {
  if (count > 0) {
    items->append(QString::fromLatin1(text).arg(count));
  }
}

}  // namespace

void SceneStats::NewPanoramaEvent() {
  ++num_panoramas;
}

// Rounding can take the cosine of equal directions past 1. Its angle is then not a number, and so
// not above anything: the outcome that equal directions should have.
bool SceneStats::IsNewViewpoint(double heading, double tilt, double fov) const {
  const double angle =
      std::acos(std::sin(last_tilt) * std::sin(tilt) +
                std::cos(last_tilt) * std::cos(tilt) * std::cos(last_heading - heading));
  return angle > fov * 0.5;
}

bool SceneStats::IsNewFov(double fov) const {
  return fov >= 2.0 * last_fov || last_fov >= 2.0 * fov;
}

void SceneStats::NewViewEvent(double heading, double tilt, double fov) {
  if (IsNewFov(fov)) {
    ++num_fovs;
    last_fov = fov;
  }
  if (IsNewViewpoint(heading, tilt, fov)) {
    ++num_viewpoints;
    last_tilt = tilt;
    last_heading = heading;
  }
}

QString SceneStats::FormatEvents() const {
  QStringList items;
  AppendCount("0;%1", num_viewpoints, &items);
  AppendCount("1;%2", num_fovs, &items);
  AppendCount("2;%2", num_panoramas, &items);
  return items.join(QLatin1Char(';'));
}

}  // namespace spatial
}  // namespace nimbara
