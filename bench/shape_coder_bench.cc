// SPDX-License-Identifier: Apache-2.0
// Shape streams: nanoseconds and bytes a triangle. Beside them stand meshoptimizer's codecs and
// Draco's sequential coder at the same 14 bits a coordinate. meshoptimizer works on integers that
// were quantised before and leaves them so; the others take and give floating-point numbers.
//
// Meshes have points and one index set of triangles: a made terrain of so many triangles, and the
// shared real ones where they are there. Each comes as given, row by row, and with its triangles
// and vertices reordered for reuse; that order is also coded as strips. Rows that end in "Full" add
// a normal and a texture coordinate to each point, which a shape names by two more arrays of
// indices.
#include <benchmark/benchmark.h>
#include <draco/compression/decode.h>
#include <draco/compression/encode.h>
#include <draco/mesh/mesh.h>
#include <malloc.h>
#include <meshoptimizer.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/shape_coder.h"

namespace {

constexpr int kBits = 14;
constexpr int kNormalBits = 8;
constexpr int kTexCoordBits = 12;
constexpr std::size_t kMostForDraco = 1000000;

struct Mesh {
  std::string name;
  std::vector<std::array<float, 3>> points;  // Each coordinate from 0 to 1.
  std::vector<unsigned> indices;
  std::size_t triangles() const { return indices.size() / 3; }
};

Mesh MakeTerrain(std::size_t triangles) {
  Mesh mesh;
  mesh.name = "terrain_" + std::to_string(triangles);
  const auto side =
      static_cast<unsigned>(std::lround(std::sqrt(static_cast<double>(triangles) / 2)));
  for (unsigned y = 0; y <= side; ++y) {
    for (unsigned x = 0; x <= side; ++x) {
      const float u = static_cast<float>(x) / static_cast<float>(side);
      const float v = static_cast<float>(y) / static_cast<float>(side);
      mesh.points.push_back(
          {u, v,
           0.5f + 0.2f * std::sin(9 * u) * std::cos(7 * v) + 0.01f * std::sin(300 * u + 200 * v)});
    }
  }
  for (unsigned y = 0; y < side; ++y) {
    for (unsigned x = 0; x < side; ++x) {
      const unsigned corner = y * (side + 1) + x;
      for (const unsigned index : {corner, corner + 1, corner + side + 1, corner + side + 1,
                                   corner + 1, corner + side + 2}) {
        mesh.indices.push_back(index);
      }
    }
  }
  return mesh;
}

// Into the unit cube, all axes by one factor.
void Normalise(Mesh* mesh) {
  std::array<float, 3> min = mesh->points[0];
  std::array<float, 3> max = mesh->points[0];
  for (const auto& point : mesh->points) {
    for (std::size_t k = 0; k < 3; ++k) {
      min[k] = std::min(min[k], point[k]);
      max[k] = std::max(max[k], point[k]);
    }
  }
  const float extent = std::max({max[0] - min[0], max[1] - min[1], max[2] - min[2]});
  for (auto& point : mesh->points) {
    for (std::size_t k = 0; k < 3; ++k) {
      point[k] = (point[k] - min[k]) / extent;
    }
  }
}

// The points and triangles of an OBJ file; none where it is not there.
Mesh ReadObj(const std::string& name, const std::string& path) {
  Mesh mesh;
  mesh.name = name;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "v") {
      std::array<float, 3> point{};
      words >> point[0] >> point[1] >> point[2];
      mesh.points.push_back(point);
    } else if (kind == "f") {
      for (std::string corner; words >> corner;) {
        mesh.indices.push_back(static_cast<unsigned>(std::stoul(corner)) - 1);
      }
    }
  }
  if (!mesh.points.empty()) {
    Normalise(&mesh);
  }
  return mesh;
}

// A plain-text PLY file with its vertices first, six numbers each.
Mesh ReadPly(const std::string& name, const std::string& path) {
  Mesh mesh;
  mesh.name = name;
  std::ifstream file(path);
  std::size_t vertices = 0;
  for (std::string line; std::getline(file, line) && line.rfind("end_header", 0) != 0;) {
    if (line.rfind("element vertex ", 0) == 0) {
      vertices = std::stoul(line.substr(15));
    }
  }
  for (std::size_t i = 0; i < vertices; ++i) {
    std::array<float, 3> point{};
    float normal = 0;
    file >> point[0] >> point[1] >> point[2] >> normal >> normal >> normal;
    mesh.points.push_back(point);
  }
  for (unsigned count = 0; file >> count;) {
    for (unsigned i = 0, index = 0; i < count && file >> index; ++i) {
      mesh.indices.push_back(index);
    }
  }
  if (!mesh.points.empty()) {
    Normalise(&mesh);
  }
  return mesh;
}

Mesh Reordered(const Mesh& mesh) {
  Mesh result = mesh;
  result.name += "/reordered";
  meshopt_optimizeVertexCache(result.indices.data(), mesh.indices.data(), mesh.indices.size(),
                              mesh.points.size());
  const std::size_t used = meshopt_optimizeVertexFetch(result.points.data(), result.indices.data(),
                                                       result.indices.size(), mesh.points.data(),
                                                       mesh.points.size(), sizeof(mesh.points[0]));
  result.points.resize(used);
  return result;
}

enum class Content { kPoints, kStrips, kFull };

// Some normal and texture coordinate of each point: there is nothing in a mesh to take them from.
std::array<float, 3> NormalAt(const std::array<float, 3>& point) {
  const float turn = 9 * point[0] + 7 * point[1];
  return {0.6f * std::sin(turn), 0.6f * std::cos(turn), 0.8f};
}

void MakeShape(const Mesh& mesh, Content content, geometry3d::Shape* shape) {
  for (const auto& point : mesh.points) {
    shape->mutable_points()->emplace_back(static_cast<double>(point[0]),
                                          static_cast<double>(point[1]),
                                          static_cast<double>(point[2]));
  }
  geometry3d::IndexSet* const set = shape->AddNewIndexSet();
  std::vector<unsigned> indices = mesh.indices;
  if (content == Content::kStrips) {
    set->set_format(geometry3d::IndexSet::kTriangleStrip);
    indices.resize(meshopt_stripifyBound(mesh.indices.size()));
    indices.resize(meshopt_stripify(indices.data(), mesh.indices.data(), mesh.indices.size(),
                                    mesh.points.size(), ~0u));
  }
  set->mutable_point_indices()->assign(indices.begin(), indices.end());
  if (content == Content::kFull) {
    for (const auto& point : mesh.points) {
      const auto normal = NormalAt(point);
      shape->mutable_normals()->emplace_back(normal[0], normal[1], normal[2]);
      shape->mutable_tex_coords()->emplace_back(point[0], point[1]);
    }
    *set->mutable_normal_indices() = set->point_indices();
    *set->mutable_tex_coord_indices() = set->point_indices();
  }
}

void Report(const Mesh& mesh, std::size_t bytes, benchmark::State* state) {
  const auto triangles = static_cast<double>(mesh.triangles());
  const double raw = static_cast<double>(mesh.points.size()) * 12 + triangles * 12;
  state->counters["bytes/triangle"] = static_cast<double>(bytes) / triangles;
  state->counters["time/triangle"] = benchmark::Counter(
      triangles, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state->SetBytesProcessed(state->iterations() * static_cast<std::int64_t>(raw));
}

using Job = std::function<void(benchmark::State&, const Mesh&)>;

std::unique_ptr<vortan::ShapeEncoder> MakeEncoder(int version) {
  std::unique_ptr<vortan::ShapeEncoder> encoder(vortan::ShapeEncoder::CreateEncoder(version));
  encoder->set_point_bits(kBits);
  encoder->set_normal_bits(kNormalBits);
  encoder->set_tex_coord_bits(kTexCoordBits);
  return encoder;
}

Job EncodeShape(int version, Content content) {
  return [=](benchmark::State& state, const Mesh& mesh) {
    geometry3d::Shape shape;
    MakeShape(mesh, content, &shape);
    std::size_t bytes = 0;
    for (auto _ : state) {
      const auto encoder = MakeEncoder(version);
      benchmark::DoNotOptimize(encoder->EncodeShape(shape));
      bytes = static_cast<std::size_t>(encoder->stats().total_bytes);
    }
    Report(mesh, bytes, &state);
  };
}

Job DecodeShape(int version, Content content) {
  return [=](benchmark::State& state, const Mesh& mesh) {
    std::string stream;
    {
      geometry3d::Shape shape;
      MakeShape(mesh, content, &shape);
      const auto encoder = MakeEncoder(version);
      encoder->EncodeShape(shape);
      encoder->get_buffer(&stream);
    }
    for (auto _ : state) {
      geometry3d::Shape shape;
      benchmark::DoNotOptimize(vortan::ShapeDecoder::DecodeFromBuffer(stream, &shape));
    }
    Report(mesh, stream.size(), &state);
  };
}

using Integers = std::array<std::uint16_t, 4>;

std::vector<Integers> Quantised(const Mesh& mesh) {
  std::vector<Integers> result;
  for (const auto& point : mesh.points) {
    const auto whole = [&](std::size_t k) {
      return static_cast<std::uint16_t>(std::lrint(point[k] * (1 << kBits)));
    };
    result.push_back({whole(0), whole(1), whole(2), 0});
  }
  return result;
}

// The same with a normal and a texture coordinate.
struct FullIntegers {
  Integers point;
  std::array<std::int8_t, 4> normal;
  std::array<std::uint16_t, 2> tex_coord;
};

std::vector<FullIntegers> QuantisedFull(const Mesh& mesh) {
  std::vector<FullIntegers> result;
  for (const Integers& point : Quantised(mesh)) {
    const auto normal = NormalAt(mesh.points[result.size()]);
    const auto whole = [](float value) {
      return static_cast<std::int8_t>(std::lrint(127 * value));
    };
    const auto coarse = [](std::uint16_t value) {
      return static_cast<std::uint16_t>(value >> (kBits - kTexCoordBits));
    };
    result.push_back({point,
                      {whole(normal[0]), whole(normal[1]), whole(normal[2]), 0},
                      {coarse(point[0]), coarse(point[1])}});
  }
  return result;
}

struct Optimised {
  std::vector<unsigned char> indices;
  std::vector<unsigned char> points;
};

template <typename Vertex>
void EncodeOptimised(const Mesh& mesh, const std::vector<Vertex>& points, Optimised* result) {
  result->indices.resize(meshopt_encodeIndexBufferBound(mesh.indices.size(), mesh.points.size()));
  result->indices.resize(meshopt_encodeIndexBuffer(result->indices.data(), result->indices.size(),
                                                   mesh.indices.data(), mesh.indices.size()));
  result->points.resize(meshopt_encodeVertexBufferBound(points.size(), sizeof(points[0])));
  result->points.resize(meshopt_encodeVertexBuffer(result->points.data(), result->points.size(),
                                                   points.data(), points.size(),
                                                   sizeof(points[0])));
}

template <typename Vertex>
void EncodeMeshoptimizer(benchmark::State& state, const Mesh& mesh,
                         const std::vector<Vertex>& points) {
  Optimised result;
  for (auto _ : state) {
    EncodeOptimised(mesh, points, &result);
    benchmark::DoNotOptimize(result.indices.data());
  }
  Report(mesh, result.indices.size() + result.points.size(), &state);
}

template <typename Vertex>
void DecodeMeshoptimizer(benchmark::State& state, const Mesh& mesh,
                         const std::vector<Vertex>& source) {
  Optimised coded;
  EncodeOptimised(mesh, source, &coded);
  for (auto _ : state) {
    std::vector<unsigned> indices(mesh.indices.size());
    std::vector<Vertex> points(mesh.points.size());
    meshopt_decodeIndexBuffer(indices.data(), indices.size(), sizeof(unsigned),
                              coded.indices.data(), coded.indices.size());
    meshopt_decodeVertexBuffer(points.data(), points.size(), sizeof(points[0]), coded.points.data(),
                               coded.points.size());
    benchmark::DoNotOptimize(indices.data());
    benchmark::DoNotOptimize(points.data());
  }
  Report(mesh, coded.indices.size() + coded.points.size(), &state);
}

// Adds an attribute of `Size` numbers a point, which `at` gives.
template <std::size_t Size, typename At>
void AddToDraco(draco::GeometryAttribute::Type type, const At& at, draco::Mesh* mesh) {
  const std::uint32_t count = mesh->num_points();
  draco::GeometryAttribute attribute;
  attribute.Init(type, nullptr, Size, draco::DT_FLOAT32, false, Size * sizeof(float), 0);
  const int id = mesh->AddAttribute(attribute, true, count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::array<float, Size> value = at(i);
    mesh->attribute(id)->SetAttributeValue(draco::AttributeValueIndex(i), value.data());
  }
}

std::unique_ptr<draco::Mesh> MakeDraco(const Mesh& mesh, Content content) {
  auto result = std::make_unique<draco::Mesh>();
  result->set_num_points(static_cast<std::uint32_t>(mesh.points.size()));
  const auto point = [&](std::size_t i) { return mesh.points[i]; };
  AddToDraco<3>(draco::GeometryAttribute::POSITION, point, result.get());
  if (content == Content::kFull) {
    AddToDraco<3>(
        draco::GeometryAttribute::NORMAL, [&](std::size_t i) { return NormalAt(point(i)); },
        result.get());
    AddToDraco<2>(
        draco::GeometryAttribute::TEX_COORD,
        [&](std::size_t i) {
          return std::array<float, 2>{point(i)[0], point(i)[1]};
        },
        result.get());
  }
  result->SetNumFaces(mesh.triangles());
  for (std::uint32_t i = 0; i < mesh.triangles(); ++i) {
    result->SetFace(draco::FaceIndex(i), {draco::PointIndex(mesh.indices[3 * i]),
                                          draco::PointIndex(mesh.indices[3 * i + 1]),
                                          draco::PointIndex(mesh.indices[3 * i + 2])});
  }
  return result;
}

void EncodeWithDraco(const draco::Mesh& mesh, draco::EncoderBuffer* buffer) {
  draco::Encoder encoder;
  encoder.SetEncodingMethod(draco::MESH_SEQUENTIAL_ENCODING);
  encoder.SetAttributeQuantization(draco::GeometryAttribute::POSITION, kBits);
  encoder.SetAttributeQuantization(draco::GeometryAttribute::NORMAL, kNormalBits);
  encoder.SetAttributeQuantization(draco::GeometryAttribute::TEX_COORD, kTexCoordBits);
  encoder.EncodeMeshToBuffer(mesh, buffer);
}

Job EncodeDraco(Content content) {
  return [=](benchmark::State& state, const Mesh& mesh) {
    const auto source = MakeDraco(mesh, content);
    std::size_t bytes = 0;
    for (auto _ : state) {
      draco::EncoderBuffer buffer;
      EncodeWithDraco(*source, &buffer);
      bytes = buffer.size();
    }
    Report(mesh, bytes, &state);
  };
}

Job DecodeDraco(Content content) {
  return [=](benchmark::State& state, const Mesh& mesh) {
    draco::EncoderBuffer coded;
    EncodeWithDraco(*MakeDraco(mesh, content), &coded);
    for (auto _ : state) {
      draco::DecoderBuffer buffer;
      buffer.Init(coded.data(), coded.size());
      draco::Decoder decoder;
      benchmark::DoNotOptimize(decoder.DecodeMeshFromBuffer(&buffer).ok());
    }
    Report(mesh, coded.size(), &state);
  };
}

// A mesh is made when its first benchmark runs, so that a filter does not pay for the others.
class LazyMesh {
 public:
  explicit LazyMesh(std::function<Mesh()> make) : make_(std::move(make)) {}
  const Mesh& get() {
    if (mesh_.points.empty()) {
      mesh_ = make_();
    }
    return mesh_;
  }

 private:
  std::function<Mesh()> make_;
  Mesh mesh_;
};

void Register(const std::string& mesh_name, bool strips, bool draco, std::function<Mesh()> make) {
  const auto mesh = std::make_shared<LazyMesh>(std::move(make));
  const auto add = [&](const std::string& name, const Job& job) {
    benchmark::RegisterBenchmark((name + "/" + mesh_name).c_str(), [=](benchmark::State& state) {
      job(state, mesh->get());
    })->Unit(benchmark::kMillisecond);
  };
  for (const int version : {1, 3}) {
    const std::string suffix = "Shape" + std::to_string(version);
    add("Encode" + suffix, EncodeShape(version, Content::kPoints));
    add("Decode" + suffix, DecodeShape(version, Content::kPoints));
  }
  if (strips) {
    add("EncodeShape3Strips", EncodeShape(3, Content::kStrips));
    add("DecodeShape3Strips", DecodeShape(3, Content::kStrips));
  }
  const auto encode = [](auto quantise) {
    return [=](benchmark::State& state, const Mesh& each) {
      EncodeMeshoptimizer(state, each, quantise(each));
    };
  };
  const auto decode = [](auto quantise) {
    return [=](benchmark::State& state, const Mesh& each) {
      DecodeMeshoptimizer(state, each, quantise(each));
    };
  };
  add("EncodeMeshoptimizer", encode(Quantised));
  add("DecodeMeshoptimizer", decode(Quantised));
  add("EncodeShape3Full", EncodeShape(3, Content::kFull));
  add("DecodeShape3Full", DecodeShape(3, Content::kFull));
  add("EncodeMeshoptimizerFull", encode(QuantisedFull));
  add("DecodeMeshoptimizerFull", decode(QuantisedFull));
  if (draco) {
    add("EncodeDraco", EncodeDraco(Content::kPoints));
    add("DecodeDraco", DecodeDraco(Content::kPoints));
    add("EncodeDracoFull", EncodeDraco(Content::kFull));
    add("DecodeDracoFull", DecodeDraco(Content::kFull));
  }
}

void RegisterBothOrders(const Mesh& named, bool draco, const std::function<Mesh()>& make) {
  Register(named.name + "/given", false, draco, make);
  Register(named.name + "/reordered", true, draco, [=] { return Reordered(make()); });
}

int RegisterAll() {
  // Large blocks come back from the heap warm, for all alike; else their page faults are measured.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  for (const std::size_t triangles : {1000u, 100000u, 1000000u, 10000000u}) {
    Mesh named;
    named.name = "terrain_" + std::to_string(triangles);
    RegisterBothOrders(named, triangles <= kMostForDraco, [=] { return MakeTerrain(triangles); });
  }
  const std::string folder = PELORIN_SHARED_DATA "/mesh/";
  for (const Mesh& mesh : {ReadObj("spot", folder + "spot/spot_triangulated.obj"),
                           ReadPly("parasaurolophus", folder + "parasaurolophus_6700.ply")}) {
    if (!mesh.points.empty()) {
      RegisterBothOrders(mesh, true, [=] { return mesh; });
    }
  }
  return 0;
}

[[maybe_unused]] const int registered = RegisterAll();

}  // namespace
