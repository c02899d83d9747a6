// SPDX-License-Identifier: Apache-2.0
// Streams of all versions, sound and damaged, beside twins that do the same field by field.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "tests/vortan/diorama/random_shape.h"
#include "tests/vortan/diorama/shape_builder.h"
#include "tests/vortan/diorama/shape_coder_twin.h"
#include "tests/vortan/diorama/shape_twin_match.h"
#include "vortan/diorama/shape_coder.h"

namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;
using test_support::DecodesAsItsTwin;
using test_support::RandomShape;
using vortan::ShapeDecoder;
using vortan::ShapeEncoder;
constexpr unsigned kStart = 20261121;
constexpr std::size_t kBudget = 1 << 16;

std::string Encoded(const Shape& shape, int version, int bits) {
  const std::unique_ptr<ShapeEncoder> encoder(ShapeEncoder::CreateEncoder(version));
  encoder->set_point_bits(bits);
  encoder->set_normal_bits(bits);
  encoder->set_tex_coord_bits(bits);
  std::string stream;
  if (encoder->EncodeShape(shape)) {
    encoder->get_buffer(&stream);
  }
  return stream;
}

int BitsOf(int version, RandomShape* random) {
  return version == 3 ? static_cast<int>(random->Below(20)) - 4
                      : static_cast<int>(random->Below(9)) + 1;
}

class ShapeStream : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(OfVersion, ShapeStream, testing::Values(1, 2, 3));

TEST_P(ShapeStream, IsWhatTheTwinWrites) {
  int held = 0;
  for (unsigned round = 0; round < 400; ++round) {
    RandomShape random(kStart + round);
    Shape shape;
    random.Fill(&shape);
    const int bits = BitsOf(GetParam(), &random);
    const std::string stream = Encoded(shape, GetParam(), bits);
    if (stream.empty()) {
      continue;
    }
    ++held;
    ASSERT_EQ(stream, test_support::ShapeEncoderTwin(GetParam(), bits).Encode(shape)) << round;
  }
  EXPECT_GT(held, 300);
}

template <typename Vector>
void ExpectNear(const Vector& a, const Vector& b, double step) {
  const auto expect_near = [&](auto x, auto y) {
    const auto expected = static_cast<double>(y);
    // The share of the value is the rounding of its product in `float`.
    EXPECT_NEAR(static_cast<double>(x), expected,
                step / 2 * (1 + 1e-6) + 1e-6 * std::abs(expected));
  };
  expect_near(a.x, b.x);
  expect_near(a.y, b.y);
}

template <typename Vector>
void ExpectSameVertices(const std::vector<int>& a, const std::vector<Vector>& a_pool,
                        const std::vector<int>& b, const std::vector<Vector>& b_pool, double step) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    ASSERT_EQ(a[i] < 0, b[i] < 0);
    if (a[i] >= 0) {
      ExpectNear(a_pool.at(static_cast<std::size_t>(a[i])),
                 b_pool.at(static_cast<std::size_t>(b[i])), step);
    }
  }
}

TEST_P(ShapeStream, BringsEveryVertexBackWithinHalfAStep) {
  for (unsigned round = 0; round < 400; ++round) {
    RandomShape random(kStart + round);
    Shape shape;
    random.Fill(&shape);
    // With more, version 3 loses the smallest of the far values.
    const int bits = std::min(BitsOf(GetParam(), &random), 9);
    const std::string stream = Encoded(shape, GetParam(), bits);
    if (stream.empty()) {
      continue;
    }
    Shape read;
    ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream, &read)) << round;
    const double step = 1 / (std::ldexp(1.0, bits) - (GetParam() == 3 ? 0 : 1));
    ASSERT_EQ(read.index_sets().size(), shape.index_sets().size());
    for (std::size_t i = 0; i < shape.index_sets().size(); ++i) {
      const IndexSet& a = *read.index_sets()[i];
      const IndexSet& b = *shape.index_sets()[i];
      EXPECT_TRUE(a.IsEqual(b));
      ExpectSameVertices(a.point_indices(), read.points(), b.point_indices(), shape.points(), step);
      ExpectSameVertices(a.normal_indices(), read.normals(), b.normal_indices(), shape.normals(),
                         step);
      ExpectSameVertices(a.tex_coord_indices(), read.tex_coords(), b.tex_coord_indices(),
                         shape.tex_coords(), step);
    }
  }
}

TEST_P(ShapeStream, MayBeFollowedByAnything) {
  RandomShape random(kStart);
  Shape shape;
  random.Fill(&shape);
  test_support::AddFullMaterial(&shape);
  const std::string stream = Encoded(shape, GetParam(), 6);
  Shape alone;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream, &alone));
  Shape followed;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream + std::string(100, '\xFF'), &followed));
  EXPECT_TRUE(test_support::SameShapes(followed, alone));
}

TEST_P(ShapeStream, DecodesAsTheTwinDoesWhereverItIsCut) {
  for (unsigned round = 0; round < 25; ++round) {
    RandomShape random(kStart + round);
    Shape shape;
    random.Fill(&shape);
    test_support::AddFullMaterial(&shape);
    const std::string stream = Encoded(shape, GetParam(), BitsOf(GetParam(), &random));
    for (std::size_t size = 5; size < stream.size(); ++size) {
      ASSERT_TRUE(DecodesAsItsTwin(stream.substr(0, size), kBudget)) << round << " cut at " << size;
    }
  }
}

TEST_P(ShapeStream, DecodesAsTheTwinDoesWithFlippedBits) {
  int rounds_with_a_stream = 0;
  for (unsigned round = 0; round < 40; ++round) {
    RandomShape random(kStart + round);
    Shape shape;
    random.Fill(&shape);
    test_support::AddFullMaterial(&shape);
    const std::string stream = Encoded(shape, GetParam(), BitsOf(GetParam(), &random));
    rounds_with_a_stream += !stream.empty();
    for (int damage = 0; damage < 60 && !stream.empty(); ++damage) {
      std::string damaged = stream;
      for (std::size_t flips = random.Below(4) + 1; flips > 0; --flips) {
        const std::size_t bit = 32 + random.Below(8 * stream.size() - 32);
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
      }
      ASSERT_TRUE(DecodesAsItsTwin(damaged, kBudget)) << round << " " << damage;
    }
  }
  EXPECT_GT(rounds_with_a_stream, 30);
}

TEST_P(ShapeStream, DecodesAsTheTwinDoesFromNoise) {
  for (unsigned round = 0; round < 3000; ++round) {
    RandomShape random(kStart + round);
    std::string stream{'S', 'E', static_cast<char>(GetParam()), '\0'};
    // Few one bits make small counts.
    const bool sparse = random.Below(2) == 0;
    for (std::size_t size = random.Below(120) + 1; size > 0; --size) {
      const std::size_t byte = random.Below(256);
      stream += static_cast<char>(sparse ? byte & random.Below(256) & random.Below(256) : byte);
    }
    ASSERT_TRUE(DecodesAsItsTwin(stream, kBudget)) << round;
  }
}

}  // namespace
