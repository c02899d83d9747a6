// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit_manager.h"

#include "host/memory.h"
#include "spatial/orbit/orbit.h"
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace spatial {

void OrbitManager::LoadSolarSystem() {
  Clear();
  for (const OrbitalParameters& parameters : solarsystemdata::orbital_parameters) {
    AddOrbit(parameters);
  }
}

void OrbitManager::Clear() {
  while (!orbits_.empty()) {
    Orbit* const orbit = orbits_.begin()->second;
    Unlist(*orbit);
    delete orbit;
  }
}

void OrbitManager::AddOrbit(const OrbitalParameters& parameters) {
  // An empty name stands for no parent, even if there is a body that is called so.
  Orbit* const parent =
      parameters.parent_name.isEmpty() ? nullptr : GetOrbitNonConst(parameters.parent_name);
  orbits_[parameters.name] = new (HeapManager::GetDynamicHeap()) Orbit(parameters, parent);
}

Vec3<double> OrbitManager::CalcOrbitPosition(const QString& name, const QString& relative_to,
                                             const DateTime& date) const {
  const Orbit* const orbit = GetOrbit(name);
  if (orbit == nullptr) {
    return Vec3<double>::Zero();
  }
  const Orbit* const origin = relative_to.isEmpty() ? nullptr : GetOrbit(relative_to);
  const Vec3<double> position = orbit->CalcPosition(date);
  if (origin == nullptr) {
    return position;
  }
  const Vec3<double> from = origin->CalcPosition(date);
  return {position.x - from.x, position.y - from.y, position.z - from.z};
}

Vec3<double> OrbitManager::CalcOrbitYawPitchRoll(const QString& name, const DateTime& date) const {
  const Orbit* const orbit = GetOrbit(name);
  return orbit != nullptr ? orbit->CalcYawPitchRoll(date) : Vec3<double>::Zero();
}

bool OrbitManager::DeleteOrbit(const QString& name) {
  const auto entry = orbits_.find(name);
  if (entry == orbits_.end()) {
    return false;
  }
  // `name` may be the node's own, so the entry goes while it lives.
  Orbit* const orbit = entry->second;
  orbits_.erase(entry);
  RemoveChildOrbits(orbit);
  if (orbit->parent() != nullptr) {
    orbit->parent()->DeleteChild(orbit);
  } else {
    delete orbit;
  }
  return true;
}

const Orbit* OrbitManager::GetOrbit(const QString& name) const {
  const auto entry = orbits_.find(name);
  return entry != orbits_.end() ? entry->second : nullptr;
}

const Orbit* OrbitManager::GetOrbit(int index) const {
  unsigned position = 0;
  for (const auto& entry : orbits_) {
    if (position == static_cast<unsigned>(index)) {
      return entry.second;
    }
    ++position;
  }
  return nullptr;
}

int OrbitManager::GetOrbitCount() const {
  return static_cast<int>(orbits_.size());
}

void OrbitManager::SetOrbitalParameters(const QString& name, OrbitalParameters parameters) {
  const auto entry = orbits_.find(name);
  if (entry == orbits_.end()) {
    return;
  }
  Orbit* const orbit = entry->second;
  orbits_.erase(entry);
  orbit->set_orbital_parameters(parameters);
  orbits_[parameters.name] = orbit;
}

Orbit* OrbitManager::GetOrbitNonConst(const QString& name) {
  const auto entry = orbits_.find(name);
  return entry != orbits_.end() ? entry->second : nullptr;
}

void OrbitManager::RemoveChildOrbits(Orbit* orbit) {
  if (orbit == nullptr) {
    return;
  }
  for (Orbit* child : orbit->children()) {
    RemoveChildOrbits(child);
    orbits_.erase(child->orbital_parameters().name);
  }
}

void OrbitManager::Unlist(const Orbit& orbit) {
  for (const Orbit* child : orbit.children()) {
    Unlist(*child);
  }
  const auto entry = orbits_.find(orbit.orbital_parameters().name);
  if (entry != orbits_.end() && entry->second == &orbit) {
    orbits_.erase(entry);
  }
}

}  // namespace spatial
}  // namespace nimbara
