// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace geometry3d {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Vector, IsZeroUnlessSaidOtherwise) {
  EXPECT_EQ(Vector3<double>(), Vector3<double>(0.0, 0.0, 0.0));
  EXPECT_EQ(Vector2<int>(), Vector2<int>(0, 0));
}

TEST(Vector, ComputesByComponent) {
  const Vector3<double> a(1.0, 2.0, 3.0);
  const Vector3<double> b(0.5, -2.0, 10.0);
  EXPECT_EQ(a + b, Vector3<double>(1.5, 0.0, 13.0));
  EXPECT_EQ(a - b, Vector3<double>(0.5, 4.0, -7.0));
  EXPECT_EQ(a * 2.0, Vector3<double>(2.0, 4.0, 6.0));
  EXPECT_EQ(2.0 * a, a * 2.0);
  EXPECT_EQ(a / 2.0, Vector3<double>(0.5, 1.0, 1.5));
  EXPECT_EQ(-a, Vector3<double>(-1.0, -2.0, -3.0));
  EXPECT_TRUE(std::signbit((-Vector3<double>()).y));
  EXPECT_EQ(Vector2<float>(1.0f, 2.0f) - Vector2<float>(3.0f, 5.0f), Vector2<float>(-2.0f, -3.0f));
  EXPECT_EQ(Vector2<float>(1.0f, 2.0f) * 3.0f, Vector2<float>(3.0f, 6.0f));
  EXPECT_EQ(3.0f * Vector2<float>(1.0f, 2.0f), Vector2<float>(3.0f, 6.0f));
  EXPECT_EQ(Vector2<float>(1.0f, 2.0f) / 4.0f, Vector2<float>(0.25f, 0.5f));
  EXPECT_EQ(-Vector2<float>(1.0f, -2.0f), Vector2<float>(-1.0f, 2.0f));
}

TEST(Vector, ChangesInPlaceByTheSameArithmetic) {
  Vector3<double> v(1.0, 2.0, 3.0);
  v += Vector3<double>(1.0, 1.0, 1.0);
  v -= Vector3<double>(0.0, 1.0, 2.0);
  v *= 3.0;
  EXPECT_EQ(v, Vector3<double>(6.0, 6.0, 6.0));
  Vector2<float> w(1.0f, 2.0f);
  w += Vector2<float>(1.0f, 1.0f);
  w -= Vector2<float>(0.0f, 4.0f);
  w *= 0.5f;
  EXPECT_EQ(w, Vector2<float>(1.0f, -0.5f));
}

TEST(Vector, WrapsIntegersModuloTwoToTheThirtyTwo) {
  constexpr int kMax = std::numeric_limits<int>::max();
  constexpr int kMin = std::numeric_limits<int>::min();
  EXPECT_EQ(Vector3<int>(kMax, 0, 0) + Vector3<int>(1, 0, 0), Vector3<int>(kMin, 0, 0));
  EXPECT_EQ(Vector3<int>(kMin, 0, 0) - Vector3<int>(1, 0, 0), Vector3<int>(kMax, 0, 0));
  EXPECT_EQ(Vector2<int>(1 << 30, 3) * 4, Vector2<int>(0, 12));
  EXPECT_EQ(-Vector2<int>(kMin, 3), Vector2<int>(kMin, -3));
}

TEST(Vector, ComparesZerosAsEqualAndNaNsAsUnequal) {
  EXPECT_EQ(Vector2<float>(0.0f, 1.0f), Vector2<float>(-0.0f, 1.0f));
  const Vector3<double> odd(0.0, 0.0, kNaN);
  EXPECT_FALSE(odd == odd);
  EXPECT_TRUE(odd != odd);
}

TEST(Vector, RoundsHalvesToTheEvenInteger) {
  EXPECT_EQ(Vector3<double>(0.5, 1.5, 2.5).IRound(), Vector3<int>(0, 2, 2));
  EXPECT_EQ(Vector3<double>(-0.5, -1.5, -2.5).IRound(), Vector3<int>(0, -2, -2));
  EXPECT_EQ(Vector2<float>(2.5f, 3.5f).IRound(), Vector2<int>(2, 4));
}

TEST(Vector, CutsRoundedNumbersToThirtyTwoBits) {
  EXPECT_EQ(Vector3<double>(4294967297.4, -4294967299.0, 2147483648.0).IRound(),
            Vector3<int>(1, -3, std::numeric_limits<int>::min()));
  EXPECT_EQ(Vector2<float>(8589934592.0f, 4294967808.0f).IRound(), Vector2<int>(0, 512));
}

TEST(Vector, RoundsToZeroWhatSixtyFourBitsCannotHold) {
  EXPECT_EQ(Vector3<double>(kNaN, 1e300, -kInfinity).IRound(), Vector3<int>(0, 0, 0));
  EXPECT_EQ(Vector2<float>(static_cast<float>(kNaN), 9223372036854775808.0f).IRound(),
            Vector2<int>(0, 0));
}

TEST(Vector, RoundsAsTheStandardLibraryDoes) {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> exponent(-3.0, 18.9);
  std::bernoulli_distribution negative(0.5);
  for (int i = 0; i < 20000; ++i) {
    const double number = std::pow(10.0, exponent(random)) * (negative(random) ? -1.0 : 1.0);
    const auto expected = static_cast<int>(static_cast<unsigned>(std::lrint(number)));
    ASSERT_EQ(Vector2<double>(number, 0.0).IRound().x, expected) << number;
    const auto small = static_cast<float>(number);
    const auto expected_small = static_cast<int>(static_cast<unsigned>(std::lrintf(small)));
    ASSERT_EQ(Vector2<float>(small, 0.0f).IRound().x, expected_small) << small;
  }
}

TEST(Vector, NormalizesByOneOverTheLength) {
  // A division by the length, squares summed in another order, in `double` or without rounding each
  // product: any of these gives other numbers here.
  EXPECT_EQ(Vector3<float>(8.3f, 4.1f, 2.2f).Normalize(),
            Vector3<float>(0x1.be9cp-1f, 0x1.b93a8p-2f, 0x1.d98378p-3f));
}

TEST(Vector, NormalizesZeroToZero) {
  EXPECT_EQ(Vector3<float>().Normalize(), Vector3<float>());
}

TEST(Vector, NormalizesToZeroWhatIsTooShortToSquare) {
  EXPECT_EQ(Vector3<float>(1e-30f, 0.0f, -1e-30f).Normalize(), Vector3<float>());
}

TEST(Vector, TurnsTheFirstFactorOfACrossProductTowardsTheSecond) {
  EXPECT_EQ(CrossProduct(Vector3<double>(1, 0, 0), Vector3<double>(0, 1, 0)),
            Vector3<double>(0, 0, 1));
}

}  // namespace
}  // namespace geometry3d
