// SPDX-License-Identifier: Apache-2.0
#include "spatial/orbit/orbit_manager.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <set>

#include "spatial/orbit/orbit.h"
#include "spatial/orbit/orbit_utils.h"
#include "spatial/orbit/solar_system_data.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

using ::nimbara::test_support::HeapSnapshot;
using solarsystemdata::orbital_parameters;
using Position = Vec3<double>;

const DateTime kDate(2024, 2, 29, 6, 30);

OrbitalParameters Body(const QString& name, const QString& parent_name = QString()) {
  OrbitalParameters parameters = orbital_parameters[kOrbitMars];
  parameters.name = name;
  parameters.parent_name = parent_name;
  return parameters;
}

// Bodies outlive their manager, so every test clears it and then shows that nothing is left.
class OrbitManagerTest : public testing::Test {
 protected:
  OrbitManagerTest() {
    OrbitManager warm;
    warm.LoadSolarSystem();
    warm.Clear();
  }
  void SetUp() override {
    before_ = HeapSnapshot();
    manager_ = std::make_unique<OrbitManager>();
  }
  void TearDown() override {
    manager_->Clear();
    EXPECT_EQ(manager_->GetOrbitCount(), 0);
    manager_.reset();
    EXPECT_EQ(HeapSnapshot(), before_);
  }

  HeapSnapshot before_;
  std::unique_ptr<OrbitManager> manager_;
};

TEST_F(OrbitManagerTest, BeginsEmpty) {
  EXPECT_EQ(manager_->GetOrbitCount(), 0);
  EXPECT_EQ(manager_->GetOrbit("sun"), nullptr);
  EXPECT_EQ(manager_->GetOrbit(0), nullptr);
  EXPECT_FALSE(manager_->DeleteOrbit("sun"));
  EXPECT_EQ(manager_->CalcOrbitPosition("sun", "", kDate), Position::Zero());
}

TEST_F(OrbitManagerTest, LoadsTenBodiesAsATree) {
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->GetOrbitCount(), 10);
  const Orbit* const sun = manager_->GetOrbit("sun");
  ASSERT_NE(sun, nullptr);
  EXPECT_EQ(sun->parent(), nullptr);
  EXPECT_EQ(sun->children().size(), 8u);
  EXPECT_EQ(manager_->GetOrbit("moon")->parent(), manager_->GetOrbit("earth"));
  EXPECT_EQ(manager_->GetOrbit("earth")->parent(), sun);
}

TEST_F(OrbitManagerTest, LoadsTenBodiesAlsoTheSecondTime) {
  manager_->LoadSolarSystem();
  manager_->AddOrbit(Body("ceres", "sun"));
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->GetOrbitCount(), 10);
  EXPECT_EQ(manager_->GetOrbit("ceres"), nullptr);
}

TEST_F(OrbitManagerTest, LoadsThroughItsVirtualOperations) {
  class Counting : public OrbitManager {
   public:
    void Clear() override {
      ++clears;
      OrbitManager::Clear();
    }
    void AddOrbit(const OrbitalParameters& parameters) override {
      ++adds;
      OrbitManager::AddOrbit(parameters);
    }
    int clears = 0;
    int adds = 0;
  };
  Counting counting;
  counting.LoadSolarSystem();
  EXPECT_EQ(counting.clears, 1);
  EXPECT_EQ(counting.adds, 10);
  counting.Clear();
}

TEST_F(OrbitManagerTest, ComparesNamesExactly) {
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->GetOrbit("Sun"), nullptr);
  EXPECT_EQ(manager_->GetOrbit("sun "), nullptr);
  EXPECT_EQ(manager_->GetOrbit(""), nullptr);
  EXPECT_EQ(manager_->GetOrbit(QString()), nullptr);
}

TEST_F(OrbitManagerTest, GivesEveryBodyOnceByIndex) {
  manager_->LoadSolarSystem();
  std::set<const Orbit*> seen;
  for (int i = 0; i < manager_->GetOrbitCount(); ++i) {
    seen.insert(manager_->GetOrbit(i));
  }
  EXPECT_EQ(seen.size(), 10u);
  EXPECT_EQ(seen.count(nullptr), 0u);
}

TEST_F(OrbitManagerTest, HasNothingOutsideOfItsIndices) {
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->GetOrbit(-1), nullptr);
  EXPECT_EQ(manager_->GetOrbit(10), nullptr);
  EXPECT_EQ(manager_->GetOrbit(std::numeric_limits<int>::min()), nullptr);
  EXPECT_EQ(manager_->GetOrbit(std::numeric_limits<int>::max()), nullptr);
}

TEST_F(OrbitManagerTest, PutsTheMoonWhereEarthAndSunCarryIt) {
  manager_->LoadSolarSystem();
  const Position moon = OrbitUtils::CalcRelativePosition(kDate, orbital_parameters[kOrbitMoon]);
  const Position earth = OrbitUtils::CalcRelativePosition(kDate, orbital_parameters[kOrbitEarth]);
  const Position sun = OrbitUtils::CalcRelativePosition(kDate, orbital_parameters[kOrbitSun]);
  EXPECT_EQ(manager_->CalcOrbitPosition("moon", "", kDate),
            (Position{moon.x + (earth.x + sun.x), moon.y + (earth.y + sun.y),
                      moon.z + (earth.z + sun.z)}));
}

TEST_F(OrbitManagerTest, SubtractsTheSecondBodysPosition) {
  manager_->LoadSolarSystem();
  const Position mars = manager_->CalcOrbitPosition("mars", "", kDate);
  const Position earth = manager_->CalcOrbitPosition("earth", "", kDate);
  EXPECT_EQ(manager_->CalcOrbitPosition("mars", "earth", kDate),
            (Position{mars.x - earth.x, mars.y - earth.y, mars.z - earth.z}));
  EXPECT_EQ(manager_->CalcOrbitPosition("mars", "mars", kDate), Position::Zero());
}

// The Sun stands 1e-20 astronomical units off the centre, far less than a double resolves at the
// distance of the Moon.
TEST_F(OrbitManagerTest, CannotTellTheSunFromTheCentreAtTheMoonsDistance) {
  manager_->LoadSolarSystem();
  const Position sun = manager_->CalcOrbitPosition("sun", "", kDate);
  EXPECT_NE(sun, Position::Zero());
  EXPECT_EQ(manager_->CalcOrbitPosition("moon", "sun", kDate),
            manager_->CalcOrbitPosition("moon", "", kDate));
}

TEST_F(OrbitManagerTest, TreatsAnUnknownSecondNameLikeNone) {
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->CalcOrbitPosition("mars", "vulcan", kDate),
            manager_->CalcOrbitPosition("mars", "", kDate));
}

TEST_F(OrbitManagerTest, GivesZeroForAnUnknownFirstName) {
  manager_->LoadSolarSystem();
  for (const char* relative_to : {"", "earth", "vulcan"}) {
    EXPECT_EQ(manager_->CalcOrbitPosition("vulcan", relative_to, kDate), Position::Zero());
  }
  EXPECT_EQ(manager_->CalcOrbitYawPitchRoll("vulcan", kDate), Position::Zero());
}

TEST_F(OrbitManagerTest, GivesTheAttitudeOfABody) {
  manager_->LoadSolarSystem();
  EXPECT_EQ(manager_->CalcOrbitYawPitchRoll("venus", kDate),
            OrbitUtils::CalcYawPitchRoll(kDate, orbital_parameters[kOrbitVenus]));
}

TEST_F(OrbitManagerTest, MakesARootOfABodyWhoseParentIsNotKnown) {
  manager_->AddOrbit(Body("phobos", "mars"));
  const Orbit* const phobos = manager_->GetOrbit("phobos");
  ASSERT_NE(phobos, nullptr);
  EXPECT_EQ(phobos->parent(), nullptr);
  EXPECT_EQ(phobos->orbital_parameters().parent_name, "mars");
  EXPECT_EQ(manager_->CalcOrbitPosition("phobos", "", kDate),
            OrbitUtils::CalcRelativePosition(kDate, orbital_parameters[kOrbitMars]));
}

TEST_F(OrbitManagerTest, FindsABodyWithTheEmptyNameButNeverAsAParent) {
  manager_->AddOrbit(Body(""));
  manager_->AddOrbit(Body("a", ""));
  ASSERT_NE(manager_->GetOrbit(""), nullptr);
  EXPECT_EQ(manager_->GetOrbit(QString()), manager_->GetOrbit(""));
  EXPECT_EQ(manager_->GetOrbit("a")->parent(), nullptr);
  // Nor as the body that a position is relative to.
  EXPECT_NE(manager_->CalcOrbitPosition("a", "", kDate), Position::Zero());
}

TEST_F(OrbitManagerTest, DeletesABodyWithAllThatOrbitsIt) {
  manager_->LoadSolarSystem();
  EXPECT_TRUE(manager_->DeleteOrbit("earth"));
  EXPECT_EQ(manager_->GetOrbitCount(), 8);
  EXPECT_EQ(manager_->GetOrbit("earth"), nullptr);
  EXPECT_EQ(manager_->GetOrbit("moon"), nullptr);
  EXPECT_EQ(manager_->GetOrbit("sun")->GetChild("earth"), nullptr);
  EXPECT_FALSE(manager_->DeleteOrbit("earth"));
  EXPECT_EQ(manager_->GetOrbitCount(), 8);
}

TEST_F(OrbitManagerTest, DeletesARootAndEverythingWithIt) {
  manager_->LoadSolarSystem();
  EXPECT_TRUE(manager_->DeleteOrbit("sun"));
  EXPECT_EQ(manager_->GetOrbitCount(), 0);
  EXPECT_EQ(manager_->GetOrbit(0), nullptr);
  manager_->LoadSolarSystem();
  manager_->AddOrbit(Body("comet"));
  EXPECT_TRUE(manager_->DeleteOrbit("sun"));
  EXPECT_EQ(manager_->GetOrbitCount(), 1);
  EXPECT_NE(manager_->GetOrbit("comet"), nullptr);
}

TEST_F(OrbitManagerTest, DeletesAndRenamesByTheNodesOwnName) {
  manager_->LoadSolarSystem();
  EXPECT_TRUE(manager_->DeleteOrbit(manager_->GetOrbit("mars")->orbital_parameters().name));
  EXPECT_EQ(manager_->GetOrbit("mars"), nullptr);
  manager_->SetOrbitalParameters(manager_->GetOrbit("venus")->orbital_parameters().name,
                                 Body("vesper", "sun"));
  EXPECT_EQ(manager_->GetOrbit("venus"), nullptr);
  EXPECT_NE(manager_->GetOrbit("vesper"), nullptr);
}

TEST_F(OrbitManagerTest, FindsARenamedBodyUnderItsNewNameAlone) {
  manager_->LoadSolarSystem();
  const Orbit* const earth = manager_->GetOrbit("earth");
  manager_->SetOrbitalParameters("earth", Body("terra", "jupiter"));
  EXPECT_EQ(manager_->GetOrbit("earth"), nullptr);
  ASSERT_EQ(manager_->GetOrbit("terra"), earth);
  EXPECT_EQ(earth->parent(), manager_->GetOrbit("sun"));
  EXPECT_EQ(earth->orbital_parameters().parent_name, "jupiter");
  EXPECT_EQ(earth->GetChild("moon"), manager_->GetOrbit("moon"));
  EXPECT_EQ(manager_->GetOrbit("moon")->orbital_parameters().parent_name, "terra");
  EXPECT_EQ(manager_->GetOrbitCount(), 10);
}

TEST_F(OrbitManagerTest, ChangesNothingForANameThatIsNotKnown) {
  manager_->LoadSolarSystem();
  manager_->SetOrbitalParameters("vulcan", Body("vulcan"));
  EXPECT_EQ(manager_->GetOrbitCount(), 10);
  EXPECT_EQ(manager_->GetOrbit("vulcan"), nullptr);
}

TEST_F(OrbitManagerTest, GivesAUsedNameToTheLastBodyThatTookIt) {
  manager_->LoadSolarSystem();
  const Orbit* const mars = manager_->GetOrbit("mars");
  manager_->SetOrbitalParameters("mars", Body("venus", "sun"));
  EXPECT_EQ(manager_->GetOrbit("venus"), mars);
  EXPECT_EQ(manager_->GetOrbitCount(), 9);
  EXPECT_EQ(manager_->GetOrbit("sun")->children().size(), 8u);
  manager_->AddOrbit(Body("venus", "earth"));
  EXPECT_NE(manager_->GetOrbit("venus"), mars);
  EXPECT_EQ(manager_->GetOrbitCount(), 9);
}

TEST_F(OrbitManagerTest, ErasesByNameWhereTwoBodiesHaveOne) {
  manager_->AddOrbit(Body("a"));
  manager_->AddOrbit(Body("b"));
  manager_->AddOrbit(Body("twin", "a"));
  manager_->AddOrbit(Body("twin", "b"));
  EXPECT_TRUE(manager_->DeleteOrbit("a"));
  EXPECT_EQ(manager_->GetOrbit("twin"), nullptr);
  EXPECT_EQ(manager_->GetOrbit("b")->children().size(), 1u);
}

TEST_F(OrbitManagerTest, ClearsBodiesThatShareANameWithoutDestroyingOneTwice) {
  manager_->LoadSolarSystem();
  manager_->AddOrbit(Body("mars", "earth"));
  manager_->AddOrbit(Body("sun", "sun"));
  manager_->AddOrbit(Body("moon", "moon"));
  // The first sun is a root that nobody finds any more, but it is known as the parent of others.
  Orbit* lost = const_cast<Orbit*>(manager_->GetOrbit("venus")->parent());
  manager_->Clear();
  EXPECT_EQ(manager_->GetOrbitCount(), 0);
  // It lives on without the bodies that could be found; a body whose name was lost stays below it.
  ASSERT_EQ(lost->children().size(), 1u);
  EXPECT_EQ(lost->children()[0]->orbital_parameters().name, "mars");
  delete lost;
}

TEST_F(OrbitManagerTest, ClearsABodyThatTheViewerTookOffItsParent) {
  manager_->LoadSolarSystem();
  manager_->GetOrbitNonConst("earth")->RemoveChild(manager_->GetOrbitNonConst("moon"));
  EXPECT_TRUE(manager_->DeleteOrbit("earth"));
  ASSERT_NE(manager_->GetOrbit("moon"), nullptr);
  EXPECT_EQ(manager_->GetOrbit("moon")->parent(), nullptr);
}

TEST_F(OrbitManagerTest, MakesBodiesUnknownWithoutDestroyingThem) {
  manager_->LoadSolarSystem();
  Orbit* const sun = manager_->GetOrbitNonConst("sun");
  manager_->RemoveChildOrbits(nullptr);
  EXPECT_EQ(manager_->GetOrbitCount(), 10);
  manager_->RemoveChildOrbits(sun);
  EXPECT_EQ(manager_->GetOrbitCount(), 1);
  EXPECT_EQ(manager_->GetOrbit("sun"), sun);
  EXPECT_EQ(sun->GetChild("earth")->GetChild("moon")->orbital_parameters().name, "moon");
}

TEST_F(OrbitManagerTest, LeavesTheBodiesToTheViewerWhenItIsDestroyed) {
  Orbit* sun = nullptr;
  {
    OrbitManager gone;
    gone.LoadSolarSystem();
    sun = gone.GetOrbitNonConst("sun");
  }
  EXPECT_EQ(sun->children().size(), 8u);
  delete sun;
}

TEST_F(OrbitManagerTest, IsUsedThroughItsInterface) {
  manager_->LoadSolarSystem();
  IOrbitManager& orbits = *manager_;
  orbits.AddOrbit(Body("ceres", "sun"));
  EXPECT_EQ(orbits.GetOrbitCount(), 11);
  EXPECT_NE(orbits.CalcOrbitPosition("ceres", "sun", kDate), Position::Zero());
  EXPECT_TRUE(orbits.DeleteOrbit("ceres"));
  orbits.Clear();
  EXPECT_EQ(orbits.GetOrbitCount(), 0);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
