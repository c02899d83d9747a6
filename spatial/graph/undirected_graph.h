// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/graph/adjacency_list.hpp>

#include "host/referent.h"

namespace nimbara {

/// What an edge of an `UndirectedGraph` carries: one counted object, or null.
template <typename EdgeData>
struct UndirectedGraphEdge {
  RefPtr<EdgeData> data;
};

/// An undirected graph without parallel edges, whose vertex descriptors (`void*`) stay valid while
/// other vertices are added: vertices live in a list and out-edges in a set, ascending by target
/// descriptor. A second `add_edge` for a pair changes nothing. A loop edge stands once in its set.
/// No lock of its own.
template <typename VertexData, typename EdgeData>
class UndirectedGraph : public boost::adjacency_list<boost::setS, boost::listS, boost::undirectedS,
                                                     VertexData, UndirectedGraphEdge<EdgeData>> {
 public:
  using Edge = UndirectedGraphEdge<EdgeData>;
};

}  // namespace nimbara
