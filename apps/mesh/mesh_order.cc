// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_order.h"

#include <meshoptimizer.h>

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "apps/mesh/faces.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;

enum class Order { kForReuse, kStrips };

int Entry(const std::vector<int>& indices, int position) {
  return indices.empty() ? -1 : indices[static_cast<std::size_t>(position)];
}

// The triangles of several index sets, with one number for each vertex.
class TriangleList {
 public:
  void Add(const IndexSet& set) {
    ForEachTriangle(set, [&](int a, int b, int c) {
      for (const int position : {a, b, c}) {
        Vertex vertex = {Entry(set.point_indices(), position),
                         Entry(set.normal_indices(), position),
                         Entry(set.tex_coord_indices(), position)};
        const auto [place, is_new] =
            places_.emplace(vertex, static_cast<unsigned>(vertices_.size()));
        if (is_new) {
          vertices_.push_back(vertex);
        }
        indices_.push_back(place->second);
      }
    });
  }

  // Appends all triangles to `*set`, which has its material, and gives it its format.
  void Write(Order order, IndexSet* set) const {
    std::vector<unsigned> ordered(indices_.size());
    if (order == Order::kForReuse) {
      meshopt_optimizeVertexCache(ordered.data(), indices_.data(), indices_.size(),
                                  vertices_.size());
      set->set_format(IndexSet::kTriangles);
      Append(ordered, set);
      return;
    }
    meshopt_optimizeVertexCacheStrip(ordered.data(), indices_.data(), indices_.size(),
                                     vertices_.size());
    std::vector<unsigned> strips(meshopt_stripifyBound(indices_.size()));
    strips.resize(meshopt_stripify(strips.data(), ordered.data(), ordered.size(), vertices_.size(),
                                   kDelimiter));
    set->set_format(IndexSet::kTriangleStrip);
    Append(strips, set);
  }

 private:
  using Vertex = std::array<int, 3>;
  static constexpr unsigned kDelimiter = ~0u;

  void Append(const std::vector<unsigned>& order, IndexSet* set) const {
    const bool normals = !vertices_.empty() && vertices_[0][1] >= 0;
    const bool tex_coords = !vertices_.empty() && vertices_[0][2] >= 0;
    for (const unsigned index : order) {
      const Vertex vertex = index == kDelimiter ? Vertex{-1, -1, -1} : vertices_[index];
      set->mutable_point_indices()->push_back(vertex[0]);
      if (normals) {
        set->mutable_normal_indices()->push_back(vertex[1]);
      }
      if (tex_coords) {
        set->mutable_tex_coord_indices()->push_back(vertex[2]);
      }
    }
  }

  std::map<Vertex, unsigned> places_;
  std::vector<Vertex> vertices_;
  std::vector<unsigned> indices_;
};

// Sets of triangles can be joined when they share the material and the arrays in use.
using Kind = std::array<int, 3>;
Kind KindOf(const IndexSet& set) {
  return {set.material_index(), set.normal_indices().empty() ? 0 : 1,
          set.tex_coord_indices().empty() ? 0 : 1};
}

void Reorder(const Shape& shape, Order order, Shape* ordered) {
  ordered->CopyFrom(shape);
  while (!ordered->index_sets().empty()) {
    ordered->RemoveIndexSet(static_cast<int>(ordered->index_sets().size()) - 1);
  }
  std::map<Kind, TriangleList> lists;
  for (const IndexSet* set : shape.index_sets()) {
    if (set->format() == IndexSet::kLines) {
      ordered->AppendIndexSet(*set);
    } else {
      lists[KindOf(*set)].Add(*set);
    }
  }
  for (const auto& [kind, list] : lists) {
    IndexSet* const set = ordered->AddNewIndexSet();
    set->set_material_index(kind[0]);
    list.Write(order, set);
  }
}

}  // namespace

void OrderForSize(const Shape& shape, const StreamSettings& settings, Shape* ordered) {
  CodedMesh coded;
  std::string error;
  ordered->CopyFrom(shape);
  std::size_t least =
      EncodeMesh(shape, settings, &coded, &error) ? coded.bytes.size() : ~std::size_t{0};
  for (const Order order : {Order::kForReuse, Order::kStrips}) {
    Shape candidate;
    Reorder(shape, order, &candidate);
    if (EncodeMesh(candidate, settings, &coded, &error) && coded.bytes.size() < least) {
      least = coded.bytes.size();
      ordered->CopyFrom(candidate);
    }
  }
}

}  // namespace mesh
}  // namespace pelorin
