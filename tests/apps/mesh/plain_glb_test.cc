// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/plain_glb.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "apps/mesh/glb_file.h"
#include "apps/mesh/mesh_error.h"
#include "apps/mesh/mesh_file.h"
#include "apps/mesh/scene_reader.h"
#include "apps/mesh/scene_writer.h"
#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;
using Json = nlohmann::json;
using Pointer = Json::json_pointer;

// A file of one node, mesh, material and texture, with a buffer view for each accessor.
std::string SheetFile(int size = 3) {
  Shape sheet;
  test_support::FillSheet(size, &sheet);
  std::string bytes;
  std::string plain;
  std::string error;
  EXPECT_TRUE(WriteScene(sheet, "glb", &bytes, &error)) << error;
  EXPECT_TRUE(MakePlainGlb(bytes, &plain, &error)) << error;
  return plain;
}

// The reason for which the sheet is refused when its document is changed; empty if it is not.
template <typename Change>
std::string FaultAfter(Change change, int size = 3) {
  const std::string bytes = SheetFile(size);
  GlbFile file = ParseGlb(bytes);
  change(&file.document);
  std::string plain = "before";
  std::string error;
  const bool made = MakePlainGlb(GlbBytes(file.document, file.data), &plain, &error);
  EXPECT_EQ(made, error.empty());
  EXPECT_EQ(made, plain != "before");
  return error;
}

std::string FaultOf(const char* place, const Json& value) {
  return FaultAfter([&](Json* document) { (*document)[Pointer(place)] = value; });
}

TEST(PlainGlb, HoldsTheSameMeshAndNothingElse) {
  Shape sheet;
  test_support::FillSheet(5, &sheet);
  sheet.materials()[0]->set_double_sided(true);
  std::string bytes;
  std::string error;
  ASSERT_TRUE(WriteScene(sheet, "glb", &bytes, &error)) << error;
  GlbFile file = ParseGlb(bytes);
  file.document["animations"] = Json::array({{{"channels", "nonsense"}}});
  file.document["skins"] = Json::array({7});
  file.document["extensionsUsed"] = Json::array({"EXT_of_somebody"});
  file.document["nodes"][0]["skin"] = 12345;
  file.document["nodes"][0]["camera"] = 12345;
  std::string plain;
  ASSERT_TRUE(MakePlainGlb(GlbBytes(file.document, file.data), &plain, &error)) << error;
  EXPECT_EQ(plain.find("nonsense"), std::string::npos);
  EXPECT_EQ(plain.find("12345"), std::string::npos);
  EXPECT_EQ(plain.find("EXT_of_somebody"), std::string::npos);
  Shape direct;
  Shape by_plain;
  ASSERT_TRUE(ReadScene(bytes, "glb", &direct, &error)) << error;
  ASSERT_TRUE(ReadScene(plain, "glb", &by_plain, &error)) << error;
  EXPECT_TRUE(direct.IsEqual(by_plain));
  MeshError distance;
  ASSERT_TRUE(CompareMeshes(direct, by_plain, &distance));
  EXPECT_EQ(distance.max, 0.0);
  EXPECT_EQ(distance.max_normal, 0.0);
  EXPECT_EQ(distance.max_tex_coord, 0.0);
  ASSERT_EQ(by_plain.materials().size(), 1u);
  EXPECT_EQ(by_plain.materials()[0]->texture_uri(), "sheet.png");
  EXPECT_TRUE(by_plain.materials()[0]->double_sided());
}

TEST(PlainGlb, NamesImagesInsideByTheirNameOrNumber) {
  const auto texture_name = [](const Json& image) {
    const std::string bytes = SheetFile();
    GlbFile file = ParseGlb(bytes);
    file.document["images"][0] = image;
    Shape shape;
    std::string error;
    EXPECT_TRUE(
        ReadMeshFile(GlbBytes(file.document, file.data), "x.glb", MeshFormat::kGlb, &shape, &error))
        << error;
    return shape.materials().at(0)->texture_uri();
  };
  EXPECT_EQ(texture_name({{"uri", "roof.png"}, {"name", "other"}}), "roof.png");
  EXPECT_EQ(texture_name({{"bufferView", 0}, {"mimeType", "image/png"}, {"name", "roof"}}), "roof");
  EXPECT_EQ(texture_name({{"bufferView", 0}, {"mimeType", "image/png"}}), "*0");
  EXPECT_EQ(texture_name({{"uri", "data:image/png;base64,AAAA"}}), "*0");
  EXPECT_EQ(texture_name({{"bufferView", 0}, {"name", "data:image/png;base64,abc"}}), "*0");
  // What the reader keeps for itself at the start of a URI.
  EXPECT_EQ(texture_name({{"uri", "\x10\x01\x7f\x01\x7f"}, {"name", "roof"}}), "roof");
  EXPECT_EQ(texture_name({{"bufferView", 0}, {"name", "\x10\x01"}}), "*0");
}

TEST(PlainGlb, RefusesCountsAndPlacesOutsideItsData) {
  for (const char* place :
       {"/accessors/0/count", "/accessors/0/byteOffset", "/accessors/0/bufferView",
        "/bufferViews/0/byteOffset", "/bufferViews/0/byteLength", "/bufferViews/0/buffer",
        "/buffers/0/byteLength", "/meshes/0/primitives/0/indices",
        "/meshes/0/primitives/0/attributes/POSITION", "/meshes/0/primitives/0/material",
        "/nodes/0/mesh", "/scenes/0/nodes/0", "/scene", "/textures/0/source",
        "/materials/0/pbrMetallicRoughness/baseColorTexture/index"}) {
    for (const Json& value : {Json(4000000000u), Json(18446744073709551615u), Json(-1), Json(1.5),
                              Json("1"), Json(Json::array())}) {
      EXPECT_NE(FaultOf(place, value), "") << place << " " << value;
    }
  }
  EXPECT_NE(FaultOf("/bufferViews/0/byteStride", 1), "");
  EXPECT_NE(FaultOf("/accessors/0/count", 0), "");
  EXPECT_NE(FaultOf("/accessors/0/componentType", 5127), "");
  EXPECT_NE(FaultOf("/accessors/0/type", "MAT4"), "");
}

TEST(PlainGlb, RefusesMembersOfAnotherKind) {
  for (const char* place :
       {"/accessors", "/bufferViews", "/buffers", "/meshes", "/nodes", "/scenes", "/materials",
        "/textures", "/images", "/nodes/0", "/meshes/0/primitives",
        "/meshes/0/primitives/0/attributes", "/materials/0/pbrMetallicRoughness"}) {
    EXPECT_NE(FaultOf(place, "text"), "") << place;
    EXPECT_NE(FaultOf(place, 3), "") << place;
  }
  EXPECT_NE(FaultOf("/nodes/0/matrix", Json::array({1, 2, 3})), "");
  EXPECT_NE(FaultOf("/nodes/0/translation", Json::array({1, 2, "3"})), "");
  EXPECT_NE(FaultOf("/nodes/0/scale", Json::array({1, 2, 1e300})), "");
  EXPECT_NE(FaultOf("/materials/0/pbrMetallicRoughness/roughnessFactor", "rough"), "");
}

TEST(PlainGlb, RefusesDataThatStandsElsewhere) {
  EXPECT_NE(FaultOf("/buffers/0/uri", "/dev/zero").find("outside"), std::string::npos);
  EXPECT_NE(FaultOf("/buffers/0/uri", "mesh.bin").find("outside"), std::string::npos);
}

TEST(PlainGlb, SaysWhichExtensionItNeeds) {
  EXPECT_EQ(FaultOf("/extensionsRequired", Json::array({"KHR_draco_mesh_compression"})),
            "it needs the glTF extension KHR_draco_mesh_compression, which is not read");
  EXPECT_EQ(FaultOf("/extensionsRequired", Json::array({"KHR_materials_unlit"})), "");
}

TEST(PlainGlb, RefusesSparseValues) {
  EXPECT_NE(FaultOf("/accessors/0/sparse", {{"count", 4000000000u}}).find("sparse"),
            std::string::npos);
}

TEST(PlainGlb, RefusesCirclesAndSharedNodes) {
  EXPECT_NE(FaultOf("/nodes/0/children", Json::array({0})), "");
  EXPECT_NE(FaultOf("/scenes/0/nodes", Json::array({0, 0})), "");
  EXPECT_NE(FaultAfter([](Json* document) {
              (*document)["nodes"][0]["children"] = {1};
              (*document)["nodes"].push_back({{"children", {2}}});
              (*document)["nodes"].push_back({{"children", {1}}});
            }),
            "");
}

TEST(PlainGlb, LeavesCirclesOutsideTheSceneAlone) {
  EXPECT_EQ(FaultAfter([](Json* document) {
              (*document)["nodes"].push_back({{"children", {1}}});
            }),
            "");
}

TEST(PlainGlb, RefusesNodesNestedTooDeep) {
  EXPECT_NE(FaultAfter([](Json* document) {
              for (int i = 1; i <= 1000; ++i) {
                (*document)["nodes"].back()["children"] = {i};
                (*document)["nodes"].push_back(Json::object());
              }
            }),
            "");
}

TEST(PlainGlb, RefusesDocumentsNestedTooDeep) {
  for (const char* bracket : {"[", "{\"a\":"}) {
    std::string document = "{\"extras\":";
    for (int i = 0; i < 1000000; ++i) {
      document += bracket;
    }
    std::string bytes = GlbBytes(Json::object(), "");
    bytes.replace(12, std::string::npos, std::string(4, '\0') + "JSON" + document);
    for (std::size_t i = 0; i < 4; ++i) {
      bytes[8 + i] = static_cast<char>(bytes.size() >> (8 * i));
      bytes[12 + i] = static_cast<char>(document.size() >> (8 * i));
    }
    std::string plain;
    std::string error;
    EXPECT_FALSE(MakePlainGlb(bytes, &plain, &error));
    EXPECT_EQ(error, "its glTF document is nested too deep");
  }
}

TEST(PlainGlb, RefusesFewBytesThatRepeatThemselvesWithoutEnd) {
  const auto many_nodes = [](Json* document) {
    for (int i = 1; i <= 10000; ++i) {
      (*document)["nodes"].push_back({{"mesh", 0}});
      (*document)["scenes"][0]["nodes"].push_back(i);
    }
  };
  const auto many_primitives = [](Json* document) {
    Json& primitives = (*document)["meshes"][0]["primitives"];
    const Json first = primitives[0];
    for (int i = 0; i < 10000; ++i) {
      primitives.push_back(first);
    }
  };
  const auto many_meshes = [](Json* document) {
    const Json first = (*document)["meshes"][0];
    for (int i = 0; i < 10000; ++i) {
      (*document)["meshes"].push_back(first);
    }
  };
  EXPECT_NE(FaultAfter(many_nodes, 60).find("repeats"), std::string::npos);
  EXPECT_NE(FaultAfter(many_primitives, 60).find("repeats"), std::string::npos);
  EXPECT_NE(FaultAfter(many_meshes, 60).find("repeats"), std::string::npos);
}

TEST(PlainGlb, RefusesFacesThatNameMissingVertices) {
  std::string bytes = SheetFile();
  const GlbFile file = ParseGlb(bytes);
  const auto indices = file.document["meshes"][0]["primitives"][0]["indices"].get<std::size_t>();
  const auto view = file.document["accessors"][indices]["bufferView"].get<std::size_t>();
  const auto at = file.document["bufferViews"][view]["byteOffset"].get<std::size_t>();
  const auto data = static_cast<std::size_t>(file.data.data() - bytes.data());
  bytes[data + at] = '\x7F';
  std::string plain;
  std::string error;
  EXPECT_FALSE(MakePlainGlb(bytes, &plain, &error));
  EXPECT_EQ(error, "a face names a vertex that is not there");
}

TEST(PlainGlb, LeavesOutPointsAndStripsThatAreTooShort) {
  const auto with_mode = [](int mode, int count) {
    return FaultAfter([=](Json* document) {
      Json& primitive = (*document)["meshes"][0]["primitives"][0];
      primitive["mode"] = mode;
      const auto indices = primitive["indices"].get<std::size_t>();
      (*document)["accessors"][indices]["count"] = count;
    });
  };
  EXPECT_EQ(with_mode(0, 3), "there is no face in it");
  EXPECT_EQ(with_mode(5, 2), "there is no face in it");
  EXPECT_EQ(with_mode(6, 1), "there is no face in it");
  EXPECT_EQ(with_mode(3, 1), "there is no face in it");
  EXPECT_EQ(with_mode(5, 3), "");
  EXPECT_NE(with_mode(4, 4), "");
  EXPECT_NE(with_mode(1, 3), "");
}

TEST(PlainGlb, RefusesEveryPrefix) {
  const std::string whole = SheetFile(1);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string cut(whole, 0, length);
    std::string plain;
    std::string error;
    EXPECT_FALSE(MakePlainGlb(cut, &plain, &error)) << length;
    EXPECT_FALSE(error.empty());
  }
}

TEST(PlainGlb, IsReadOrRefusedAfterFlips) {
  const std::string whole = SheetFile();
  std::mt19937 random(20261122);
  for (int round = 0; round < 2000; ++round) {
    std::string flipped = whole;
    for (int flips = 1 + round % 3; flips > 0; --flips) {
      flipped[random() % flipped.size()] ^= static_cast<char>(1 << random() % 8);
    }
    Shape shape;
    std::string error;
    if (ReadMeshFile(flipped, "x.glb", MeshFormat::kGlb, &shape, &error)) {
      EXPECT_TRUE(shape.Validate(&error)) << error;
    } else {
      EXPECT_FALSE(error.empty());
    }
  }
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
