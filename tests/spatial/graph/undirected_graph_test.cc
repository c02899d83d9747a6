// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/undirected_graph.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace nimbara {
namespace {

struct Payload : Referent {};
using Graph = UndirectedGraph<int, Payload>;

TEST(UndirectedGraph, DescribesVerticesByPointer) {
  EXPECT_TRUE((std::is_same_v<Graph::vertex_descriptor, void*>));
}

TEST(UndirectedGraph, DiscardsASecondEdgeOfAPairAndKeepsTheFirst) {
  Graph graph;
  void* a = boost::add_vertex(graph);
  void* b = boost::add_vertex(graph);
  const auto first = boost::add_edge(a, b, graph);
  const RefPtr<Payload> payload(new Payload);
  graph[first.first].data = payload;
  const auto second = boost::add_edge(b, a, graph);
  EXPECT_TRUE(first.second);
  EXPECT_FALSE(second.second);
  EXPECT_EQ(second.first.get_property(), first.first.get_property());
  EXPECT_EQ(boost::num_edges(graph), 1u);
  EXPECT_EQ(payload->ref_count(), 2);
}

TEST(UndirectedGraph, ReleasesWhatItsEdgesCarryWhenCleared) {
  const RefPtr<Payload> payload(new Payload);
  Graph graph;
  void* a = boost::add_vertex(graph);
  graph[boost::add_edge(a, a, graph).first].data = payload;
  EXPECT_EQ(payload->ref_count(), 2);
  graph.clear();
  EXPECT_EQ(payload->ref_count(), 1);
}

}  // namespace
}  // namespace nimbara
