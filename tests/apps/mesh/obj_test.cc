// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "apps/mesh/obj_reader.h"
#include "apps/mesh/obj_writer.h"
#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;
using Indices = std::vector<int>;

bool Read(const std::string& text, Shape* shape, std::string* error) {
  return ReadObj(text, "no-such-folder/", shape, error, nullptr);
}

constexpr char kPools[] = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0.5 2 0\n"
                          "vt 0 0\nvt 1 1\nvn 0 0 1\nvn 0 1 0\n";

TEST(Obj, KeepsTheThreeIndexArraysApart) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read(std::string(kPools) + "f 1/2/1 2/1/2 3/2/1\n", &shape, &error)) << error;
  EXPECT_EQ(shape.points().size(), 5u);
  ASSERT_EQ(shape.index_sets().size(), 1u);
  EXPECT_EQ(shape.index_sets()[0]->point_indices(), Indices({0, 1, 2}));
  EXPECT_EQ(shape.index_sets()[0]->tex_coord_indices(), Indices({1, 0, 1}));
  EXPECT_EQ(shape.index_sets()[0]->normal_indices(), Indices({0, 1, 0}));
}

TEST(Obj, SortsFacesByTheirCornersAndArrays) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read(std::string(kPools) + "f 1 2 3\nf 1 2 3 4\nf 1 2 3 5 4\nf 1//1 2//1 3//1\n"
                                         "f 4 3 1\nf 5 4 3 2 1\nl 1 2 3\n",
                   &shape, &error))
      << error;
  ASSERT_EQ(shape.index_sets().size(), 5u);
  EXPECT_EQ(shape.index_sets()[0]->point_indices(), Indices({0, 1, 2, 3, 2, 0}));
  EXPECT_EQ(shape.index_sets()[1]->format(), IndexSet::kQuads);
  EXPECT_EQ(shape.index_sets()[2]->format(), IndexSet::kPolygons);
  EXPECT_EQ(shape.index_sets()[2]->point_indices(), Indices({0, 1, 2, 4, 3, -1, 4, 3, 2, 1, 0}));
  EXPECT_EQ(shape.index_sets()[3]->normal_indices(), Indices({0, 0, 0}));
  EXPECT_EQ(shape.index_sets()[4]->format(), IndexSet::kLines);
  EXPECT_EQ(shape.index_sets()[4]->point_indices(), Indices({0, 1, 1, 2}));
  EXPECT_TRUE(shape.Validate(&error)) << error;
}

TEST(Obj, KeepsLargeCoordinates) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read("v 85012.343 447455.577 0.88\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", &shape, &error));
  EXPECT_NEAR(shape.points()[0].y, 447455.577, 1e-9);
}

TEST(Obj, RefusesFacesThatNameWhatIsNotThere) {
  for (const char* face : {"f 1 2 9", "f 1/7 2/1 3/1", "f 1//1 2//1 3//9", "f 1 2 -9", "l 1 99"}) {
    Shape shape;
    std::string error;
    EXPECT_FALSE(Read(std::string(kPools) + face + "\n", &shape, &error)) << face;
    EXPECT_FALSE(error.empty()) << face;
  }
}

TEST(Obj, RefusesTextWithoutFaces) {
  for (const char* text : {"", "hello\n", "v 0 0 0\nv 1 1 1\n"}) {
    Shape shape;
    std::string error;
    EXPECT_FALSE(Read(text, &shape, &error)) << text;
    EXPECT_EQ(error, "there is no face in it") << text;
  }
}

TEST(Obj, LeavesFacesPlainWhereTheirLibraryIsMissing) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(
      Read("mtllib gone.mtl\nusemtl red\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", &shape, &error))
      << error;
  EXPECT_EQ(shape.index_sets()[0]->material_index(), -1);
}

TEST(Obj, ComesBackFromItsText) {
  Shape sheet;
  test_support::FillSheet(5, &sheet);
  Shape again;
  std::string error;
  ASSERT_TRUE(Read(ObjText(sheet, ""), &again, &error)) << error;
  EXPECT_EQ(again.normals(), sheet.normals());
  EXPECT_EQ(again.tex_coords(), sheet.tex_coords());
  ASSERT_EQ(again.points().size(), sheet.points().size());
  for (std::size_t i = 0; i < sheet.points().size(); ++i) {
    // The reader's own conversion may miss the last bit.
    EXPECT_NEAR(again.points()[i].x, sheet.points()[i].x, 1e-14);
    EXPECT_NEAR(again.points()[i].z, sheet.points()[i].z, 1e-14);
  }
  ASSERT_EQ(again.index_sets().size(), 1u);
  EXPECT_EQ(again.index_sets()[0]->point_indices(), sheet.index_sets()[0]->point_indices());
  EXPECT_EQ(again.index_sets()[0]->tex_coord_indices(), sheet.index_sets()[0]->tex_coord_indices());
}

TEST(Obj, WritesStripsAsTrianglesAndKeepsPolygons) {
  Shape shape;
  shape.mutable_points()->resize(5);
  IndexSet* const strip = shape.AddNewIndexSet();
  strip->set_format(IndexSet::kTriangleStrip);
  *strip->mutable_point_indices() = {0, 1, 2, 3};
  IndexSet* const polygon = shape.AddNewIndexSet();
  polygon->set_format(IndexSet::kPolygons);
  *polygon->mutable_point_indices() = {0, 1, 2, 3, 4};
  const std::string text = ObjText(shape, "x.mtl");
  EXPECT_EQ(text.rfind("mtllib x.mtl\n", 0), 0u);
  EXPECT_NE(text.find("f 1 2 3\nf 3 2 4\nf 1 2 3 4 5\n"), std::string::npos) << text;
}

TEST(Obj, TellsMaterialsInItsLibrary) {
  Shape shape;
  geometry3d::Material* const material = shape.AddNewMaterial();
  material->set_diffuse_color({0.5f, 0.25f, 1.0f});
  material->set_transparency(0.25f);
  material->set_texture_uri("two\nlines.png");
  EXPECT_EQ(MtlText(shape), "newmtl material-0\nKa 0 0 0\nKd 0.5 0.25 1\nKs 0 0 0\nKe 0 0 0\n"
                            "Tf 0 0 0\nNs 0\nd 0.75\nmap_Kd two_lines.png\n");
}

TEST(Obj, RefusesAFaceOfMoreCornersThanItsReaderCounts) {
  // Their number used to be cut to one byte, which put every face behind it out of place.
  const auto polygon = [](int corners) {
    std::string points;
    std::string face = "f";
    for (int i = 1; i <= corners; ++i) {
      points += "v " + std::to_string(i) + " " + std::to_string(i * i) + " 0\n";
      face += " " + std::to_string(i);
    }
    return points + "#\r\n" + face + "\nf 1 2 3\n";
  };
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read(polygon(255), &shape, &error)) << error;
  ASSERT_EQ(shape.index_sets().size(), 2u);
  EXPECT_EQ(shape.index_sets()[0]->point_indices().size(), 255u);
  EXPECT_EQ(shape.index_sets()[1]->point_indices(), Indices({0, 1, 2}));
  Shape other;
  EXPECT_FALSE(Read(polygon(300), &other, &error));
  EXPECT_EQ(error, "line 302 has more than 255 corners");
}

TEST(Obj, RefusesNumbersThatAreNone) {
  for (const char* line : {"v nan 0 0", "v 0 inf 0", "v x 0 0", "v 1.5.5 0 0", "v 1e999 0 0",
                           "vn 0 0 1,5", "vt u", "v +-1 0 0", "v ++1 0 0", "v + 0 0"}) {
    Shape shape;
    std::string error;
    EXPECT_FALSE(
        Read(std::string("# none\n") + line + "\n" + kPools + "f 1 2 3\n", &shape, &error));
    EXPECT_EQ(error, "line 2 has a number that is none") << line;
  }
  for (const char* line : {"v 1 zz", "v", "vn 1 2", "vt"}) {
    Shape shape;
    std::string error;
    EXPECT_FALSE(Read(std::string(line) + "\n" + kPools + "f 1 2 3\n", &shape, &error)) << line;
  }
  EXPECT_TRUE([] {
    Shape shape;
    std::string error;
    return Read(std::string("v\t+1 -.5 1e-3 1.0 # one\r\nvt 1.\n") + kPools + "f 1 2 3\n", &shape,
                &error);
  }());
}

TEST(Obj, RefusesCornersThatAreNone) {
  for (const char* line : {"f 4294967297 2 3", "f 1.9 2 3", "f 1x 2y 3z", "f 1 2 0",
                           "f 1/2/3/4 2 3", "f / 2 3", "l 1 2z", "f + 1 2"}) {
    Shape shape;
    std::string error;
    EXPECT_FALSE(Read(std::string(kPools) + line + "\nf 1 2 3\n", &shape, &error)) << line;
    EXPECT_NE(error.find("has a corner that is none"), std::string::npos) << error;
  }
  Shape shape;
  std::string error;
  EXPECT_FALSE(Read(std::string(kPools) + std::string("f 1 2 3\0 4 5\n", 13), &shape, &error));
}

TEST(Obj, TakesCornersAsPeopleWriteThem) {
  std::string remark = " # the roof";
  for (int i = 0; i < 300; ++i) {
    remark += " of it";
  }
  for (const std::string& line :
       {std::string("f 1// 2// 3//"), std::string("f 1/ 2/ 3/"), std::string("f 1/1/ 2/1/ 3/1/ "),
        "f 1 2 3" + remark, std::string("\tf 1 2 \\\n3"), std::string("f \\\r\n1 2 3\\")}) {
    Shape shape;
    std::string error;
    ASSERT_TRUE(Read(std::string(kPools) + line + "\n", &shape, &error)) << line << error;
    EXPECT_EQ(shape.index_sets()[0]->point_indices(), (std::vector<int>{0, 1, 2})) << line;
  }
}

TEST(Obj, JoinsOnlyLinesOfNumbersAndCountsThemAll) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read("# C:\\models\\\nv 7 \\\n 8 9\ng C:\\\nv 0 0 0 # C:\\\nv 1 0 0\nf 1 2 3\n",
                   &shape, &error))
      << error;
  ASSERT_EQ(shape.points().size(), 3u);
  EXPECT_EQ(shape.points()[0].y, 8.0);
  EXPECT_FALSE(Read("v 7 \\\n 8 9\nv x 0 0\n", &shape, &error));
  EXPECT_EQ(error, "line 3 has a number that is none");
}

std::size_t CountOf(const Shape& shape, int format) {
  std::size_t count = 0;
  for (const IndexSet* const set : shape.index_sets()) {
    count += set->format() == format ? set->point_indices().size() : 0;
  }
  return count;
}

TEST(Obj, KeepsTheLinesBeforeAGroupAndAMaterialOnce) {
  const std::string line = std::string(kPools) + "l 1 2\n";
  for (const std::string& text :
       {line + "g x\nf 1 2 3\n", line + "usemtl a\nf 1 2 3\nusemtl b\nf 1 2 3\n",
        line + "o x\nf 1 2 3\n", std::string(kPools) + "f 1 2 3\ng x\nl 1 2\ng y\n"}) {
    Shape shape;
    std::string error;
    ASSERT_TRUE(Read(text, &shape, &error)) << error;
    EXPECT_EQ(CountOf(shape, IndexSet::kLines), 2u) << text;
    EXPECT_GE(CountOf(shape, IndexSet::kTriangles), 3u) << text;
  }
}

TEST(Obj, StepsOverAByteOrderMarkAndWeights) {
  Shape shape;
  std::string error;
  ASSERT_TRUE(Read("\xEF\xBB\xBFv 9 9 9\nv 0 0 0\nv 1 0 0\nvw 1 4294967297\nvw 1 -1 0\nf 1 2 3\n",
                   &shape, &error))
      << error;
  ASSERT_EQ(shape.points().size(), 3u);
  EXPECT_EQ(shape.points()[0].x, 9.0);
}

TEST(Obj, TellsOfAHundredMissingLibrariesAtMost) {
  std::string text = std::string(kPools) + "f 1 2 3\n";
  for (int i = 0; i < 1000; ++i) {
    text += "mtllib nothing\n";
  }
  Shape shape;
  std::string error;
  std::vector<std::string> warnings;
  EXPECT_TRUE(ReadObj(text, "no-such-folder/", &shape, &error, &warnings));
  EXPECT_EQ(warnings.size(), 100u);
}

TEST(Obj, TellsOfALibraryThatCannotBeRead) {
  Shape shape;
  std::string error;
  std::vector<std::string> warnings;
  EXPECT_TRUE(ReadObj("mtllib city.mtl\nusemtl red\n" + std::string(kPools) + "f 1 2 3\n",
                      "no-such-folder/", &shape, &error, &warnings));
  EXPECT_EQ(warnings, std::vector<std::string>{"its material library city.mtl cannot be read"});
}

TEST(Obj, MakesNoRoomForTheTagsOfSubdivision) {
  for (const char* tag : {"t crease 2000000000/2000000000/2000000000 1 2 3\n",
                          " \tt crease 2000000000/0/0\r\n", "#\rt crease 2000000000/0/0\r"}) {
    Shape shape;
    std::string error;
    EXPECT_TRUE(Read(tag + std::string(kPools) + "f 1 2 3\n" + tag, &shape, &error)) << error;
    EXPECT_EQ(shape.points().size(), 5u);
  }
}

TEST(Obj, ReadsNoMaterialsFromWhatNeverEnds) {
  for (const char* folder : {"", "/dev/"}) {
    Shape shape;
    std::string error;
    EXPECT_TRUE(ReadObj("mtllib /dev/zero\nmtllib zero\nmtllib /\nusemtl red\n" +
                            std::string(kPools) + "f 1 2 3\n",
                        folder, &shape, &error, nullptr))
        << error;
    EXPECT_TRUE(shape.materials().empty());
  }
}

TEST(Obj, IsReadOrRefusedWhenCutOrFlipped) {
  Shape sheet;
  test_support::FillSheet(2, &sheet);
  const std::string whole = ObjText(sheet, "");
  std::mt19937 random(20261122);
  for (int round = 0; round < 1500; ++round) {
    std::string damaged = whole;
    if (round % 3 == 0) {
      damaged.resize(random() % damaged.size());
    } else {
      damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
    }
    Shape shape;
    std::string error;
    if (Read(damaged, &shape, &error)) {
      EXPECT_TRUE(shape.Validate(&error)) << error;
    } else {
      EXPECT_FALSE(error.empty());
    }
  }
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
