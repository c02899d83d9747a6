// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/path_planner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "host/units.h"
#include "spatial/graph/cartesian.h"

namespace nimbara {
namespace spatial {
namespace {

using Info = PanoGraph::ConnectedPanoInfo;

constexpr double kGoalMetres = 100.0;
constexpr double kCornerMetres = 5.0;
constexpr double kLeastTurn = 1.3089969389957472;  // 75 degrees in radians.

double Dot(const Vec3<double>& a, const Vec3<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3<double> Minus(const Vec3<double>& a, const Vec3<double>& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

// `point` + `direction` * `length`.
Vec3<double> Along(const Vec3<double>& point, const Vec3<double>& direction, double length) {
  return {point.x + direction.x * length, point.y + direction.y * length,
          point.z + direction.z * length};
}

// A zero vector stays zero.
Vec3<double> Normalised(const Vec3<double>& v) {
  const double length = std::sqrt(Dot(v, v));
  return length == 0.0 ? v : Vec3<double>{v.x / length, v.y / length, v.z / length};
}

double Distance(const Vec3<double>& a, const Vec3<double>& b) {
  const Vec3<double> difference = Minus(a, b);
  return std::sqrt(Dot(difference, difference));
}

// The row whose panorama stands nearest to `target` as seen from the planet's centre, if that is
// within the goal's circle; otherwise null. Of rows at equal distance the first.
const Info* NearestRow(const PanoGraph& graph, const mmvector<Info>& rows,
                       const Vec3<double>& target) {
  const Info* best = nullptr;
  double best_distance = std::numeric_limits<double>::max();
  for (const Info& row : rows) {
    const PanoramaData* data = graph.GetPanoramaData(row.pano_id);
    if (data == nullptr) {
      continue;
    }
    const double distance = Distance(Normalised(CartesianFromStored(data->position)), target);
    if (distance < best_distance) {
      best_distance = distance;
      best = &row;
    }
  }
  return best_distance > kGoalMetres * Units::s_inv_planet_radius ? nullptr : best;
}

// The turn from leg `a` to leg `b`, both of unit length. A cosine below -1, which only rounding
// makes, is a turn; one above 1 and not-a-number are none.
bool TurnsSharply(const Vec3<double>& a, const Vec3<double>& b) {
  const double cosine = Dot(a, b);
  return cosine < -1.0 || (cosine <= 1.0 && std::acos(cosine) > kLeastTurn);
}

}  // namespace

// The graph's lock is held throughout, since records are read here.
bool PathPlanner::FindPath(const Vec3<double>& from, const Vec3<double>& to, int max_hops,
                           bool same_scene, Path* path) const {
  if (path == nullptr) {
    return false;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  const QString start = graph->GetClosestPanoToPoint(from);
  if (start.isEmpty() || graph->GetPanoramaData(start) == nullptr) {
    return false;
  }
  path->clear();
  mmvector<Info> reached(HeapManager::GetTransientHeap());
  if (max_hops > 1) {
    graph->GetConnectedPanos(start, max_hops - 1, same_scene, &reached);
  }
  reached.push_back({start, 0, -1});
  const Info* row = NearestRow(*graph, reached, CartesianFromStored({to.x, to.y, 0.0}));
  if (row == nullptr) {
    return false;
  }
  for (; row->hops > 1; row = &reached[static_cast<std::size_t>(row->parent)]) {
    path->push_back(row->pano_id);
  }
  if (row->hops == 1) {
    path->push_back(row->pano_id);
  }
  path->push_back(start);
  std::reverse(path->begin(), path->end());
  return true;
}

bool PathPlanner::IsIntersection(const Path& path, int index, Vec3<double>* point) const {
  const std::size_t at = static_cast<std::size_t>(index);
  if (index < 1 || at + 1 >= path.size()) {
    return false;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  const PanoramaData* before = graph->GetPanoramaData(path[at - 1]);
  const PanoramaData* here = graph->GetPanoramaData(path[at]);
  const PanoramaData* after = graph->GetPanoramaData(path[at + 1]);
  if (before == nullptr || here == nullptr || after == nullptr) {
    return false;
  }
  const Vec3<double> corner = CartesianFromStored(here->position);
  const Vec3<double> in = Normalised(Minus(corner, CartesianFromStored(before->position)));
  const Vec3<double> out = Normalised(Minus(CartesianFromStored(after->position), corner));
  if (!TurnsSharply(in, out)) {
    return false;
  }
  if (point != nullptr) {
    const Vec3<double> inward = Normalised(Along({}, Minus(out, in), 0.5));
    *point = StoredFromCartesian(Along(corner, inward, kCornerMetres * Units::s_inv_planet_radius));
  }
  return true;
}

}  // namespace spatial
}  // namespace nimbara
