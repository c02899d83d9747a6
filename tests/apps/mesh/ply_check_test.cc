// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/ply_check.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

bool Check(const std::string& bytes) {
  std::string error;
  const bool sound = CheckPly(bytes, &error);
  EXPECT_EQ(sound, error.empty());
  return sound;
}

std::string Header(const std::string& format, const std::string& vertices) {
  return "ply\nformat " + format + " 1.0\ncomment made by hand\nelement vertex " + vertices +
         "\nproperty float x\nproperty double y\nelement face 1\n"
         "property list uchar int vertex_indices\nend_header\n";
}

TEST(PlyCheck, PassesWholeFilesInEveryEncoding) {
  const std::string vertices(24, '\0');
  EXPECT_TRUE(Check(Header("ascii", "2") + "0 1\n2 3\n2 0 1\n"));
  EXPECT_TRUE(Check(Header("binary_little_endian", "2") + vertices + std::string(1, '\2') +
                    std::string(8, '\0')));
  EXPECT_TRUE(Check(Header("binary_big_endian", "2") + vertices + std::string(1, '\0')));
}

TEST(PlyCheck, RefusesEveryPrefixOfItsDataAndHeader) {
  const std::string text = Header("ascii", "2") + "0 1\n2 3\n2 0 1";
  const std::string binary = Header("binary_little_endian", "2") + std::string(24, '\0') +
                             std::string(1, '\1') + std::string(4, '\0');
  for (const std::string& whole : {text, binary}) {
    ASSERT_TRUE(Check(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
      EXPECT_FALSE(Check(whole.substr(0, length))) << length;
    }
  }
}

TEST(PlyCheck, RefusesCountsThatNoFileHolds) {
  EXPECT_FALSE(Check(Header("ascii", "99999999999") + "0 1\n2 3\n2 0 1\n"));
  EXPECT_FALSE(Check(Header("binary_little_endian", "18446744073709551615") + "abc"));
  EXPECT_FALSE(Check(Header("ascii", "-1") + "0 1\n"));
  EXPECT_FALSE(Check(Header("ascii", "2") + "0 1\n2 3\n-2 0 1\n"));
}

TEST(PlyCheck, RefusesElementsThatTakeNoRoom) {
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nelement vertex 5\nend_header\n"));
}

const char* const kHead = "ply\nformat ascii 1.0\n";
const char* const kVertices =
    "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n";
const char* const kFaces = "element face 1\nproperty list uchar int vertex_indices\n";
const char* const kPoints = "0 0 0\n1 0 0\n0 1 0\n";

std::string Text(const std::string& elements, const std::string& data) {
  return kHead + elements + "end_header\n" + data;
}

TEST(PlyCheck, PassesAMeshWithOtherElementsBehindIt) {
  const std::string mesh = std::string(kVertices) + kFaces;
  EXPECT_TRUE(Check(Text(mesh, std::string(kPoints) + "3 0 1 2\n")));
  EXPECT_TRUE(Check(Text(mesh + "element edge 1\nproperty int a\nproperty int b\n",
                         std::string(kPoints) + "\r\n3 0 1 2\n0 1\n")));
  EXPECT_TRUE(Check(Text(kVertices, kPoints))) << "a cloud of points";
}

TEST(PlyCheck, RefusesElementsThatCrashTheReader) {
  const std::string points = kPoints;
  const std::string mesh = std::string(kVertices) + kFaces;
  for (const auto& [elements, data] : std::vector<std::pair<std::string, std::string>>{
           {std::string(kVertices) + "element face 1\nproperty list uchar float texcoord\n",
            points + "6 0 0 1 0 1 1\n"},
           {std::string(kVertices) +
                "element vertex 6\nproperty float x\nproperty float y\nproperty float z\n" + kFaces,
            points + points + points + "3 0 1 2\n"},
           {mesh + "element face 2\nproperty list uchar int vertex_indices\n",
            points + "3 0 1 2\n3 0 1 2\n3 0 1 2\n"},
           {mesh + "element tristrips 1\nproperty list int int vertex_indices\n",
            points + "3 0 1 2\n3 0 1 2\n"},
           {mesh + "property list uchar float texcoord\n", points + "1 0 6 0 0 1 0 1 1\n"},
           {mesh + "element 99v 1\nproperty int a\n", points + "3 0 1 2\n1\n"},
           {"element thing 1\nproperty int a\n" + mesh, "1\n" + points + "3 0 1 2\n"},
           {"element vertex 1\nproperty list uchar float x\n", "1 2\n"}}) {
    EXPECT_FALSE(Check(Text(elements, data))) << elements;
  }
}

TEST(PlyCheck, RefusesDataThatTheReaderWouldTakeForOther) {
  const std::string mesh = std::string(kVertices) + kFaces;
  for (const char* const data :
       {"0 0 0 1 0 0 0 1 0\n3 0 1 2\n", "0 0 0\n1 0 0\n0 1 0\n3 0\n1 2\n",
        "0 0 0\n1 0 0\n0 1 0\n3 0 1 4294967298\n", "0 0 0\n1 0 0\n0 1 0\n3 0 1 1.5\n",
        "0 0 x\n1 0 0\n0 1 0\n3 0 1 2\n", "0 0 0 7\n1 0 0\n0 1 0\n3 0 1 2\n"}) {
    EXPECT_FALSE(Check(Text(mesh, data))) << data;
  }
  // A length that is negative as its type has it.
  EXPECT_FALSE(Check("ply\nformat binary_little_endian 1.0\nelement vertex 0\nproperty float x\n"
                     "element face 1\nproperty list char char vertex_indices\nend_header\n\xC8" +
                     std::string(200, '\0')));
}

TEST(PlyCheck, RefusesUnknownWordsAndTypes) {
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nelememt vertex 0\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat morse 1.0\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nproperty float x\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nelement vertex 1\nproperty flaot x\nend_header\n1\n"));
  EXPECT_FALSE(Check("ply\nend_header\n"));
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
