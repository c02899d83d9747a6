// SPDX-License-Identifier: Apache-2.0
// The meshes that `pelorin mesh` and `pelorin building` write, opened by a program that has nothing
// in common with what wrote them: gltfpack, with readers of its own for GLB and OBJ.
#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLines = 1;
constexpr std::size_t kTriangles = 4;

// What the other program found in a file.
struct Found {
  std::size_t triangles = 0;
  std::size_t lines = 0;
  std::array<double, 3> low;
  std::array<double, 3> high;
  std::set<std::string> materials;
  std::set<std::string> textures;
};

class MeshReaders : public CommandTest {
 protected:
  static void Run(const std::vector<std::string>& arguments) {
    const CommandRun run = RunPelorin(arguments);
    ASSERT_EQ(run.exit_code, 0) << run.err;
  }

  // By way of its own output, which has the file's numbers as they are and its nodes resolved.
  Found Open(const std::string& path) const {
    const std::string copy = Path("copy.gltf");
    RunOther("gltfpack -noq -km -i '" + path + "' -o '" + copy + "'");
    const Json document = Json::parse(Content(copy));
    Found found;
    found.low.fill(std::numeric_limits<double>::infinity());
    found.high.fill(-std::numeric_limits<double>::infinity());
    for (const Json& mesh : document["meshes"]) {
      for (const Json& primitive : mesh["primitives"]) {
        const Json& corners = document["accessors"][primitive["indices"].get<std::size_t>()];
        const auto count = corners["count"].get<std::size_t>();
        const std::size_t mode = primitive.value("mode", kTriangles);
        (mode == kLines ? found.lines : found.triangles) += count / (mode == kLines ? 2 : 3);
        const Json& points =
            document["accessors"][primitive["attributes"]["POSITION"].get<std::size_t>()];
        for (std::size_t axis = 0; axis < 3; ++axis) {
          found.low[axis] = std::min(found.low[axis], points["min"][axis].get<double>());
          found.high[axis] = std::max(found.high[axis], points["max"][axis].get<double>());
        }
      }
    }
    for (const Json& material : document.value("materials", Json::array())) {
      found.materials.insert(material.value("name", ""));
    }
    for (const Json& image : document.value("images", Json::array())) {
      found.textures.insert(image.value("uri", ""));
    }
    return found;
  }

  static void ExpectBox(const Found& found, const std::array<double, 3>& low,
                        const std::array<double, 3>& high, double tolerance) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(found.low[axis], low[axis], tolerance) << axis;
      EXPECT_NEAR(found.high[axis], high[axis], tolerance) << axis;
    }
  }
};

// A pyramid without its base, two faces with bricks and two plain green ones.
constexpr char kPyramid[] =
    "mtllib pyramid.mtl\nv 0 0 0\nv 10.3 0 0\nv 10.3 10.7 0\nv 0 10.7 0\nv 5.1 5.2 7.7\n"
    "vt 0 0\nvt 1 0\nvt 0.5 1\nvn 0 -1 0.5\nvn 1 0 0.5\nvn 0 1 0.5\nvn -1 0 0.5\n"
    "usemtl bricks\nf 1/1/1 2/2/1 5/3/1\nf 2/1/2 3/2/2 5/3/2\n"
    "usemtl green\nf 3/1/3 4/2/3 5/3/3\nf 4/1/4 1/2/4 5/3/4\n";
constexpr char kMaterials[] =
    "newmtl bricks\nKd 1 0 0\nmap_Kd bricks.png\nnewmtl green\nKd 0 1 0\n";

TEST_F(MeshReaders, FindADecodedMeshInGlbAndObj) {
  Write(Path("pyramid.obj"), kPyramid);
  Write(Path("pyramid.mtl"), kMaterials);
  Run({"mesh", "encode", Path("pyramid.obj"), "--points-bits", "12", "-o", Path("p.shape")});
  for (const char* name : {"out.glb", "out.obj"}) {
    Run({"mesh", "decode", Path("p.shape"), "-o", Path(name)});
    const Found found = Open(Path(name));
    EXPECT_EQ(found.triangles, 4u) << name;
    EXPECT_EQ(found.lines, 0u) << name;
    ExpectBox(found, {0, 0, 0}, {10.3, 10.7, 7.7}, 0.5 / 4096 + 1e-6);
    EXPECT_EQ(found.textures, (std::set<std::string>{"bricks.png"})) << name;
  }
  const std::set<std::string> materials = Open(Path("out.glb")).materials;
  EXPECT_EQ(materials.count("material-0"), 1u);
  EXPECT_EQ(materials.count("material-1"), 1u);
}

TEST_F(MeshReaders, FindBuildingsInGlbAndObj) {
  Write(Path("house.geojson"),
        R"({"type":"Feature","properties":{"height":12},"geometry":{"type":"Polygon","coordinates":
[[[-0.0002,-0.0001],[0.0002,-0.0001],[0.0002,0.0001],[-0.0002,0.0001],[-0.0002,-0.0001]]]}})");
  Run({"building", Path("house.geojson"), "--origin", "0,0", "-o", Path("house.zb")});
  // 0.0001 degrees on the ground.
  const double metres = 11.12;
  Run({"building", Path("house.zb"), "--base", "-2", "-o", Path("house.glb")});
  const Found glb = Open(Path("house.glb"));
  EXPECT_EQ(glb.triangles, 10u);  // Two of the roof, two of each wall.
  EXPECT_EQ(glb.lines, 12u);      // Around the roof and the ground, and between the walls.
  ExpectBox(glb, {-2 * metres, -2, -metres}, {2 * metres, 12, metres}, 0.01);
  EXPECT_EQ(glb.materials.count("material-0"), 1u);
  EXPECT_EQ(glb.materials.count("material-1"), 1u);
  Run({"building", Path("house.zb"), "--base", "-2", "-o", Path("house.obj")});
  const Found obj = Open(Path("house.obj"));
  EXPECT_EQ(obj.triangles, 10u);
  ExpectBox(obj, {-2 * metres, -metres, -2}, {2 * metres, metres, 12}, 0.01);
}

TEST_F(MeshReaders, FindEverySharedMesh) {
  const std::filesystem::path folder = PELORIN_SHARED_DATA "/mesh";
  if (!std::filesystem::exists(folder)) {
    GTEST_SKIP() << "no shared data at " << folder;
  }
  for (const char* name : {"spot/spot_triangulated.obj", "delft/testarea.obj",
                           "parasaurolophus_6700.ply", "house-5-3.glb"}) {
    const std::string source = (folder / name).string();
    const Json report = Json::parse(RunPelorin({"mesh", "info", source, "--json"}).out);
    const auto low = report["extents"]["min"].get<std::array<double, 3>>();
    const auto high = report["extents"]["max"].get<std::array<double, 3>>();
    Run({"mesh", "encode", source, "-o", Path("m.shape"), "--overwrite"});
    for (const char* copy : {"m.glb", "m.obj"}) {
      Run({"mesh", "decode", Path("m.shape"), "-o", Path(copy), "--overwrite"});
      const Found found = Open(Path(copy));
      // It leaves out the triangles that have two corners in the same place.
      const auto triangles = report["triangles"].get<std::size_t>();
      EXPECT_LE(found.triangles, triangles) << name << " " << copy;
      EXPECT_GE(found.triangles, triangles - triangles / 500) << name << " " << copy;
      // It holds coordinates as floats, which are 1/32 apart in the Dutch grid.
      ExpectBox(found, low, high, std::max(0.5 / 256, high[1] / (1 << 24)) + 1e-6);
    }
  }
}

}  // namespace
}  // namespace command
}  // namespace pelorin
