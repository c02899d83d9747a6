// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <mutex>

#include "host/geodesy.h"
#include "host/text.h"
#include "spatial/graph/flat_azimuth.h"
#include "spatial/graph/pano_graph.h"

namespace nimbara {
namespace spatial {
namespace {

using DistanceResult = PanoQuadTreeSet::Tree::DistanceResult;

constexpr double kFarthest = std::numeric_limits<double>::max();
// Just short of the diagonal of the index's square, and the square of that diagonal.
constexpr double kWholeIndexRadius = 2.828427;
constexpr double kWholeIndexRadiusSquared = 8.0;
// Room made ahead of a search. A larger count is honoured too, but not paid for in advance.
constexpr int kMostRowsReserved = 64;

// Not-a-number is as far away as anything can be.
double SquaredDistance(const Vec3<double>& a, const Vec3<double>& b) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  const double dz = a.z - b.z;
  const double squared = dx * dx + dy * dy + dz * dz;
  return std::isnan(squared) ? kFarthest : squared;
}

// Asks for what the walk will read of a vertex later: its first edge and the count of its id. The
// walk waits for memory and for little else.
void Prefetch(const PanoGraph::Graph& graph, void* vertex) {
  const auto edges = boost::out_edges(vertex, graph);
  if (edges.first != edges.second) {
    __builtin_prefetch(&*edges.first.base());
  }
  // Qt has no other way to the block itself that does not read from it.
  __builtin_prefetch(const_cast<QString&>(graph[vertex].id).data_ptr());
}

double Azimuth(const PanoramaData& from, const Vec3<double>& to) {
  return AzimuthToPoint(from.position.y, from.position.x, to.y, to.x);
}

}  // namespace

void* PanoGraph::FindHandleLocked(const QString& id) const {
  if (handles.empty()) {
    return nullptr;
  }
  const auto found = handles.find(id);
  return found == handles.end() ? nullptr : found->second;
}

const PanoramaData* PanoGraph::RecordOfLocked(void* handle) const {
  return graph[handle].data.get();
}

bool PanoGraph::GetHandle(const QString& id, void** handle) const {
  std::lock_guard<SpinLock> hold(lock);
  void* found = FindHandleLocked(id);
  if (found != nullptr && handle != nullptr) {
    *handle = found;
  }
  return found != nullptr;
}

PanoramaData* PanoGraph::GetPanoramaData(const QString& id) const {
  std::lock_guard<SpinLock> hold(lock);
  void* found = FindHandleLocked(id);
  return found == nullptr ? nullptr : graph[found].data.get();
}

void PanoGraph::FindNearestLocked(const Vec3<double>& point, int count, double radius_squared,
                                  mmvector<DistanceResult>* results) const {
  if (count < 1) {
    return;
  }
  results->reserve(static_cast<std::size_t>(std::min(count, kMostRowsReserved)));
  for (const auto& level_and_tree : quad_trees.trees) {
    const PanoQuadTreeSet::Tree& tree = *level_and_tree.second;
    tree.FindNearestDownwards(tree.root, false, {point.x, point.y}, count, radius_squared, results);
  }
}

QString PanoGraph::GetClosestPanoToPoint(const Vec3<double>& point, double radius) const {
  std::lock_guard<SpinLock> hold(lock);
  mmvector<DistanceResult> results(HeapManager::GetTransientHeap());
  FindNearestLocked(point, 1, radius * radius, &results);
  return results.empty() ? QStringNull() : results.front().entry->value;
}

QString PanoGraph::GetClosestPanoToPoint(const Vec3<double>& point) const {
  return GetClosestPanoToPoint(point, kWholeIndexRadius);
}

void PanoGraph::GetClosestPanosToPoint(const Vec3<double>& point, int count,
                                       mmvector<const PanoramaData*>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  mmvector<DistanceResult> results(HeapManager::GetTransientHeap());
  FindNearestLocked(point, count, kWholeIndexRadiusSquared, &results);
  for (const DistanceResult& row : results) {
    out->push_back(GetPanoramaData(row.entry->value));
  }
}

const QString& PanoGraph::GetClosestNeighboringPanoToPoint(const Vec3<double>& point,
                                                           const QString& pano_id, int hops) {
  std::lock_guard<SpinLock> hold(lock);
  mmvector<ConnectedPanoInfo> reached(HeapManager::GetTransientHeap());
  GetConnectedPanos(pano_id, hops, false, &reached);
  const PanoramaData* start = GetPanoramaData(pano_id);
  const QString* best = &pano_id;
  double best_distance = start == nullptr ? kFarthest : SquaredDistance(point, start->position);
  for (const ConnectedPanoInfo& row : reached) {
    const PanoramaData* data = GetPanoramaData(row.pano_id);
    if (data == nullptr) {
      continue;
    }
    const double distance = SquaredDistance(point, data->position);
    if (distance < best_distance) {
      best_distance = distance;
      best = &data->pano_id;
    }
  }
  return *best;
}

bool PanoGraph::GetClosestLink(const QString& pano_id, Vec3<double> point, edge* link) const {
  std::lock_guard<SpinLock> hold(lock);
  const PanoramaData* data = GetPanoramaData(pano_id);
  if (data == nullptr) {
    return false;
  }
  const double wanted = Azimuth(*data, point);
  double best_difference = std::numeric_limits<double>::infinity();
  edge best(nullptr, nullptr, nullptr);
  auto edges = boost::out_edges(FindHandleLocked(pano_id), graph);
  for (; edges.first != edges.second; ++edges.first) {
    const PanoramaData* target = RecordOfLocked(edges.first->m_target);
    if (target == nullptr) {
      continue;
    }
    const double difference = std::abs(Azimuth(*data, target->position) - wanted);
    if (difference < best_difference) {
      best_difference = difference;
      best = *edges.first;
    }
  }
  if (link != nullptr) {
    *link = best;
  }
  return best.m_source != nullptr;
}

bool PanoGraph::GetClosestLink(Vec3<double> point, edge* link) const {
  std::lock_guard<SpinLock> hold(lock);
  const QString id = GetClosestPanoToPoint(point);
  return !id.isEmpty() && GetClosestLink(id, point, link);
}

// The rows are their own queue: a row's neighbours are appended in the order in which the rows
// stand, so each panorama enters at its first sight.
void PanoGraph::GetConnectedPanos(const QString& pano_id, int hops, bool same_scene,
                                  mmvector<ConnectedPanoInfo>* out) const {
  if (out == nullptr || hops < 1) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  void* start = FindHandleLocked(pano_id);  // First: the id may stand in `out`.
  out->clear();
  if (start == nullptr) {
    return;
  }
  Walk walk{++walks_, same_scene ? RecordOfLocked(start) : nullptr, same_scene,
            mmvector<void*>(HeapManager::GetTransientHeap())};
  graph[start].last_walk = walk.number;
  StepLocked(start, 1, -1, &walk, out);
  for (std::size_t row = 0; row < walk.reached.size() && (*out)[row].hops < hops; ++row) {
    StepLocked(walk.reached[row], (*out)[row].hops + 1, static_cast<std::int32_t>(row), &walk, out);
  }
  // The ids come last: by now the counts that a copy raises are on their way into the cache.
  for (std::size_t row = 0; row < walk.reached.size(); ++row) {
    (*out)[row].pano_id = graph[walk.reached[row]].id;
  }
}

void PanoGraph::StepLocked(void* from, std::int32_t hops, std::int32_t parent, Walk* walk,
                           mmvector<ConnectedPanoInfo>* out) const {
  for (auto range = boost::out_edges(from, graph); range.first != range.second; ++range.first) {
    void* target = range.first->m_target;
    const VertexData& vertex = graph[target];
    if (vertex.last_walk == walk->number) {
      continue;
    }
    if (walk->same_scene) {
      const PanoramaData* data = vertex.data.get();
      if (walk->start == nullptr || data == nullptr || data->scene != walk->start->scene) {
        continue;
      }
    }
    vertex.last_walk = walk->number;
    out->push_back({QString(), hops, parent});
    walk->reached.push_back(target);
    Prefetch(graph, target);
  }
}

void PanoGraph::GetConnectedPanosHelper(const QString& pano_id, int hops, int parent,
                                        mmvector<ConnectedPanoInfo>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  GetLinks(pano_id, &edges);
  out->clear();
  out->reserve(edges.size());
  for (const edge& link : edges) {
    out->push_back({graph[link.m_target].id, hops + 1, parent});
  }
}

void PanoGraph::GetConnectionData(const QString& pano_id, mmvector<ConnectedPano>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  const PanoramaData* data = GetPanoramaData(pano_id);
  out->clear();
  if (data != nullptr) {
    out->assign(data->links.begin(), data->links.end());
  }
}

void PanoGraph::GetLinks(const QString& pano_id, mmvector<edge>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  out->clear();
  if (void* handle = FindHandleLocked(pano_id)) {
    const auto edges = boost::out_edges(handle, graph);
    out->assign(edges.first, edges.second);
  }
}

void PanoGraph::GetLinks(const QString& pano_id, int hops, mmvector<edge>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  out->clear();
  if (hops < 1) {
    return;
  }
  mmvector<ConnectedPanoInfo> ends(HeapManager::GetTransientHeap());
  GetConnectedPanos(pano_id, hops - 1, false, &ends);
  ends.push_back({pano_id, 0, 0});
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  for (const ConnectedPanoInfo& end : ends) {
    GetLinks(end.pano_id, &edges);
    out->insert(out->end(), edges.begin(), edges.end());
  }
  // Of the two views of one edge the first stays.
  std::stable_sort(out->begin(), out->end(), [](const edge& a, const edge& b) {
    return std::less<const void*>()(a.get_property(), b.get_property());
  });
  const auto same_edge = [](const edge& a, const edge& b) {
    return a.get_property() == b.get_property();
  };
  out->erase(std::unique(out->begin(), out->end(), same_edge), out->end());
}

void PanoGraph::GetLinkedPanos(const QString& pano_id, mmvector<ConnectedPano>* out) const {
  if (out == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(lock);
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  GetLinks(pano_id, &edges);
  out->clear();
  out->reserve(edges.size());
  for (const edge& link : edges) {
    out->push_back({graph[link.m_target].id, 0xFFFFFFFFu, 0.0f});
  }
}

PanoGraph::EdgeData* PanoGraph::GetLinkData(const QString& from, const QString& to) const {
  std::lock_guard<SpinLock> hold(lock);
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  GetLinks(from, &edges);
  for (const edge& link : edges) {
    if (graph[link.m_target].id == to) {
      return graph[link].data.get();
    }
  }
  return nullptr;
}

bool PanoGraph::SameScene(const QString& a, const QString& b) const {
  std::lock_guard<SpinLock> hold(lock);
  const PanoramaData* first = GetPanoramaData(a);
  const PanoramaData* second = GetPanoramaData(b);
  return first != nullptr && second != nullptr && first->scene == second->scene;
}

void PanoGraph::UpdateConnectionLookupMap(const QString& pano_id) const {
  std::lock_guard<SpinLock> hold(lock);
  const PanoramaData* data = GetPanoramaData(pano_id);
  if (data == nullptr || data->connection_lookup.size() == data->links.size()) {
    return;
  }
  data->connection_lookup.clear();
  for (const ConnectedPano& link : data->links) {
    if (const PanoramaData* linked = GetPanoramaData(link.pano_id)) {
      data->connection_lookup[FlatAzimuth(data->position, linked->position)] = link.pano_id;
    }
  }
}

}  // namespace spatial
}  // namespace nimbara
