// SPDX-License-Identifier: Apache-2.0
#include "host/reference/loculus/depth_surface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "host/loculus/photo_overlay.h"
#include "host/text.h"
#include "host/units.h"
#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace loculus {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kEyeMetres = 2.5;

double Radii(double metres) {
  return metres * Units::s_inv_planet_radius;
}

Vec3<double> Plus(const Vec3<double>& a, const Vec3<double>& b, double times) {
  return {a.x + b.x * times, a.y + b.y * times, a.z + b.z * times};
}

double Dot(const Vec3<double>& a, const Vec3<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

// A map whose cells all name `cell`.
std::unique_ptr<DepthMap> MakeMap(int width, int height, std::uint8_t cell,
                                  const std::vector<Plane<double>>& planes) {
  auto map = std::make_unique<DepthMap>();
  map->width = width;
  map->height = height;
  map->indices = new std::uint8_t[static_cast<std::size_t>(width * height)];
  std::fill_n(map->indices, width * height, cell);
  map->plane_count = static_cast<std::int32_t>(planes.size());
  map->planes = new Plane<double>[planes.size()];
  std::copy(planes.begin(), planes.end(), map->planes);
  return map;
}

const Plane<double> kSky;
const Plane<double> kGround({0.0, 0.0, -1.0}, kEyeMetres);

// The ground all around an eye 2.5 m above longitude 0, latitude 0: east is -X, north is Y.
class DepthSurfaceTest : public testing::Test {
 protected:
  static Vec3<double> Eye() { return {0.0, 0.0, Radii(kEyeMetres)}; }
  // The Cartesian point so many metres from the eye.
  static Vec3<double> At(double east, double north, double up) {
    return {-Radii(east), Radii(north), -1.0 - Radii(kEyeMetres + up)};
  }
  static Vec3<double> Way(double east, double north, double up) { return {-east, north, -up}; }
  static void ExpectNear(const Vec3<double>& point, const Vec3<double>& expected) {
    EXPECT_NEAR(point.x, expected.x, 1e-14);
    EXPECT_NEAR(point.y, expected.y, 1e-14);
    EXPECT_NEAR(point.z, expected.z, 1e-14);
  }

  Vec3<double> hit{7.0, 7.0, 7.0};
};

TEST_F(DepthSurfaceTest, StandsAtTheEyeWithUpAwayFromThePlanet) {
  const auto map = MakeMap(1, 1, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  ExpectNear(surface.GetOrigin(), {0.0, 0.0, -1.0 - Radii(kEyeMetres)});
  ExpectNear(surface.GetUpVector(), {0.0, 0.0, -1.0});
  const DepthSurface at_pole(*map, {0.0, 0.5, 0.0}, 0.0);
  ExpectNear(at_pole.GetOrigin(), {0.0, 1.0, 0.0});
  ExpectNear(at_pole.GetUpVector(), {0.0, 1.0, 0.0});
}

TEST_F(DepthSurfaceTest, IsHitOnTheGroundBelowTheStart) {
  const auto map = MakeMap(1, 1, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  ASSERT_TRUE(surface.TestRay(At(3, 4, 6), Way(0, 0, -1e-6), &hit));
  ExpectNear(hit, At(3, 4, -kEyeMetres));
}

TEST_F(DepthSurfaceTest, IsHitWhateverTheLengthOfTheDirection) {
  const auto map = MakeMap(1, 1, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  for (const double length : {1e-12, 1e-6, 1.0, 1e6}) {
    ASSERT_TRUE(surface.TestRay(At(3, 4, 6), Way(0, 0, -length), &hit)) << length;
    ExpectNear(hit, At(3, 4, -kEyeMetres));
  }
}

TEST_F(DepthSurfaceTest, IsHitAtTheStartItself) {
  const Plane<double> level({0.0, 0.0, -1.0}, 0.0);
  const auto map = MakeMap(1, 1, 0, {level});
  const DepthSurface surface(*map, Eye(), 0.0);
  const Vec3<double> start = surface.GetOrigin();
  ASSERT_TRUE(surface.TestRay(start, Way(0, 0, -1.0), &hit));
  EXPECT_EQ(hit, start);
}

TEST_F(DepthSurfaceTest, IsNotHitBehindTheStart) {
  const auto map = MakeMap(1, 1, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  EXPECT_FALSE(surface.TestRay(At(0, 0, 1), Way(0, 0, 1), &hit));
  EXPECT_FALSE(surface.TestRay(At(0, 0, -3), Way(0, 0, -1), &hit));
  EXPECT_EQ(hit, (Vec3<double>{7.0, 7.0, 7.0}));
}

TEST_F(DepthSurfaceTest, IsNotHitByARayWithinAPlane) {
  const auto map = MakeMap(1, 1, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  EXPECT_FALSE(surface.TestRay(At(0, 0, 1), Way(1, 0, 0), &hit));
  EXPECT_FALSE(surface.TestRay(At(0, 0, -kEyeMetres), Way(1, 0, 0), &hit));
}

// Planes turn with the heading: the wall 8 m to the right of the image's centre.
TEST_F(DepthSurfaceTest, LiesToTheRightOfTheHeading) {
  const Plane<double> wall({1.0, 0.0, 0.0}, 8.0);
  const auto map = MakeMap(1, 1, 0, {wall});
  ASSERT_TRUE(DepthSurface(*map, Eye(), 0.0).TestRay(At(0, 0, 0), Way(1, 0, 0), &hit));
  ExpectNear(hit, At(8, 0, 0));
  EXPECT_FALSE(DepthSurface(*map, Eye(), 0.0).TestRay(At(0, 0, 0), Way(-1, 0, 0), &hit));
  ASSERT_TRUE(DepthSurface(*map, Eye(), 90.0).TestRay(At(0, 0, 0), Way(0, -1, 0), &hit));
  ExpectNear(hit, At(0, -8, 0));
  ASSERT_TRUE(DepthSurface(*map, Eye(), -270.0).TestRay(At(0, 0, 0), Way(0, -1, 0), &hit));
}

TEST_F(DepthSurfaceTest, LiesAheadAlongTheHeading) {
  const Plane<double> wall({0.0, 1.0, 0.0}, 8.0);
  const auto map = MakeMap(1, 1, 0, {wall});
  ASSERT_TRUE(DepthSurface(*map, Eye(), 0.0).TestRay(At(0, 0, 0), Way(0, 1, 0), &hit));
  ExpectNear(hit, At(0, 8, 0));
  ASSERT_TRUE(DepthSurface(*map, Eye(), 90.0).TestRay(At(0, 0, 0), Way(1, 0, 0), &hit));
  ExpectNear(hit, At(8, 0, 0));
}

TEST_F(DepthSurfaceTest, IsHitOnTheNearestPlane) {
  const Plane<double> far({1.0, 0.0, 0.0}, 8.0);
  const Plane<double> near({1.0, 0.0, 0.0}, 5.0);
  auto map = MakeMap(4, 1, 0, {far, near});
  const DepthSurface only_far(*map, Eye(), 0.0);
  ASSERT_TRUE(only_far.TestRay(At(0, 0, 0), Way(1, 0, 0), &hit));
  ExpectNear(hit, At(8, 0, 0));
  // Seen by the quarter to the right, the nearer one stands before the farther one beside it: the
  // ray leaves that quarter at 5 m only.
  map->indices[2] = 1;
  const DepthSurface both(*map, Eye(), 0.0);
  ASSERT_TRUE(both.TestRay(At(0, 2, 0), Way(1, 0, 0), &hit));
  ExpectNear(hit, At(5, 2, 0));
}

TEST_F(DepthSurfaceTest, EndsWhereItsCellsEnd) {
  // Only the quarter from straight ahead to the right sees the ground.
  auto map = MakeMap(4, 2, 0, {kSky, kGround});
  map->indices[4 + 2] = 1;
  const DepthSurface surface(*map, Eye(), 0.0);
  EXPECT_TRUE(surface.TestRay(At(3, 3, 6), Way(0, 0, -1), &hit));
  EXPECT_FALSE(surface.TestRay(At(-3, 3, 6), Way(0, 0, -1), &hit));
  EXPECT_FALSE(surface.TestRay(At(3, -3, 6), Way(0, 0, -1), &hit));
  EXPECT_FALSE(surface.TestRay(At(-3, -3, 6), Way(0, 0, -1), &hit));
}

TEST_F(DepthSurfaceTest, CountsColumnsFromTheBackAndRowsFromTheZenith) {
  // The first column begins straight behind and runs to the left.
  auto map = MakeMap(4, 2, 0, {kSky, kGround});
  map->indices[4] = 1;
  EXPECT_TRUE(DepthSurface(*map, Eye(), 0.0).TestRay(At(-3, -3, 6), Way(0, 0, -1), &hit));
  // A ceiling is seen by the upper row.
  const Plane<double> ceiling({0.0, 0.0, 1.0}, 3.0);
  auto roofed = MakeMap(1, 2, 1, {ceiling, kGround});
  roofed->indices[0] = 0;
  const DepthSurface surface(*roofed, Eye(), 0.0);
  ASSERT_TRUE(surface.TestRay(At(1, 1, 0), Way(0, 0, 1), &hit));
  ExpectNear(hit, At(1, 1, 3));
}

TEST_F(DepthSurfaceTest, HasTheDirectionsOfTheMapsThatTheServiceMakes) {
  // Behind by a hair on either side of the seam, and below and above.
  const auto map = MakeMap(64, 32, 1, {kSky, kGround});
  const DepthSurface surface(*map, Eye(), 123.0);
  for (const double side : {-1e-9, 0.0, 1e-9}) {
    EXPECT_TRUE(surface.TestRay(At(side, -4, 6), Way(0, 0, -1), &hit));
  }
  EXPECT_TRUE(surface.TestRay(At(0, 0, 0), Way(0, 0, -1), &hit));
  EXPECT_TRUE(surface.TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
}

TEST_F(DepthSurfaceTest, IsNeverHitWithoutSoundData) {
  const auto beyond = MakeMap(2, 2, 9, {kGround});
  EXPECT_FALSE(DepthSurface(*beyond, Eye(), 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  const auto sky = MakeMap(2, 2, 0, {kSky});
  EXPECT_FALSE(DepthSurface(*sky, Eye(), 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  const DepthMap empty;
  EXPECT_FALSE(DepthSurface(empty, Eye(), 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  const auto odd = MakeMap(2, 2, 0, {Plane<double>({kNan, 0.0, -1.0}, 2.0)});
  EXPECT_FALSE(DepthSurface(*odd, Eye(), 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  auto negative = MakeMap(2, 2, 0, {kGround});
  negative->width = -2;
  negative->height = -2;
  EXPECT_FALSE(DepthSurface(*negative, Eye(), 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  EXPECT_EQ(hit, (Vec3<double>{7.0, 7.0, 7.0}));
}

TEST_F(DepthSurfaceTest, IsNeverHitByOrAtWhatIsNoNumber) {
  const auto map = MakeMap(2, 2, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  EXPECT_FALSE(surface.TestRay({kNan, 0, 0}, Way(0, 0, -1), &hit));
  EXPECT_FALSE(surface.TestRay(At(0, 0, 6), {0.0, kNan, 0.0}, &hit));
  EXPECT_FALSE(surface.TestRay(At(0, 0, 6), {}, &hit));
  EXPECT_FALSE(DepthSurface(*map, Eye(), kNan).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  EXPECT_FALSE(DepthSurface(*map, {kNan, 0, 0}, 0.0).TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
  EXPECT_EQ(hit, (Vec3<double>{7.0, 7.0, 7.0}));
}

TEST_F(DepthSurfaceTest, OutlivesItsMap) {
  auto map = MakeMap(2, 2, 0, {kGround});
  const DepthSurface surface(*map, Eye(), 0.0);
  map.reset();
  EXPECT_TRUE(surface.TestRay(At(0, 0, 6), Way(0, 0, -1), &hit));
}

// Planes of every slant, at every place and heading: a hit lies on the ray and on a plane that is
// seen there, and no plane that is seen is met sooner, which a march along the ray would find.
TEST_F(DepthSurfaceTest, IsHitWhereAMarchAlongTheRayFindsIt) {
  constexpr unsigned kSeed = 20260321;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  int hits = 0;
  for (int round = 0; round < 300; ++round) {
    std::vector<Plane<double>> planes;
    for (int i = 0; i < 4; ++i) {
      planes.push_back(Plane<double>({unit(random), unit(random), unit(random)}, 5 * unit(random)));
    }
    const auto map = MakeMap(8, 4, 0, planes);
    for (int i = 0; i < 32; ++i) {
      map->indices[i] = static_cast<std::uint8_t>(random() % 4);
    }
    const double heading_deg = 360.0 * unit(random);
    const DepthSurface surface(*map, {unit(random), 0.4 * unit(random), 0.0}, heading_deg);
    // The frame, from what the surface says of itself and from north as the way to the pole.
    const Vec3<double> up = surface.GetUpVector();
    Vec3<double> north = Plus({0.0, 1.0, 0.0}, up, -up.y);
    const double north_length = std::sqrt(Dot(north, north));
    north = {north.x / north_length, north.y / north_length, north.z / north_length};
    const Vec3<double> east{north.y * up.z - north.z * up.y, north.z * up.x - north.x * up.z,
                            north.x * up.y - north.y * up.x};
    const double heading = heading_deg * kPi / 180.0;
    const auto to_cartesian = [&](const Vec3<double>& local) {
      const double e = local.x * std::cos(heading) + local.y * std::sin(heading);
      const double n = -local.x * std::sin(heading) + local.y * std::cos(heading);
      return Plus(Plus(Plus({}, east, Radii(e)), north, Radii(n)), up, Radii(local.z));
    };
    const Vec3<double> start{9 * unit(random), 9 * unit(random), 9 * unit(random)};
    const Vec3<double> way{unit(random), unit(random), unit(random)};
    const Vec3<double> from = Plus(surface.GetOrigin(), to_cartesian(start), 1.0);
    const Vec3<double> along = to_cartesian(way);

    constexpr double kStep = 0.001;
    constexpr double kMarch = 20.0;
    double reach = -1.0;
    for (double at = 0.0; at < kMarch && reach < 0.0; at += kStep) {
      const Vec3<double> point = Plus(start, way, at + kStep / 2);
      const double azimuth = std::atan2(point.x, point.y);
      const double polar = std::acos(point.z / std::sqrt(Dot(point, point)));  // From the zenith.
      const int column = std::min(static_cast<int>((azimuth + kPi) / (2 * kPi) * 8), 7);
      const int row = std::min(static_cast<int>(polar / kPi * 4), 3);
      const Plane<double>& plane = planes[map->indices[row * 8 + column]];
      const double before = Dot(plane.normal, Plus(start, way, at)) - plane.distance;
      const double after = Dot(plane.normal, Plus(start, way, at + kStep)) - plane.distance;
      if ((before <= 0.0) != (after <= 0.0)) {
        reach = at;
      }
    }
    const bool is_hit = surface.TestRay(from, along, &hit);
    if (reach >= 0.0) {
      ++hits;
      ASSERT_TRUE(is_hit) << round;
      const Vec3<double> expected = Plus(from, along, reach + kStep / 2);
      const Vec3<double> off = Plus(hit, expected, -1.0);
      EXPECT_LT(std::sqrt(Dot(off, off)), Radii(0.003)) << round;
    } else if (is_hit) {
      const Vec3<double> run = Plus(hit, from, -1.0);
      EXPECT_GT(std::sqrt(Dot(run, run) / Dot(along, along)), kMarch - 0.01) << round;
    }
  }
  EXPECT_GT(hits, 50);
}

TEST_F(DepthSurfaceTest, IsHeldByItsOverlayAndSharedByClones) {
  PhotoOverlay::GetSchema();
  const test_support::HeapSnapshot before;
  {
    const auto map = MakeMap(2, 2, 0, {kGround});
    const RefPtr<PhotoOverlay> overlay(new PhotoOverlay(KmlId(), QStringNull()));
    EXPECT_EQ(overlay->surface(), nullptr);
    overlay->SetSurface(new DepthSurface(*map, Eye(), 0.0));
    EXPECT_EQ(overlay->surface()->ref_count(), 1);
    const RefPtr<PhotoOverlay> copy = Clone<PhotoOverlay>(overlay.get(), false, nullptr);
    EXPECT_EQ(copy->surface(), overlay->surface());
    EXPECT_EQ(copy->surface()->ref_count(), 2);
    overlay->SetSurface(nullptr);
    EXPECT_EQ(copy->surface()->ref_count(), 1);
  }
  EXPECT_TRUE(test_support::HeapSnapshot() == before);
}

}  // namespace
}  // namespace loculus
}  // namespace nimbara
