// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/unordered_map.hpp>

#include "spatial/base/qstring_hash.h"
#include "spatial/orbit/orbit_manager_interface.h"

namespace nimbara {
namespace spatial {

/// The manager of the tree of bodies: it owns all nodes and keeps them by name.
///
///     OrbitManager orbits;
///     orbits.LoadSolarSystem();
///     const Vec3<double> at = orbits.CalcOrbitPosition("mars", "earth", DateTime(2030, 1, 1));
///     orbits.Clear();
///
/// It begins empty. The destructor deliberately leaves the bodies alone, for viewers that still
/// hold them: whoever wants them gone calls `Clear` first. A body that was destroyed or renamed
/// through `GetOrbitNonConst`, past the manager, makes the names wrong.
class PELORIN_EXPORT OrbitManager : public IOrbitManager {
 public:
  OrbitManager() = default;
  OrbitManager(const OrbitManager&) = delete;
  OrbitManager& operator=(const OrbitManager&) = delete;

  /// Clears, then adds the ten bodies of `solarsystemdata`.
  void LoadSolarSystem();

  /// A body whose name went over to another one is destroyed with the body that it orbits. A root
  /// whose name did is not known here any more; it stays, without the bodies that were below it.
  void Clear() override;
  void AddOrbit(const OrbitalParameters& parameters) override;
  Vec3<double> CalcOrbitPosition(const QString& name, const QString& relative_to,
                                 const DateTime& date) const override;
  Vec3<double> CalcOrbitYawPitchRoll(const QString& name, const DateTime& date) const override;
  bool DeleteOrbit(const QString& name) override;
  const Orbit* GetOrbit(const QString& name) const override;
  const Orbit* GetOrbit(int index) const override;
  int GetOrbitCount() const override;
  void SetOrbitalParameters(const QString& name, OrbitalParameters parameters) override;

  Orbit* GetOrbitNonConst(const QString& name);

  /// Makes all bodies below `orbit`, itself not among them, unknown by name. It erases names: where
  /// one has gone over to a body elsewhere, that one is not found any more. Destroys nothing. Null
  /// does nothing.
  void RemoveChildOrbits(Orbit* orbit);

 private:
  // Takes `orbit` and all below it out of the map, each only where its name still stands for it.
  void Unlist(const Orbit& orbit);

  // Every key is the name of its node. Never a null pointer.
  boost::unordered_map<QString, Orbit*, QStringHash> orbits_;
};

}  // namespace spatial
}  // namespace nimbara
