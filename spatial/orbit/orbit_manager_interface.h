// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "host/values.h"
#include "spatial/orbit/orbital_parameters.h"

namespace nimbara {
namespace spatial {

class Orbit;

/// The solar system by the names of its bodies: what a viewer holds. Names compare exactly, case
/// included. Nothing reports a failure but by its result; a name that is not known is no failure.
/// For one thread at a time.
class PELORIN_EXPORT IOrbitManager {
 public:
  virtual ~IOrbitManager() = default;

  /// Destroys all bodies. Pointers that `GetOrbit` gave are dead afterwards.
  virtual void Clear() = 0;

  /// A new body under the one that is called `parameters.parent_name`; a root if that is empty or
  /// not known. A name that is in use already goes over to the new body; the old one stays in its
  /// place in the tree and cannot be found any more.
  virtual void AddOrbit(const OrbitalParameters& parameters) = 0;

  /// Where `name` stands at `date`, in the host's scene unit: relative to `relative_to`, or to the
  /// root of its own tree if that is empty or not known. The zero vector if `name` is not known.
  virtual Vec3<double> CalcOrbitPosition(const QString& name, const QString& relative_to,
                                         const DateTime& date) const = 0;

  /// How `name` is turned at `date`: yaw, pitch and roll in radians. All zero if it is not known.
  virtual Vec3<double> CalcOrbitYawPitchRoll(const QString& name, const DateTime& date) const = 0;

  /// Destroys a body with all that orbits it. False if it is not known.
  virtual bool DeleteOrbit(const QString& name) = 0;

  /// The body, owned by the manager, or null.
  virtual const Orbit* GetOrbit(const QString& name) const = 0;

  /// For going through all bodies, from 0 to `GetOrbitCount()` minus 1, in an order that means
  /// nothing and holds only until the next change. Null for every other index.
  virtual const Orbit* GetOrbit(int index) const = 0;

  /// The number of bodies that can be found by name.
  virtual int GetOrbitCount() const = 0;

  /// Replaces the record of `name`, also by one with another name, under which alone the body is
  /// found from then on. It keeps its place in the tree, whatever `parent_name` says. A name that
  /// is not known changes nothing.
  virtual void SetOrbitalParameters(const QString& name, OrbitalParameters parameters) = 0;
};

}  // namespace spatial
}  // namespace nimbara
