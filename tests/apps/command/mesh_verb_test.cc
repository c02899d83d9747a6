// SPDX-License-Identifier: Apache-2.0
// `pelorin mesh` as its users meet it.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/apps/command/command_runner.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::json;
using MeshVerb = CommandTest;

// A square pyramid without its base, the first face red.
constexpr char kPyramid[] = "mtllib pyramid.mtl\nv 0 0 0\nv 10.3 0 0\nv 10.3 10.7 0\nv 0 10.7 0\n"
                            "v 5.1 5.2 7.7\nvt 0 0\nvt 1 0\nvt 0.5 1\nusemtl red\n"
                            "f 1/1 2/2 5/3\nf 2/1 3/2 5/3\nf 3/1 4/2 5/3\nf 4/1 1/2 5/3\n";
constexpr char kRed[] = "newmtl red\nKd 1 0 0\nmap_Kd bricks.png\n";

void ExpectOneLine(const CommandRun& run, int exit_code, const std::string& part) {
  EXPECT_EQ(run.exit_code, exit_code) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  EXPECT_NE(run.err.find(part), std::string::npos) << run.err;
  EXPECT_EQ(run.out, "");
}

TEST_F(MeshVerb, EncodesAMeshAndDecodesItToEveryFormat) {
  Write(Path("pyramid.obj"), kPyramid);
  Write(Path("pyramid.mtl"), kRed);
  const CommandRun encode =
      RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("pyramid.shape")});
  ASSERT_EQ(encode.exit_code, 0) << encode.err;
  EXPECT_EQ(Content(Path("pyramid.shape")).rfind("SE\x03", 0), 0u);
  for (const char* name : {"out.obj", "out.ply", "out.glb"}) {
    const CommandRun decode =
        RunPelorin({"mesh", "decode", Path("pyramid.shape"), "-o", Path(name)});
    ASSERT_EQ(decode.exit_code, 0) << decode.err;
    const CommandRun validate = RunPelorin({"mesh", "validate", Path(name)});
    EXPECT_EQ(validate.exit_code, 0) << validate.err;
    EXPECT_NE(validate.err.find("4 triangles"), std::string::npos) << validate.err;
  }
  EXPECT_NE(Content(Path("out.mtl")).find("map_Kd bricks.png"), std::string::npos);
  EXPECT_NE(Content(Path("out.obj")).find("mtllib out.mtl"), std::string::npos);
}

TEST_F(MeshVerb, ReportsSizesExtentsAndErrorsAsJson) {
  Write(Path("pyramid.obj"), kPyramid);
  Write(Path("pyramid.mtl"), kRed);
  for (const char* version : {"1", "2", "3"}) {
    const CommandRun run = RunPelorin({"mesh", "info", Path("pyramid.obj"), "--json", "--version",
                                       version, "--points-bits", "10"});
    ASSERT_EQ(run.exit_code, 0) << run.err;
    const Json report = Json::parse(run.out);
    EXPECT_EQ(report["file"], "pyramid.obj");
    EXPECT_EQ(report["version"], std::stoi(version));
    EXPECT_EQ(report["points_bits"], 10);
    EXPECT_EQ(report["triangles"], 4);
    EXPECT_EQ(report["textures"], Json::array({"bricks.png"}));
    EXPECT_EQ(report["extents"]["max"], Json::array({10.3, 10.7, 7.7}));
    EXPECT_DOUBLE_EQ(report["bits_per_triangle"].get<double>(),
                     report["stream_bytes"].get<double>() * 2);
    int sum = 0;
    for (const auto& [name, bytes] : report["sections"].items()) {
      sum += bytes.get<int>();
    }
    EXPECT_EQ(sum, report["stream_bytes"].get<int>());
    EXPECT_GT(report["error"]["max"].get<double>(), 0);
    EXPECT_LE(report["error"]["max_axis"].get<double>(), 0.5 / 1023 + 1e-12);
    EXPECT_LE(report["error"]["rms"].get<double>(), report["error"]["max"].get<double>());
  }
}

TEST_F(MeshVerb, ComparesAStreamWithItsSource) {
  Write(Path("pyramid.obj"), kPyramid);
  ASSERT_EQ(RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape")}).exit_code,
            0);
  const Json alone = Json::parse(RunPelorin({"mesh", "info", Path("p.shape"), "--json"}).out);
  EXPECT_TRUE(alone["error"].is_null());
  EXPECT_TRUE(alone["sections"].is_object());
  const Json both = Json::parse(
      RunPelorin({"mesh", "info", Path("p.shape"), "--source", Path("pyramid.obj"), "--json"}).out);
  EXPECT_LE(both["error"]["max_axis"].get<double>(), 0.5 / 256);
  Write(Path("other.obj"), "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  ExpectOneLine(RunPelorin({"mesh", "info", Path("p.shape"), "--source", Path("other.obj")}), 1,
                "other triangles");
}

TEST_F(MeshVerb, PicksTheBitsForAnErrorAndOrdersForSize) {
  Write(Path("pyramid.obj"), kPyramid);
  const Json report = Json::parse(RunPelorin({"mesh", "info", Path("pyramid.obj"), "--max-error",
                                              "0.0001", "--optimize", "--json"})
                                      .out);
  EXPECT_LE(report["error"]["max"].get<double>(), 0.0001);
  EXPECT_GT(report["points_bits"].get<int>(), 8);
  EXPECT_EQ(report["triangles"], 4);
}

TEST_F(MeshVerb, ShowsAMeshBeforeAndAfterOnAPage) {
  Write(Path("pyramid.obj"), kPyramid);
  const CommandRun run =
      RunPelorin({"mesh", "info", Path("pyramid.obj"), "--html", "-o", Path("p.html")});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string page = Content(Path("p.html"));
  EXPECT_EQ(page.rfind("<!DOCTYPE html>", 0), 0u);
  EXPECT_NE(page.find("\"triangles\":4"), std::string::npos);
}

TEST_F(MeshVerb, RefusesDamagedFilesInOneLineAndWritesNothing) {
  Write(Path("pyramid.obj"), kPyramid);
  ASSERT_EQ(RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape")}).exit_code,
            0);
  const std::string stream = Content(Path("p.shape"));
  Write(Path("cut.shape"), stream.substr(0, stream.size() / 2));
  Write(Path("bad.glb"), "glTF\x02");
  Write(Path("bad.ply"), "ply\nformat ascii 1.0\nelement vertex 99999999999\nend_header\n");
  Write(Path("bad.obj"), "v 0 0 0\nf 1 2 3\n");
  const auto before = Files();
  ExpectOneLine(RunPelorin({"mesh", "decode", Path("cut.shape"), "-o", Path("x.glb")}), 1,
                "cut.shape: the stream is cut off or damaged");
  for (const char* name : {"bad.glb", "bad.ply", "bad.obj", "cut.shape", "missing.obj"}) {
    ExpectOneLine(RunPelorin({"mesh", "encode", Path(name), "-o", Path("x.shape")}), 1, name);
    ExpectOneLine(RunPelorin({"mesh", "validate", Path(name)}), 1, name);
    ExpectOneLine(RunPelorin({"mesh", "info", Path(name), "--json"}), 1, name);
  }
  EXPECT_EQ(Files(), before);
}

TEST_F(MeshVerb, SendsOtherStreamsToTheirVerb) {
  Write(Path("house.geojson"),
        R"({"type":"Polygon","coordinates":[[[0,0],[0.001,0],[0,0.001],[0,0]]]})");
  ASSERT_EQ(RunPelorin({"building", Path("house.geojson"), "-o", Path("house.zb")}).exit_code, 0);
  ExpectOneLine(RunPelorin({"mesh", "info", Path("house.zb")}), 1, "see 'pelorin building'");
  ExpectOneLine(RunPelorin({"mesh", "decode", Path("house.zb"), "-o", Path("x.glb")}), 1,
                "see 'pelorin building'");
  Write(Path("pyramid.obj"), kPyramid);
  ASSERT_EQ(RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape")}).exit_code,
            0);
  ExpectOneLine(RunPelorin({"building", Path("p.shape")}), 1, "see 'pelorin mesh'");
}

TEST_F(MeshVerb, TellsSizeAndErrorOfWhatItEncodes) {
  Write(Path("pyramid.obj"), kPyramid);
  const CommandRun run = RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape")});
  EXPECT_NE(run.err.find("4 triangles in " + std::to_string(Content(Path("p.shape")).size()) +
                         " bytes, 8 bits for points, every point within 0.00"),
            std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("warning: " + Path("pyramid.obj") + ": its material library pyramid.mtl"),
            std::string::npos);
  EXPECT_EQ(run.out, "");
}

TEST_F(MeshVerb, RoundsNumbersForReading) {
  Write(Path("pyramid.obj"), kPyramid);
  const CommandRun run = RunPelorin({"mesh", "info", Path("pyramid.obj")});
  EXPECT_NE(run.out.find("extents.max: 10.3, 10.7, 7.7\n"), std::string::npos) << run.out;
}

TEST_F(MeshVerb, RefusesAWrongCommandLine) {
  Write(Path("pyramid.obj"), kPyramid);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"mesh"},
        {"mesh", "melt", Path("pyramid.obj")},
        {"mesh", "encode", Path("pyramid.obj"), "--version", "4"},
        {"mesh", "encode", Path("pyramid.obj"), "--points-bits", "32"},
        {"mesh", "encode", Path("pyramid.obj"), "--max-error", "0"},
        {"mesh", "encode", Path("pyramid.obj"), "--max-error", "1", "--points-bits", "3"},
        {"mesh", "decode", Path("pyramid.obj"), "-o", Path("x.stl")},
        {"mesh", "decode", Path("pyramid.obj"), "-o", Path("x.ply"), "--optimize"},
        {"mesh", "encode", Path("pyramid.obj"), "-o", Path("x.shape"), "--json"},
        {"mesh", "validate", Path("pyramid.obj"), "--source", Path("pyramid.obj")},
        {"mesh", "info", Path("pyramid.obj"), "--json", "--html"}}) {
    const CommandRun run = RunPelorin(arguments);
    EXPECT_EQ(run.exit_code, 2) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(Files(), std::vector<std::string>{"pyramid.obj"});
}

TEST_F(MeshVerb, KeepsAFileThatIsThere) {
  Write(Path("pyramid.obj"), kPyramid);
  Write(Path("p.shape"), "old");
  ExpectOneLine(RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape")}), 2,
                "p.shape");
  EXPECT_EQ(Content(Path("p.shape")), "old");
  EXPECT_EQ(
      RunPelorin({"mesh", "encode", Path("pyramid.obj"), "-o", Path("p.shape"), "--overwrite"})
          .exit_code,
      0);
  EXPECT_NE(Content(Path("p.shape")), "old");
}

TEST_F(MeshVerb, RefusesAMeshThatThePrecisionCannotHold) {
  Write(Path("far.obj"), "v 4e9 0 0\nv 4000000001 0 0\nv 4e9 1 0\nf 1 2 3\n");
  ExpectOneLine(RunPelorin({"mesh", "encode", Path("far.obj"), "-o", Path("x.shape")}), 1,
                "only with up to -2; give fewer bits");
  Write(Path("far.obj"), "v 1e308 0 0\nv 1e307 1 0\nv 1e307 0 0\nf 1 2 3\n");
  ExpectOneLine(RunPelorin({"mesh", "encode", Path("far.obj"), "-o", Path("x.shape")}), 1,
                "coordinates as large as 1e+308; give fewer bits");
}

}  // namespace
}  // namespace command
}  // namespace pelorin
