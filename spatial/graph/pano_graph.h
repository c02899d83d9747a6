// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <boost/unordered_map.hpp>
#include <cstdint>

#include "base/export.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/threads.h"
#include "host/values.h"
#include "spatial/base/qstring_hash.h"
#include "spatial/graph/pano_quad_tree_set.h"
#include "spatial/graph/undirected_graph.h"
#include "spatial/panorama/panorama_data.h"

namespace nimbara {
namespace spatial {

/// A link of the graph: source, target, and the address of the edge's property, which is the edge's
/// identity. The source is the vertex that the link was asked from. Valid until `PanoGraph::Clear`.
using edge = boost::detail::edge_desc_impl<boost::undirected_tag, void*>;

/// The map of everything known about the panoramas near the viewer: a vertex for each panorama id,
/// an undirected edge for each pair that can be walked between, a spatial index over the panoramas
/// whose record has arrived, and a table from id to vertex.
///
/// A vertex exists as soon as any record names its id. One that has only been named is a
/// placeholder: it has edges but no record, so the topology runs one step ahead of the data, and
/// whoever fetches can walk the graph to see what is missing. Every reader has to expect
/// placeholders.
///
/// The viewer owns the graph and destroys it last, after all that keeps pointers into it.
///
///     PanoGraph graph;
///     graph.AddPano(record->pano_id, record);
///     graph.PostProcessBatch();
///     QString nearest = graph.GetClosestPanoToPoint({lng / 180, lat / 180, 0});
///
/// Units. Positions are in the stored scale: x = longitude in degrees / 180, y = latitude in
/// degrees / 180, z = altitude in planet radii. Distances between them are plain Euclidean ones in
/// that scale, without correction for the convergence of the meridians. A query point or a record
/// whose coordinate is not a number is near nothing: it finds nothing and is not found.
///
/// Threads. Every operation takes the graph's lock, which is recursive, and is safe from any
/// thread. What an operation returns by pointer, reference or descriptor is used after the lock is
/// gone: it stays good only while nobody replaces or clears that record (records) or clears the
/// graph (handles, edges). A caller that has to survive that holds `lock` around its use, or takes
/// a `RefPtr` while it holds `lock`. Record reference counts are plain and change only under
/// `lock`.
///
/// Failures show in results alone: an unknown id gives false, null or an empty list. An operation
/// that is given no place for its list does nothing.
class PELORIN_EXPORT PanoGraph {
 public:
  /// What an edge may carry. Nothing in this library makes one.
  class EdgeData : public Referent {};

  struct VertexData {
    QString id;                 ///< As given when the vertex was made; never changes.
    RefPtr<PanoramaData> data;  ///< Null in a placeholder and after `ClearPanoData`.
    /// The number of the last walk that came by, so that a walk asks nobody else whether it has
    /// been here. Written by queries, under the lock like everything here.
    mutable std::uint64_t last_walk = 0;
  };
  using Graph = UndirectedGraph<VertexData, EdgeData>;

  /// One row of a neighbourhood.
  struct ConnectedPanoInfo {
    QString pano_id;
    std::int32_t hops;  ///< Distance from the start in edges, 1 or more.
    std::int32_t
        parent;  ///< Index in the same list of the row it was reached through; -1: the start.
  };

  PanoGraph();
  ~PanoGraph();
  PanoGraph(const PanoGraph&) = delete;
  PanoGraph& operator=(const PanoGraph&) = delete;

  // --- Building ------------------------------------------------------------------------------

  /// Adds the panorama `id` or updates it: true if `id` was new. `data` goes to `UpdatePanoData`,
  /// so null makes a placeholder of a new id and takes a known one's record away. The record stays
  /// under `id` even where its own `pano_id` differs.
  bool AddPano(const QString& id, PanoramaData* data);

  /// Attaches `data` to a vertex in place of the record it had, or with null takes that away. The
  /// graph adds a reference of its own; a null `handle` does nothing.
  ///
  /// Links of `data` become edges and, for ids not yet known, placeholders. Edges are never
  /// removed, also where a later record no longer names them. A record that comes to a vertex
  /// without one is entered in the index under its own `pano_id`; a replacement changes nothing
  /// there, even if it stands elsewhere. A record with exactly one link waits in the batch, once
  /// for each delivery.
  ///
  /// The record that it replaces dies here if the graph held its last reference, together with its
  /// overlay, under the lock and on the calling thread. What dies leaves the batch. The overlay's
  /// release must not come back to this graph.
  void UpdatePanoData(void* handle, PanoramaData* data);

  /// Takes the record of `id` away. Vertex, edges and index entry stay. An unknown id does nothing.
  void ClearPanoData(const QString& id);

  /// Repairs a dead end: a record whose vertex has exactly one edge is linked to those of the five
  /// panoramas nearest to it that have the same scene and lie strictly nearer than 15 /
  /// planet radius in metres, in all three stored components. Null, an unknown id, or any other
  /// number of edges does nothing.
  void InferMissingLinks(const PanoramaData* data);

  /// `InferMissingLinks` for every record of the batch in order of arrival; empties the batch.
  void PostProcessBatch();

  /// Back to empty. Handles, edges and search results die; level trees stay, empty. Records that
  /// die leave the batch; one that somebody else still holds stays in it and must live until
  /// `PostProcessBatch`.
  void Clear();

  // --- Look-up -------------------------------------------------------------------------------

  /// True and the vertex in `*handle` for a known id; otherwise false, `*handle` untouched.
  /// `handle` can be null.
  bool GetHandle(const QString& id, void** handle) const;

  /// The record of `id`; null for an unknown id or a placeholder. No reference is added.
  PanoramaData* GetPanoramaData(const QString& id) const;

  // --- Nearest -------------------------------------------------------------------------------

  /// The id of the index entry nearest to (`point.x`, `point.y`) on any level, within `radius`
  /// (stored units; its square counts, so the sign does not). Null if there is none, or if the
  /// radius is not a number. The entry can belong to a cleared vertex, and an id that nobody gave
  /// to `AddPano` is possible where a record's own id differs.
  QString GetClosestPanoToPoint(const Vec3<double>& point, double radius) const;

  /// The same with a radius of 2.828427, just short of the diagonal of the index.
  QString GetClosestPanoToPoint(const Vec3<double>& point) const;

  /// Appends to `*out` the records of up to `count` nearest index entries, nearest first. Does not
  /// empty `*out`. An entry of a cleared vertex gives a null pointer, and an id that was entered
  /// twice can stand there twice. A `count` below 1 appends nothing.
  void GetClosestPanosToPoint(const Vec3<double>& point, int count,
                              mmvector<const PanoramaData*>* out) const;

  /// Of `pano_id` and the loaded panoramas within `hops` edges of it, the id nearest to `point` in
  /// all three components; at equal distance the start, then the earlier in the walk.
  ///
  /// Returns a reference to `pano_id` itself or to the `pano_id` of a record in the graph: it ends
  /// with the argument, or with that record. Copy it at once if either can go.
  const QString& GetClosestNeighboringPanoToPoint(const Vec3<double>& point, const QString& pano_id,
                                                  int hops);

  /// The edge of `pano_id` whose loaded target lies in the direction nearest to that of `point`.
  /// Directions are compared without wrapping at due south. False, `*link` untouched, if `pano_id`
  /// has no record; false and an all-zero `*link` if no target is loaded. `link` can be null.
  bool GetClosestLink(const QString& pano_id, Vec3<double> point, edge* link) const;

  /// The same for the panorama nearest to `point`; false, `*link` untouched, if there is none.
  bool GetClosestLink(Vec3<double> point, edge* link) const;

  // --- Neighbourhood -------------------------------------------------------------------------

  /// The panoramas within `hops` edges of `pano_id`, breadth first, each once, without the start.
  /// Placeholders are in it and are walked through. With `same_scene` a panorama of another scene
  /// than the start's, or without a record, is neither listed nor walked through.
  ///
  /// Empties `*out` first, unless `hops` is below 1: then nothing is touched. `pano_id` may be part
  /// of `*out`.
  void GetConnectedPanos(const QString& pano_id, int hops, bool same_scene,
                         mmvector<ConnectedPanoInfo>* out) const;

  /// One step of that walk: empties `*out` and lists each neighbour of `pano_id` as a row with
  /// `hops` + 1 and `parent`. `hops` must be below the largest `int`.
  void GetConnectedPanosHelper(const QString& pano_id, int hops, int parent,
                               mmvector<ConnectedPanoInfo>* out) const;

  /// Replaces `*out` by the links of the record of `pano_id`; empty without a record.
  void GetConnectionData(const QString& pano_id, mmvector<ConnectedPano>* out) const;

  /// Replaces `*out` by the edges of `pano_id`, ascending by target handle.
  void GetLinks(const QString& pano_id, mmvector<edge>* out) const;

  /// Replaces `*out` by all edges of `pano_id` and of what lies within `hops` - 1, each once,
  /// ascending by the address of the edge's property. An edge between two of them has that end as
  /// its source which the walk reached first, and `pano_id` itself counts as reached last. `hops`
  /// below 1 gives none.
  void GetLinks(const QString& pano_id, int hops, mmvector<edge>* out) const;

  /// Replaces `*out` by one row for each edge of `pano_id`, from the graph and not from the record:
  /// the target's id, opaque white, 0 degrees.
  void GetLinkedPanos(const QString& pano_id, mmvector<ConnectedPano>* out) const;

  /// What the edge between the two carries. Null also for an edge that carries nothing.
  EdgeData* GetLinkData(const QString& from, const QString& to) const;

  /// True if both have a record and their scenes are equal.
  bool SameScene(const QString& a, const QString& b) const;

  /// Brings the `connection_lookup` of the record of `pano_id` up to date: flat azimuth (radians)
  /// to linked id, for the links whose panorama is loaded. Its only test of freshness is that it
  /// has as many rows as the record has links, so a neighbour that moves later is not seen.
  void UpdateConnectionLookupMap(const QString& pano_id) const;

  /// A number that grows with every change to vertices, records or edges, so that whoever keeps
  /// what it found knows when to look again. For those who hold `lock`. What is done to `graph`
  /// itself, or inside a record, does not count.
  std::uint64_t changes() const { return changes_; }

  // --- Data ----------------------------------------------------------------------------------
  // Open to the viewer's diagnostics. All of it is guarded by `lock`.

  Graph graph;
  PanoQuadTreeSet quad_trees;
  /// From panorama id to vertex, exactly one for each vertex.
  boost::unordered_map<QString, void*, QStringHash> handles;
  /// Records waiting for `PostProcessBatch`. Plain pointers, no references.
  mmvector<const PanoramaData*> post_process_batch;
  /// Recursive. Guards this graph and the reference counts of its records. Whoever gives up the
  /// last reference to a record outside this class takes it from here. It comes before the
  /// fetcher's lock.
  mutable SpinLock lock;

 private:
  // One walk under way. `reached` holds the vertex of each row of its result.
  struct Walk {
    std::uint64_t number;
    const PanoramaData* start;  // Of a walk within one scene; null without a record.
    bool same_scene;
    mmvector<void*> reached;
  };

  void* FindHandleLocked(const QString& id) const;
  const PanoramaData* RecordOfLocked(void* handle) const;
  void LeaveBatchIfLastLocked(const PanoramaData* leaving);
  void IndexLocked(const PanoramaData& data);
  void LinkLocked(void* handle, const PanoramaData& data);
  void FindNearestLocked(const Vec3<double>& point, int count, double radius_squared,
                         mmvector<PanoQuadTreeSet::Tree::DistanceResult>* results) const;
  void StepLocked(void* from, std::int32_t hops, std::int32_t parent, Walk* walk,
                  mmvector<ConnectedPanoInfo>* out) const;

  mutable std::uint64_t walks_ = 0;
  std::uint64_t changes_ = 0;
};

}  // namespace spatial
}  // namespace nimbara
