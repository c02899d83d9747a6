// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_connection.h"

#include <atomic>

#include "host/network.h"

namespace nimbara {
namespace test_support {
namespace {

std::atomic<int> connection_status{2};

}  // namespace

void SetConnectionStatus(int status) {
  connection_status = status;
}

}  // namespace test_support

namespace net {

// Interposes the host's, as the fake network does with `Fetcher::fetch`.
int GetInternetConnectionStatus() {
  return test_support::connection_status;
}

}  // namespace net
}  // namespace nimbara
