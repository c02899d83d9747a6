// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstddef>

#include "base/export.h"
#include "host/loculus/planet.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/values.h"
#include "spatial/orbit/orbital_parameters.h"

namespace nimbara {
namespace spatial {

/// A body in the tree of bodies: a moon is a child of its planet, a planet a child of the Sun.
///
/// A node owns its children: whoever destroys one destroys its whole subtree. Nodes stand on the
/// heap, `new (HeapManager::GetDynamicHeap()) Orbit(...)`, since their parent destroys them with
/// `delete`. A node that dies is forgotten by every other one, whatever `AddChild` and
/// `RemoveChild` did with it before, so no node ever names a dead one. All nodes of one tree belong
/// to one thread at a time. Positions and changes of names go through the tree by recursion.
class PELORIN_EXPORT Orbit {
 public:
  /// A copy of `parameters`, under `parent`, which can be null for a root. With a parent the copy's
  /// `parent_name` is the parent's name, whatever the record said.
  Orbit(const OrbitalParameters& parameters, Orbit* parent);
  /// Leaves the parent, then destroys the children, the first one first.
  ~Orbit();
  Orbit(const Orbit&) = delete;
  Orbit& operator=(const Orbit&) = delete;

  static void* operator new(std::size_t size) { return doNew(size, HeapManager::GetDynamicHeap()); }
  static void* operator new(std::size_t size, MemoryManager* heap) { return doNew(size, heap); }
  static void operator delete(void* block) { doDelete(block); }
  static void operator delete(void* block, MemoryManager*) { doDelete(block); }

  /// Appends `child`, which from now on is owned here and has this node as its parent. A node that
  /// is listed already is listed once more, and a former parent keeps it in its own list; it is
  /// destroyed once all the same, by the first of its owners to go. Null, this node itself and a
  /// node above it are left alone with a failed check.
  void AddChild(Orbit* child);

  /// Takes every occurrence of `child` off the list and gives its ownership to the caller. It still
  /// names this node as its parent. Nothing happens if it is not there.
  void RemoveChild(Orbit* child);

  /// Removes `child` and destroys it, also if it was not on the list. Null does nothing.
  void DeleteChild(Orbit* child);

  /// The first direct child of that name, or null.
  const Orbit* GetChild(const QString& name) const;
  Orbit* GetChild(const QString& name);

  /// Replaces the record, of which `parameters` may be a part. All nodes below learn the new name
  /// of their parent. The tree keeps its shape: a new `parent_name` is stored and moves nothing.
  /// The name of `planet` stays.
  void set_orbital_parameters(const OrbitalParameters& parameters);

  /// The position relative to the root of the tree, in the host's scene unit: the sum of the
  /// relative positions from here up. See `OrbitUtils::CalcRelativePosition`.
  Vec3<double> CalcPosition(const DateTime& date) const;

  /// The body's own attitude, in radians; the parent's has no part in it. See
  /// `OrbitUtils::CalcYawPitchRoll`.
  Vec3<double> CalcYawPitchRoll(const DateTime& date) const;

  const OrbitalParameters& orbital_parameters() const { return orbital_parameters_; }
  /// Null for a root. A node that was removed names its former parent as long as that lives.
  Orbit* parent() const { return parent_; }
  /// In the order in which they came.
  const mmvector<Orbit*>& children() const { return children_; }
  /// The KML feature that stands for the body. Never null.
  loculus::Planet* planet() const { return planet_.get(); }

 private:
  bool HasBelow(const Orbit* other) const;
  bool HasAbove(const Orbit* other) const;
  void Forget(const Orbit* dead);

  mmvector<Orbit*> children_;  // Owned.
  Orbit* parent_ = nullptr;    // Not owned.
  OrbitalParameters orbital_parameters_;
  RefPtr<loculus::Planet> planet_;
  // All nodes that ever became this one's parent or child and still live: those that may name it.
  mmvector<Orbit*> related_;
};

}  // namespace spatial
}  // namespace nimbara
