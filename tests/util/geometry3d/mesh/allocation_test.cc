// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/shape.h"

namespace {

thread_local bool memory_is_out = false;

}  // namespace

// The form of `new` that answers null, for this whole program.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (memory_is_out) {
    return nullptr;
  }
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;

TEST(ShapeAllocation, TellsAndThrowsWhereThereIsNoMemory) {
  const test_support::LogRecorder log;
  Shape shape;
  memory_is_out = true;
  EXPECT_THROW(shape.AddNewMaterial(), std::bad_alloc);
  EXPECT_THROW(shape.AddNewIndexSet(), std::bad_alloc);
  memory_is_out = false;
  EXPECT_TRUE(shape.materials().empty());
  EXPECT_TRUE(shape.index_sets().empty());
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: material", "3 Check failed: index_set"}));
}

TEST(BuildingAllocation, TellsAndThrowsWhereThereIsNoMemory) {
  const test_support::LogRecorder log;
  BuildingZ building;
  memory_is_out = true;
  EXPECT_THROW(building.AddNewPolygon(), std::bad_alloc);
  memory_is_out = false;
  EXPECT_TRUE(building.polygons().empty());
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: polygon"}));
}

}  // namespace
}  // namespace geometry3d
