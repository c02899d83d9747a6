// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/units.h"
#include "spatial/orbit/orbit_utils.h"
#include "spatial/orbit/solar_system_data.h"
#include "tests/support/heap_snapshot.h"
#include "tests/support/log_recorder.h"

namespace nimbara {
namespace spatial {
namespace {

using ::nimbara::test_support::HeapSnapshot;
using solarsystemdata::orbital_parameters;
using ::test_support::LogRecorder;

OrbitalParameters Named(const QString& name) {
  OrbitalParameters parameters = orbital_parameters[kOrbitMars];
  parameters.name = name;
  parameters.parent_name = "whoever";
  return parameters;
}

Orbit* New(const QString& name, Orbit* parent = nullptr) {
  return new (HeapManager::GetDynamicHeap()) Orbit(Named(name), parent);
}

std::vector<QString> ChildNames(const Orbit& orbit) {
  std::vector<QString> names;
  for (const Orbit* child : orbit.children()) {
    names.push_back(child->orbital_parameters().name);
  }
  return names;
}

// Every test must leave the heaps as it found them: nothing leaked, nothing destroyed twice.
class OrbitTest : public testing::Test {
 protected:
  void SetUp() override {
    delete New("warm");  // What the host makes once stays out of the count.
    before_ = HeapSnapshot();
  }
  void TearDown() override { EXPECT_EQ(HeapSnapshot(), before_); }

  HeapSnapshot before_;
};

TEST_F(OrbitTest, CopiesTheRecordOfARoot) {
  Orbit* const root = New("mars");
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_TRUE(root->children().empty());
  EXPECT_EQ(root->orbital_parameters().parent_name, "whoever");
  EXPECT_EQ(root->orbital_parameters().mean_anomaly_rate, 0.009145887900527656);
  delete root;
}

TEST_F(OrbitTest, TakesTheNameOfItsParentWhateverTheRecordSays) {
  Orbit* const root = New("mars");
  Orbit* const child = New("phobos", root);
  EXPECT_EQ(child->orbital_parameters().parent_name, "mars");
  EXPECT_EQ(child->parent(), root);
  EXPECT_EQ(ChildNames(*root), (std::vector<QString>{"phobos"}));
  delete root;
}

TEST_F(OrbitTest, HasAFeatureWithItsNameAndNoId) {
  Orbit* const root = New("mars");
  ASSERT_NE(root->planet(), nullptr);
  EXPECT_EQ(root->planet()->name(), "mars");
  EXPECT_TRUE(root->planet()->id().id.isEmpty());
  EXPECT_TRUE(root->planet()->source_url().isNull());
  EXPECT_EQ(root->planet()->ref_count(), 1);
  delete root;
}

TEST_F(OrbitTest, LeavesTheFeatureToThoseWhoHoldIt) {
  Orbit* const root = New("mars");
  RefPtr<loculus::Planet> planet(root->planet());
  delete root;
  EXPECT_EQ(planet->name(), "mars");
  EXPECT_EQ(planet->ref_count(), 1);
}

TEST_F(OrbitTest, FindsDirectChildrenByNameAndTheFirstOfEqualOnes) {
  Orbit* const root = New("sun");
  Orbit* const planet = New("mars", root);
  New("mars", root);
  Orbit* const moon = New("phobos", planet);
  EXPECT_EQ(root->GetChild("mars"), planet);
  EXPECT_EQ(root->GetChild("phobos"), nullptr);
  EXPECT_EQ(root->GetChild("Mars"), nullptr);
  EXPECT_EQ(static_cast<const Orbit*>(planet)->GetChild("phobos"), moon);
  delete root;
}

TEST_F(OrbitTest, ListsAChildTwiceThatWasAddedTwiceAndRemovesItAtOnce) {
  Orbit* const root = New("sun");
  Orbit* const a = New("a", root);
  New("b", root);
  root->AddChild(a);
  EXPECT_EQ(ChildNames(*root), (std::vector<QString>{"a", "b", "a"}));
  root->RemoveChild(a);
  EXPECT_EQ(ChildNames(*root), (std::vector<QString>{"b"}));
  delete a;
  delete root;
}

TEST_F(OrbitTest, DestroysAChildOnceThatWasAddedTwice) {
  Orbit* const root = New("sun");
  root->AddChild(New("a", root));
  delete root;
}

TEST_F(OrbitTest, KeepsTheOrderOfTheOthersWhenOneIsRemoved) {
  Orbit* const root = New("sun");
  New("a", root);
  Orbit* const b = New("b", root);
  New("c", root);
  root->RemoveChild(b);
  EXPECT_EQ(ChildNames(*root), (std::vector<QString>{"a", "c"}));
  root->RemoveChild(b);
  root->RemoveChild(nullptr);
  EXPECT_EQ(ChildNames(*root), (std::vector<QString>{"a", "c"}));
  delete b;
  delete root;
}

TEST_F(OrbitTest, NamesItsFormerParentAfterItWasRemoved) {
  Orbit* const root = New("sun");
  Orbit* const child = New("a", root);
  root->RemoveChild(child);
  EXPECT_EQ(child->parent(), root);
  delete child;  // Asks the former parent once more, which does not know it.
  EXPECT_TRUE(root->children().empty());
  delete root;
}

TEST_F(OrbitTest, ForgetsAFormerParentThatDiesFirst) {
  Orbit* const root = New("sun");
  Orbit* const child = New("a", root);
  root->RemoveChild(child);
  delete root;
  EXPECT_EQ(child->parent(), nullptr);
  delete child;
}

TEST_F(OrbitTest, StaysInTheListOfAFormerParentAndIsDestroyedByTheFirstOwner) {
  Orbit* const first = New("first");
  Orbit* const second = New("second");
  Orbit* const child = New("child", first);
  second->AddChild(child);
  EXPECT_EQ(child->parent(), second);
  EXPECT_EQ(ChildNames(*first), (std::vector<QString>{"child"}));
  delete first;
  EXPECT_TRUE(second->children().empty());
  delete second;
}

TEST_F(OrbitTest, IsForgottenByBothOwnersWhenItIsDestroyedItself) {
  Orbit* const first = New("first");
  Orbit* const second = New("second");
  Orbit* const child = New("child", first);
  second->AddChild(child);
  delete child;
  EXPECT_TRUE(first->children().empty());
  EXPECT_TRUE(second->children().empty());
  delete second;
  delete first;
}

TEST_F(OrbitTest, SurvivesAChildThatTakesASiblingWithIt) {
  Orbit* const root = New("root");
  Orbit* const a = New("a", root);
  Orbit* const b = New("b", root);
  a->AddChild(b);
  delete root;
}

TEST_F(OrbitTest, DeletesAChildAndItsSubtree) {
  Orbit* const root = New("sun");
  Orbit* const planet = New("mars", root);
  New("phobos", planet);
  root->DeleteChild(planet);
  EXPECT_TRUE(root->children().empty());
  root->DeleteChild(nullptr);
  delete root;
}

TEST_F(OrbitTest, DeletesAlsoAChildThatIsNotListed) {
  Orbit* const root = New("sun");
  Orbit* const stranger = New("comet");
  root->DeleteChild(stranger);
  delete root;
}

TEST_F(OrbitTest, LeavesItsParentWhenItIsDestroyed) {
  Orbit* const root = New("sun");
  delete New("a", root);
  EXPECT_TRUE(root->children().empty());
  delete root;
}

TEST_F(OrbitTest, RefusesNothingAndCirclesWithACheck) {
  Orbit* const root = New("sun");
  Orbit* const planet = New("mars", root);
  Orbit* const moon = New("phobos", planet);
  {
    const LogRecorder log;
    root->AddChild(nullptr);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"3 Check failed: child != nullptr"}));
  }
  {
    const LogRecorder log;
    moon->AddChild(root);
    moon->AddChild(moon);
    EXPECT_EQ(log.lines(), std::vector<std::string>(2, "3 Check failed: !is_circle"));
  }
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_TRUE(moon->children().empty());
  // Also where only the list or only the name of the parent would close it.
  planet->RemoveChild(moon);
  {
    const LogRecorder log;
    moon->AddChild(root);
    EXPECT_EQ(log.entries().size(), 1u);
  }
  delete moon;
  delete root;
}

TEST_F(OrbitTest, SurvivesAnyOrderOfAddingRemovingAndDestroying) {
  unsigned random = 4711;  // A plain generator, so that a failure can be repeated.
  const auto next = [&random](unsigned below) {
    random = random * 1664525u + 1013904223u;
    return (random >> 16) % below;
  };
  const LogRecorder log;  // Circles are among the attempts.
  for (int round = 0; round < 200; ++round) {
    std::vector<Orbit*> nodes;
    std::vector<RefPtr<loculus::Planet>> planets;
    for (int i = 0; i < 8; ++i) {
      nodes.push_back(New(QString::number(i)));
      planets.emplace_back(nodes.back()->planet());
    }
    for (int step = 0; step < 30; ++step) {
      Orbit* const a = nodes[next(8)];
      Orbit* const b = nodes[next(8)];
      if (next(3) == 0) {
        a->RemoveChild(b);
      } else {
        a->AddChild(b);
      }
    }
    // A node lives as long as it holds its feature.
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (planets[i]->ref_count() == 2) {
        delete nodes[i];
      }
    }
    for (const RefPtr<loculus::Planet>& planet : planets) {
      ASSERT_EQ(planet->ref_count(), 1) << "round " << round;
    }
  }
}

TEST_F(OrbitTest, TellsItsChildrenItsNewNameAndLeavesTheirsAlone) {
  Orbit* const root = New("sun");
  Orbit* const planet = New("mars", root);
  Orbit* const moon = New("phobos", planet);
  Orbit* const stone = New("stone", moon);
  OrbitalParameters changed = Named("ares");
  changed.radius = 7.0;
  planet->set_orbital_parameters(changed);
  EXPECT_EQ(planet->orbital_parameters().name, "ares");
  EXPECT_EQ(planet->orbital_parameters().parent_name, "whoever");
  EXPECT_EQ(planet->orbital_parameters().radius, 7.0);
  EXPECT_EQ(planet->parent(), root);
  EXPECT_EQ(moon->orbital_parameters().name, "phobos");
  EXPECT_EQ(moon->orbital_parameters().parent_name, "ares");
  EXPECT_EQ(stone->orbital_parameters().parent_name, "phobos");
  EXPECT_EQ(planet->planet()->name(), "mars");
  delete root;
}

TEST_F(OrbitTest, TakesItsOwnRecordAsTheNewOne) {
  Orbit* const root = New("sun");
  New("mars", root);
  root->set_orbital_parameters(root->orbital_parameters());
  EXPECT_EQ(root->orbital_parameters().name, "sun");
  EXPECT_EQ(root->GetChild("mars")->orbital_parameters().parent_name, "sun");
  root->set_orbital_parameters(root->GetChild("mars")->orbital_parameters());
  EXPECT_EQ(root->orbital_parameters().name, "mars");
  EXPECT_EQ(root->GetChild("mars")->orbital_parameters().parent_name, "mars");
  delete root;
}

TEST_F(OrbitTest, PutsARootWhereItsElementsSay) {
  const DateTime date(2024, 2, 29);
  Orbit* const sun =
      new (HeapManager::GetDynamicHeap()) Orbit(orbital_parameters[kOrbitSun], nullptr);
  const Vec3<double> at = sun->CalcPosition(date);
  EXPECT_EQ(at, OrbitUtils::CalcRelativePosition(date, orbital_parameters[kOrbitSun]));
  EXPECT_NE(at, Vec3<double>::Zero());
  EXPECT_LT(at.x * at.x + at.y * at.y + at.z * at.z, 1e-30);
  delete sun;
}

TEST_F(OrbitTest, AddsThePositionsFromItselfUpToTheRoot) {
  const DateTime date(2024, 2, 29);
  Orbit* const root = New("root");
  Orbit* const middle = New("middle", root);
  Orbit* const leaf = New("leaf", middle);
  const Vec3<double> one = root->CalcPosition(date);
  const Vec3<double> three = leaf->CalcPosition(date);
  EXPECT_EQ(three, (Vec3<double>{one.x + (one.x + one.x), one.y + (one.y + one.y),
                                 one.z + (one.z + one.z)}));
  delete root;
}

TEST_F(OrbitTest, TurnsByItselfAlone) {
  const DateTime date(2024, 2, 29);
  Orbit* const root = New("root");
  Orbit* const child = New("child", root);
  EXPECT_EQ(child->CalcYawPitchRoll(date),
            OrbitUtils::CalcYawPitchRoll(date, orbital_parameters[kOrbitMars]));
  delete root;
}

TEST_F(OrbitTest, StandsOnTheDynamicHeap) {
  Orbit* const plain = new Orbit(Named("plain"), nullptr);
  EXPECT_EQ(MemoryManager::GetManager(plain), HeapManager::GetDynamicHeap());
  delete plain;
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
