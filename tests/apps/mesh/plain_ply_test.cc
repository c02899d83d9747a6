// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/plain_ply.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace pelorin {
namespace mesh {
namespace {

bool Check(const std::string& bytes) {
  std::string error;
  std::string plain = "as it was";
  const bool sound = MakePlainPly(bytes, &plain, &error);
  EXPECT_EQ(sound, error.empty());
  EXPECT_TRUE(sound || plain == "as it was");
  return sound;
}

std::string Plain(const std::string& bytes) {
  std::string error;
  std::string plain;
  EXPECT_TRUE(MakePlainPly(bytes, &plain, &error)) << error;
  return plain;
}

std::string Header(const std::string& format, const std::string& vertices) {
  return "ply\nformat " + format + " 1.0\ncomment made by hand\nelement vertex " + vertices +
         "\nproperty float x\nproperty double y\nelement face 1\n"
         "property list uchar int vertex_indices\nend_header\n";
}

TEST(PlainPly, PassesWholeFilesInEveryEncoding) {
  const std::string vertices(24, '\0');
  EXPECT_TRUE(Check(Header("ascii", "2") + "0 1\n2 3\n2 0 1\n"));
  EXPECT_TRUE(Check(Header("binary_little_endian", "2") + vertices + std::string(1, '\2') +
                    std::string(8, '\0')));
  EXPECT_TRUE(Check(Header("binary_big_endian", "2") + vertices + std::string(1, '\0')));
}

TEST(PlainPly, RefusesEveryPrefixOfItsDataAndHeader) {
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

TEST(PlainPly, RefusesCountsThatNoFileHolds) {
  EXPECT_FALSE(Check(Header("ascii", "99999999999") + "0 1\n2 3\n2 0 1\n"));
  EXPECT_FALSE(Check(Header("binary_little_endian", "18446744073709551615") + "abc"));
  EXPECT_FALSE(Check(Header("ascii", "-1") + "0 1\n"));
  EXPECT_FALSE(Check(Header("ascii", "2") + "0 1\n2 3\n-2 0 1\n"));
}

TEST(PlainPly, RefusesElementsThatTakeNoRoom) {
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

TEST(PlainPly, KeepsWhatAMeshIsMadeOfInOrderAndALineForEach) {
  const std::string points = "0 0 0 \n1 0 0 \n0 1 0 \n";
  const std::string faces = "3 0 1 2 \n";
  const std::string plain =
      std::string(kHead) + kVertices + kFaces + "end_header\n" + points + faces;
  const std::string mesh = std::string(kVertices) + kFaces;
  EXPECT_EQ(Plain(Text(mesh, std::string(kPoints) + "3 0 1 2\n")), plain);
  EXPECT_EQ(Plain(Text(std::string(kFaces) + kVertices, "3 0 1 2\n" + std::string(kPoints))),
            plain);
  EXPECT_EQ(Plain(Text("element camera 1\nproperty float x\n" + std::string(kVertices) +
                           "element edge 2\nproperty list int int a\n" + kFaces,
                       "7\n" + std::string(kPoints) + "1 0\n0\n3 0 1 2")),
            plain);
  EXPECT_EQ(Plain(Text(mesh + "element material 0\nproperty int a\n",
                       std::string(kPoints) + "3 0 1 2\n")),
            plain);
  EXPECT_EQ(Plain(Text(kVertices, kPoints)),
            std::string(kHead) + kVertices + "end_header\n" + points)
      << "a cloud of points";
  // Blank lines, carriage returns and blanks that the reader would stumble over.
  EXPECT_EQ(Plain("ply\r\nformat ascii 1.0\r\n\r\nobj_info mine\r\n" + mesh +
                  "end_header \r\n\r\n\n0 0 0\r\r\t1 0 0\n \n\n\n0  1 0\r\n\r\n3 0 1 2\r\r"),
            plain);
}

TEST(PlainPly, KeepsCommentsBehindTheFormat) {
  EXPECT_EQ(Plain("ply\ncomment TextureFile a.png\nformat ascii 1.0\ncomment b\n" +
                  std::string(kVertices) + "end_header\n" + kPoints)
                .find("ply\nformat ascii 1.0\ncomment TextureFile a.png\ncomment b\nelement"),
            0u);
}

TEST(PlainPly, CopiesBinaryDataByteForByte) {
  const std::string vertices("abcdefghijkl", 12);
  const std::string face("\x01\x00\x00\x00\x02", 5);
  for (const std::string format : {"binary_little_endian", "binary_big_endian"}) {
    const std::string head = "ply\nformat " + format + " 1.0\n";
    const std::string one = "element vertex 3\nproperty float x\n";
    EXPECT_EQ(Plain(head + kFaces + "element user 2\nproperty short s\n" + one + "end_header\n" +
                    face + "1234" + vertices + "behind"),
              head + one + kFaces + "end_header\n" + vertices + face);
  }
}

TEST(PlainPly, RefusesElementsThatCrashTheReader) {
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
           {std::string(kVertices) + "element face 1\nproperty list uchar float vertex_indices\n",
            points + "3 0 1 2\n"},
           {"element vertex 1\nproperty list uchar float x\n", "1 2\n"}}) {
    EXPECT_FALSE(Check(Text(elements, data))) << elements;
  }
}

TEST(PlainPly, RefusesDataThatTheReaderWouldTakeForOther) {
  const std::string mesh = std::string(kVertices) + kFaces;
  for (const char* const data :
       {"0 0 0 1 0 0 0 1 0\n3 0 1 2\n", "0 0 0\n1 0 0\n0 1 0\n3 0\n1 2\n",
        "0 0 0\n1 0 0\n0 1 0\n3 0 1 4294967298\n", "0 0 0\n1 0 0\n0 1 0\n3 0 1 1.5\n",
        "0 0 x\n1 0 0\n0 1 0\n3 0 1 2\n", "0 0 0 7\n1 0 0\n0 1 0\n3 0 1 2\n",
        "0 0 0\n1 100000000000000000000 0\n0 1 0\n3 0 1 2\n",
        "0 0 0\n1 -18446744073709551616.5 0\n0 1 0\n3 0 1 2\n"}) {
    EXPECT_FALSE(Check(Text(mesh, data))) << data;
  }
  // A length that is negative as its type has it.
  EXPECT_FALSE(Check("ply\nformat binary_little_endian 1.0\nelement vertex 0\nproperty float x\n"
                     "element face 1\nproperty list char char vertex_indices\nend_header\n\xC8" +
                     std::string(200, '\0')));
}

TEST(PlainPly, RefusesUnknownWordsAndTypes) {
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nelememt vertex 0\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat morse 1.0\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nproperty float x\nend_header\n"));
  EXPECT_FALSE(Check("ply\nformat ascii 1.0\nelement vertex 1\nproperty flaot x\nend_header\n1\n"));
  EXPECT_FALSE(Check("ply\nend_header\n"));
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
