// SPDX-License-Identifier: Apache-2.0
#include "util/coding/mathlimits.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>

namespace {

template <typename T>
class IntegerLimits : public testing::Test {};
using Integers = testing::Types<signed char, unsigned char, short, unsigned short, int, unsigned,
                                long, unsigned long, long long, unsigned long long>;
// The empty argument is for the macro's dots, which clang wants filled.
TYPED_TEST_SUITE(IntegerLimits, Integers, );

TYPED_TEST(IntegerLimits, HasNeitherFractionNorError) {
  using Limits = MathLimits<TypeParam>;
  EXPECT_TRUE(Limits::kIsInteger);
  EXPECT_EQ(Limits::kIsSigned, static_cast<TypeParam>(-1) < static_cast<TypeParam>(1));
  EXPECT_EQ(Limits::kPosMin, static_cast<TypeParam>(1));
  EXPECT_EQ(Limits::kPosMax, Limits::kMax);
  EXPECT_EQ(Limits::kEpsilon, static_cast<TypeParam>(1));
  EXPECT_EQ(Limits::kStdError, static_cast<TypeParam>(0));
  EXPECT_EQ(Limits::kMin10Exp, 0);
}

TYPED_TEST(IntegerLimits, HasTheLargestPowerOfTenThatFits) {
  TypeParam rest = MathLimits<TypeParam>::kMax;
  int exponent = 0;
  for (; rest >= 10; rest = static_cast<TypeParam>(rest / 10)) {
    ++exponent;
  }
  EXPECT_EQ(MathLimits<TypeParam>::kMax10Exp, exponent);
}

TEST(MathLimits, HoldsTheEndsOfTheIntegers) {
  EXPECT_EQ(MathLimits<signed char>::kMin, SCHAR_MIN);
  EXPECT_EQ(MathLimits<unsigned char>::kMax, UCHAR_MAX);
  EXPECT_EQ(MathLimits<short>::kMax, SHRT_MAX);
  EXPECT_EQ(MathLimits<unsigned short>::kMax, USHRT_MAX);
  EXPECT_EQ(MathLimits<int>::kMin, INT_MIN);
  EXPECT_EQ(MathLimits<int>::kMax, INT_MAX);
  EXPECT_EQ(MathLimits<unsigned>::kMin, 0u);
  EXPECT_EQ(MathLimits<unsigned>::kMax, UINT_MAX);
  EXPECT_EQ(MathLimits<long>::kMin, LONG_MIN);
  EXPECT_EQ(MathLimits<unsigned long>::kMax, ULONG_MAX);
  EXPECT_EQ(MathLimits<long long>::kMax, LLONG_MAX);
  EXPECT_EQ(MathLimits<unsigned long long>::kMax, ULLONG_MAX);
}

TEST(MathLimits, TakesTheLowestIntegerAsTheNegativeMaximum) {
  EXPECT_EQ(MathLimits<int>::kNegMax, INT_MIN);
  EXPECT_EQ(MathLimits<int>::kNegMin, -1);
  EXPECT_EQ(MathLimits<long long>::kNegMax, LLONG_MIN);
}

TEST(MathLimits, HoldsTheExponentsOfTheIntegers) {
  EXPECT_EQ(MathLimits<int>::kMax10Exp, 9);
  EXPECT_EQ(MathLimits<long long>::kMax10Exp, 18);
  EXPECT_EQ(MathLimits<unsigned long long>::kMax10Exp, 19);
}

template <typename T>
class FloatLimits : public testing::Test {};
using Floats = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(FloatLimits, Floats, );

TYPED_TEST(FloatLimits, IsSymmetricAboutZero) {
  using Limits = MathLimits<TypeParam>;
  EXPECT_TRUE(Limits::kIsSigned);
  EXPECT_FALSE(Limits::kIsInteger);
  EXPECT_EQ(Limits::kMin, -Limits::kMax);
  EXPECT_EQ(Limits::kNegMax, -Limits::kMax);
  EXPECT_EQ(Limits::kPosMax, Limits::kMax);
  EXPECT_EQ(Limits::kNegMin, -Limits::kPosMin);
  EXPECT_EQ(Limits::kStdError, Limits::kEpsilon * 32);
}

TYPED_TEST(FloatLimits, HasInfinitiesAndNaN) {
  using Limits = MathLimits<TypeParam>;
  EXPECT_GT(Limits::kPosInf, Limits::kMax);
  EXPECT_LT(Limits::kNegInf, Limits::kMin);
  EXPECT_TRUE(std::isnan(Limits::kNaN));
}

TEST(MathLimits, HoldsTheNumbersOfTheFloatingTypes) {
  EXPECT_EQ(MathLimits<float>::kMax, FLT_MAX);
  EXPECT_EQ(MathLimits<float>::kPosMin, FLT_MIN);
  EXPECT_EQ(MathLimits<float>::kEpsilon, FLT_EPSILON);
  EXPECT_EQ(MathLimits<double>::kPosMin, DBL_MIN);
  EXPECT_EQ(MathLimits<double>::kEpsilon, DBL_EPSILON);
  EXPECT_EQ(MathLimits<float>::kPrecisionDigits, 6);
  EXPECT_EQ(MathLimits<float>::kMin10Exp, -37);
  EXPECT_EQ(MathLimits<float>::kMax10Exp, 38);
  EXPECT_EQ(MathLimits<double>::kPrecisionDigits, 15);
  EXPECT_EQ(MathLimits<double>::kMin10Exp, -307);
  EXPECT_EQ(MathLimits<double>::kMax10Exp, 308);
  EXPECT_EQ(MathLimits<long double>::kPrecisionDigits, 18);
  EXPECT_EQ(MathLimits<long double>::kMin10Exp, -4931);
  EXPECT_EQ(MathLimits<long double>::kMax10Exp, 4932);
}

}  // namespace
