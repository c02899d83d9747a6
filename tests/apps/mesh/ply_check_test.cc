// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/ply_check.h"

#include <gtest/gtest.h>

#include <string>

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
