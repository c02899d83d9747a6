// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_error.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;

double Difference(double a, double b) {
  const double difference = std::fabs(a - b);
  return std::isnan(difference) ? std::numeric_limits<double>::infinity() : difference;
}

// Calls `take` with the pool elements of each corner; false where the arrays do not match.
template <typename Element, typename Take>
bool ForEachPair(const std::vector<Element>& source_pool, const std::vector<int>& source,
                 const std::vector<Element>& coded_pool, const std::vector<int>& coded, Take take) {
  if (source.size() != coded.size()) {
    return false;
  }
  for (std::size_t i = 0; i < source.size(); ++i) {
    if (source[i] == -1 && coded[i] == -1) {
      continue;
    }
    const auto from = static_cast<std::size_t>(source[i]);
    const auto to = static_cast<std::size_t>(coded[i]);
    if (from >= source_pool.size() || to >= coded_pool.size()) {
      return false;
    }
    take(source_pool[from], coded_pool[to]);
  }
  return true;
}

}  // namespace

bool CompareMeshes(const Shape& source, const Shape& coded, MeshError* error) {
  if (source.index_sets().size() != coded.index_sets().size()) {
    return false;
  }
  MeshError sum;
  double squares = 0;
  double count = 0;
  for (std::size_t i = 0; i < source.index_sets().size(); ++i) {
    const IndexSet& a = *source.index_sets()[i];
    const IndexSet& b = *coded.index_sets()[i];
    const bool same =
        a.IsEqual(b) &&
        ForEachPair(source.points(), a.point_indices(), coded.points(), b.point_indices(),
                    [&](const auto& p, const auto& q) {
                      const double x = Difference(p.x, q.x);
                      const double y = Difference(p.y, q.y);
                      const double z = Difference(p.z, q.z);
                      const double square = x * x + y * y + z * z;
                      sum.max_axis = std::max({sum.max_axis, x, y, z});
                      sum.max = std::max(sum.max, std::sqrt(square));
                      squares += square;
                      ++count;
                    }) &&
        ForEachPair(source.normals(), a.normal_indices(), coded.normals(), b.normal_indices(),
                    [&](const auto& p, const auto& q) {
                      sum.max_normal = std::max({sum.max_normal, Difference(p.x, q.x),
                                                 Difference(p.y, q.y), Difference(p.z, q.z)});
                    }) &&
        ForEachPair(source.tex_coords(), a.tex_coord_indices(), coded.tex_coords(),
                    b.tex_coord_indices(), [&](const auto& p, const auto& q) {
                      sum.max_tex_coord =
                          std::max({sum.max_tex_coord, Difference(p.x, q.x), Difference(p.y, q.y)});
                    });
    if (!same) {
      return false;
    }
  }
  sum.rms = count > 0 ? std::sqrt(squares / count) : 0;
  *error = sum;
  return true;
}

}  // namespace mesh
}  // namespace pelorin
