// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_graph.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "host/units.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kLeafCapacity = 5;
constexpr int kInferenceCandidates = 5;
// Metres, turned into planet radii and then compared with distances in the stored scale, in which
// 15 / planet radius is some 47 metres on the ground.
constexpr double kInferenceMetres = 15.0;

double Distance(const Vec3<double>& a, const Vec3<double>& b) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  const double dz = a.z - b.z;
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

}  // namespace

PanoGraph::PanoGraph()
    : quad_trees({-1.0, -1.0}, {1.0, 1.0}, kLeafCapacity),
      post_process_batch(HeapManager::GetDynamicHeap()) {
  handles.max_load_factor(1.0f);
}

PanoGraph::~PanoGraph() = default;

bool PanoGraph::AddPano(const QString& id, PanoramaData* data) {
  std::lock_guard<SpinLock> hold(lock);
  if (void* known = FindHandleLocked(id)) {
    UpdatePanoData(known, data);
    return false;
  }
  void* added = boost::add_vertex(graph);
  graph[added].id = id;
  handles.emplace(id, added);
  UpdatePanoData(added, data);
  return true;
}

void PanoGraph::UpdatePanoData(void* handle, PanoramaData* data) {
  std::lock_guard<SpinLock> hold(lock);
  if (handle == nullptr) {
    return;
  }
  ++changes_;
  RefPtr<PanoramaData>& held = graph[handle].data;
  const bool had_record = held.get() != nullptr;
  if (held.get() != data) {
    LeaveBatchIfLastLocked(held.get());
    held = RefPtr<PanoramaData>(data);
  }
  if (data == nullptr) {
    return;
  }
  if (!had_record) {
    IndexLocked(*data);
  }
  LinkLocked(handle, *data);
}

void PanoGraph::LeaveBatchIfLastLocked(const PanoramaData* leaving) {
  if (leaving != nullptr && leaving->ref_count() == 1) {
    post_process_batch.erase(
        std::remove(post_process_batch.begin(), post_process_batch.end(), leaving),
        post_process_batch.end());
  }
}

void PanoGraph::IndexLocked(const PanoramaData& data) {
  PanoQuadTreeSet::Tree* tree = quad_trees.AddNewQuadTree(data.level_id);
  tree->Insert({data.position.x, data.position.y}, data.pano_id);
}

void PanoGraph::LinkLocked(void* handle, const PanoramaData& data) {
  for (const ConnectedPano& link : data.links) {
    void* target = FindHandleLocked(link.pano_id);
    if (target == nullptr) {
      AddPano(link.pano_id, nullptr);
      target = FindHandleLocked(link.pano_id);
    }
    boost::add_edge(handle, target, graph);
  }
  if (data.links.size() == 1) {
    post_process_batch.push_back(&data);
  }
}

void PanoGraph::ClearPanoData(const QString& id) {
  std::lock_guard<SpinLock> hold(lock);
  if (void* known = FindHandleLocked(id)) {
    UpdatePanoData(known, nullptr);
  }
}

void PanoGraph::InferMissingLinks(const PanoramaData* data) {
  std::lock_guard<SpinLock> hold(lock);
  if (data == nullptr) {
    return;
  }
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  GetLinks(data->pano_id, &edges);
  if (edges.size() != 1) {
    return;
  }
  void* own = edges.front().m_source;
  const QString& neighbour_id = graph[edges.front().m_target].id;
  mmvector<const PanoramaData*> nearest(HeapManager::GetTransientHeap());
  GetClosestPanosToPoint(data->position, kInferenceCandidates, &nearest);
  for (const PanoramaData* candidate : nearest) {
    if (candidate == nullptr || candidate == data || candidate->pano_id == neighbour_id ||
        candidate->scene != data->scene) {
      continue;
    }
    // A record under a foreign id can be in reach although its own id has no vertex.
    void* other = FindHandleLocked(candidate->pano_id);
    if (other != nullptr && Distance(candidate->position, data->position) <
                                kInferenceMetres * Units::s_inv_planet_radius) {
      boost::add_edge(own, other, graph);
      ++changes_;
    }
  }
}

void PanoGraph::PostProcessBatch() {
  std::lock_guard<SpinLock> hold(lock);
  for (const PanoramaData* waiting : post_process_batch) {
    InferMissingLinks(waiting);
  }
  post_process_batch.clear();
}

// The records die last, when the graph is empty and consistent again.
void PanoGraph::Clear() {
  std::lock_guard<SpinLock> hold(lock);
  ++changes_;
  mmvector<RefPtr<PanoramaData>> released(HeapManager::GetTransientHeap());
  boost::unordered_map<const PanoramaData*, int> references_given_up;
  for (auto range = boost::vertices(graph); range.first != range.second; ++range.first) {
    RefPtr<PanoramaData>& held = graph[*range.first].data;
    if (held) {
      ++references_given_up[held.get()];
      released.push_back(std::move(held));
    }
  }
  const auto dies = [&](const PanoramaData* waiting) {
    const auto found = references_given_up.find(waiting);
    return found != references_given_up.end() && found->second == waiting->ref_count();
  };
  post_process_batch.erase(
      std::remove_if(post_process_batch.begin(), post_process_batch.end(), dies),
      post_process_batch.end());
  graph.clear();
  for (const auto& level_and_tree : quad_trees.trees) {
    level_and_tree.second->Clear();
  }
  handles.clear();
}

}  // namespace spatial
}  // namespace nimbara
