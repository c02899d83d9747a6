// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit.h"

#include <algorithm>

#include "base/logging.h"
#include "host/text.h"
#include "spatial/orbit/orbit_utils.h"

namespace nimbara {
namespace spatial {
namespace {

void Erase(const Orbit* node, mmvector<Orbit*>* nodes) {
  nodes->erase(std::remove(nodes->begin(), nodes->end(), node), nodes->end());
}

}  // namespace

Orbit::Orbit(const OrbitalParameters& parameters, Orbit* parent)
    : children_(HeapManager::GetDynamicHeap()), orbital_parameters_(parameters),
      related_(HeapManager::GetDynamicHeap()) {
  if (parent != nullptr) {
    orbital_parameters_.parent_name = parent->orbital_parameters_.name;
    parent->AddChild(this);
  }
  planet_ = RefPtr<loculus::Planet>(new loculus::Planet(loculus::KmlId(), QStringNull()));
  planet_->SetName(orbital_parameters_.name);
}

Orbit::~Orbit() {
  if (parent_ != nullptr) {
    parent_->RemoveChild(this);
  }
  // The list is read anew for each child: one that dies can take another one of the list with it.
  while (!children_.empty()) {
    Orbit* const child = children_.front();
    RemoveChild(child);
    child->parent_ = nullptr;
    delete child;
  }
  for (Orbit* other : related_) {
    other->Forget(this);
  }
}

void Orbit::AddChild(Orbit* child) {
  PELORIN_CHECK(child != nullptr);
  if (child == nullptr) {
    return;
  }
  const bool is_circle = child->HasBelow(this) || HasAbove(child);
  PELORIN_CHECK(!is_circle);
  if (is_circle) {
    return;
  }
  children_.push_back(child);
  child->parent_ = this;
  if (std::find(child->related_.begin(), child->related_.end(), this) == child->related_.end()) {
    child->related_.push_back(this);
    related_.push_back(child);
  }
}

void Orbit::RemoveChild(Orbit* child) {
  Erase(child, &children_);
}

void Orbit::DeleteChild(Orbit* child) {
  RemoveChild(child);
  delete child;
}

const Orbit* Orbit::GetChild(const QString& name) const {
  for (const Orbit* child : children_) {
    if (child->orbital_parameters_.name == name) {
      return child;
    }
  }
  return nullptr;
}

Orbit* Orbit::GetChild(const QString& name) {
  return const_cast<Orbit*>(static_cast<const Orbit*>(this)->GetChild(name));
}

void Orbit::set_orbital_parameters(const OrbitalParameters& parameters) {
  orbital_parameters_ = parameters;
  for (Orbit* child : children_) {
    OrbitalParameters changed = child->orbital_parameters_;
    changed.parent_name = orbital_parameters_.name;
    child->set_orbital_parameters(changed);
  }
}

Vec3<double> Orbit::CalcPosition(const DateTime& date) const {
  Vec3<double> position = OrbitUtils::CalcRelativePosition(date, orbital_parameters_);
  if (parent_ != nullptr) {
    const Vec3<double> origin = parent_->CalcPosition(date);
    position.x += origin.x;
    position.y += origin.y;
    position.z += origin.z;
  }
  return position;
}

Vec3<double> Orbit::CalcYawPitchRoll(const DateTime& date) const {
  return OrbitUtils::CalcYawPitchRoll(date, orbital_parameters_);
}

bool Orbit::HasBelow(const Orbit* other) const {
  return other == this ||
         std::any_of(children_.begin(), children_.end(),
                     [other](const Orbit* child) { return child->HasBelow(other); });
}

bool Orbit::HasAbove(const Orbit* other) const {
  return other == this || (parent_ != nullptr && parent_->HasAbove(other));
}

void Orbit::Forget(const Orbit* dead) {
  Erase(dead, &children_);
  Erase(dead, &related_);
  if (parent_ == dead) {
    parent_ = nullptr;
  }
}

}  // namespace spatial
}  // namespace nimbara
