// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_page.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

TEST(MeshPage, HoldsBothMeshesAndTheReportAndLoadsNothing) {
  geometry3d::Shape shape;
  *shape.mutable_points() = {{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}};
  *shape.AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
  const std::string page = MeshPage(shape, shape, "{\"file\":\"a.obj\"}");
  EXPECT_NE(page.find("{\"file\":\"a.obj\"}"), std::string::npos);
  // The floats -1, -1, 0, 1 by their bytes.
  const std::string corners = "AACAvwAAgL8AAAAAAACAPw";
  EXPECT_NE(page.find("\"before\":\"" + corners), std::string::npos);
  EXPECT_NE(page.find("\"after\":\"" + corners), std::string::npos);
  EXPECT_EQ(page.find("@DATA@"), std::string::npos);
  EXPECT_EQ(page.find("http"), std::string::npos);
  EXPECT_EQ(page.find("src="), std::string::npos);
}

TEST(MeshPage, IsNotEndedByANameInTheReport) {
  geometry3d::Shape shape;
  const std::string page = MeshPage(shape, shape, "{\"file\":\"</script><b>\"}");
  EXPECT_EQ(page.find("</script><b>"), std::string::npos);
  EXPECT_NE(page.find("\\u003c/script>\\u003cb>"), std::string::npos);
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
