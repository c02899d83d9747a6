// SPDX-License-Identifier: Apache-2.0
// Building and animation streams. Buildings: nanoseconds and bytes a roof triangle for encoding,
// decoding and extruding made towns of towers, beside meshoptimizer's codecs over the same points
// and triangles, which work on integers that were quantised before and leave them so, in one piece
// for the whole town. Animations: megabytes of raw keyframes a second, beside copying them.
#include <benchmark/benchmark.h>
#include <meshoptimizer.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "util/geometry3d/mesh/building_z_shape.h"
#include "util/geometry3d/mesh/shape_animation.h"
#include "vortan/diorama/animated_shape_coder.h"
#include "vortan/diorama/building_z_coder.h"

namespace {

using geometry3d::AnimationSet;
using geometry3d::BuildingZ;
using geometry3d::PolygonZ;
using geometry3d::Shape;

constexpr int kSides = 12;
constexpr int kTowerTriangles = kSides - 2;
constexpr double kFactor = 256.0;

// `triangles` roof triangles as towers of twelve sides in rows, ten metres apart.
void MakeTown(std::int64_t triangles, BuildingZ* town) {
  const auto towers = static_cast<int>(triangles / kTowerTriangles);
  const auto row = static_cast<int>(std::sqrt(towers)) + 1;
  const double step = 2.0 * std::acos(-1.0) / kSides;
  for (int t = 0; t < towers; ++t) {
    PolygonZ* const tower = town->AddNewPolygon();
    for (int i = 0; i < kSides; ++i) {
      tower->mutable_points()->push_back({10.0 * (t % row) + 4.0 * std::cos(step * i),
                                          10.0 * (t / row) + 4.0 * std::sin(step * i)});
      if (i >= 2) {
        tower->mutable_triangle_indices()->insert(tower->mutable_triangle_indices()->end(),
                                                  {0, i - 1, i});
      }
    }
    *tower->mutable_contour_sizes() = {kSides};
    tower->set_z(3.0 + t % 40);
  }
}

void CountTriangles(benchmark::State* state, std::size_t stream_bytes) {
  const auto triangles = static_cast<double>(state->range(0));
  state->SetItemsProcessed(state->iterations() * state->range(0));
  state->counters["bytes_per_triangle"] = static_cast<double>(stream_bytes) / triangles;
  state->counters["ns_per_triangle"] =
      benchmark::Counter(static_cast<double>(state->iterations()) * triangles * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void EncodeBuilding(benchmark::State& state) {
  BuildingZ town;
  MakeTown(state.range(0), &town);
  std::size_t size = 0;
  for (auto _ : state) {
    vortan::BuildingZEncoder encoder;
    if (!encoder.EncodeBuildingZ(town)) {
      state.SkipWithError("not encoded");
      return;
    }
    size = static_cast<std::size_t>(encoder.buffer_size());
    benchmark::DoNotOptimize(encoder.buffer());
  }
  CountTriangles(&state, size);
}

void DecodeBuilding(benchmark::State& state) {
  BuildingZ town;
  MakeTown(state.range(0), &town);
  vortan::BuildingZEncoder encoder;
  encoder.EncodeBuildingZ(town);
  for (auto _ : state) {
    vortan::BuildingZDecoder decoder;
    decoder.Init(encoder.buffer(), encoder.buffer_size());
    BuildingZ decoded;
    if (!decoder.DecodeBuildingZ(&decoded) || decoded.polygons().size() != town.polygons().size()) {
      state.SkipWithError("not decoded");
      return;
    }
    benchmark::DoNotOptimize(decoded.polygons().data());
  }
  CountTriangles(&state, static_cast<std::size_t>(encoder.buffer_size()));
}

void ExtrudeBuilding(benchmark::State& state) {
  BuildingZ town;
  MakeTown(state.range(0), &town);
  for (auto _ : state) {
    Shape shape;
    if (!geometry3d::BuildingZShape::CreateShapeWithDefaults(town, &shape)) {
      state.SkipWithError("not extruded");
      return;
    }
    benchmark::DoNotOptimize(shape.points().data());
  }
  CountTriangles(&state, 0);
}

// The same points as integers and the same triangles, each in one list.
struct Plain {
  struct Point {
    std::int32_t x;
    std::int32_t y;
  };
  std::vector<Point> points;
  std::vector<unsigned> indices;

  explicit Plain(const BuildingZ& town) {
    for (const PolygonZ* const polygon : town.polygons()) {
      const auto base = static_cast<unsigned>(points.size());
      for (const auto& point : polygon->points()) {
        points.push_back({static_cast<std::int32_t>(std::lround(point.x * kFactor)),
                          static_cast<std::int32_t>(std::lround(point.y * kFactor))});
      }
      for (const int index : polygon->triangle_indices()) {
        indices.push_back(base + static_cast<unsigned>(index));
      }
    }
  }
};

struct PlainStream {
  std::vector<unsigned char> points;
  std::vector<unsigned char> indices;
};

void EncodePlain(const Plain& plain, PlainStream* stream) {
  stream->points.resize(meshopt_encodeVertexBufferBound(plain.points.size(), sizeof(Plain::Point)));
  stream->points.resize(meshopt_encodeVertexBuffer(stream->points.data(), stream->points.size(),
                                                   plain.points.data(), plain.points.size(),
                                                   sizeof(Plain::Point)));
  stream->indices.resize(meshopt_encodeIndexBufferBound(plain.indices.size(), plain.points.size()));
  stream->indices.resize(meshopt_encodeIndexBuffer(stream->indices.data(), stream->indices.size(),
                                                   plain.indices.data(), plain.indices.size()));
}

void EncodeMeshoptimizer(benchmark::State& state) {
  BuildingZ town;
  MakeTown(state.range(0), &town);
  const Plain plain(town);
  PlainStream stream;
  for (auto _ : state) {
    EncodePlain(plain, &stream);
    benchmark::DoNotOptimize(stream.points.data());
  }
  CountTriangles(&state, stream.points.size() + stream.indices.size());
}

void DecodeMeshoptimizer(benchmark::State& state) {
  BuildingZ town;
  MakeTown(state.range(0), &town);
  const Plain plain(town);
  PlainStream stream;
  EncodePlain(plain, &stream);
  for (auto _ : state) {
    std::vector<Plain::Point> points(plain.points.size());
    std::vector<unsigned> indices(plain.indices.size());
    if (meshopt_decodeVertexBuffer(points.data(), points.size(), sizeof(Plain::Point),
                                   stream.points.data(), stream.points.size()) != 0 ||
        meshopt_decodeIndexBuffer(indices.data(), indices.size(), sizeof(unsigned),
                                  stream.indices.data(), stream.indices.size()) != 0) {
      state.SkipWithError("not decoded");
      return;
    }
    benchmark::DoNotOptimize(points.data());
    benchmark::DoNotOptimize(indices.data());
  }
  CountTriangles(&state, stream.points.size() + stream.indices.size());
}

// Channels of a hundred keyframes that turn about an axis: five doubles each.
constexpr int kKeyframesPerChannel = 100;
constexpr std::int64_t kKeyframeBytes = 5 * sizeof(double);

void MakeAnimation(std::int64_t keyframes, AnimationSet* set) {
  using namespace geometry3d;
  auto* const animation = new Animation("turn");
  for (std::int64_t done = 0; done < keyframes; done += kKeyframesPerChannel) {
    auto* const channel = new AnimationChannel(static_cast<int>(done),
                                               new TranslationTransformValue({0.0, 0.0, 0.0}));
    for (int i = 0; i < kKeyframesPerChannel; ++i) {
      channel->mutable_keyframes()->push_back(
          new Keyframe(0.04 * i, new RotationAxisAngleModifier({0.0, 0.6, 0.8}, 3.6 * i)));
    }
    animation->mutable_channels()->push_back(channel);
  }
  set->mutable_animations()->push_back(animation);
}

void EncodeAnimation(benchmark::State& state) {
  AnimationSet set;
  MakeAnimation(state.range(0), &set);
  const Shape shape;
  std::string stream;
  for (auto _ : state) {
    if (!vortan::AnimatedShapeEncoder::EncodeToBuffer(shape, set, 3, &stream)) {
      state.SkipWithError("not encoded");
      return;
    }
    benchmark::DoNotOptimize(stream.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) * kKeyframeBytes);
}

void DecodeAnimation(benchmark::State& state) {
  AnimationSet set;
  MakeAnimation(state.range(0), &set);
  std::string stream;
  vortan::AnimatedShapeEncoder::EncodeToBuffer(Shape(), set, 3, &stream);
  for (auto _ : state) {
    Shape shape;
    AnimationSet decoded;
    if (!vortan::AnimatedShapeDecoder::DecodeFromBuffer(stream, &shape, &decoded)) {
      state.SkipWithError("not decoded");
      return;
    }
    benchmark::DoNotOptimize(decoded.animations().size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) * kKeyframeBytes);
}

void CopyKeyframes(benchmark::State& state) {
  const std::vector<char> raw(static_cast<std::size_t>(state.range(0) * kKeyframeBytes), 'k');
  for (auto _ : state) {
    const std::vector<char> copy = raw;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) * kKeyframeBytes);
}

BENCHMARK(EncodeBuilding)->RangeMultiplier(10)->Range(1000, 10000000);
BENCHMARK(EncodeMeshoptimizer)->RangeMultiplier(10)->Range(1000, 10000000);
BENCHMARK(DecodeBuilding)->RangeMultiplier(10)->Range(1000, 10000000);
BENCHMARK(DecodeMeshoptimizer)->RangeMultiplier(10)->Range(1000, 10000000);
BENCHMARK(ExtrudeBuilding)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(EncodeAnimation)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(DecodeAnimation)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(CopyKeyframes)->RangeMultiplier(10)->Range(1000, 1000000);

}  // namespace
