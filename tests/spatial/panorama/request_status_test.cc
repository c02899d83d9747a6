// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/request_status.h"

#include <gtest/gtest.h>

namespace nimbara {
namespace spatial {
namespace {

TEST(RequestFailed, HoldsForThreeToElevenWithoutFour) {
  for (int status = -3; status <= 20; ++status) {
    const bool failed = status >= 3 && status <= 11 && status != 4;
    EXPECT_EQ(RequestFailed(status), failed) << status;
  }
}

TEST(RequestFailed, HoldsFor400To505) {
  EXPECT_FALSE(RequestFailed(200));
  EXPECT_FALSE(RequestFailed(399));
  EXPECT_TRUE(RequestFailed(400));
  EXPECT_TRUE(RequestFailed(404));
  EXPECT_TRUE(RequestFailed(503));
  EXPECT_TRUE(RequestFailed(505));
  EXPECT_FALSE(RequestFailed(506));
  EXPECT_FALSE(RequestFailed(599));
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
